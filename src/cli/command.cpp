// SPDX-License-Identifier: GPL-3.0-or-later
#include "command.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace qb::cli {

namespace {

const QString programName = QStringLiteral("quillbrook-cli");

void printUsage(QTextStream& stream)
{
    stream << "Usage: " << programName
           << " [--help] [--version] [--verbose] COMMAND [OPTIONS] [ARGS]\n\n"
           << "Assigns metadata to image files from tabular data.\n\nCommands:\n";
    for (const Command& command : commands())
        stream << "  " << command.name.leftJustified(12) << command.summary << '\n';
    stream << "\nRun '" << programName << " COMMAND --help' for the options of a command.\n";
    stream.flush();
}

} // namespace

void printError(Streams& streams, const QString& message)
{
    // One line, whatever the texts held: exiftool's report comes as lines.
    QStringList parts;
    for (const QString& part : message.split(QLatin1Char('\n'))) {
        if (!part.trimmed().isEmpty())
            parts << part.trimmed();
    }
    streams.err << programName << ": " << parts.join(QStringLiteral("; ")) << '\n';
    streams.err.flush();
}

void printError(Streams& streams, const Error& error)
{
    printError(streams, error.message());
}

std::optional<ExitStatus> parseCommandLine(QCommandLineParser& parser, const QString& command,
                                           const QStringList& arguments, Streams& streams)
{
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this help."));
    parser.addOption(help);
    QStringList full = arguments;
    full.prepend(programName + QLatin1Char(' ') + command);
    if (!parser.parse(full)) {
        printError(streams, parser.errorText());
        return ExitStatus::usage;
    }
    if (parser.isSet(help)) {
        QString text = parser.helpText();
        text.replace(QStringLiteral("Usage: ") + full.first() + QLatin1Char(' '),
                     QStringLiteral("Usage: ") + programName + QLatin1Char(' ') + command +
                         QLatin1Char(' '));
        streams.out << text;
        streams.out.flush();
        return ExitStatus::success;
    }
    return std::nullopt;
}

bool allPathsExist(const QStringList& paths, Streams& streams)
{
    for (const QString& path : paths) {
        if (!QFileInfo::exists(path)) {
            printError(streams, QStringLiteral("no such file or folder: %1").arg(path));
            return false;
        }
    }
    return true;
}

ExitStatus run(const QStringList& arguments, Streams& streams)
{
    const QStringList rest = arguments.mid(1);
    if (rest.isEmpty()) {
        printUsage(streams.err);
        return ExitStatus::usage;
    }
    const QString& first = rest.first();
    if (first == QLatin1String("--help") || first == QLatin1String("-h") ||
        first == QLatin1String("help")) {
        printUsage(streams.out);
        return ExitStatus::success;
    }
    if (first == QLatin1String("--version") || first == QLatin1String("-v")) {
        streams.out << programName << ' ' << QCoreApplication::applicationVersion() << '\n';
        streams.out.flush();
        return ExitStatus::success;
    }
    for (const Command& command : commands()) {
        if (command.name == first)
            return command.run(rest.mid(1), streams);
    }
    printError(streams, first.startsWith(QLatin1Char('-'))
                            ? QStringLiteral("unknown option '%1'; see --help").arg(first)
                            : QStringLiteral("unknown command '%1'; see --help").arg(first));
    return ExitStatus::usage;
}

} // namespace qb::cli
