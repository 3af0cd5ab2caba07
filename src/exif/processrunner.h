// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <expected>

#include <sys/types.h>

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

// Between fork and exec, in every exiftool we start: a process group of its
// own, so that a Ctrl-C meant for us doesn't cut a write short (we stop it
// ourselves, cleanly); SIGINT when the thread that started it ends, which
// exiftool takes as the request to remove its temporary file and leave, so
// that a Quillbrook killed outright leaves no exiftool writing; the signals
// as exec'd programs expect them; and the descriptors handed down to it.
// `parent` is the starting process's id, taken before the fork: a child
// whose parent is already gone leaves at once. Async-signal-safe.
void prepareChildProcess(pid_t parent) noexcept;

// Hands `descriptor` down to every exiftool started from now on (at most
// 32 are kept). The writer lock is one: a lock on an open file lives
// until the last process that holds it ends, so the lock of a Quillbrook
// killed in the middle of a write outlives it until its exiftools are gone.
void inheritInChildProcesses(int descriptor);

// The bytes that execve() needs for a command line: each string in UTF-8 with
// its terminating zero, and the pointer to it.
qint64 commandLineSize(const QString& program, const QStringList& arguments);

// The real thing, over QProcess, with each child prepared as
// prepareChildProcess() says. There is no time limit: a batch of thousands
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
