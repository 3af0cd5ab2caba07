// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli cards, assign --cards and watch --cards on a shoot made
// here: frames with cards drawn by zxing's writer, times written by the
// real exiftool.
#include "clirunner.h"

#include "cardimages.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb::test;

namespace {

class CardsCli : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(qb::testing::shoot(path("shoot"), qb::testing::schoolShoot()).size(), 15);
        writeFile(path("pupils.csv"), "Number,Name,Class\n1234,Ana Lindqvist,4B\n"
                                      "1235,Björn Ek,4B\n1236,Chen Wei,4B\n1237,Dana Ruiz,4B\n"
                                      "1238,Emil Berg,4B\n1239,Farah Haddad,4B\n");
        writeFile(path("rows.json"), R"([{"keyName": "Name", "destTag": "XMP-dc:Title",
                                          "actions": {"mappers": []}}])");
        // The card blurred past reading, set by hand.
        writeFile(path("fixes.csv"), "frame,key\nIMG_0014.JPG,1238\n");
    }

    QString path(const QString& name) const { return m_folder.filePath(name); }
    QStringList source() const { return {"--csv", path("pupils.csv"), "--key", "Number"}; }
    QStringList environment() const
    {
        return {"XDG_RUNTIME_DIR=" + m_folder.path(), "XDG_STATE_HOME=" + path("state")};
    }
    CliResult cards(const QStringList& options) const
    {
        return runCli(QStringList{"cards"} + source() + options + QStringList{path("shoot")}, {},
                      {}, 120000, environment());
    }
    // The titles exiftool reads in `folder`, by file name.
    std::map<QString, QString> titles(const QString& folder) const
    {
        QProcess exiftool;
        exiftool.start("/usr/bin/exiftool", {"-j", "-XMP-dc:Title", "-ext", "jpg", path(folder)});
        exiftool.waitForFinished(60000);
        std::map<QString, QString> result;
        for (const auto entry : QJsonDocument::fromJson(exiftool.readAllStandardOutput()).array()) {
            const QJsonObject object = entry.toObject();
            if (object.contains("Title"))
                result[QFileInfo(object["SourceFile"].toString()).fileName()] =
                    object["Title"].toString();
        }
        return result;
    }

    QTemporaryDir m_folder;
};

TEST_F(CardsCli, ThePlanFlagsTheMissedCardAndTheCardsFileMendsIt)
{
    const CliResult missed = cards({});
    ASSERT_EQ(missed.status, 0) << missed.err.toStdString();
    EXPECT_TRUE(missed.out.contains("  group 1236 (Chen Wei) + 1237 (Dana Ruiz): 4 frames, "
                                    "IMG_0012.JPG to IMG_0015.JPG (card IMG_0011.JPG)\n"
                                    "    check: a card may have been missed: 5 min 50 s without "
                                    "a frame after IMG_0012.JPG\n"))
        << missed.out.toStdString();
    EXPECT_TRUE(missed.out.contains("Rows without frames\n  1238 (Emil Berg)\n"));

    const CliResult mended = cards({"--cards-file", path("fixes.csv")});
    ASSERT_EQ(mended.status, 0) << mended.err.toStdString();
    EXPECT_EQ(
        mended.out.toStdString(),
        R"(15 frames in order of capture time, each card before its frames, card frames left alone
5 subjects, 1 to check; 8 frames to write

Subjects
  1234 (Ana Lindqvist): 3 frames, IMG_0004.JPG to IMG_0003.JPG (card IMG_0002.JPG)
  1235 (Björn Ek): 2 frames, IMG_0007.JPG to IMG_0008.JPG (card IMG_0006.JPG)
  unknown code 9999: 1 frame left unassigned, IMG_0010.JPG (card IMG_0009.JPG)
  group 1236 (Chen Wei) + 1237 (Dana Ruiz): 2 frames, IMG_0012.JPG to IMG_0013.JPG (card IMG_0011.JPG)
    check: a card may have been missed: 5 min 50 s without a frame after IMG_0012.JPG
  1238 (Emil Berg): 1 frame, IMG_0015.JPG (card IMG_0014.JPG, set by hand)

Unassigned
  IMG_0001.JPG, 1 frame: before the first card

Without a capture time, placed by name
  IMG_0007.JPG

Rows without frames
  1239 (Farah Haddad)
)");
}

