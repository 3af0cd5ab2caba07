// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli undo and journal with journals from outside: damaged or
// hostile ones, and an undo that meets another write.
#include "clirunner.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <functional>

using namespace qb::test;

namespace {

class UndoCli : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"A1", "B2"})
            makeJpeg(path("shoot/%1.jpg").arg(QLatin1String(name)));
        writeFile(path("elsewhere/Other.XMP"), "<x:xmpmeta xmlns:x='adobe:ns:meta/'/>");
        writeFile(path("data.csv"), "Shot,Title\nA1,Hello\nB2,World\n");
        writeFile(path("mappings.json"),
                  R"([{"keyName":"Title","destTag":"XMP-dc:Title","actions":{"mappers":[]}}])");
        m_environment = {"XDG_STATE_HOME=" + path("state"), "XDG_RUNTIME_DIR=" + path(""),
                         "TMPDIR=" + path("")};
        const CliResult written =
            cli({"assign", "--method", "direct", "--exiftool", "/usr/bin/exiftool", "--mappings",
                 path("mappings.json"), "--csv", path("data.csv"), "--key", "Shot", path("shoot")});
        ASSERT_EQ(written.status, 0) << written.err.toStdString();
        const QStringList journals = QDir(path("state/quillbrook/journal")).entryList(QDir::Files);
        ASSERT_EQ(journals.size(), 1);
        m_journal = path("state/quillbrook/journal/") + journals.first();
        QFile file(m_journal);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        m_json = QJsonDocument::fromJson(file.readAll()).object();
    }

    QString path(const QString& relative) const { return m_dir.filePath(relative); }
    CliResult cli(const QStringList& arguments)
    {
        return runCli(arguments, {}, {}, 60000, m_environment);
    }
    // The bytes of the images, which a refused journal must leave as they are.
    QByteArray shootDigest() const
    {
        QCryptographicHash hash(QCryptographicHash::Sha256);
        for (const char* name : {"shoot/A1.jpg", "shoot/B2.jpg", "elsewhere/Other.XMP"}) {
            QFile file(path(QLatin1String(name)));
            if (file.open(QIODevice::ReadOnly))
                hash.addData(file.readAll());
        }
        return hash.result();
    }
    QString title(const QString& name)
    {
        const CliResult read = cli({"read", "--exiftool", "/usr/bin/exiftool", path(name)});
        return QJsonDocument::fromJson(read.out.toUtf8())
            .array()
            .at(0)
            .toObject()["XMP:Title"]
            .toString();
    }

    QTemporaryDir m_dir;
    QStringList m_environment;
    QString m_journal;
    QJsonObject m_json;
};

// Changes one file entry of the journal.
std::function<void(QJsonObject&)> entry(int index, const std::function<void(QJsonObject&)>& change)
{
    return [index, change](QJsonObject& journal) {
        QJsonArray files = journal["files"].toArray();
        QJsonObject file = files[index].toObject();
        change(file);
        files[index] = file;
        journal["files"] = files;
    };
}

std::function<void(QJsonObject&)> tagNamed(const QString& tag)
{
    return entry(0, [tag](QJsonObject& file) {
        QJsonObject tags = file["tags"].toObject();
        tags[tag] = tags["XMP-dc:Title"];
        file["tags"] = tags;
    });
}

