// SPDX-License-Identifier: GPL-3.0-or-later
#include "processrunner.h"

#include "extensions/interruption.h"

#include <QElapsedTimer>
#include <QProcess>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>

extern char** environ;

namespace qb {

namespace {

// MAX_ARG_STRLEN on Linux: 32 pages of 4 KiB.
constexpr qint64 maximumArgumentBytes = 32 * 4096;
// Room for what the kernel adds behind our back: the interpreter line of a
// script such as exiftool, the auxiliary vector, alignment.
constexpr qint64 safetyMargin = 64 * 1024;
// POSIX guarantees at least this much when sysconf() can't tell.
constexpr qint64 fallbackArgumentMaximum = 128 * 1024;

qint64 stringSize(qsizetype utf8Length)
{
    return qint64(utf8Length) + 1 + qint64(sizeof(char*));
}

qint64 environmentSize()
{
    qint64 size = qint64(sizeof(char*)); // the terminating null pointer
    for (char** entry = environ; entry && *entry; ++entry)
        size += stringSize(qsizetype(std::strlen(*entry)));
    return size;
}

// How often a wait looks whether the user asked to stop.
constexpr int pollMilliseconds = 100;
// How long a child may take to clean up after it was asked to stop.
constexpr qint64 cleanUpMilliseconds = 30000;

// Waits for the child to end; nothing when it did, else why not. While it
// waits, QProcess reads both pipes as data arrives, so a child that fills
// its standard error before writing any output can't stall.
//
// When the user asks to stop, the child gets SIGINT, whatever signal came
// to us: exiftool takes SIGINT as the request to finish the file in hand,
// remove its temporary file and leave, so no file is left half written.
// The child is then waited for, so that it never keeps writing on its own.
QString waitForEnd(QProcess& process)
{
    QElapsedTimer sinceStop;
    while (!process.waitForFinished(pollMilliseconds)) {
        if (process.state() == QProcess::NotRunning)
            return {};
        if (process.error() != QProcess::Timedout) {
            const QString reason = process.errorString();
            process.kill();
            process.waitForFinished(-1);
            return reason;
        }
        if (!sinceStop.isValid() && isInterrupted()) {
            ::kill(pid_t(process.processId()), SIGINT);
            sinceStop.start();
        } else if (sinceStop.isValid() && sinceStop.hasExpired(cleanUpMilliseconds)) {
            process.kill();
        }
    }
    return {};
}

// Read between fork and exec, where no lock may be taken. Each slot holds
// a descriptor plus one, so that zero, as static storage starts, is free.
std::array<std::atomic<int>, 32> inheritedDescriptors;

} // namespace

void inheritInChildProcesses(int descriptor)
{
    for (auto& slot : inheritedDescriptors) {
        int free = 0;
        if (slot.load() == descriptor + 1 || slot.compare_exchange_strong(free, descriptor + 1))
            return;
    }
}

void prepareChildProcess(pid_t parent) noexcept
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGINT);
    if (::getppid() != parent)
        ::_exit(127);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP})
        ::signal(signal, SIG_DFL);
    for (const auto& slot : inheritedDescriptors) {
        if (const int stored = slot.load(std::memory_order_relaxed); stored > 0)
            ::fcntl(stored - 1, F_SETFD, 0);
    }
}

bool ProcessRunner::fitsCommandLine(const QString& program, const QStringList& arguments) const
{
    for (const QString& argument : arguments) {
        if (argument.toUtf8().size() >= maximumArgumentBytes)
            return false;
    }
    return commandLineSize(program, arguments) <= commandLineLimit();
}

qint64 commandLineSize(const QString& program, const QStringList& arguments)
{
    qint64 size = stringSize(program.toUtf8().size()) + qint64(sizeof(char*));
    for (const QString& argument : arguments)
        size += stringSize(argument.toUtf8().size());
    return size;
}

qint64 SystemProcessRunner::commandLineLimit() const
{
    const long reported = sysconf(_SC_ARG_MAX);
    const qint64 maximum = reported > 0 ? qint64(reported) : fallbackArgumentMaximum;
    return maximum - environmentSize() - safetyMargin;
}

ProcessRunResult SystemProcessRunner::run(const QString& program, const QStringList& arguments)
{
    if (isInterrupted())
        return std::unexpected(ProcessFailure{QStringLiteral("Interrupted before it started.")});
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setChildProcessModifier([parent = ::getpid()] { prepareChildProcess(parent); });
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        return std::unexpected(ProcessFailure{process.errorString()});
    if (auto failed = waitForEnd(process); !failed.isEmpty())
        return std::unexpected(ProcessFailure{failed});
    ProcessOutcome outcome;
    outcome.endedBySignal = process.exitStatus() == QProcess::CrashExit;
    outcome.exitStatus = process.exitCode();
    outcome.standardOutput = process.readAllStandardOutput();
    outcome.standardError = process.readAllStandardError();
    return outcome;
}

} // namespace qb
