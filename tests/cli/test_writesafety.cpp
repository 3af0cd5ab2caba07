// SPDX-License-Identifier: GPL-3.0-or-later
// Writes of many images that are stopped, or that meet another write.
#include "clirunner.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <functional>

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

using namespace qb::test;

namespace {

// Polls until `done` or the time is up; the machine may be busy.
bool eventually(const std::function<bool()>& done, int milliseconds = 60000)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.hasExpired(milliseconds))
            return false;
        QThread::msleep(20);
    }
    return true;
}

QByteArray procFile(const QString& pid, const char* name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(pid, QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The processes whose command line mentions `text`.
QStringList processesMentioning(const QString& text)
{
    QStringList found;
    for (const QString& pid : QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs)) {
        if (procFile(pid, "cmdline").replace('\0', ' ').contains(text.toUtf8()))
            found << pid;
    }
    return found;
}

// Whether a child of `parent` runs exiftool's write, rather than the
// question for its writable tags that may come first.
bool writesWithExiftool(qint64 parent)
{
    for (const QString& pid : QDir("/proc").entryList({"[0-9]*"}, QDir::Dirs)) {
        const QByteArray stat = procFile(pid, "stat");
        const QList<QByteArray> rest = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
        const QByteArray command = procFile(pid, "cmdline");
        if (rest.size() > 1 && rest[1].toLongLong() == parent && command.contains("exiftool") &&
            (command.contains("-json=") || command.contains("-csv=") || command.contains("-@")))
            return true;
    }
    return false;
}

class ManyImages : public ::testing::Test {
protected:
    // `count` tiny JPEGs named S0000.jpg on in shoot/.
    void makeImages(int count)
    {
        const QString first = makeJpeg(m_dir.filePath("shoot/S0000.jpg"));
        for (int i = 1; i < count; ++i)
            ASSERT_TRUE(QFile::copy(
                first,
                m_dir.filePath(QStringLiteral("shoot/S%1.jpg").arg(i, 4, 10, QLatin1Char('0')))));
    }

    // One row keyed "S", which begins every image's name.
    QStringList assign(const QString& column, const QString& value, const QString& tag)
    {
        const QString name = column + ".csv";
        writeFile(m_dir.filePath(name),
                  (QStringLiteral("Shot,%1\nS,%2\n").arg(column, value)).toUtf8());
        writeFile(m_dir.filePath(column + ".json"),
                  QStringLiteral(R"([{"keyName":"%1","destTag":"%2","actions":{"mappers":[]}}])")
                      .arg(column, tag)
                      .toUtf8());
        // clang-format off
        return {"assign", "--method", "direct", "--exiftool", "/usr/bin/exiftool",
                "--mappings", m_dir.filePath(column + ".json"), "--csv", m_dir.filePath(name),
                "--key", "Shot", m_dir.filePath("shoot")};
        // clang-format on
    }

    QStringList shootEntries() const
    {
        return QDir(m_dir.filePath("shoot")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    QTemporaryDir m_dir;
    QTemporaryDir m_temp; // the processes' TMPDIR and XDG_RUNTIME_DIR
};

TEST_F(ManyImages, SigtermStopsExiftoolAndTellsHowFarTheWriteGot)
{
    makeImages(2000);
    QProcess cli;
    prepareCli(cli, assign("Title", "Stopped", "XMP-dc:Title"),
               {"TMPDIR=" + m_temp.path(), "XDG_RUNTIME_DIR=" + m_temp.path()});
    cli.start();
    ASSERT_TRUE(cli.waitForStarted(10000));
    ASSERT_TRUE(eventually([&] { return writesWithExiftool(cli.processId()); }))
        << cli.readAllStandardError().toStdString();
    ::kill(pid_t(cli.processId()), SIGTERM);
    ASSERT_TRUE(cli.waitForFinished(120000));

    EXPECT_EQ(cli.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(cli.exitCode(), 143);
    const QString err = QString::fromUtf8(cli.readAllStandardError());
    EXPECT_TRUE(
        QRegularExpression("Interrupted: \\d+ of 2000 images written").match(err).hasMatch())
        << err.toStdString();
    EXPECT_TRUE(cli.readAllStandardOutput().isEmpty());
    // No exiftool keeps writing, and none left its temporary file.
    EXPECT_EQ(processesMentioning(m_dir.path()), QStringList());
    EXPECT_EQ(shootEntries().size(), 2000);
    EXPECT_EQ(shootEntries().filter("_exiftool_tmp"), QStringList());
    EXPECT_EQ(QDir(m_temp.path()).entryList({"quillbrook-*"}, QDir::Dirs), QStringList());
}

TEST_F(ManyImages, TwoWritesOnOneFolderTakeTurnsAndLoseNothing)
{
    makeImages(1000);
    // Held here until both writes have said that they wait for it.
    const int lock = ::open(QFile::encodeName(m_temp.filePath("quillbrook-write.lock")).constData(),
                            O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    const QStringList environment{"TMPDIR=" + m_temp.path(), "XDG_RUNTIME_DIR=" + m_temp.path()};
    QProcess titles;
    QProcess keywords;
    prepareCli(titles, assign("Title", "First", "XMP-dc:Title"), environment);
    prepareCli(keywords, assign("Keywords", "second", "XMP-dc:Subject"), environment);
    QByteArray saidTitles;
    QByteArray saidKeywords;
    const auto bothWait = [&] {
        titles.waitForReadyRead(10);
        keywords.waitForReadyRead(10);
        saidTitles += titles.readAllStandardError();
        saidKeywords += keywords.readAllStandardError();
        return saidTitles.contains("waiting for another Quillbrook write to finish") &&
               saidKeywords.contains("waiting for another Quillbrook write to finish");
    };
    titles.start();
    keywords.start();
    const bool waited = eventually(bothWait);
    ::close(lock);
    ASSERT_TRUE(waited) << saidTitles.toStdString() << saidKeywords.toStdString();

    for (QProcess* process : {&titles, &keywords}) {
        ASSERT_TRUE(process->waitForFinished(300000));
        EXPECT_EQ(process->exitCode(), 0) << process->readAllStandardError().toStdString();
        EXPECT_EQ(process->readAllStandardOutput(),
                  "Finished writing images. 1000 written, 0 unchanged, 0 failed.\n");
    }
    EXPECT_EQ(shootEntries().size(), 1000);
    const CliResult read =
        runCli({"read", "--exiftool", "/usr/bin/exiftool", m_dir.filePath("shoot")});
    const QJsonArray images = QJsonDocument::fromJson(read.out.toUtf8()).array();
    ASSERT_EQ(images.size(), 1000) << read.err.toStdString();
    int whole = 0;
    for (const auto& image : images) {
        const QJsonObject tags = image.toObject();
        whole += tags["XMP:Title"] == "First" && tags["XMP:Subject"] == "second";
    }
    EXPECT_EQ(whole, 1000); // each write kept the other's value
}

// Killed outright in the middle of a parallel write, then at once another
// write on the same files: with the real exiftool, which leaves at its
// parent's death, and with one that takes its time (a wrapper that doesn't
// pass the signal on, so its exiftool ends its chunk first).
class KilledWrite : public ManyImages, public ::testing::WithParamInterface<bool> {};

TEST_P(KilledWrite, TheNextWriteWaitsForItsExiftoolsAndLosesNothing)
{
    const bool slow = GetParam();
    makeImages(1000);
    const QStringList environment{"TMPDIR=" + m_temp.path(), "XDG_RUNTIME_DIR=" + m_temp.path(),
                                  "XDG_STATE_HOME=" + m_temp.filePath("state")};
    QStringList first = assign("Title", "First", "XMP-dc:Title");
    first.insert(1, "--jobs");
    first.insert(2, "2");
    if (slow) {
        const QString wrapper = writeFile(m_dir.filePath("slow-exiftool"),
                                          "#!/bin/sh\ntrap '' INT\n/usr/bin/exiftool \"$@\"\n");
        QFile::setPermissions(wrapper, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        first[first.indexOf("/usr/bin/exiftool")] = wrapper;
    }
    QProcess killed;
    prepareCli(killed, first, environment);
    killed.start();
    ASSERT_TRUE(killed.waitForStarted(10000));
    const qint64 pid = killed.processId();
    ASSERT_TRUE(eventually([&] { return writesWithExiftool(pid); }));
    ::kill(pid_t(pid), SIGKILL);
    QStringList second = assign("Keywords", "second", "XMP-dc:Subject");
    second.insert(1, "--jobs");
    second.insert(2, "2");
    QProcess next;
    prepareCli(next, second, environment);
    next.start();
    ASSERT_TRUE(killed.waitForFinished(10000));
    ASSERT_TRUE(next.waitForFinished(300000));
    const QString said = QString::fromUtf8(next.readAllStandardError());
    EXPECT_EQ(next.exitCode(), 0) << said.toStdString();
    EXPECT_EQ(next.readAllStandardOutput(),
              "Finished writing images. 1000 written, 0 unchanged, 0 failed.\n");
    if (slow) {
        EXPECT_TRUE(said.contains("waiting for another Quillbrook write")) << said.toStdString();
    }

    // Every file reads back whole, with the second write's value; no
    // exiftool of the killed write is left, nor its private folder.
    EXPECT_EQ(processesMentioning(m_dir.path()), QStringList());
    EXPECT_EQ(shootEntries().size(), 1000)
        << shootEntries().filter("_exiftool_tmp").join(' ').toStdString();
    const CliResult read =
        runCli({"read", "--exiftool", "/usr/bin/exiftool", m_dir.filePath("shoot")});
    const QJsonArray images = QJsonDocument::fromJson(read.out.toUtf8()).array();
    ASSERT_EQ(images.size(), 1000) << read.err.toStdString();
    int kept = 0;
    for (const auto& image : images)
        kept += image.toObject()["XMP:Subject"] == "second";
    EXPECT_EQ(kept, 1000);
    EXPECT_EQ(
        QDir(m_temp.path()).entryList({QStringLiteral("quillbrook-%1-*").arg(pid)}, QDir::Dirs),
        QStringList());
}

INSTANTIATE_TEST_SUITE_P(RealAndSlowToEnd, KilledWrite, ::testing::Bool());

} // namespace
