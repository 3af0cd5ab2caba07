// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <expected>

namespace qb {

// How a child process that ran came to its end.
struct ProcessOutcome {
    int exitStatus = 0;         // the signal number when endedBySignal
    bool endedBySignal = false; // killed rather than exited
    QByteArray standardOutput;
    QByteArray standardError;
};

// Why a child process could not be run at all.
struct ProcessFailure {
    QString reason;
    // It ran, but gave no answer within its time limit and was stopped.
    bool timedOut = false;
};

using ProcessRunResult = std::expected<ProcessOutcome, ProcessFailure>;

// Runs a program to its end. Injected wherever we start exiftool, so tests can
// replace the outside world with a fake that records the command lines.
class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;

    // Blocks until the child has ended; its standard input is closed.
    virtual ProcessRunResult run(const QString& program, const QStringList& arguments) = 0;

    // How many bytes the program's path and its arguments may take on one
    // command line, counted as commandLineSize() counts them.
    virtual qint64 commandLineLimit() const = 0;

    // Whether `program` with `arguments` can be started directly. Linux also
    // refuses any single argument longer than 32 pages, whatever the total.
    bool fitsCommandLine(const QString& program, const QStringList& arguments) const;
};

// The bytes that execve() needs for a command line: each string in UTF-8 with
// its terminating zero, and the pointer to it.
qint64 commandLineSize(const QString& program, const QStringList& arguments);

// The real thing, over QProcess. There is no time limit: a batch of thousands
// of images may keep exiftool busy for minutes. A stop asked for by a signal
// (see interruption.h) stops the child and waits for it; a run asked for
// after that doesn't start.
class SystemProcessRunner : public ProcessRunner {
public:
    ProcessRunResult run(const QString& program, const QStringList& arguments) override;
    // ARG_MAX less the environment the child inherits, less a safety margin.
    qint64 commandLineLimit() const override;
};

} // namespace qb
