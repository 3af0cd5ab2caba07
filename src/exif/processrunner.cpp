// SPDX-License-Identifier: GPL-3.0-or-later
#include "processrunner.h"

#include <QProcess>

#include <unistd.h>

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

} // namespace

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
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        return std::unexpected(ProcessFailure{process.errorString()});
    // While it waits, QProcess reads both pipes as data arrives, so a child
    // that fills its standard error before writing any output can't stall.
    if (!process.waitForFinished(-1) && process.state() != QProcess::NotRunning) {
        const QString reason = process.errorString();
        process.kill();
        process.waitForFinished(-1);
        return std::unexpected(ProcessFailure{reason});
    }
    ProcessOutcome outcome;
    outcome.endedBySignal = process.exitStatus() == QProcess::CrashExit;
    outcome.exitStatus = process.exitCode();
    outcome.standardOutput = process.readAllStandardOutput();
    outcome.standardError = process.readAllStandardError();
    return outcome;
}

} // namespace qb
