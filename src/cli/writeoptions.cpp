// SPDX-License-Identifier: GPL-3.0-or-later
#include "writeoptions.h"

#include "exif/fileoutcomes.h"
#include "extensions/jsonfile.h"
#include "writing/metadataqueue.h"

namespace qb::cli {

std::expected<std::vector<MetadataMapping>, Error> chosenRows(const QCommandLineParser& parser,
                                                              const WriteOptions& options,
                                                              const LoadedSource& source)
{
    if (!parser.isSet(options.mappings))
        return source.documentRows.value_or(std::vector<MetadataMapping>{});
    const auto json = readJsonFile(parser.value(options.mappings));
    if (!json)
        return std::unexpected(json.error());
    return MetadataMapping::decodeList(*json);
}

std::expected<SidecarNaming, QString> chosenSidecarNaming(const QCommandLineParser& parser,
                                                          const WriteOptions& options,
                                                          SidecarNaming fallback)
{
    if (!parser.isSet(options.sidecarName))
        return fallback;
    const QString form = parser.value(options.sidecarName);
    if (const auto naming = sidecarNamingNamed(form))
        return *naming;
    return std::unexpected(
        QStringLiteral("unknown sidecar name '%1'; use name or name.ext").arg(form));
}

QString exiftoolToRun(const QString& given)
{
    if (!given.isEmpty())
        return absolutePath(given);
    return MetadataQueue::bundleExifToolPath().value_or(installedExiftoolPath());
}

FolderSearch searchImages(const QCommandLineParser& parser, const SourceOptions& sourceOptions,
                          Streams& streams)
{
    const FolderSearch found = URLImageProvider(fileUrls(parser.positionalArguments()),
                                                !parser.isSet(sourceOptions.noRecursive))
                                   .search();
    for (const QString& path : found.leftOut)
        printError(streams,
                   QStringLiteral("left out, as %1: %2").arg(leftOutReason::nameNotUtf8(), path));
    return found;
}

} // namespace qb::cli
