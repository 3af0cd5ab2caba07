// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli watch, run as a tethered shoot would run it.
#include "clirunner.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

using namespace qb::test;

namespace {

class WatchTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QString rows = QStringLiteral("Shot,Title\n");
        for (int i = 1; i <= 60; ++i)
            rows += QStringLiteral("A101_%1,Look %2\n").arg(i, 4, 10, QLatin1Char('0')).arg(i);
        writeFile(path("shots.csv"), rows.toUtf8());
        writeFile(path("rows.json"), R"([{"keyName": "Title", "destTag": "XMP-dc:Title",
                                          "actions": {"mappers": []}}])");
        // A copy of its own, so that a process left behind can be told apart.
        QFile::copy(QStringLiteral("/usr/bin/exiftool"), path("exiftool"));
        QDir().mkpath(path("shoot"));
        makeJpeg(path("template/A.jpg"));
    }
    void TearDown() override
    {
        if (m_watch.state() != QProcess::NotRunning) {
            m_watch.kill();
            m_watch.waitForFinished();
        }
    }

    QString path(const QString& name) const { return m_folder.filePath(name); }
    // The writer lock, the claims on folders and the journals of its own.
    QStringList environment() const
    {
        return {"XDG_RUNTIME_DIR=" + m_folder.path(), "XDG_STATE_HOME=" + path("state")};
    }
    QByteArray jpegBytes() const
    {
        QFile file(path("template/A.jpg"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void copyIn(const QString& name) const
    {
        QFile::copy(path("template/A.jpg"), path("shoot/") + name);
    }

    void start(const QStringList& extra = {})
    {
        prepareCli(m_watch,
                   QStringList{"watch", "--mappings", path("rows.json"), "--csv", path("shots.csv"),
                               "--key", "Shot", "--match", "equals", "--method", "direct",
                               "--exiftool", path("exiftool")} +
                       extra + QStringList{path("shoot")},
                   environment());
        m_watch.start();
        ASSERT_TRUE(m_watch.waitForStarted());
        waitFor([this] { return m_err.contains("watching"); });
        ASSERT_TRUE(m_err.contains("watching")) << m_err.toStdString();
    }
    // Reads both streams until `done` holds, for 30 s at most.
    void waitFor(const std::function<bool()>& done)
    {
        QElapsedTimer clock;
        clock.start();
        while (!done() && !clock.hasExpired(30000)) {
            m_watch.waitForReadyRead(50);
            m_out += QString::fromUtf8(m_watch.readAllStandardOutput());
            m_err += QString::fromUtf8(m_watch.readAllStandardError());
        }
    }
    int stop()
    {
        m_watch.terminate();
        m_watch.waitForFinished(30000);
        m_out += QString::fromUtf8(m_watch.readAllStandardOutput());
        m_err += QString::fromUtf8(m_watch.readAllStandardError());
        return m_watch.exitCode();
    }
    // The titles exiftool reads in the shoot folder, by file name.
    std::map<QString, QString> titles() const
    {
        QProcess exiftool;
        exiftool.start(QStringLiteral("/usr/bin/exiftool"),
                       {"-j", "-XMP-dc:Title", "-ext", "jpg", path("shoot")});
        exiftool.waitForFinished(60000);
        std::map<QString, QString> result;
        for (const auto entry : QJsonDocument::fromJson(exiftool.readAllStandardOutput()).array()) {
            const QJsonObject object = entry.toObject();
            result[QFileInfo(object["SourceFile"].toString()).fileName()] =
                object["Title"].toString();
        }
        return result;
    }
    // Whether an exiftool we started still runs.
    bool exiftoolLeftBehind() const
    {
        QDirIterator processes(QStringLiteral("/proc"), QDir::Dirs | QDir::NoDotAndDotDot);
        while (processes.hasNext()) {
            QFile commandLine(processes.next() + QStringLiteral("/cmdline"));
            if (commandLine.open(QIODevice::ReadOnly) &&
                commandLine.readAll().contains(path("exiftool").toUtf8()))
                return true;
        }
        return false;
    }

    QTemporaryDir m_folder;
    QProcess m_watch;
    QString m_out;
    QString m_err;
};

TEST_F(WatchTest, SlowCopyIsWrittenOnceWhenCompleteAndWhatIsNoCaptureIsLeftAlone)
{
    start();
    // A tethering program writes the capture in pieces through one handle.
    const QByteArray bytes = jpegBytes();
    QFile slow(path("shoot/A101_0001.jpg"));
    ASSERT_TRUE(slow.open(QIODevice::WriteOnly));
    for (qsizetype at = 0; at < bytes.size(); at += bytes.size() / 4 + 1) {
        slow.write(bytes.mid(at, bytes.size() / 4 + 1));
        slow.flush();
        QThread::msleep(250);
    }
    slow.close();
    writeFile(path("shoot/notes.txt"), "not an image");
    writeFile(path("shoot/.A101_0002.jpg"), bytes);
    writeFile(path("shoot/A101_0003.jpg.part"), bytes.left(100));
    copyIn("Z999.jpg");
    waitFor([this] { return m_out.contains("A101_0001.jpg") && m_err.contains("Z999.jpg"); });
    QThread::msleep(500);
    EXPECT_EQ(stop(), 128 + SIGTERM);
    EXPECT_EQ(m_out, "A101_0001.jpg: 1 tag\n");
    EXPECT_TRUE(m_err.contains("quillbrook-cli: Z999.jpg: matches no row; skipped"))
        << m_err.toStdString();
    EXPECT_TRUE(m_err.contains("watch stopped: 1 written, 0 failed, 1 skipped"));
    EXPECT_EQ(titles()["A101_0001.jpg"], "Look 1");
    EXPECT_FALSE(QFileInfo::exists(path("shoot/A101_0001.jpg_original")));
    EXPECT_FALSE(exiftoolLeftBehind());
}

TEST_F(WatchTest, CapturesKeyedByATagAreWrittenByItsValueAndThoseWithoutAreSkipped)
{
    // A camera's frames, tagged by the tether program with the shot they are.
    QFile::copy(path("template/A.jpg"), path("template/IMG_0001.jpg"));
    QProcess tagging;
    tagging.start(QStringLiteral("/usr/bin/exiftool"),
                  {"-q", "-overwrite_original", "-XMP-photoshop:TransmissionReference=A101_0005",
                   path("template/IMG_0001.jpg")});
    ASSERT_TRUE(tagging.waitForFinished(60000));
    start({"--key-tag", "XMP-photoshop:TransmissionReference"});
    QFile::copy(path("template/IMG_0001.jpg"), path("shoot/IMG_0001.jpg"));
    copyIn("A101_0006.jpg"); // named like a row, but without the tag
    waitFor([this] { return m_out.contains("IMG_0001.jpg") && m_err.contains("A101_0006.jpg"); });
    EXPECT_EQ(stop(), 128 + SIGTERM);
    EXPECT_EQ(m_out, "IMG_0001.jpg: 1 tag\n");
    EXPECT_TRUE(
        m_err.contains("A101_0006.jpg: has no XMP-photoshop:TransmissionReference; skipped"))
        << m_err.toStdString();
    EXPECT_EQ(titles()["IMG_0001.jpg"], "Look 5");
    EXPECT_EQ(titles()["A101_0006.jpg"], "");
}

TEST_F(WatchTest, KilledOutrightItLeavesNoExiftoolBehind)
{
    start();
    ASSERT_TRUE(exiftoolLeftBehind()); // started before the first capture
    m_watch.kill();
    m_watch.waitForFinished();
    QElapsedTimer clock;
    clock.start();
    while (exiftoolLeftBehind() && !clock.hasExpired(5000))
        QThread::msleep(50);
    EXPECT_FALSE(exiftoolLeftBehind());
}

class WatchBurstTest : public WatchTest, public ::testing::WithParamInterface<QStringList> {};

TEST_P(WatchBurstTest, BurstOfFiftyIsWrittenInFull)
{
    start(GetParam());
    for (int i = 1; i <= 50; ++i)
        copyIn(QStringLiteral("A101_%1.jpg").arg(i, 4, 10, QLatin1Char('0')));
    waitFor([this] { return m_out.count('\n') >= 50; });
    QThread::msleep(GetParam().isEmpty() ? 300 : 1000);
    EXPECT_EQ(stop(), 128 + SIGTERM);
    EXPECT_EQ(m_out.count('\n'), 50) << m_out.toStdString() << m_err.toStdString();
    const auto written = titles();
    ASSERT_EQ(written.size(), 50u);
    for (int i = 1; i <= 50; ++i)
        EXPECT_EQ(written.at(QStringLiteral("A101_%1.jpg").arg(i, 4, 10, QLatin1Char('0'))),
                  QStringLiteral("Look %1").arg(i));
    EXPECT_FALSE(exiftoolLeftBehind());
}

INSTANTIATE_TEST_SUITE_P(NoticesAndPolling, WatchBurstTest,
                         ::testing::Values(QStringList{}, QStringList{"--poll", "0.2"}));

TEST_F(WatchTest, BadUsageEndsWithStatusTwo)
{
    const QStringList rows{"--mappings",      path("rows.json"), "--csv",
                           path("shots.csv"), "--key",           "Shot"};
    const struct {
        QStringList arguments;
        const char* message;
    } cases[] = {
        {QStringList{"watch"} + rows + QStringList{path("nowhere")}, "one folder to watch"},
        {QStringList{"watch", "--method", "captureone"} + rows + QStringList{path("shoot")},
         "--method direct or xmp"},
        {QStringList{"watch", "--poll", "soon"} + rows + QStringList{path("shoot")},
         "--poll takes a number"},
        {QStringList{"assign", "--jobs", "two"} + rows + QStringList{path("shoot")},
         "--jobs takes a whole number"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        const CliResult result = runCli(row.arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_TRUE(result.err.contains(row.message)) << result.err.toStdString();
    }
}

// A tether program writes the capture in three pieces, holding it open
// through pauses longer than any settle time.
class PausingWriter : public WatchTest, public ::testing::WithParamInterface<QStringList> {};

TEST_P(PausingWriter, TheCaptureIsWrittenOnlyOnceItsWriterHasClosedIt)
{
    start(GetParam());
    const QByteArray bytes = jpegBytes();
    const qsizetype third = bytes.size() / 3 + 1;
    for (int i = 0; i < 3; ++i)
        writeFile(path("piece%1").arg(i), bytes.mid(i * third, third));
    QProcess tether;
    tether.start("/bin/sh", {"-c",
                             "exec 3>\"$1\"; cat \"$2\" >&3; sleep 2.5; cat \"$3\" >&3; "
                             "sleep 2.5; cat \"$4\" >&3",
                             "sh", path("shoot/A101_0002.jpg"), path("piece0"), path("piece1"),
                             path("piece2")});
    ASSERT_TRUE(tether.waitForStarted());
    waitFor([&tether] { return tether.waitForFinished(10); });
    EXPECT_TRUE(m_out.isEmpty()) << "written while its writer still had it open";
    waitFor([this] { return m_out.contains("A101_0002.jpg"); });
    QThread::msleep(300);
    EXPECT_EQ(stop(), 128 + SIGTERM);
    EXPECT_EQ(m_out, "A101_0002.jpg: 1 tag\n") << m_err.toStdString();
    EXPECT_EQ(titles()["A101_0002.jpg"], "Look 2");
    // Whole: every byte of the capture is there, and it still decodes.
    EXPECT_GT(QFileInfo(path("shoot/A101_0002.jpg")).size(), bytes.size());
    EXPECT_FALSE(QImage(path("shoot/A101_0002.jpg")).isNull());
}

INSTANTIATE_TEST_SUITE_P(NoticesAndPolling, PausingWriter,
                         ::testing::Values(QStringList{},
                                           QStringList{"--poll", "0.2", "--settle", "0.5"}));

TEST_F(WatchTest, AssignAndASecondWatchRewriteNoCapture)
{
    start();
    copyIn("A101_0001.jpg");
    waitFor([this] { return m_out.contains("A101_0001.jpg"); });
    // The producer corrects the row and writes it with assign.
    writeFile(path("corrected.csv"), "Shot,Title\nA101_0001,Corrected\n");
    const CliResult assigned = runCli(
        {"assign", "--mappings", path("rows.json"), "--csv", path("corrected.csv"), "--key", "Shot",
         "--match", "equals", "--method", "direct", "--exiftool", path("exiftool"), path("shoot")},
        {}, {}, 60000, environment());
    EXPECT_EQ(assigned.status, 0) << assigned.err.toStdString();
    // A second watch, by another path to the same folder, doesn't start.
    ASSERT_TRUE(QFile::link(path("shoot"), path("same")));
    const CliResult second =
        runCli({"watch", "--mappings", path("rows.json"), "--csv", path("shots.csv"), "--key",
                "Shot", "--method", "direct", "--exiftool", path("exiftool"), path("same")},
               {}, {}, 60000, environment());
    EXPECT_EQ(second.status, 1);
    EXPECT_TRUE(second.err.contains(
        QStringLiteral("another watch is writing this folder (pid %1)").arg(m_watch.processId())))
        << second.err.toStdString();
    QThread::msleep(1000);
    EXPECT_EQ(stop(), 128 + SIGTERM);
    EXPECT_EQ(m_out, "A101_0001.jpg: 1 tag\n") << m_err.toStdString();
    EXPECT_EQ(titles()["A101_0001.jpg"], "Corrected");
}

struct GoneCase {
    QStringList options;
    bool renamed;
    const char* said;
};

class FolderGone : public WatchTest, public ::testing::WithParamInterface<GoneCase> {};

TEST_P(FolderGone, WatchSaysSoAndEndsWithStatusOne)
{
    start(GetParam().options);
    if (GetParam().renamed)
        ASSERT_TRUE(QDir().rename(path("shoot"), path("shoot-renamed")));
    else
        ASSERT_TRUE(QDir(path("shoot")).removeRecursively());
    ASSERT_TRUE(m_watch.waitForFinished(30000));
    m_err += QString::fromUtf8(m_watch.readAllStandardError());
    EXPECT_EQ(m_watch.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(m_watch.exitCode(), 1);
    EXPECT_TRUE(m_err.contains(QStringLiteral("the watched folder %1 %2; watch stops")
                                   .arg(path("shoot"), QLatin1String(GetParam().said))))
        << m_err.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    RemovedOrRenamed, FolderGone,
    ::testing::Values(GoneCase{{}, false, "was removed"},
                      GoneCase{{}, true, "was moved or renamed"},
                      GoneCase{{"--poll", "0.2"}, false, "was removed, moved or renamed"},
                      GoneCase{{"--poll", "0.2"}, true, "was removed, moved or renamed"}),
    [](const ::testing::TestParamInfo<GoneCase>& info) {
        return std::string(info.param.renamed ? "Renamed" : "Removed") +
               (info.param.options.isEmpty() ? "WithNotices" : "WhilePolling");
    });

TEST_F(WatchTest, ASessionNamesOddNamesReadsCorrectedRowsAndCanBeUndone)
{
    start();
    // A capture whose name isn't UTF-8.
    const QByteArray odd = QFile::encodeName(path("shoot/")) + "A101_0001\xe9.jpg";
    QFile::copy(path("template/A.jpg"), path("odd.jpg"));
    ASSERT_EQ(::rename(QFile::encodeName(path("odd.jpg")).constData(), odd.constData()), 0);
    waitFor([this] { return m_err.contains("left out"); });
    EXPECT_TRUE(m_err.contains("A101_0001\\xE9.jpg: the name isn't UTF-8; left out"))
        << m_err.toStdString();

    // The producer corrects the CSV; then saves one the rows can't be read from.
    writeFile(path("shots.csv"), "Shot,Title\nA101_0002,Fixed 2\nA101_0003,Fixed 3\n");
    waitFor([this] { return m_err.contains("rows reloaded"); });
    EXPECT_TRUE(m_err.contains("rows reloaded: 2")) << m_err.toStdString();
    copyIn("A101_0002.jpg");
    waitFor([this] { return m_out.contains("A101_0002.jpg"); });
    writeFile(path("shots.csv"), "Name,Title\nA101_0003,Broken\n");
    waitFor([this] { return m_err.contains("the old rows stay"); });
    EXPECT_TRUE(m_err.contains("rows not reloaded: ")) << m_err.toStdString();
    copyIn("A101_0003.jpg");
    waitFor([this] { return m_out.contains("A101_0003.jpg"); });
    EXPECT_EQ(titles()["A101_0002.jpg"], "Fixed 2");
    EXPECT_EQ(titles()["A101_0003.jpg"], "Fixed 3");

    EXPECT_EQ(stop(), 128 + SIGTERM);
    EXPECT_TRUE(m_err.contains("watch stopped: 2 written, 0 failed, 0 skipped, 1 left out"))
        << m_err.toStdString();
    // One journal for the session undoes both captures.
    const qsizetype at = m_err.indexOf("journal: ");
    ASSERT_GE(at, 0) << m_err.toStdString();
    const QString journal = m_err.mid(at + 9).section('\n', 0, 0);
    const CliResult undone =
        runCli({"undo", "--exiftool", path("exiftool"), journal}, {}, {}, 60000, environment());
    EXPECT_EQ(undone.status, 0) << undone.err.toStdString();
    EXPECT_EQ(undone.out, "Restored values. 2 written, 0 unchanged, 0 failed.\n");
    EXPECT_EQ(titles()["A101_0002.jpg"], "");
    EXPECT_EQ(titles()["A101_0003.jpg"], "");
}

} // namespace
