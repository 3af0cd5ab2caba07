// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli assign: maps images by the rule rows and writes the values.
#include "assigncommand.h"

#include "cardoptions.h"
#include "jsonoutput.h"
#include "sourceoptions.h"
#include "writeoptions.h"

#include "captureone/captureoneadjustmentwriter.h"
#include "cards/plannedrows.h"
#include "extensions/interruption.h"
#include "mapping/columnrules.h"
#include "mapping/metadataassignment.h"
#include "preferences/preferences.h"
#include "sources/matchfindings.h"
#include "sources/urlimageprovider.h"
#include "writereporting.h"
#include "writing/metadataqueue.h"
#include "writing/parallelwrite.h"
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
                                             "matches more than one row, a row with an empty "
                                             "key matches every image, or several rows of the "
                                             "data have one key.")};
    QCommandLineOption emptyCells{QStringLiteral("empty-cells"),
                                  QStringLiteral("keep leaves a tag as the file has it where the "
                                                 "cell is empty or blank; clear writes the tag "
                                                 "empty (default: the preferences, else keep)."),
                                  QStringLiteral("keep|clear")};
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
    QCommandLineOption columnsAreTags{
        QStringLiteral("columns-are-tags"),
        QStringLiteral("Write each column whose header is a tag exiftool can write (Title, "
                       "XMP-dc:Subject...) into that tag, list tags split at \", \", as "
                       "exiftool -csv writes them; after the rows of --mappings or --document, "
                       "if given, leaving out tags those rows write already.")};
    QCommandLineOption jobs{QStringLiteral("jobs"),
                            QStringLiteral("How many exiftool processes a large batch is split "
                                           "across; 0 means one per core (default: the "
                                           "preferences)."),
                            QStringLiteral("N")};
    QCommandLineOption cards{QStringLiteral("cards"),
                             QStringLiteral("Give each frame the row of the barcode card shot "
                                            "with it, as 'cards' plans it, rather than match "
                                            "names; the card options below apply.")};
    CardOptions cardOptions;
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
                  Streams& streams)
{
    for (const QString& warning : report.warnings)
        printError(streams, warning);
    for (const QString& note : report.notes)
        printError(streams, note);
    for (const FileOutcome& file : report.outcomes) {
        if (file.kind == FileOutcomeKind::leftOut)
            printError(streams, QStringLiteral("left out, as %1: %2")
                                    .arg(file.message == leftOutReason::stillBeingWritten()
                                             ? QStringLiteral("it is still being written")
                                             : file.message,
                                         file.path));
    }
    const QString counts = report.outcomes.empty()
                               ? report.countsText()
                               : outcomeCountsText(countOutcomes(report.outcomes));
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
    EmptyCells emptyCells = EmptyCells::keep;
};

// The images a search left out, as outcomes for the closing counts and the
// report.
FileOutcomes leftOutByName(const FolderSearch& found)
{
    FileOutcomes outcomes;
    for (const QString& path : found.leftOut)
        outcomes.push_back({path, FileOutcomeKind::leftOut, leftOutReason::nameNotUtf8()});
    return outcomes;
}

// The report at the end: one that can't be written makes the run fail.
ExitStatus saveReportAtEnd(ExitStatus status, const WriteReport& written, const QString& path,
                           const QString& note, Streams& streams)
{
    if (path.isEmpty())
        return status;
    if (auto saved = saveReport(written, path, note); !saved) {
        printError(streams, saved.error());
        return status == ExitStatus::success ? ExitStatus::failure : status;
    }
    return status;
}

ExitStatus write(const ExifImages& images, const WriteChoice& choice, const QString& exiftool,
                 const FileOutcomes& leftOut, Streams& streams)
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
    // Those left out by their names come first, as the search found them.
    written.outcomes.insert(written.outcomes.begin(), leftOut.begin(), leftOut.end());
    const ExitStatus status = report(*outcome, written, streams);
    return saveReportAtEnd(status, written, choice.reportPath, {}, streams);
}

Json exiftoolBatch(const ExifImages& images)
{
    Json batch = Json::array();
    for (const auto& image : images)
        batch.push_back(image->exiftoolJson());
    return batch;
}

// The tags that empty cells leave alone, told on stderr: the batch on
// stdout is exactly what exiftool would get, which names none of them.
void tellLeftAlone(const ExifImages& images, Streams& streams)
{
    constexpr int shown = 5;
    int told = 0;
    int withEmpty = 0;
    for (const auto& image : images) {
        if (image->notes.leftAlone.isEmpty())
            continue;
        ++withEmpty;
        if (told++ < shown)
            printError(streams, QStringLiteral("%1: empty cells leave %2 as the file has them")
                                    .arg(image->url().value_or(QUrl()).fileName(QUrl::FullyDecoded),
                                         image->notes.leftAlone.join(QStringLiteral(", "))));
    }
    if (withEmpty > shown)
        printError(streams, QStringLiteral("\u2026 and in %1 more images").arg(withEmpty - shown));
}

