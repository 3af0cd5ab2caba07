// SPDX-License-Identifier: GPL-3.0-or-later
// The commands that work from documents, shot lists and image sets.
#include "clirunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace qb::test;

namespace {

const QString examples = QStringLiteral(QB_EXAMPLES_DIR);

class DocumentCommands : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (const char* name : {"shoot/A101_1.jpg", "shoot/deep/A101_2.jpg", "shoot/B202.jpg"})
            makeJpeg(m_dir.filePath(name));
        writeFile(m_dir.filePath("shoot/notes.txt"), {});
    }
    QString shoot() const { return m_dir.filePath("shoot"); }
    QTemporaryDir m_dir;
};

TEST_F(DocumentCommands, DocumentPrintsVersionTwo)
{
    const CliResult result = runCli({"document", examples + "/sample.qbmap"});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const QJsonObject json = QJsonDocument::fromJson(result.out.toUtf8()).object();
    EXPECT_EQ(json["version"].toInt(), 2);
    EXPECT_EQ(json["mappings"].toArray().size(), 5);
    EXPECT_EQ(json["datasource"].toString(), "csvsource");

    const CliResult missing = runCli({"document", m_dir.path()});
    EXPECT_EQ(missing.status, 2);
    EXPECT_TRUE(missing.err.contains("File with name 'mapping.json' was not found"));
    EXPECT_TRUE(missing.out.isEmpty());
}

TEST_F(DocumentCommands, AssignTakesRowsAndCsvSettingsFromTheDocument)
{
    const CliResult all =
        runCli({"assign", "--dry-run", "--document", examples + "/sample.qbmap", shoot()});
    ASSERT_EQ(all.status, 0) << all.err.toStdString();
    const QJsonArray batch = QJsonDocument::fromJson(all.out.toUtf8()).array();
    ASSERT_EQ(batch.size(), 3);
    EXPECT_EQ(batch[0].toObject()["XMP:TransmissionReference"].toString(), "A101");

    const CliResult shallow = runCli({"assign", "--dry-run", "--no-recursive", "--document",
                                      examples + "/sample.qbmap", shoot()});
    EXPECT_EQ(QJsonDocument::fromJson(shallow.out.toUtf8()).array().size(), 2);

    // An option overrides the document's setting.
    const CliResult equals = runCli({"assign", "--dry-run", "--match", "equals", "--document",
                                     examples + "/sample.qbmap", shoot()});
    EXPECT_EQ(QJsonDocument::fromJson(equals.out.toUtf8()).array().size(), 1); // B202 alone
}

TEST_F(DocumentCommands, ShotlistCountsShotsWithImages)
{
    const CliResult result =
        runCli({"shotlist", "--csv", examples + "/shoot.csv", "--key", "Shot", shoot()});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(result.out,
              QString::fromUtf8("☑︎ A101: 2 images\n☑︎ B202: 1 images\n☐ D404: 0 images\n"
                                "3 shots, 2 with images\n"));

    const CliResult json = runCli({"shotlist", "--json", "--require-matching-folder", "--csv",
                                   examples + "/shoot.csv", "--key", "Shot", shoot()});
    ASSERT_EQ(json.status, 0) << json.err.toStdString();
    const QJsonArray shots = QJsonDocument::fromJson(json.out.toUtf8()).array();
    ASSERT_EQ(shots.size(), 3);
    EXPECT_EQ(shots[0].toObject()["name"].toString(), "A101");
    EXPECT_TRUE(shots[0].toObject()["images"].toArray().isEmpty()); // no folder named A101
}

TEST_F(DocumentCommands, KeyPatternThatRunsOutOfTimeIsToldOnceAndTheListGoesOn)
{
    for (const char* end : {"b", "c"})
        makeJpeg(m_dir.filePath("slow/" + QString(30, 'a') + end + ".jpg"));
    const QString csv = writeFile(m_dir.filePath("keys.csv"), "Shot\n(a+)+$\n^a+c$\n");
    const CliResult result = runCli(
        {"shotlist", "--match", "regex", "--csv", csv, "--key", "Shot", m_dir.filePath("slow")});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, QString::fromUtf8("☐ (a+)+$: 0 images\n☑︎ ^a+c$: 1 images\n"
                                            "2 shots, 1 with images\n"));
    EXPECT_EQ(result.err.count("(a+)+$"), 1) << result.err.toStdString();
}

TEST_F(DocumentCommands, FoldersAreCreatedAndPrinted)
{
    const QString dest = m_dir.filePath("capture");
    const CliResult result = runCli({"folders", "--document", examples + "/sample.qbmap", dest});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(result.out, dest + "/A101\n" + dest + "/B202\n" + dest + "/D404\n");
    EXPECT_TRUE(QFileInfo(dest + "/D404").isDir());

    const QString blocker = writeFile(m_dir.filePath("blocked"), {});
    const CliResult failed = runCli({"folders", "--document", examples + "/sample.qbmap", blocker});
    EXPECT_EQ(failed.status, 1);
    EXPECT_FALSE(failed.err.isEmpty());
}

