// SPDX-License-Identifier: GPL-3.0-or-later
#include "sourceoptions.h"

#include "csvcommand.h"

#include "documents/mappingsdoc.h"
#include "exif/metadatareader.h"
#include "sources/csvdatasource.h"
#include "sources/imagedatasource.h"
#include "sources/tagkeys.h"
#include "sources/urlimageprovider.h"
#include "writing/metadataqueue.h"

#include <QFileInfo>
#include <QThread>

namespace qb::cli {

namespace {

using Style = FileNameDataSource::MatchingStyle;

struct Settings {
    std::optional<QString> csvPath;
    std::optional<QString> key;
    std::optional<Style> style;
    CSVDataSource::FieldDelimiter delimiter = CSVDataSource::FieldDelimiter::comma;
    std::optional<TextEncoding> encoding;
    std::optional<QString> sheet;
    std::optional<QString> keyTag;
    // Given on the command line, not taken from a document: these are for
    // one kind of file only, and the user is told when they don't fit.
    bool sheetGiven = false;
    bool textOptionsGiven = false;
    // Why the document's CSV settings can't give the rows, told only when
    // the options don't make up for them.
    std::optional<QString> documentProblem;
};

void takeDocumentCsv(const MappingsDoc& document, Settings& settings)
{
    const auto read = document.readCsvSettings();
    if (!read) {
        settings.documentProblem =
            QStringLiteral("the document's datasource/csv.json is damaged: %1")
                .arg(read.error().message());
        return;
    }
    if (!*read)
        return;
    const CSVDatasourceSettings& saved = (*read)->settings;
    if (saved.currentURL)
        settings.csvPath = saved.currentURL->url.toLocalFile();
    settings.key = saved.selectedHeader;
    settings.style = saved.matchingStyle();
    settings.delimiter = saved.delimiter();
    settings.sheet = saved.sheetName;
    settings.keyTag = saved.keyTag;
    if (const auto& unresolved = (*read)->unresolvedFile) {
        QString reason = unresolved->failureReason;
        if (reason.endsWith(QLatin1Char('.')))
            reason.chop(1);
        settings.documentProblem =
            QStringLiteral("the document's CSV file can't be found (%1); give it with --csv FILE")
                .arg(reason);
    }
}

std::expected<std::shared_ptr<FileNameDataSource>, ExitStatus> loadCsv(const Settings& settings,
                                                                       Streams& streams)
{
    if (!settings.csvPath || !settings.key) {
        printError(streams, settings.documentProblem.value_or(
                                QStringLiteral("give the rows with --csv FILE --key COLUMN, "
                                               "--image-source PATH or a --document that has "
                                               "them")));
        return std::unexpected(ExitStatus::usage);
    }
    auto source = std::make_shared<CSVDataSource>();
    source->setFieldDelimiter(settings.delimiter);
    source->setEncoding(settings.encoding);
    source->setSheetName(settings.sheet);
    if (auto loaded = loadCsvFile(*source, QUrl::fromLocalFile(absolutePath(*settings.csvPath)),
                                  streams, true);
        !loaded)
        return std::unexpected(loaded.error());
    const QString fileName = QFileInfo(*settings.csvPath).fileName();
    if (settings.sheetGiven && !source->isSpreadsheet()) {
        printError(streams, QStringLiteral("--sheet is for spreadsheets (.xlsx, .ods); %1 is "
                                           "read as CSV")
                                .arg(fileName));
        return std::unexpected(ExitStatus::usage);
    }
    if (settings.textOptionsGiven && source->isSpreadsheet()) {
        printError(streams, QStringLiteral("--delimiter and --encoding are for CSV files; the "
                                           "cells of %1 need neither")
                                .arg(fileName));
        return std::unexpected(ExitStatus::usage);
    }
    if (!source->keyNames().contains(*settings.key)) {
        printError(
            streams,
            source->isSpreadsheet()
                ? QStringLiteral("the sheet \u201c%1\u201d has no column named '%2'")
                      .arg(source->loadedSheet(), *settings.key)
                : QStringLiteral("the CSV file has no column named '%1'").arg(*settings.key));
        return std::unexpected(ExitStatus::usage);
    }
    source->buildMetadata(*settings.key);
    return source;
}

std::expected<std::shared_ptr<FileNameDataSource>, ExitStatus>
loadImages(const QCommandLineParser& parser, const SourceOptions& options, Streams& streams)
{
    if (!allPathsExist(parser.values(options.imageSource), streams))
        return std::unexpected(ExitStatus::usage);
    const QString exiftool = parser.value(options.exiftool);
    auto source = std::make_shared<ImageDataSource>([exiftool] {
        auto reader = std::make_unique<MetadataReader>();
        if (!exiftool.isEmpty())
            reader->exiftool().setExiftoolLocation(absolutePath(exiftool));
        return reader;
    });
    const bool recursive = !parser.isSet(options.noRecursive);
    const QList<QUrl> images =
        URLImageProvider(fileUrls(parser.values(options.imageSource)), recursive).images();
    std::optional<std::expected<QString, Error>> outcome;
    source->loadImages(images,
                       [&](const std::expected<QString, Error>& result) { outcome = result; });
    if (!outcome || !*outcome) {
        printError(streams, outcome ? outcome->error() : Error{});
        return std::unexpected(ExitStatus::failure);
    }
    return source;
}

std::expected<void, QString> readOptions(const QCommandLineParser& parser,
                                         const SourceOptions& options, Settings& settings)
{
    settings.textOptionsGiven = parser.isSet(options.delimiter) || parser.isSet(options.encoding);
    if (parser.isSet(options.sheet)) {
        settings.sheet = parser.value(options.sheet);
        settings.sheetGiven = true;
    }
    if (parser.isSet(options.keyTag)) {
        // Handed to exiftool as "-TAG": a name, never an option of its own.
        const QString tag = parser.value(options.keyTag);
        if (!isTagName(tag))
            return std::unexpected(QStringLiteral("--key-tag takes a tag name such as "
                                                  "EXIF:SerialNumber, not '%1'")
                                       .arg(tag));
        settings.keyTag = tag;
    }
    if (parser.isSet(options.delimiter)) {
        const auto delimiter = delimiterNamed(parser.value(options.delimiter));
        if (!delimiter)
            return std::unexpected(delimiter.error());
        settings.delimiter = *delimiter;
    }
    if (parser.isSet(options.encoding)) {
        const auto encoding = encodingNamed(parser.value(options.encoding));
        if (!encoding)
            return std::unexpected(encoding.error());
        settings.encoding = *encoding;
    }
    return {};
}

} // namespace

QString absolutePath(const QString& path)
{
    return QFileInfo(path).absoluteFilePath();
}

QList<QUrl> fileUrls(const QStringList& paths)
{
    QList<QUrl> urls;
    for (const QString& path : paths)
        urls << QUrl::fromLocalFile(absolutePath(path));
    return urls;
}

QString exiftoolFor(const QString& given)
{
    if (!given.isEmpty())
        return absolutePath(given);
    return MetadataQueue::bundleExifToolPath().value_or(installedExiftoolPath());
}

std::expected<void, ExitStatus> readImageKeys(FileNameDataSource& source, const QList<QUrl>& images,
                                              const QString& exiftool, Streams& streams)
{
    if (!source.keyTag() || source.matchingStyle() == Style::path)
        return {};
    const ExifTool reader(exiftoolFor(exiftool), {});
    auto keys = readTagKeys(reader, images, *source.keyTag(), QThread::idealThreadCount());
    if (!keys) {
        printError(streams, keys.error());
        return std::unexpected(ExitStatus::failure);
    }
    source.addTagKeys(images, *keys);
    return {};
}

std::optional<Style> matchingStyleNamed(const QString& name)
{
    static const std::pair<const char*, Style> names[] = {
        {"contains", Style::contains}, {"equals", Style::equals}, {"prefix", Style::prefix},
        {"regex", Style::regex},       {"suffix", Style::suffix}, {"path", Style::path}};
    for (const auto& [text, style] : names) {
        if (name == QLatin1String(text))
            return style;
    }
    return std::nullopt;
}

std::expected<LoadedSource, ExitStatus> loadSource(const QCommandLineParser& parser,
                                                   const SourceOptions& options, Streams& streams)
{
    LoadedSource loaded;
    Settings settings;
    if (parser.isSet(options.document)) {
        auto document = MappingsDoc::open(absolutePath(parser.value(options.document)));
        if (!document) {
            printError(streams, document.error());
            return std::unexpected(ExitStatus::usage);
        }
        loaded.documentRows = (*document)->currentCriteriaRows();
        takeDocumentCsv(**document, settings);
        loaded.files << absolutePath(parser.value(options.document));
    }
    if (auto read = readOptions(parser, options, settings); !read) {
        printError(streams, read.error());
        return std::unexpected(ExitStatus::usage);
    }
    if (parser.isSet(options.csv))
        settings.csvPath = parser.value(options.csv);
    if (parser.isSet(options.key))
        settings.key = parser.value(options.key);
    if (parser.isSet(options.match)) {
        settings.style = matchingStyleNamed(parser.value(options.match));
        if (!settings.style) {
            printError(streams, QStringLiteral("unknown matching style '%1'; use contains, "
                                               "equals, prefix, regex, suffix or path")
                                    .arg(parser.value(options.match)));
            return std::unexpected(ExitStatus::usage);
        }
    }
    if (parser.isSet(options.imageSource) && parser.isSet(options.csv)) {
        printError(streams, QStringLiteral("give either --csv or --image-source, not both"));
        return std::unexpected(ExitStatus::usage);
    }
    if (settings.keyTag && settings.style == Style::path) {
        printError(streams, QStringLiteral("--match path ties a row to the image's path, "
                                           "--key-tag to a tag's value; give one of them"));
        return std::unexpected(ExitStatus::usage);
    }

    auto source = parser.isSet(options.imageSource) ? loadImages(parser, options, streams)
                                                    : loadCsv(settings, streams);
    if (!source)
        return std::unexpected(source.error());
    loaded.dataSource = std::move(*source);
    if (settings.csvPath && !parser.isSet(options.imageSource))
        loaded.files << absolutePath(*settings.csvPath);
    loaded.dataSource->setMatchingStyle(settings.style.value_or(Style::prefix));
    loaded.dataSource->setKeyTag(settings.keyTag);
    return loaded;
}

} // namespace qb::cli
