// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QCommandLineParser>
#include <QStringList>
#include <QTextStream>

#include <functional>
#include <vector>

namespace qb::cli {

// Exit statuses that scripts rely on. A command stopped by a signal, which
// has said how far it got, answers `interrupted`; the process then exits
// with 128 plus the signal's number, as a shell reports it.
enum class ExitStatus { success = 0, failure = 1, usage = 2, interrupted = 128 };

struct Streams {
    QTextStream& out;
    QTextStream& err;
};

struct Command {
    QString name;
    QString summary;
    // Receives the arguments after the subcommand's name.
    std::function<ExitStatus(const QStringList& arguments, Streams& streams)> run;
};

const std::vector<Command>& commands();

// Prints "quillbrook-cli: MESSAGE" on stderr, one line.
void printError(Streams& streams, const QString& message);
void printError(Streams& streams, const Error& error);

// Parses a subcommand's options. Answers a status to exit with when parsing
// failed or help was asked for; nothing when the command should go on.
std::optional<ExitStatus> parseCommandLine(QCommandLineParser& parser, const QString& command,
                                           const QStringList& arguments, Streams& streams);

// Whether every path names a file or folder; prints the first that doesn't.
// A typing error in a path must not end in a "success" that did nothing.
bool allPathsExist(const QStringList& paths, Streams& streams);

ExitStatus run(const QStringList& arguments, Streams& streams);

} // namespace qb::cli
