// SPDX-License-Identifier: GPL-3.0-or-later
#include "journalcommands.h"

#include "jsonoutput.h"
#include "writereporting.h"

#include "extensions/jsonfile.h"
#include "writing/metadataqueue.h"
#include "writing/writejournal.h"

#include <QFileInfo>

namespace qb::cli {

ExitStatus undoCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Writes back the values that a write replaced, as its journal holds "
                       "them, and deletes the tags it added. Files that have gone since are "
                       "reported; the others are restored."));
    const QCommandLineOption exiftoolOption(QStringLiteral("exiftool"),
                                            QStringLiteral("The exiftool executable to run."),
                                            QStringLiteral("PATH"));
    const QCommandLineOption reportOption(QStringLiteral("report"),
                                          QStringLiteral("Write each file's outcome to FILE, as "
                                                         "JSON."),
                                          QStringLiteral("FILE"));
    parser.addOptions({exiftoolOption, reportOption});
    parser.addPositionalArgument(QStringLiteral("JOURNAL"),
                                 QStringLiteral("A journal, as 'journal' lists them."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("undo"), arguments, streams))
        return *status;
    if (parser.positionalArguments().size() != 1) {
        printError(streams, QStringLiteral("undo needs one journal; see 'journal'"));
        return ExitStatus::usage;
    }
    const auto journal = WriteJournal::load(parser.positionalArguments().first());
    if (!journal) {
        printError(streams, journal.error());
        return ExitStatus::usage;
    }
    const QString exiftool =
        parser.isSet(exiftoolOption)
            ? QFileInfo(parser.value(exiftoolOption)).absoluteFilePath()
            : MetadataQueue::bundleExifToolPath().value_or(installedExiftoolPath());
    const auto restored = restoreJournal(*journal, ExifTool(exiftool, {}));
    if (!restored) {
        printError(streams, restored.error());
        return ExitStatus::failure;
    }
    WriteReport report;
    report.outcomes = *restored;
    if (parser.isSet(reportOption)) {
        if (auto saved = saveReport(report, parser.value(reportOption)); !saved)
            printError(streams, saved.error());
    }
    printFailedFiles(*restored, streams);
    const OutcomeCounts counts = countOutcomes(*restored);
    streams.out << QStringLiteral("Restored values. %1.\n").arg(outcomeCountsText(counts));
    streams.out.flush();
    return counts.failed > 0 ? ExitStatus::failure : ExitStatus::success;
}

ExitStatus journalCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Lists the journals of the values writes replaced, newest first: "
                       "path, date, write method and number of files."));
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
    parser.addOption(jsonOption);
    if (const auto status = parseCommandLine(parser, QStringLiteral("journal"), arguments, streams))
        return *status;
    Json list = Json::array();
    for (const QString& path : journalPaths()) {
        const auto journal = WriteJournal::load(path);
        if (!journal)
            continue;
        const QString created = journal->created.toUTC().toString(Qt::ISODate);
        if (parser.isSet(jsonOption)) {
            list.push_back({{"journal", path.toStdString()},
                            {"created", created.toStdString()},
                            {"method", journal->method.toStdString()},
                            {"files", journal->files.size()}});
            continue;
        }
        streams.out << QStringLiteral("%1\t%2\t%3\t%4 files\n")
                           .arg(path, created, journal->method)
                           .arg(journal->files.size());
    }
    if (parser.isSet(jsonOption))
        printJson(streams.out, list);
    streams.out.flush();
    return ExitStatus::success;
}

} // namespace qb::cli
