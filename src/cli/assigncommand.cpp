// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli assign: maps images by the rule rows and writes the values.
#include "assigncommand.h"

#include "jsonoutput.h"
#include "sourceoptions.h"
#include "writeoptions.h"

#include "captureone/captureoneadjustmentwriter.h"
#include "extensions/interruption.h"
#include "mapping/metadataassignment.h"
#include "preferences/preferences.h"
#include "sources/matchfindings.h"
#include "sources/urlimageprovider.h"
#include "writereporting.h"
#include "writing/metadataqueue.h"
#include "writing/writechecks.h"
#include "writing/writejournal.h"
#include "writing/writepreview.h"

#include <QEventLoop>

namespace qb::cli {

namespace {

using Method = MetadataQueue::WriteMethod;

struct AssignOptions : WriteOptions {
    QCommandLineOption dryRun{QStringLiteral("dry-run"),
                              QStringLiteral("Print what would be written; write nothing.")};
    QCommandLineOption strict{QStringLiteral("strict"),
                              QStringLiteral("Write nothing, and exit with status 2, when an image "
                                             "matches more than one row or a row with an empty "
                                             "key matches every image.")};
    QCommandLineOption method{QStringLiteral("method"),
                              QStringLiteral("direct, xmp or captureone (default: the "
                                             "write method of the preferences)."),
                              QStringLiteral("METHOD")};
    QCommandLineOption preview{QStringLiteral("preview"),
                               QStringLiteral("Print each image's tags as current → new, and "
                                              "the images no row matched; write nothing.")};
    QCommandLineOption json{QStringLiteral("json"), QStringLiteral("Print the preview as JSON.")};
    QCommandLineOption report{QStringLiteral("report"),
                              QStringLiteral("Write each file's outcome of the write to FILE, as "
                                             "JSON."),
                              QStringLiteral("FILE")};
    QCommandLineOption noJournal{QStringLiteral("no-journal"),
                                 QStringLiteral("Keep no journal of the values the write "
                                                "replaces (see 'undo').")};
    QCommandLineOption jobs{QStringLiteral("jobs"),
                            QStringLiteral("How many exiftool processes a large batch is split "
                                           "across; 0 means one per core (default: the "
                                           "preferences)."),
                            QStringLiteral("N")};
};

std::optional<Method> writeMethodNamed(const QString& name)
{
    if (name == QLatin1String("direct"))
        return Method::direct;
    if (name == QLatin1String("xmp"))
        return Method::xmp;
    if (name == QLatin1String("captureone"))
        return Method::captureOne;
    return std::nullopt;
}

// exiftool's warnings, then the outcome with its counts: the closing line
// on stdout after a success, the error and the counts on stderr after a
// failure.
ExitStatus report(const MetadataQueue::WriteResult& outcome, const WriteReport& report,
                  qsizetype leftOut, Streams& streams)
{
    for (const QString& warning : report.warnings)
        printError(streams, warning);
    QString counts = report.outcomes.empty() ? report.countsText()
                                             : outcomeCountsText(countOutcomes(report.outcomes));
    if (leftOut > 0 && !counts.isEmpty())
        counts += QStringLiteral(", %1 left out").arg(leftOut);
    if (!outcome) {
        printError(streams, outcome.error());
        printFailedFiles(report.outcomes, streams);
        if (!counts.isEmpty())
            printError(streams, counts);
        return isInterrupted() ? ExitStatus::interrupted : ExitStatus::failure;
    }
    streams.out << *outcome;
    if (!counts.isEmpty())
        streams.out << ' ' << counts << '.';
    streams.out << '\n';
    streams.out.flush();
    return ExitStatus::success;
}

// Hands the images to the shared queue of the method and waits for the
// write it asks for, never for the queue's timer.
struct WriteChoice {
    Method method;
    SidecarNaming naming;
    bool journal = true;
    QString reportPath;
    int jobs = 0;
};

ExitStatus write(const ExifImages& images, const WriteChoice& choice, const QString& exiftool,
                 qsizetype leftOut, Streams& streams)
{
    const Method method = choice.method;
    const SidecarNaming naming = choice.naming;
    MetadataQueue& queue = MetadataQueue::shared(method);
    queue.setJournalDirectory(choice.journal ? std::optional(journalDirectory()) : std::nullopt);
    queue.setWriteJobs(choice.jobs);
    if (!exiftool.isEmpty())
        queue.setExiftoolLocation(absolutePath(exiftool));
    queue.setSidecarNaming(naming);
    queue.setCaptureOneWriter(std::make_shared<CaptureOneAdjustmentWriter>());
    queue.enqueue(images);
    std::optional<MetadataQueue::WriteResult> outcome;
    WriteReport written;
    QEventLoop loop;
    QObject::connect(&queue, &MetadataQueue::waitingForWriter, &loop, [&streams] {
        printError(streams, QStringLiteral("waiting for another Quillbrook write to finish\u2026"));
    });
    QObject::connect(&queue, &MetadataQueue::writeReported, &loop,
                     [&written](const WriteReport& said) { written = said; });
    ProgressBar bar(streams);
    QObject::connect(&queue, &MetadataQueue::writeProgress, &loop,
                     [&bar](qsizetype done, qsizetype total) { bar.show(done, total); });
    queue.write([&](const MetadataQueue::WriteResult& result) {
        outcome = result;
        loop.quit();
    });
    loop.exec();
    bar.finish();
    if (!choice.reportPath.isEmpty()) {
        if (auto saved = saveReport(written, choice.reportPath); !saved)
            printError(streams, saved.error());
    }
    return report(*outcome, written, leftOut, streams);
}

// What would go out: exiftool's JSON batch, or for Capture One each group's
// files and script.
void printDryRun(const ExifImages& images, Method method, Streams& streams)
{
    if (method != Method::captureOne) {
        Json batch = Json::array();
        for (const auto& image : images)
            batch.push_back(image->exiftoolJson());
        printJson(streams.out, batch);
        return;
    }
    MetadataQueue::ImageMap byUrl;
    for (const auto& image : images)
        byUrl.insert_or_assign(*image->url(), image);
    streams.out << captureOneDryRunText(captureOneDryRun(byUrl));
    streams.out.flush();
}

// Tells where rows tie to the images ambiguously; with --strict that ends
// the run before anything is written.
std::optional<ExitStatus> tellFindings(const MatchFindings& findings, bool strict, Streams& streams)
{
    for (const QString& line : findings.lines())
        printError(streams, line);
    if (!strict || findings.isEmpty())
        return std::nullopt;
    printError(streams, findings.strictError());
    return ExitStatus::usage;
}

// The exiftool a write would run, which the checks ask for its tags.
QString exiftoolFor(const QString& given)
{
    if (!given.isEmpty())
        return absolutePath(given);
    return MetadataQueue::bundleExifToolPath().value_or(installedExiftoolPath());
}

// Refuses what exiftool would write wrongly, and tells what it would leave
// out, before anything is written; a dry run tells the same.
std::optional<ExitStatus> checkBeforeWriting(const ExifImages& images, Method method,
                                             const QString& exiftool, Streams& streams)
{
    if (method == Method::captureOne || images.empty())
        return std::nullopt;
    const auto writable =
        WritableTagsCache::shared().tagsOf(exiftoolFor(exiftool), ExiftoolConfig::none());
    if (auto checked = checkBatch(images, writable.get()); !checked) {
        printError(streams, checked.error());
        return ExitStatus::usage;
    }
    if (const QStringList left = tagsSidecarsCantHold(images);
        method == Method::xmp && !left.isEmpty())
        printError(streams, sidecarWarning(left));
    return std::nullopt;
}

// The method and the sidecar name of the options, else of the preferences.
std::expected<WriteChoice, ExitStatus> chosenWrite(const QCommandLineParser& parser,
                                                   const AssignOptions& options, Streams& streams)
{
    Preferences preferences;
    preferences.registerDefaults();
    WriteChoice choice{preferences.writeMethod(), preferences.sidecarNaming(),
                       preferences.keepWriteJournal() && !parser.isSet(options.noJournal),
                       parser.value(options.report), preferences.writeJobs()};
    if (parser.isSet(options.method)) {
        const auto named = writeMethodNamed(parser.value(options.method));
        if (!named) {
            printError(streams,
                       QStringLiteral("unknown write method '%1'; use direct, xmp or captureone")
                           .arg(parser.value(options.method)));
            return std::unexpected(ExitStatus::usage);
        }
        choice.method = *named;
    }
    const auto naming = chosenSidecarNaming(parser, options, choice.naming);
    if (!naming) {
        printError(streams, naming.error());
        return std::unexpected(ExitStatus::usage);
    }
    choice.naming = *naming;
    if (parser.isSet(options.jobs)) {
        bool number = false;
        choice.jobs = parser.value(options.jobs).toInt(&number);
        if (!number || choice.jobs < 0) {
            printError(streams, QStringLiteral("--jobs takes a whole number, 0 or more, not '%1'")
                                    .arg(parser.value(options.jobs)));
            return std::unexpected(ExitStatus::usage);
        }
    }
    return choice;
}

// The rows of --mappings, else the document's; warns of those whose column
// the data hasn't.
std::expected<std::vector<MetadataMapping>, ExitStatus>
chosenMappings(const QCommandLineParser& parser, const AssignOptions& options,
               const LoadedSource& source, Streams& streams)
{
    auto mappings = chosenRows(parser, options, source);
    if (!mappings) {
        printError(streams, mappings.error());
        return std::unexpected(ExitStatus::usage);
    }
    for (const QString& warning : missingColumnWarnings(*mappings, source.dataSource->keyNames()))
        printError(streams, warning);
    return std::move(*mappings);
}

// The images in the paths, searched once so that the findings and the
// mapping see the same ones; lists those left out.
FolderSearch searchImages(const QCommandLineParser& parser, const SourceOptions& sourceOptions,
                          Streams& streams)
{
    const FolderSearch found = URLImageProvider(fileUrls(parser.positionalArguments()),
                                                !parser.isSet(sourceOptions.noRecursive))
                                   .search();
    for (const QString& path : found.leftOut)
        printError(streams, QStringLiteral("left out, as its name isn\u2019t UTF-8: %1").arg(path));
    return found;
}

// Maps the images and writes them, or prints what a write would send.
ExitStatus assign(const QCommandLineParser& parser, const AssignOptions& options,
                  const SourceOptions& sourceOptions, WriteChoice choice, Streams& streams)
{
    auto source = loadSource(parser, sourceOptions, streams);
    if (!source)
        return source.error();
    const auto mappings = chosenMappings(parser, options, *source, streams);
    if (!mappings)
        return mappings.error();
    const FolderSearch found = searchImages(parser, sourceOptions, streams);
    if (const auto stopped = tellFindings(MatchFindings::find(*source->dataSource, found.images),
                                          parser.isSet(options.strict), streams))
        return *stopped;
    const ExifImages images =
        mapImages(URLListProvider(found.images), *source->dataSource, *mappings);
    const QString exiftool = parser.value(sourceOptions.exiftool);
    if (const auto refused = checkBeforeWriting(images, choice.method, exiftool, streams))
        return *refused;
    if (parser.isSet(options.preview))
        return printPreview(images, unmatchedImages(found.images, images), exiftoolFor(exiftool),
                            choice.jobs, parser.isSet(options.json), streams);
    if (parser.isSet(options.dryRun)) {
        printDryRun(images, choice.method, streams);
        return ExitStatus::success;
    }
    if (images.empty()) {
        // Nothing to hand to exiftool, which would only fail on an empty batch.
        printError(streams, QStringLiteral("no image matched a row; nothing was written"));
        return ExitStatus::success;
    }
    return write(images, choice, exiftool, found.leftOut.size(), streams);
}

} // namespace

ExitStatus assignCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Assigns metadata to images from a CSV file or from other images, by "
                       "rule rows, and writes it. Folders are searched for images, "
                       "recursively unless --no-recursive."));
    const AssignOptions options;
    const SourceOptions sourceOptions;
    parser.addOptions({options.mappings, options.dryRun, options.strict, options.method,
                       options.sidecarName, options.preview, options.json, options.report,
                       options.noJournal, options.jobs});
    parser.addOptions(sourceOptions.all());
    parser.addPositionalArgument(QStringLiteral("PATH..."), QStringLiteral("Images or folders."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("assign"), arguments, streams))
        return *status;

    const auto choice = chosenWrite(parser, options, streams);
    if (!choice)
        return choice.error();
    if (!parser.isSet(options.mappings) && !parser.isSet(sourceOptions.document)) {
        printError(streams, QStringLiteral("assign needs --mappings or --document; see "
                                           "'assign --help'"));
        return ExitStatus::usage;
    }
    if (parser.isSet(options.json) && !parser.isSet(options.preview)) {
        printError(streams, QStringLiteral("--json goes with --preview"));
        return ExitStatus::usage;
    }
    if (parser.positionalArguments().isEmpty()) {
        printError(streams, QStringLiteral("assign needs at least one image or folder"));
        return ExitStatus::usage;
    }
    if (!allPathsExist(parser.positionalArguments(), streams))
        return ExitStatus::usage;
    return assign(parser, options, sourceOptions, *choice, streams);
}

} // namespace qb::cli
