// SPDX-License-Identifier: GPL-3.0-or-later
#include "extensions/process.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

std::expected<qb::ProcessOutput, qb::ProcessError> runShell(const QString& script)
{
    QProcess process;
    process.setProgram("/bin/sh");
    process.setArguments({"-c", script});
    return qb::runSynchronously(process);
}

TEST(Process, SuccessGivesStandardOutput)
{
    const auto result = runShell("printf 'hello'; printf 'ignored' >&2");
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->terminationStatus, 0);
    EXPECT_EQ(result->response, "hello");
}

TEST(Process, NonZeroStatusWithEmptyOutputFailsWithEmptyTexts)
{
    const auto result = runShell("exit 3");
    ASSERT_FALSE(result.has_value());
    const qb::ProcessError& error = result.error();
    EXPECT_EQ(error.reason, qb::TerminationReason::exit);
    EXPECT_EQ(error.terminationStatus, 3);
    EXPECT_EQ(error.stdOutString, QString());
    EXPECT_EQ(error.stdErrString, QString());
    EXPECT_EQ(error.failureReason(), QString());
    EXPECT_EQ(error.summary(), "exited normally");
    EXPECT_EQ(error.program, "/bin/sh");
    EXPECT_EQ(error.arguments, QStringList({"-c", "exit 3"}));
}

TEST(Process, StandardErrorBecomesTheFailureReason)
{
    const auto result = runShell("printf 'out'; printf 'bad input' >&2; exit 1");
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error().stdOut, "out");
    EXPECT_EQ(result.error().failureReason(), "bad input");
    const qb::Error error = result.error().toError();
    EXPECT_EQ(error.failureReason, "bad input");
    EXPECT_TRUE(error.errorDescription.contains("/bin/sh"));
}

TEST(Process, InvalidUtf8OnStandardErrorGivesNoText)
{
    const auto result = runShell("printf '\\377\\376ok' >&2; exit 1");
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error().stdErr, QByteArray("\xff\xfeok"));
    EXPECT_FALSE(result.error().stdErrString.has_value());
    EXPECT_FALSE(result.error().failureReason().has_value());
    EXPECT_EQ(result.error().stdOutString, QString());
}

TEST(Process, KilledBySignal)
{
    const auto result = runShell("kill -KILL $$");
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error().reason, qb::TerminationReason::uncaughtSignal);
    EXPECT_EQ(result.error().summary(), "exited with uncaught signal: 9");
}

TEST(Process, MissingProgramIsAnError)
{
    QProcess process;
    process.setProgram("/nonexistent/qb-no-such-program");
    const auto result = qb::runSynchronously(process);
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error().reason, qb::TerminationReason::launchFailure);
    EXPECT_FALSE(result.error().failureReason().value_or(QString()).isEmpty());
    EXPECT_TRUE(result.error().toError().errorDescription.contains("qb-no-such-program"));
}

TEST(Process, LargeOutputOnBothChannelsDoesNotStall)
{
    const auto result =
        runShell("head -c 3000000 /dev/zero; head -c 3000000 /dev/zero >&2; exit 0");
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->response.size(), 3000000);
}

TEST(Process, WorkingDirectoryAndVerboseLines)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = QDir(directory.path()).canonicalPath();

    QProcess process;
    process.setProgram("/bin/sh");
    process.setArguments({"-c", "pwd -P"});
    testing::internal::CaptureStdout();
    const auto result = qb::runSynchronously(process, QUrl::fromLocalFile(path), true);
    const std::string printed = testing::internal::GetCapturedStdout();
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(QString::fromUtf8(result->response).trimmed(), path);
    EXPECT_EQ(printed, (path + "\n/bin/sh -c pwd -P\n").toStdString());

    QProcess unset;
    unset.setProgram("/bin/true");
    testing::internal::CaptureStdout();
    ASSERT_TRUE(qb::runSynchronously(unset, std::nullopt, true).has_value());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Working path not set\n/bin/true \n");

    testing::internal::CaptureStdout();
    ASSERT_TRUE(qb::runSynchronously(unset, true).has_value());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "/bin/true \n");
}

} // namespace