// What would go out: exiftool's JSON batch, or for Capture One each group's
// files and script.
void printDryRun(const ExifImages& images, Method method, Streams& streams)
{
    tellLeftAlone(images, streams);
    if (method != Method::captureOne) {
        printJson(streams.out, exiftoolBatch(images));
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
    if (!strict || !findings.isAmbiguous())
        return std::nullopt;
    printError(streams, findings.strictError());
    return ExitStatus::usage;
}

// Refuses what exiftool would write wrongly, and tells what it would leave
// out, before anything is written; a dry run tells the same.
std::optional<ExitStatus> checkBeforeWriting(const ExifImages& images, Method method,
                                             const QString& exiftool, Streams& streams)
{
    if (method == Method::captureOne || images.empty())
        return std::nullopt;
    const auto writable =
        WritableTagsCache::shared().tagsOf(exiftoolToRun(exiftool), ExiftoolConfig::none());
    if (auto checked = checkBatch(images, writable.get(), method == Method::xmp); !checked) {
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
    WriteChoice choice{preferences.writeMethod(),
                       preferences.sidecarNaming(),
                       preferences.keepWriteJournal() && !parser.isSet(options.noJournal),
                       parser.value(options.report),
                       preferences.writeJobs(),
                       preferences.emptyCellsClear() ? EmptyCells::clear : EmptyCells::keep};
    if (parser.isSet(options.emptyCells)) {
        const auto named = emptyCellsNamed(parser.value(options.emptyCells));
        if (!named) {
            printError(streams, QStringLiteral("unknown --empty-cells '%1'; use keep or clear")
                                    .arg(parser.value(options.emptyCells)));
            return std::unexpected(ExitStatus::usage);
        }
        choice.emptyCells = *named;
    }
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
        // More exiftools than that only take turns for the same cores and
        // memory.
        const int most = maximumJobs();
        if (choice.jobs > most) {
            printError(streams, QStringLiteral("--jobs %1 is more than four per core; %2 are "
                                               "used")
                                    .arg(choice.jobs)
                                    .arg(most));
            choice.jobs = most;
        }
    }
    return choice;
}

// A rule for each column named after a tag the exiftool writes; tells
// which columns write nothing.
std::expected<std::vector<MetadataMapping>, ExitStatus>
rulesOfColumns(const QStringList& headers, const QString& exiftool, Streams& streams)
{
    const auto writable =
        WritableTagsCache::shared().tagsOf(exiftoolFor(exiftool), ExiftoolConfig::none());
    if (!writable) {
        printError(streams, QStringLiteral("exiftool (%1) can't be asked which tags it writes, "
                                           "which --columns-are-tags needs")
                                .arg(exiftoolFor(exiftool)));
        return std::unexpected(ExitStatus::failure);
    }
    ColumnRules made = columnRules(headers, *writable);
    if (made.rules.empty()) {
        printError(streams, QStringLiteral("no column of the data is named after a tag exiftool "
                                           "can write; the headers are: %1")
                                .arg(headers.join(QStringLiteral(", "))));
        return std::unexpected(ExitStatus::usage);
    }
    if (!made.otherColumns.isEmpty())
        printError(streams, QStringLiteral("columns that write no tag: %1")
                                .arg(made.otherColumns.join(QStringLiteral(", "))));
    return std::move(made.rules);
}

// The rows of --mappings, else the document's, and those of the columns
// when asked; warns of those whose column the data hasn't.
std::expected<std::vector<MetadataMapping>, ExitStatus>
chosenMappings(const QCommandLineParser& parser, const AssignOptions& options,
               const LoadedSource& source, const QString& exiftool, Streams& streams)
{
    auto mappings = chosenRows(parser, options, source);
    if (!mappings) {
        printError(streams, mappings.error());
        return std::unexpected(ExitStatus::usage);
    }
    for (const QString& warning : missingColumnWarnings(*mappings, source.dataSource->keyNames()))
        printError(streams, warning);
    if (parser.isSet(options.columnsAreTags)) {
        auto rules = rulesOfColumns(source.dataSource->keyNames(), exiftool, streams);
        if (!rules)
            return std::unexpected(rules.error());
        *mappings = withColumnRules(std::move(*mappings), *rules);
    }
    for (const QString& warning : overruledRuleWarnings(*mappings))
        printError(streams, warning);
    return std::move(*mappings);
}

// Writes what a dry run or a preview would do into the report, if one is
// asked for.
ExitStatus savePlan(ExitStatus status, const QString& plan, const Json& json,
                    const FileOutcomes& leftOut, const QString& path, Streams& streams)
{
    if (path.isEmpty() || status != ExitStatus::success)
        return status;
    if (auto saved = savePlanReport(plan, json, leftOut, path); !saved) {
        printError(streams, saved.error());
        return ExitStatus::failure;
    }
    return status;
}

// Maps the images and writes them, or prints what a write would send.
// With `cards`, the frames get their rows from the plan of the cards.
ExitStatus assign(const QCommandLineParser& parser, const AssignOptions& options,
                  const SourceOptions& sourceOptions, WriteChoice choice,
                  const std::optional<CardPlanOptions>& cards, Streams& streams)
{
    auto source = loadSource(parser, sourceOptions, streams);
    if (!source)
        return source.error();
    const QString exiftool = parser.value(sourceOptions.exiftool);
    const auto mappings = chosenMappings(parser, options, *source, exiftool, streams);
    if (!mappings)
        return mappings.error();
    const FolderSearch found = searchImages(parser, sourceOptions, streams);
    if (auto keyed = readImageKeys(*source->dataSource, found.images, exiftool, streams); !keyed)
        return keyed.error();
    if (!choice.reportPath.isEmpty()) {
        if (const auto problem = reportPathProblem(choice.reportPath, found.images)) {
            printError(streams, *problem);
            return ExitStatus::usage;
        }
    }
    ExifImages images;
    if (cards) {
        const auto plan = planCardSession(found.images, *source->dataSource, *cards,
                                          exiftoolToRun(exiftool), streams);
        if (!plan)
            return plan.error();
        // The plan goes with every write, so that its checks are seen
        // where the values are.
        streams.err << planText(*plan, planTextOptions(source->dataSource));
        streams.err.flush();
        const PlannedRows rows(source->dataSource, plan->assignments());
        images = mapImages(URLListProvider(rows.images()), rows, *mappings, choice.emptyCells);
    } else {
        if (const auto stopped =
                tellFindings(MatchFindings::find(*source->dataSource, found.images),
                             parser.isSet(options.strict), streams))
            return *stopped;
        images = mapImages(URLListProvider(found.images), *source->dataSource, *mappings,
                           choice.emptyCells);
    }
    if (const auto refused = checkBeforeWriting(images, choice.method, exiftool, streams))
        return *refused;
    const FileOutcomes leftOut = leftOutByName(found);
    if (parser.isSet(options.preview)) {
        const PreviewSource readFrom{choice.method == Method::xmp, choice.naming};
        const auto preview =
            printPreview(images, unmatchedImages(found.images, images), exiftoolToRun(exiftool),
                         choice.jobs, readFrom, parser.isSet(options.json), streams);
        if (!preview)
            return preview.error();
        return savePlan(ExitStatus::success, QStringLiteral("preview"), *preview, leftOut,
                        choice.reportPath, streams);
    }
    if (parser.isSet(options.dryRun)) {
        printDryRun(images, choice.method, streams);
        return savePlan(ExitStatus::success, QStringLiteral("dry run"),
                        Json{{"batch", exiftoolBatch(images)}}, leftOut, choice.reportPath,
                        streams);
    }
    if (images.empty()) {
        // Nothing to hand to exiftool, which would only fail on an empty batch.
        const QString nothing = QStringLiteral("no image matched a row; nothing was written");
        printError(streams, nothing);
        WriteReport none;
        none.outcomes = leftOut;
        return saveReportAtEnd(ExitStatus::success, none, choice.reportPath, nothing, streams);
    }
    return write(images, choice, exiftool, leftOut, streams);
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
    parser.addOptions({options.mappings, options.columnsAreTags, options.dryRun, options.strict,
                       options.method, options.sidecarName, options.preview, options.json,
                       options.report, options.noJournal, options.jobs, options.emptyCells,
                       options.cards});
    parser.addOptions(options.cardOptions.all());
    parser.addOptions(sourceOptions.all());
    parser.addPositionalArgument(QStringLiteral("PATH..."), QStringLiteral("Images or folders."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("assign"), arguments, streams))
        return *status;

    const auto choice = chosenWrite(parser, options, streams);
    if (!choice)
        return choice.error();
    if (!parser.isSet(options.mappings) && !parser.isSet(sourceOptions.document) &&
        !parser.isSet(options.columnsAreTags)) {
        printError(streams, QStringLiteral("assign needs --mappings, --document or "
                                           "--columns-are-tags; see 'assign --help'"));
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
    const auto cards = chosenCardMode(parser, options.cards, options.cardOptions, false);
    if (!cards) {
        printError(streams, cards.error());
        return ExitStatus::usage;
    }
    return assign(parser, options, sourceOptions, *choice, *cards, streams);
}

} // namespace qb::cli