TEST_F(UndoCli, AHostileJournalIsRefusedWholeAndNothingIsRestored)
{
    const QString sidecar = path("elsewhere/Other.XMP");
    const struct {
        const char* name;
        std::function<void(QJsonObject&)> change;
        QString said;
    } rows[] = {
        {"files of the wrong type", [](QJsonObject& json) { json["files"] = QJsonObject(); },
         "files: expected array, found object"},
        {"a tag's values as a text",
         entry(0,
               [](QJsonObject& file) {
                   QJsonObject tags = file["tags"].toObject();
                   tags["XMP-dc:Title"] = "Hi";
                   file["tags"] = tags;
               }),
         "files[0].tags[\"XMP-dc:Title\"]: expected an object with \u201cbefore\u201d and "
         "\u201cwritten\u201d"},
        {"a size as a text",
         entry(1,
               [](QJsonObject& file) {
                   QJsonObject identity = file["identity"].toObject();
                   identity["size"] = "big";
                   file["identity"] = identity;
               }),
         "files[1].identity.size: expected number, found string"},
        {"all", tagNamed("all"),
         "files[0].tags[\"all\"]: \u201call\u201d is not the name of one tag"},
        {"a whole group", tagNamed("XMP"), "\u201cXMP\u201d is not the name of one tag"},
        {"an option", tagNamed("-XMP-dc:Title"), "\u201c-XMP-dc:Title\u201d is not the name"},
        {"a relative path", entry(0, [](QJsonObject& file) { file["file"] = "shoot/A1.jpg"; }),
         "files[0]: \u201cshoot/A1.jpg\u201d is not an absolute path"},
        {"a folder", entry(0, [this](QJsonObject& file) { file["file"] = path("shoot"); }),
         "files[0]: " + path("shoot") + " is not a regular file"},
        {"another program's sidecar",
         entry(1,
               [sidecar](QJsonObject& file) {
                   file["image"] = file["file"];
                   file["file"] = sidecar;
                   file["created"] = true;
               }),
         "files[1]: " + sidecar + " is a sidecar this journal's write didn't make"},
        {"an older journal", [](QJsonObject& json) { json["version"] = 1; },
         "version: it was kept by an older Quillbrook"},
    };
    const QByteArray before = shootDigest();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        QJsonObject json = m_json;
        row.change(json);
        const QString hostile =
            writeFile(path("state/quillbrook/journal/hostile.json"), QJsonDocument(json).toJson());
        const CliResult undone = cli({"undo", "--exiftool", "/usr/bin/exiftool", hostile});
        EXPECT_EQ(undone.status, 2) << undone.err.toStdString();
        EXPECT_TRUE(undone.err.contains("\u201chostile.json\u201d can't be undone"))
            << undone.err.toStdString();
        EXPECT_TRUE(undone.err.contains(row.said)) << undone.err.toStdString();
        EXPECT_TRUE(undone.out.isEmpty());
        EXPECT_EQ(shootDigest(), before);
    }
    // journal names what it can't read instead of hiding it.
    const QString garbage =
        writeFile(path("state/quillbrook/journal/zz-garbage.json"), "{\"files\": [1,");
    const CliResult unreadable = cli({"undo", garbage});
    EXPECT_EQ(unreadable.status, 2) << unreadable.err.toStdString();
    EXPECT_TRUE(unreadable.err.contains("\u201czz-garbage.json\u201d can't be undone"));
    const CliResult listed = cli({"journal"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_TRUE(
        listed.out.contains(path("state/quillbrook/journal/zz-garbage.json") + "\tdamaged: "))
        << listed.out.toStdString();
    EXPECT_TRUE(listed.out.contains(m_journal + "\t")) << listed.out.toStdString();
}

TEST_F(UndoCli, UndoWaitsForAnotherWriteAndKeepsAJournalOfItsOwn)
{
    const int lock = ::open(QFile::encodeName(path("quillbrook-write.lock")).constData(),
                            O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    QProcess undo;
    prepareCli(undo, {"undo", "--exiftool", "/usr/bin/exiftool", m_journal}, m_environment);
    undo.start();
    QByteArray said;
    QElapsedTimer clock;
    clock.start();
    while (!said.contains("waiting for another Quillbrook write") && !clock.hasExpired(30000)) {
        undo.waitForReadyRead(50);
        said += undo.readAllStandardError();
    }
    EXPECT_TRUE(said.contains("waiting for another Quillbrook write")) << said.toStdString();
    EXPECT_EQ(title("shoot/A1.jpg"), "Hello"); // nothing done while it waits
    ::close(lock);
    ASSERT_TRUE(undo.waitForFinished(60000));
    EXPECT_EQ(undo.exitCode(), 0) << said.toStdString();
    EXPECT_EQ(undo.readAllStandardOutput(), "Restored values. 2 written, 0 unchanged, 0 failed.\n");
    EXPECT_EQ(title("shoot/A1.jpg"), "");

    // Its own journal, listed first, undoes the undo.
    const CliResult listed = cli({"journal"});
    const QString own = listed.out.section('\t', 0, 0);
    EXPECT_TRUE(listed.out.section('\n', 0, 0).endsWith("\tundo\t2 files"))
        << listed.out.toStdString();
    const CliResult again = cli({"undo", "--exiftool", "/usr/bin/exiftool", own});
    EXPECT_EQ(again.status, 0) << again.err.toStdString();
    EXPECT_EQ(title("shoot/A1.jpg"), "Hello");
    EXPECT_EQ(title("shoot/B2.jpg"), "World");
}

} // namespace
