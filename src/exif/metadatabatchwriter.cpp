// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadatabatchwriter.h"

#include "extensions/dynamicvaluejson.h"
#include "extensions/jsonfile.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace qb {

namespace {

// Dates and URLs have no JSON form; this writer doesn't convert them.
bool holdsJsonValue(const DynamicValue& value)
{
    if (value.isDate() || value.isUrl())
        return false;
    if (value.isList())
        return std::ranges::all_of(value.toList(), holdsJsonValue);
    if (value.isDictionary())
        return std::ranges::all_of(value.toDictionary(),
                                   [](const auto& entry) { return holdsJsonValue(entry.second); });
    return true;
}

} // namespace

MetadataBatchWriter::MetadataBatchWriter(QList<QUrl> urls, std::vector<MetadataValueBox> tags,
                                         std::shared_ptr<ProcessRunner> runner)
    : m_exiftool(installedExiftoolPath(), defaultTrace(), std::move(runner))
    , m_urls(std::move(urls))
    , m_tags(std::move(tags))
{
    m_exiftool.setOverwriteOriginal(true);
}

void MetadataBatchWriter::setVerbose(bool verbose)
{
    m_verbose = verbose;
    m_exiftool.setTrace(verbose ? defaultTrace() : Trace());
}

void MetadataBatchWriter::addImages(const std::vector<std::shared_ptr<ExifImage>>& images)
{
    for (const auto& image : images) {
        if (!image)
            continue;
        if (const std::optional<QUrl> url = image->url())
            m_urls << *url;
    }
}

std::expected<void, Error> MetadataBatchWriter::writeJSON(const QString& path, bool /*sidecars*/)
{
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const MetadataValueBox& box : m_tags) {
        if (!holdsJsonValue(box.value()))
            return std::unexpected(jsonFileError(
                JsonFileErrorCode::notEncodable, path,
                QStringLiteral("The value of “%1” is a date or a location, which JSON can't hold.")
                    .arg(box.tag())));
        // A later value for the same tag replaces the earlier one.
        object[box.tag().toStdString()] = toJsonValue(box.value());
    }
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        return std::unexpected(
            jsonFileError(JsonFileErrorCode::unwritable, path,
                          QStringLiteral("The folder “%1” could not be created.").arg(folder)));
    return writeJsonFile(object, path);
}

void MetadataBatchWriter::writeImages(const QString& jsonPath, const MetadataCompletion& completion)
{
    QStringList tags;
    for (const MetadataValueBox& box : m_tags)
        tags << box.tag();
    write(QStringList{QStringLiteral("-json=") + jsonPath} + iptcCharsetArguments(tags),
          QStringLiteral("Finished writing images."), completion);
}

void MetadataBatchWriter::writeSidecars(const QString& jsonPath,
                                        const MetadataCompletion& completion)
{
    write({QStringLiteral("-json=") + jsonPath, QStringLiteral("-srcfile"),
           sidecarFormat(m_sidecarNaming)},
          QStringLiteral("Finished writing XMP sidecar files."), completion);
}

void MetadataBatchWriter::write(QStringList arguments, const QString& closingMessage,
                                const MetadataCompletion& completion)
{
    m_lastWriteReport = runExiftoolWrite(m_exiftool, std::move(arguments), m_urls, m_verbose,
                                         closingMessage, completion);
}

} // namespace qb
