// SPDX-License-Identifier: GPL-3.0-or-later
#include "sourceoptions.h"

#include "csvcommand.h"

#include "documents/mappingsdoc.h"
#include "exif/metadatareader.h"
#include "sources/csvdatasource.h"
#include "sources/imagedatasource.h"
#include "sources/urlimageprovider.h"

#include <QFileInfo>

namespace qb::cli {

namespace {

using Style = FileNameDataSource::MatchingStyle;

struct Settings {
    std::optional<QString> csvPath;
    std::optional<QString> key;
    std::optional<Style> style;
    CSVDataSource::FieldDelimiter delimiter = CSVDataSource::FieldDelimiter::comma;
    std::optional<TextEncoding> encoding;
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
    if (auto loaded = loadCsvFile(*source, QUrl::fromLocalFile(absolutePath(*settings.csvPath)),
                                  streams, true);
        !loaded)
        return std::unexpected(loaded.error());
    if (!source->keyNames().contains(*settings.key)) {
        printError(streams,
                   QStringLiteral("the CSV file has no column named '%1'").arg(*settings.key));
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

std::optional<Style> matchingStyleNamed(const QString& name)
{
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
                                               "equals, prefix, regex or suffix")
                                    .arg(parser.value(options.match)));
            return std::unexpected(ExitStatus::usage);
        }
    }
    if (parser.isSet(options.imageSource) && parser.isSet(options.csv)) {
        printError(streams, QStringLiteral("give either --csv or --image-source, not both"));
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
    return loaded;
}

} // namespace qb::cli
