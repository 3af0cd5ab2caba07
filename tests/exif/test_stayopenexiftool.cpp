// SPDX-License-Identifier: GPL-3.0-or-later
// The long-lived exiftool against the real one, and against a fake that hangs.
#include "exif/stayopenexiftool.h"

#include "exif/exiftool.h"

#include "../support/jpeg.h"

#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

using namespace qb;

namespace {

bool processGone(qint64 pid)
{
    return pid > 0 && ::kill(pid_t(pid), 0) != 0 && errno == ESRCH;
}

class StayOpenExiftoolTest : public ::testing::Test {
protected:
    QString path(const QString& name) const { return m_folder.filePath(name); }

    // A stand-in for exiftool that notes its process id and never answers.
    QString hangingExiftool()
    {
        const QString script = path("hanging-exiftool");
        QFile file(script);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QStringLiteral("#!/bin/sh\necho $$ > '%1'\nexec sleep 600\n")
                       .arg(path("pid"))
                       .toUtf8());
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return script;
    }
    qint64 hangingPid() const
    {
        QFile file(path("pid"));
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toLongLong() : 0;
    }

    QTemporaryDir m_folder;
    const QString m_exiftool = installedExiftoolPath();
};

TEST_F(StayOpenExiftoolTest, AnswersEachRequestAsAFreshRunWouldAndStaysTheSameProcess)
{
    const QString image = qb::testing::makeJpeg(path("a.jpg"));
    QFile damaged(path("damaged.jpg"));
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
    damaged.write("not a JPEG at all");
    damaged.close();
    const std::vector<QStringList> requests = {
        {"-ver"},
        {"-XMP-dc:Title=two\nlines", image, "-overwrite_original"},
        {"-XMP-dc:Title=x", path("damaged.jpg"), "-overwrite_original"},
        {"-XMP-dc:Title=x", path("missing.jpg"), image, "-overwrite_original"},
        {"-s3", "-XMP-dc:Title", image},
    };
    StayOpenExiftool kept;
    SystemProcessRunner fresh;
    qint64 pid = 0;
    for (const QStringList& request : requests) {
        SCOPED_TRACE(request.join(' ').toStdString());
        const ProcessRunResult expected = fresh.run(m_exiftool, request);
        const ProcessRunResult answered = kept.run(m_exiftool, request);
        ASSERT_TRUE(expected && answered);
        EXPECT_EQ(answered->exitStatus, expected->exitStatus);
        EXPECT_EQ(answered->standardOutput, expected->standardOutput);
        EXPECT_EQ(answered->standardError, expected->standardError);
        EXPECT_TRUE(pid == 0 || pid == kept.processId());
        pid = kept.processId();
    }
    EXPECT_NE(pid, 0);
    kept.shutDown();
    EXPECT_EQ(kept.processId(), 0);
    EXPECT_TRUE(processGone(pid));
}

TEST_F(StayOpenExiftoolTest, KilledBetweenRequestsOrGivenAnotherProgramItStartsAfresh)
{
    StayOpenExiftool kept;
    ASSERT_TRUE(kept.run(m_exiftool, {"-ver"}));
    const qint64 first = kept.processId();
    ::kill(pid_t(first), SIGKILL);
    QThread::msleep(100);
    const ProcessRunResult again = kept.run(m_exiftool, {"-ver"});
    ASSERT_TRUE(again);
    EXPECT_EQ(again->exitStatus, 0);
    EXPECT_FALSE(again->standardOutput.isEmpty());
    const qint64 second = kept.processId();
    EXPECT_NE(second, first);
    EXPECT_TRUE(processGone(first));

    ASSERT_TRUE(QFile::link(m_exiftool, path("exiftool")));
    ASSERT_TRUE(kept.run(path("exiftool"), {"-ver"}));
    EXPECT_NE(kept.processId(), second);
    EXPECT_TRUE(processGone(second));
}

TEST_F(StayOpenExiftoolTest, HungExiftoolTimesOutClearlyAndTheNextRequestStartsAnother)
{
    const auto kept = std::make_shared<StayOpenExiftool>(std::chrono::milliseconds(300));
    const ExifTool exiftool(hangingExiftool(), {}, kept);
    std::optional<Error> failure;
    exiftool.run({"-ver"}, [&](std::expected<ProcessResult, ExiftoolError> result) {
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().kind(), ExiftoolError::Case::timedOut);
        failure = result.error().toError();
    });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->errorDescription, "exiftool stopped answering.");
    EXPECT_TRUE(failure->failureReason.contains("within 0.3 seconds"))
        << failure->failureReason.toStdString();
    const qint64 first = hangingPid();
    EXPECT_TRUE(processGone(first));
    EXPECT_EQ(kept->processId(), 0);

    exiftool.run({"-ver"},
                 [](std::expected<ProcessResult, ExiftoolError> result) { EXPECT_FALSE(result); });
    EXPECT_NE(hangingPid(), first);
    EXPECT_TRUE(processGone(hangingPid()));
}

} // namespace

namespace {

// What a child of each runner sees of itself: its process group and the
// files it holds open.
TEST(ChildProcesses, EachHasItsOwnGroupAndTheDescriptorsHandedDown)
{
    QTemporaryDir folder;
    const auto open = [&folder](const char* name) {
        return ::open(QFile::encodeName(folder.filePath(name)).constData(),
                      O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    };
    const int handedDown = open("handed-down");
    const int kept = open("kept");
    ASSERT_GE(handedDown, 0);
    ASSERT_GE(kept, 0);
    inheritInChildProcesses(handedDown);
    const QString script = folder.filePath("self");
    QFile file(script);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    // Answers as exiftool would, the long-lived one's first request too,
    // which it reads whole first and stays after: had it left at once, the
    // request could meet a closed pipe, and the test fail now and then.
    file.write("#!/bin/sh\n"
               "mode=$1\n"
               "if [ \"$mode\" = -stay_open ]; then\n"
               "  while read -r line && [ \"${line#-execute}\" = \"$line\" ]; do :; done\n"
               "fi\n"
               "set -- $(cat /proc/$$/stat)\n"
               "echo \"$1 $5\"\n"
               "for fd in /proc/$$/fd/*; do readlink $fd; done\n"
               "if [ \"$mode\" = -stay_open ]; then\n"
               "  echo '{ready1}'; echo '{ready1 0}' >&2; exec cat >/dev/null\n"
               "fi\n");
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    SystemProcessRunner fresh;
    StayOpenExiftool keptOpen(std::chrono::milliseconds(3000));
    for (ProcessRunner* runner : std::initializer_list<ProcessRunner*>{&fresh, &keptOpen}) {
        SCOPED_TRACE(runner == &fresh ? "fresh" : "stay-open");
        const ProcessRunResult result = runner->run(script, {});
        ASSERT_TRUE(result.has_value()) << result.error().reason.toStdString();
        const QStringList lines = QString::fromUtf8(result->standardOutput).split('\n');
        const QStringList ids = lines.first().split(' ');
        ASSERT_EQ(ids.size(), 2);
        EXPECT_EQ(ids[0], ids[1]) << "pid and process group";
        EXPECT_TRUE(lines.contains(folder.filePath("handed-down")));
        EXPECT_FALSE(lines.contains(folder.filePath("kept")));
    }
    ::close(handedDown);
    ::close(kept);
}

} // namespace
