// SPDX-License-Identifier: GPL-3.0-or-later
#include "process.h"

#include <QStringDecoder>

#include <cstdio>

namespace qb {

namespace {

void printLine(const QString& line)
{
    const QByteArray bytes = line.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    std::fputc('\n', stdout);
    // The child may write to the same terminal: keep our lines before its.
    std::fflush(stdout);
}

ProcessError identify(const QProcess& process)
{
    ProcessError error;
    error.program = process.program();
    error.arguments = process.arguments();
    error.workingDirectory = process.workingDirectory();
    return error;
}

std::expected<ProcessOutput, ProcessError> run(QProcess& process, bool verbose)
{
    if (verbose) {
        // The program, one blank, then the arguments: a trailing blank when
        // there are none, as the line has always been printed.
        printLine(process.program() + QLatin1Char(' ') +
                  process.arguments().join(QLatin1Char(' ')));
    }
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(QIODevice::ReadOnly);
    // A program that can't start fails here at once; only a running child is
    // waited for without a time limit.
    if (!process.waitForStarted(-1)) {
        ProcessError error = identify(process);
        error.reason = TerminationReason::launchFailure;
        error.terminationStatus = -1;
        error.launchError = process.errorString();
        error.stdOutString = QString();
        error.stdErrString = QString();
        return std::unexpected(std::move(error));
    }
    // QProcess reads both pipes while it waits, so a chatty child can't fill
    // one pipe and block on it.
    process.waitForFinished(-1);
    const QByteArray out = process.readAllStandardOutput();
    const QByteArray err = process.readAllStandardError();

    const bool crashed = process.exitStatus() == QProcess::CrashExit;
    // After a crash exit, Qt reports the signal number as the exit code.
    const qint32 status = process.exitCode();
    if (!crashed && status == 0)
        return ProcessOutput{status, out};

    ProcessError error = identify(process);
    error.reason = crashed ? TerminationReason::uncaughtSignal : TerminationReason::exit;
    error.terminationStatus = status;
    error.stdOut = out;
    error.stdErr = err;
    error.stdOutString = decodedUtf8(out);
    error.stdErrString = decodedUtf8(err);
    return std::unexpected(std::move(error));
}

} // namespace

std::optional<QString> decodedUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

QString ProcessError::summary() const
{
    switch (reason) {
    case TerminationReason::uncaughtSignal:
        return QStringLiteral("exited with uncaught signal: %1").arg(terminationStatus);
    case TerminationReason::launchFailure:
        return QStringLiteral("could not be launched: %1").arg(launchError);
    case TerminationReason::exit:
        break;
    }
    return QStringLiteral("exited normally");
}

std::optional<QString> ProcessError::failureReason() const
{
    if (reason == TerminationReason::launchFailure)
        return launchError;
    return stdErrString;
}

Error ProcessError::toError() const
{
    Error error;
    error.domain = QStringLiteral("qb.ProcessError");
    error.code = terminationStatus;
    switch (reason) {
    case TerminationReason::launchFailure:
        error.errorDescription = QStringLiteral("Could not start “%1”.").arg(program);
        break;
    case TerminationReason::uncaughtSignal:
        error.errorDescription = QStringLiteral("“%1” %2.").arg(program, summary());
        break;
    case TerminationReason::exit:
        error.errorDescription =
            QStringLiteral("“%1” exited with status %2.").arg(program).arg(terminationStatus);
        break;
    }
    error.failureReason = failureReason().value_or(QString());
    error.userInfo.insert(QStringLiteral("program"), program);
    error.userInfo.insert(QStringLiteral("arguments"), arguments);
    error.userInfo.insert(QStringLiteral("terminationStatus"), terminationStatus);
    return error;
}

std::expected<ProcessOutput, ProcessError>
runSynchronously(QProcess& process, const std::optional<QUrl>& workingDirectory, bool verbose)
{
    if (workingDirectory) {
        // A bare path without a scheme is taken as the path it plainly is.
        const QUrl& url = *workingDirectory;
        process.setWorkingDirectory(url.scheme().isEmpty() ? url.path() : url.toLocalFile());
    }
    if (verbose) {
        const QString directory = process.workingDirectory();
        printLine(directory.isEmpty() ? QStringLiteral("Working path not set") : directory);
    }
    return run(process, verbose);
}

std::expected<ProcessOutput, ProcessError> runSynchronously(QProcess& process, bool verbose)
{
    return run(process, verbose);
}

} // namespace qb