TEST_F(DocumentCommands, ValidateFollowsTheWriteMethod)
{
    const QString home = m_dir.filePath("home");
    const QStringList environment = {"HOME=" + home, "XDG_CONFIG_HOME=" + home + "/.config"};
    // A folder gives its images; a file named directly is taken as it is.
    const QStringList paths = {shoot(), shoot() + "/notes.txt"};
    const CliResult direct = runCli(QStringList{"validate"} + paths, {}, {}, 60000, environment);
    ASSERT_EQ(direct.status, 0) << direct.err.toStdString();
    const QStringList lines = direct.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 4); // the message, then three images; notes.txt left out
    EXPECT_FALSE(lines[0].startsWith('/'));
    EXPECT_FALSE(direct.out.contains("notes.txt"));
}

TEST_F(DocumentCommands, ImageSourceRowsComeFromOtherImages)
{
    // Tag one source image, then copy its tags onto the shoot by name.
    const QString source = makeJpeg(m_dir.filePath("sources/B202.jpg"));
    QProcess tag;
    tag.start("/usr/bin/exiftool",
              {"-q", "-overwrite_original", "-XMP-dc:Title=From source", source});
    ASSERT_TRUE(tag.waitForFinished(30000));
    const QString mappings =
        writeFile(m_dir.filePath("copy.json"),
                  R"([{"keyName":"XMP:Title","destTag":"XMP:Headline","actions":{"mappers":[]}}])");
    const CliResult result =
        runCli({"assign", "--dry-run", "--image-source", m_dir.filePath("sources"), "--match",
                "equals", "--mappings", mappings, shoot()});
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    const QJsonArray batch = QJsonDocument::fromJson(result.out.toUtf8()).array();
    ASSERT_EQ(batch.size(), 1);
    EXPECT_EQ(batch[0].toObject()["XMP:Headline"].toString(), "From source");
}

TEST_F(DocumentCommands, NothingMatchedWritesNothingAndSaysSo)
{
    const CliResult result = runCli({"assign", "--method", "direct", "--key", "Title", "--document",
                                     examples + "/sample.qbmap", shoot()});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.out.isEmpty());
    EXPECT_TRUE(result.err.contains("no image matched a row; nothing was written"))
        << result.err.toStdString();
}

TEST_F(DocumentCommands, CaptureOneIsNotRunningHere)
{
    const CliResult write = runCli(
        {"assign", "--method", "captureone", "--document", examples + "/sample.qbmap", shoot()});
    EXPECT_EQ(write.status, 1);
    EXPECT_TRUE(write.err.contains("Capture One 20 is not running.")) << write.err.toStdString();
    EXPECT_TRUE(write.err.contains("Launch Capture One 20"));

    const CliResult dryRun = runCli({"assign", "--dry-run", "--method", "captureone", "--document",
                                     examples + "/sample.qbmap", shoot()});
    ASSERT_EQ(dryRun.status, 0) << dryRun.err.toStdString();
    EXPECT_TRUE(dryRun.out.contains(shoot() + "/B202.jpg"));
    EXPECT_TRUE(dryRun.out.contains("\"Denim \\\"classic\\\" fit\"")) << dryRun.out.toStdString();
}

TEST_F(DocumentCommands, DocumentErrorsNameTheirCause)
{
    // The sample document with its CSV settings replaced.
    const auto document = [&](const QString& name, const QByteArray& csvJson) {
        const QString package = m_dir.filePath(name + ".qbmap");
        QFile::copy(examples + "/sample.qbmap/mapping.json", package + "/mapping.json");
        writeFile(package + "/datasource/csv.json", csvJson);
        return package;
    };
    QDir().mkpath(m_dir.filePath("gone.qbmap"));
    QDir().mkpath(m_dir.filePath("damaged.qbmap"));
    const QByteArray goneBookmark =
        QByteArray(R"({"path":")") + m_dir.filePath("moved.csv").toUtf8() + R"("})";
    const QString gone = document("gone", R"({"keyNames":["Shot"],"selectedHeader":"Shot",
        "selectedMatchStyle":2,"currentURL":")" +
                                              goneBookmark.toBase64() + R"("})");
    const QString damaged = document("damaged", "{\"keyNames\": [");
    struct Case {
        const char* name;
        QStringList arguments;
        int status;
        QString errContains;
    };
    const Case cases[] = {
        {"csv file gone",
         {"--document", gone},
         2,
         "can't be found (At currentURL: there is no file at \u201c" + m_dir.filePath("moved.csv") +
             "\u201d); give it with --csv FILE"},
        {"csv.json damaged", {"--document", damaged}, 2, "datasource/csv.json is damaged"},
        // The key and style still come from the document.
        {"csv file given instead", {"--document", gone, "--csv", examples + "/shoot.csv"}, 0, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const CliResult result =
            runCli(QStringList{"assign", "--dry-run"} + c.arguments + QStringList{shoot()});
        EXPECT_EQ(result.status, c.status) << result.err.toStdString();
        EXPECT_TRUE(result.err.contains(c.errContains)) << result.err.toStdString();
    }
}

} // namespace
