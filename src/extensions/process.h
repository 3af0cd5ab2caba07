// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <expected>
#include <optional>

namespace qb {

// What a process that exited with status zero left behind.
struct ProcessOutput {
    qint32 terminationStatus = 0;
    QByteArray response; // standard output
};

// How a process that failed came to an end.
enum class TerminationReason {
    exit,           // ended by itself, with a status other than zero
    uncaughtSignal, // killed; the status is the signal number
    launchFailure,  // never ran: missing program, no permission, ...
};

// A failed run. A QProcess can't be copied, so this keeps what identifies
// the process instead of the process itself.
struct ProcessError {
    QString program;
    QStringList arguments;
    QString workingDirectory; // empty when none was set
    TerminationReason reason = TerminationReason::exit;
    qint32 terminationStatus = 0;
    QString launchError; // why the process could not start; empty otherwise
    QByteArray stdOut;
    QByteArray stdErr;
    // Absent when the bytes are not valid UTF-8.
    std::optional<QString> stdOutString;
    std::optional<QString> stdErrString;

    QString summary() const;
    // Standard error as it stands; for a process that never ran, why not.
    std::optional<QString> failureReason() const;
    Error toError() const;
};

// Runs `process` (program and arguments already set) to its end and blocks
// the calling thread meanwhile. `workingDirectory`, when given, becomes the
// process's directory. With `verbose`, the directory (or "Working path not
// set") and the command line are printed to standard output first.
//
// Both output channels are drained while the child runs, so output of any
// size can't stall it. A status other than zero, a signal, or a program that
// can't be started is a ProcessError.
std::expected<ProcessOutput, ProcessError>
runSynchronously(QProcess& process, const std::optional<QUrl>& workingDirectory, bool verbose);

// The same without touching the working directory and without its line in
// the verbose output.
std::expected<ProcessOutput, ProcessError> runSynchronously(QProcess& process,
                                                            bool verbose = false);

// The bytes as text, or nothing when they are not valid UTF-8.
std::optional<QString> decodedUtf8(const QByteArray& bytes);

} // namespace qb