TEST_F(CardsCli, OptionsChangeThePlanAndBadOnesAreRefused)
{
    struct Row {
        QStringList options;
        int status;
        const char* out; // a part of stdout
        const char* err; // a part of stderr
    };
    const Row rows[] = {
        {{"--card-order", "backward", "--cards-file", path("fixes.csv")},
         0,
         "  1234 (Ana Lindqvist): 1 frame, IMG_0001.JPG (card IMG_0002.JPG)\n"
         "  1235 (Björn Ek): 3 frames, IMG_0004.JPG to IMG_0003.JPG (card IMG_0006.JPG)\n",
         ""},
        {{"--card-order", "backward"},
         0,
         "  IMG_0012.JPG to IMG_0015.JPG, 4 frames: after the last card\n",
         ""},
        {{"--gap", "400", "--cards-file", path("fixes.csv")}, 0, "5 subjects, 0 to check", ""},
        {{"--card-pattern", "^(12\\d\\d)$"},
         0,
         "Codes that give no key, not taken as cards\n  IMG_0009.JPG: 9999\n",
         ""},
        {{"--order", "name"},
         0,
         "1234 (Ana Lindqvist): 3 frames, IMG_0003.JPG to IMG_0005.JPG",
         ""},
        {{"--card-order", "sideways"}, 2, "", "--card-order takes forward or backward"},
        {{"--gap", "-3"}, 2, "", "--gap takes a number of seconds, not '-3'"},
        {{"--card-pattern", "(12"}, 2, "", "(12"},
        {{"--cards-file", path("none.csv")}, 2, "", "none.csv"},
        {{"--exiftool", path("broken-exiftool")}, 1, "", "exiftool could not read the metadata"},
    };
    writeFile(path("broken-exiftool"), "#!/bin/sh\necho 'Can not locate Image/ExifTool.pm' >&2\n"
                                       "exit 2\n");
    QFile::setPermissions(path("broken-exiftool"), QFile::ReadOwner | QFile::ExeOwner);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.options.join(' ').toStdString());
        const CliResult result = cards(row.options);
        EXPECT_EQ(result.status, row.status) << result.err.toStdString();
        EXPECT_TRUE(result.out.contains(QString::fromUtf8(row.out))) << result.out.toStdString();
        EXPECT_TRUE(result.err.contains(QString::fromUtf8(row.err))) << result.err.toStdString();
    }
    const CliResult json = cards({"--json"});
    const QJsonObject plan = QJsonDocument::fromJson(json.out.toUtf8()).object();
    EXPECT_EQ(plan["subjects"][3]["keys"].toArray(), QJsonArray({"1236", "1237"}));
    EXPECT_EQ(plan["subjects"][3]["check"].toArray(), QJsonArray({"gap"}));
    EXPECT_EQ(plan["frames"][9]["reason"], "unknownCode");
}

