// SPDX-License-Identifier: GPL-3.0-or-later
// The preview, the report, the journal and undo, through the built binary.
#include "clirunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace qb::test;

namespace {

class WriteTrustCli : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"A1", "B2", "C3"})
            makeJpeg(m_dir.filePath("shoot/" + QString::fromLatin1(name) + ".jpg"));
        m_csv = writeFile(m_dir.filePath("data.csv"), "Shot,Title,City\nA1,Hello,Malm\xc3\xb6\n"
                                                      "B2,World,\xe6\x9d\xb1\xe4\xba\xac\n");
        m_mappings = writeFile(m_dir.filePath("mappings.json"), R"([
            {"keyName":"Title","destTag":"XMP-dc:Title","actions":{"mappers":[]}},
            {"keyName":"City","destTag":"IPTC:City","actions":{"mappers":[]}}])");
        m_environment = {"XDG_STATE_HOME=" + m_dir.filePath("state")};
    }

    CliResult cli(const QStringList& arguments)
    {
        return runCli(arguments, {}, {}, 60000, m_environment);
    }

    QStringList assign(const QStringList& more, const QString& exiftool = "/usr/bin/exiftool")
    {
        // clang-format off
        return QStringList{"assign", "--method", "direct", "--exiftool", exiftool,
                           "--mappings", m_mappings, "--csv", m_csv, "--key", "Shot"}
               + more + QStringList{m_dir.filePath("shoot")};
        // clang-format on
    }

    QJsonObject readBack(const QString& name)
    {
        const CliResult read = cli({"read", m_dir.filePath("shoot/" + name)});
        return QJsonDocument::fromJson(read.out.toUtf8()).array().at(0).toObject();
    }

    QStringList journals()
    {
        return QDir(m_dir.filePath("state/quillbrook/journal")).entryList(QDir::Files);
    }

    QTemporaryDir m_dir;
    QString m_csv;
    QString m_mappings;
    QStringList m_environment;
};

TEST_F(WriteTrustCli, PreviewShowsEachChangeAndWritesNothing)
{
    const CliResult text = cli(assign({"--preview"}));
    ASSERT_EQ(text.status, 0) << text.err.toStdString();
    EXPECT_TRUE(text.out.contains(m_dir.filePath("shoot/A1.jpg") + "\n  IPTC:City: (absent) \u2192 "
                                                                   "Malm\u00f6\n"));
    EXPECT_TRUE(text.out.contains("  XMP-dc:Title: (absent) \u2192 Hello\n"));
    EXPECT_TRUE(text.out.endsWith("matched no row:\n  " + m_dir.filePath("shoot/C3.jpg") + "\n"));

    const CliResult json = cli(assign({"--preview", "--json"}));
    ASSERT_EQ(json.status, 0) << json.err.toStdString();
    const QJsonObject preview = QJsonDocument::fromJson(json.out.toUtf8()).object();
    EXPECT_EQ(preview["images"].toArray().size(), 2);
    EXPECT_EQ(preview["unmatched"].toArray().at(0).toString(), m_dir.filePath("shoot/C3.jpg"));
    EXPECT_FALSE(readBack("A1.jpg").contains("XMP:Title"));
    EXPECT_TRUE(journals().isEmpty());
}

TEST_F(WriteTrustCli, ReportJournalAndUndoOfAWriteWithADamagedFile)
{
    {
        QFile damaged(m_dir.filePath("shoot/B2.jpg"));
        ASSERT_TRUE(damaged.open(QIODevice::ReadWrite));
        damaged.resize(200);
    }
    const QString reportPath = m_dir.filePath("report.json");
    const CliResult written = cli(assign({"--report", reportPath}));
    EXPECT_EQ(written.status, 1);
    EXPECT_TRUE(written.err.contains("failed: " + m_dir.filePath("shoot/B2.jpg") + ": "))
        << written.err.toStdString();
    EXPECT_TRUE(written.err.contains("1 written, 0 unchanged, 1 failed"));
    QFile file(reportPath);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonObject report = QJsonDocument::fromJson(file.readAll()).object();
    EXPECT_EQ(report["counts"].toObject()["written"].toInt(), 1);
    EXPECT_EQ(report["files"].toArray().size(), 2);
    EXPECT_EQ(readBack("A1.jpg")["IPTC:City"].toString(), "Malm\u00f6");

    const CliResult listed = cli({"journal"});
    ASSERT_EQ(listed.status, 0);
    const QString journal = report["journal"].toString();
    EXPECT_TRUE(listed.out.startsWith(journal + "\t")) << listed.out.toStdString();

    // The damaged file, which the write never changed, is left alone.
    const CliResult undone = cli({"undo", journal});
    EXPECT_EQ(undone.status, 0) << undone.err.toStdString();
    EXPECT_EQ(undone.out, "Restored values. 1 written, 1 unchanged, 0 failed.\n");
    const QJsonObject after = readBack("A1.jpg");
    EXPECT_FALSE(after.contains("XMP:Title"));
    EXPECT_FALSE(after.contains("IPTC:City"));

    // The undo kept its own journal; --no-journal keeps none.
    EXPECT_EQ(cli(assign({"--no-journal"})).status, 1);
    EXPECT_EQ(journals().size(), 2);
}

TEST_F(WriteTrustCli, JournalIsOnDiskBeforeExiftoolWrites)
{
    // Reads as exiftool does, and fails every write.
    const QString failing =
        writeFile(m_dir.filePath("failing-exiftool"),
                  "#!/bin/sh\nfor a; do case \"$a\" in -json=*|-csv=*) exit 9;; esac; "
                  "done\nexec /usr/bin/exiftool \"$@\"\n");
    QFile::setPermissions(failing, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const CliResult result = cli(assign({}, failing));
    EXPECT_EQ(result.status, 1);
    ASSERT_EQ(journals().size(), 1);
    QFile journal(m_dir.filePath("state/quillbrook/journal/" + journals().first()));
    ASSERT_TRUE(journal.open(QIODevice::ReadOnly));
    const QJsonObject files = QJsonDocument::fromJson(journal.readAll()).object();
    EXPECT_EQ(files["files"].toArray().size(), 2);
    EXPECT_TRUE(
        files["files"].toArray().at(0).toObject()["values"].toObject()["XMP-dc:Title"].isNull());
}

} // namespace
