// SPDX-License-Identifier: GPL-3.0-or-later
#include "journalcommands.h"

#include "jsonoutput.h"
#include "writereporting.h"

#include "extensions/interruption.h"
#include "preferences/preferences.h"
#include "writing/journalrestore.h"
#include "writing/metadataqueue.h"
#include "writing/writejournal.h"

#include <QFileInfo>

namespace qb::cli {

namespace {

struct UndoCommandOptions {
    QCommandLineOption exiftool{QStringLiteral("exiftool"),
                                QStringLiteral("The exiftool executable to run."),
                                QStringLiteral("PATH")};
    QCommandLineOption report{QStringLiteral("report"),
                              QStringLiteral("Write each file's outcome to FILE, as JSON."),
                              QStringLiteral("FILE")};
    QCommandLineOption force{QStringLiteral("force"),
                             QStringLiteral("Restore also the tags whose value changed since the "
                                            "write.")};
    QCommandLineOption noJournal{QStringLiteral("no-journal"),
                                 QStringLiteral("Keep no journal of this undo.")};
};

UndoOptions undoOptions(const QCommandLineParser& parser, const UndoCommandOptions& options,
                        Streams& streams)
{
    Preferences preferences;
    preferences.registerDefaults();
    UndoOptions undo;
    undo.exiftool = parser.isSet(options.exiftool)
                        ? QFileInfo(parser.value(options.exiftool)).absoluteFilePath()
                        : MetadataQueue::bundleExifToolPath().value_or(installedExiftoolPath());
    undo.force = parser.isSet(options.force);
    if (preferences.keepWriteJournal() && !parser.isSet(options.noJournal))
        undo.journalDirectory = journalDirectory();
    undo.waiting = [&streams] {
        printError(streams, QStringLiteral("waiting for another Quillbrook write to finish\u2026"));
    };
    undo.stop = [] {
        return isInterrupted();
    };
    return undo;
}

} // namespace

ExitStatus undoCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Puts back the values a write replaced, as its journal holds them, where "
                       "the files still hold what the write set; a tag changed since is left as "
                       "it is and named. Keeps a journal of its own, so that it can be undone "
                       "too."));
    const UndoCommandOptions options;
    parser.addOptions({options.exiftool, options.report, options.force, options.noJournal});
    parser.addPositionalArgument(QStringLiteral("JOURNAL"),
                                 QStringLiteral("A journal, as 'journal' lists them."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("undo"), arguments, streams))
        return *status;
    if (parser.positionalArguments().size() != 1) {
        printError(streams, QStringLiteral("undo needs one journal; see 'journal'"));
        return ExitStatus::usage;
    }
    const auto undone =
        undoWrite(parser.positionalArguments().first(), undoOptions(parser, options, streams));
    if (!undone) {
        printError(streams, undone.error());
        if (isInterrupted())
            return ExitStatus::interrupted;
        return isRefusedJournal(undone.error()) ? ExitStatus::usage : ExitStatus::failure;
    }
    for (const QString& note : undone->notes)
        printError(streams, note);
    WriteReport report;
    report.outcomes = undone->outcomes;
    report.journalPath = undone->journalPath;
    if (parser.isSet(options.report)) {
        if (auto saved = saveReport(report, parser.value(options.report)); !saved)
            printError(streams, saved.error());
    }
    printFailedFiles(undone->outcomes, streams);
    const OutcomeCounts counts = countOutcomes(undone->outcomes);
    streams.out << QStringLiteral("Restored values. %1.\n").arg(outcomeCountsText(counts));
    streams.out.flush();
    if (isInterrupted())
        return ExitStatus::interrupted;
    return counts.failed > 0 ? ExitStatus::failure : ExitStatus::success;
}

ExitStatus journalCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Lists the journals of the values writes replaced, newest first: "
                       "path, date, write method and number of files. A journal that can't be "
                       "read is listed with the reason."));
    const QCommandLineOption jsonOption(QStringLiteral("json"), QStringLiteral("Print JSON."));
    parser.addOption(jsonOption);
    if (const auto status = parseCommandLine(parser, QStringLiteral("journal"), arguments, streams))
        return *status;
    Json list = Json::array();
    for (const QString& path : journalPaths()) {
        const auto journal = WriteJournal::load(path);
        if (!journal) {
            const QString reason = journal.error().failureReason;
            if (parser.isSet(jsonOption))
                list.push_back(
                    {{"journal", path.toStdString()}, {"damaged", reason.toStdString()}});
            else
                streams.out << QStringLiteral("%1\tdamaged: %2\n").arg(path, reason);
            continue;
        }
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
