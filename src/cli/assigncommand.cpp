// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli assign: maps images from a CSV file by the rule rows of a
// mappings file, and writes the values.
#include "assigncommand.h"

#include "csvcommand.h"
#include "jsonoutput.h"

#include "extensions/jsonfile.h"
#include "kit/csvdatasource.h"
#include "kit/metadataassignment.h"
#include "kit/metadataqueue.h"
#include "kit/urlimageprovider.h"

#include <QEventLoop>
#include <QFileInfo>
#include <QSettings>

namespace qb::cli {

namespace {

struct AssignOptions {
    QCommandLineOption mappings{QStringLiteral("mappings"),
                                QStringLiteral("JSON array of mapping objects (the rule rows)."),
                                QStringLiteral("FILE")};
    QCommandLineOption csv{QStringLiteral("csv"), QStringLiteral("The CSV data file."),
                           QStringLiteral("FILE")};
    QCommandLineOption key{
        QStringLiteral("key"),
        QStringLiteral("The column whose values are matched against image names."),
        QStringLiteral("COLUMN")};
    QCommandLineOption match{QStringLiteral("match"),
                             QStringLiteral("contains, equals, prefix (default), regex or suffix."),
                             QStringLiteral("STYLE"), QStringLiteral("prefix")};
    QCommandLineOption dryRun{QStringLiteral("dry-run"),
                              QStringLiteral("Print what would go to exiftool; write nothing.")};
    QCommandLineOption method{QStringLiteral("method"),
                              QStringLiteral("direct, xmp or captureone (default: the "
                                             "write method of the preferences)."),
                              QStringLiteral("METHOD")};
    QCommandLineOption exiftool{QStringLiteral("exiftool"),
                                QStringLiteral("The exiftool executable to run."),
                                QStringLiteral("PATH")};
};

std::optional<MetadataQueue::WriteMethod> writeMethodNamed(const QString& name)
{
    using Method = MetadataQueue::WriteMethod;
    if (name == QLatin1String("direct"))
        return Method::direct;
    if (name == QLatin1String("xmp"))
        return Method::xmp;
    if (name == QLatin1String("captureone"))
        return Method::captureOne;
    return std::nullopt;
}

// Hands the images to the shared queue of the method and waits for the
// write it asks for, never for the queue's timer.
ExitStatus writeImages(const ExifImages& images, MetadataQueue::WriteMethod method,
                       const QString& exiftool, Streams& streams)
{
    MetadataQueue& queue = MetadataQueue::shared(method);
    if (!exiftool.isEmpty())
        queue.setExiftoolLocation(QFileInfo(exiftool).absoluteFilePath());
    queue.enqueue(images);
    std::optional<MetadataQueue::WriteResult> outcome;
    QEventLoop loop;
    queue.write([&](const MetadataQueue::WriteResult& result) {
        outcome = result;
        loop.quit();
    });
    loop.exec();
    if (!*outcome) {
        printError(streams, outcome->error());
        return ExitStatus::failure;
    }
    streams.out << **outcome << '\n';
    streams.out.flush();
    return ExitStatus::success;
}

// The write method as the assign action reads it from the preferences.
MetadataQueue::WriteMethod preferredWriteMethod()
{
    const QSettings settings(QStringLiteral("Quillbrook"), QStringLiteral("Quillbrook"));
    return MetadataQueue::writeMethodFromPreference(
        settings.value(QStringLiteral("writeMethodValue"), 0).toInt());
}

std::optional<FileNameDataSource::MatchingStyle> matchingStyleNamed(const QString& name)
{
    using Style = FileNameDataSource::MatchingStyle;
    static const std::pair<const char*, Style> names[] = {{"contains", Style::contains},
                                                          {"equals", Style::equals},
                                                          {"prefix", Style::prefix},
                                                          {"regex", Style::regex},
                                                          {"suffix", Style::suffix}};
    for (const auto& [text, style] : names) {
        if (name == QLatin1String(text))
            return style;
    }
    return std::nullopt;
}

std::expected<std::vector<MetadataMapping>, Error> readMappings(const QString& path)
{
    const auto json = readJsonFile(path);
    if (!json)
        return std::unexpected(json.error());
    return MetadataMapping::decodeList(*json);
}

QList<QUrl> imageUrls(const QStringList& paths)
{
    QList<QUrl> urls;
    for (const QString& path : paths)
        urls << QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    return urls;
}

} // namespace

ExitStatus assignCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Assigns metadata from a CSV file to images, by the rule rows of a "
                       "mappings file. Folders are searched for images, recursively."));
    const AssignOptions options;
    parser.addOptions({options.mappings, options.csv, options.key, options.match, options.dryRun,
                       options.method, options.exiftool});
    parser.addPositionalArgument(QStringLiteral("PATH..."), QStringLiteral("Images or folders."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("assign"), arguments, streams))
        return *status;

    for (const QCommandLineOption* required : {&options.mappings, &options.csv, &options.key}) {
        if (!parser.isSet(*required)) {
            printError(streams, QStringLiteral("assign needs --%1; see 'assign --help'")
                                    .arg(required->names().first()));
            return ExitStatus::usage;
        }
    }
    const auto style = matchingStyleNamed(parser.value(options.match));
    if (!style) {
        printError(streams, QStringLiteral("unknown matching style '%1'; use contains, equals, "
                                           "prefix, regex or suffix")
                                .arg(parser.value(options.match)));
        return ExitStatus::usage;
    }
    if (parser.positionalArguments().isEmpty()) {
        printError(streams, QStringLiteral("assign needs at least one image or folder"));
        return ExitStatus::usage;
    }
    MetadataQueue::WriteMethod method = preferredWriteMethod();
    if (parser.isSet(options.method)) {
        const auto named = writeMethodNamed(parser.value(options.method));
        if (!named) {
            printError(streams, QStringLiteral("unknown write method '%1'; use direct, xmp or "
                                               "captureone")
                                    .arg(parser.value(options.method)));
            return ExitStatus::usage;
        }
        method = *named;
    }

    const auto mappings = readMappings(parser.value(options.mappings));
    if (!mappings) {
        printError(streams, mappings.error());
        return ExitStatus::usage;
    }
    CSVDataSource source;
    const QString csvPath = QFileInfo(parser.value(options.csv)).absoluteFilePath();
    if (auto loaded = source.loadCSV(QUrl::fromLocalFile(csvPath)); !loaded)
        return printCsvLoadError(streams, loaded.error());
    const QString key = parser.value(options.key);
    if (!source.keyNames().contains(key)) {
        printError(streams, QStringLiteral("the CSV file has no column named '%1'").arg(key));
        return ExitStatus::usage;
    }
    source.buildMetadata(key);
    source.setMatchingStyle(*style);

    const URLImageProvider provider(imageUrls(parser.positionalArguments()), true);
    const ExifImages images = mapImages(provider, source, *mappings);
    if (!parser.isSet(options.dryRun)) {
        if (images.empty())
            printError(streams, QStringLiteral("no image matched a row of the CSV file"));
        return writeImages(images, method, parser.value(options.exiftool), streams);
    }
    Json batch = Json::array();
    for (const auto& image : images)
        batch.push_back(image->exiftoolJson());
    printJson(streams.out, batch);
    return ExitStatus::success;
}

} // namespace qb::cli