TEST_F(CardsCli, AssignWritesThePlanWhichItsDryRunShows)
{
    const QStringList assign = QStringList{"assign",          "--cards",    "--cards-file",
                                           path("fixes.csv"), "--mappings", path("rows.json")} +
                               source();
    const CliResult dry =
        runCli(assign + QStringList{"--dry-run", path("shoot")}, {}, {}, 120000, environment());
    ASSERT_EQ(dry.status, 0) << dry.err.toStdString();
    EXPECT_TRUE(dry.err.contains("5 subjects, 1 to check; 8 frames to write"));
    const QJsonArray batch = QJsonDocument::fromJson(dry.out.toUtf8()).array();
    ASSERT_EQ(batch.size(), 8);
    EXPECT_EQ(batch[5].toObject()["SourceFile"], path("shoot/IMG_0012.JPG"));
    EXPECT_EQ(batch[5].toObject()["XMP-dc:Title"], "Chen Wei"); // the group's first name
    EXPECT_TRUE(titles("shoot").empty());

    const CliResult wrote =
        runCli(assign + QStringList{"--report", path("report.json"), path("shoot")}, {}, {}, 120000,
               environment());
    ASSERT_EQ(wrote.status, 0) << wrote.err.toStdString();
    EXPECT_TRUE(wrote.out.contains("8 written")) << wrote.out.toStdString();
    const std::map<QString, QString> expected{
        {"IMG_0003.JPG", "Ana Lindqvist"}, {"IMG_0004.JPG", "Ana Lindqvist"},
        {"IMG_0005.JPG", "Ana Lindqvist"}, {"IMG_0007.JPG", "Björn Ek"},
        {"IMG_0008.JPG", "Björn Ek"},      {"IMG_0012.JPG", "Chen Wei"},
        {"IMG_0013.JPG", "Chen Wei"},      {"IMG_0015.JPG", "Emil Berg"}};
    EXPECT_EQ(titles("shoot"), expected);
    EXPECT_TRUE(QFileInfo::exists(path("report.json")));
    EXPECT_FALSE(QDir(path("state/quillbrook/journal")).isEmpty());

    const CliResult stray =
        runCli({"assign", "--card-pattern", "x", "--mappings", path("rows.json"), "--csv",
                path("pupils.csv"), "--key", "Number", path("shoot")},
               {}, {}, 120000, environment());
    EXPECT_EQ(stray.status, 2);
    EXPECT_TRUE(stray.err.contains("--card-pattern goes with --cards"));
}

TEST_F(CardsCli, WatchTakesTheSubjectFromACardAndFromAKeyOnStandardInput)
{
    QDir().mkpath(path("live"));
    QProcess watch;
    prepareCli(
        watch,
        QStringList{"watch", "--cards", "--method", "direct", "--mappings", path("rows.json")} +
            source() + QStringList{path("live")},
        environment());
    watch.start();
    ASSERT_TRUE(watch.waitForStarted());
    QString out, err;
    const auto waitFor = [&](const QString& text) {
        QElapsedTimer clock;
        clock.start();
        while (!(out + err).contains(text) && !clock.hasExpired(30000)) {
            watch.waitForReadyRead(50);
            out += QString::fromUtf8(watch.readAllStandardOutput());
            err += QString::fromUtf8(watch.readAllStandardError());
        }
        return (out + err).contains(text);
    };
    const auto arrive = [&](const char* frame, const QString& name) {
        QFile::copy(path("shoot/") + frame, path("live/") + name);
    };
    ASSERT_TRUE(waitFor("watching")) << err.toStdString();
    arrive("IMG_0001.JPG", "P0.JPG");
    EXPECT_TRUE(waitFor("P0.JPG: no subject yet; left unwritten")) << err.toStdString();
    arrive("IMG_0002.JPG", "C1.JPG");
    EXPECT_TRUE(waitFor("subject 1234 (Ana Lindqvist)\n")) << out.toStdString();
    arrive("IMG_0003.JPG", "P1.JPG");
    EXPECT_TRUE(waitFor("P1.JPG: 1 tag")) << err.toStdString();
    watch.write("1235\n"); // a scanner in keyboard mode, or the operator
    EXPECT_TRUE(waitFor("subject 1235 (Björn Ek)\n")) << out.toStdString();
    arrive("IMG_0004.JPG", "P2.JPG");
    EXPECT_TRUE(waitFor("P2.JPG: 1 tag")) << err.toStdString();
    watch.write("4444\n");
    arrive("IMG_0005.JPG", "P3.JPG");
    EXPECT_TRUE(waitFor("P3.JPG: the last card or key named no row; left unwritten"))
        << err.toStdString();
    watch.terminate();
    watch.waitForFinished(30000);
    const std::map<QString, QString> expected{{"P1.JPG", "Ana Lindqvist"}, {"P2.JPG", "Björn Ek"}};
    EXPECT_EQ(titles("live"), expected);
}

} // namespace
