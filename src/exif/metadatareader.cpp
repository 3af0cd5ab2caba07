// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadatareader.h"

#include "exif/plaintextexchange.h"
#include "extensions/dynamicvaluejson.h"
#include "extensions/jsonfile.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace qb {

namespace {

const QString jsonOption = QStringLiteral("-json=");

} // namespace

QUrl sidecarUrl(const QUrl& url, SidecarNaming naming)
{
    QString path = url.path(QUrl::FullyDecoded);
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    if (naming == SidecarNaming::nameWithExtension) {
        // Where exiftool's %d%f.%e.xmp puts it: a name without any dot gets
        // an empty extension between two dots.
        path += dot > slash ? QStringLiteral(".xmp") : QStringLiteral("..xmp");
    } else {
        // A leading dot names a hidden file; it doesn't start an extension.
        if (dot > slash + 1)
            path.truncate(dot);
        path += QStringLiteral(".xmp");
    }
    QUrl sidecar(url);
    sidecar.setPath(path, QUrl::DecodedMode);
    return sidecar;
}

QUrl SidecarFinder::sidecarOf(const QUrl& image)
{
    const QUrl named = sidecarUrl(image, m_naming);
    const QString path = named.toLocalFile();
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const QString folder = path.left(slash);
    const QString name = path.mid(slash + 1);
    auto known = m_folders.find(folder);
    if (known == m_folders.end()) {
        QHash<QString, QStringList> names;
        for (const QString& entry : QDir(folder).entryList(
                 {QStringLiteral("*.xmp")}, QDir::Files | QDir::Hidden | QDir::System, QDir::Name))
            names[entry.toLower()] << entry;
        known = m_folders.insert(folder, names);
    }
    const QStringList twins = known->value(name.toLower());
    const QString stem = name.chopped(3);
    if (twins.contains(name))
        return named;
    for (const QString& twin : twins) {
        if (twin.startsWith(stem)) // only the extension's case differs
            return QUrl::fromLocalFile(folder + QLatin1Char('/') + twin);
    }
    return named;
}

MetadataReader::MetadataReader(std::shared_ptr<ProcessRunner> runner)
    : m_exiftool(installedExiftoolPath(), defaultTrace(), std::move(runner))
{
    m_exiftool.setOverwriteOriginal(true);
}

void MetadataReader::setVerbose(bool verbose)
{
    m_verbose = verbose;
    m_exiftool.setTrace(verbose ? defaultTrace() : Trace());
}

QList<QUrl> MetadataReader::urls() const
{
    QList<QUrl> result;
    result.reserve(qsizetype(m_loadedImages.size()));
    for (const auto& entry : m_loadedImages)
        result << entry.first;
    return result;
}

std::vector<MetadataReader::ImagePointer> MetadataReader::images() const
{
    std::vector<ImagePointer> result;
    result.reserve(m_loadedImages.size());
    for (const auto& entry : m_loadedImages)
        result.push_back(entry.second);
    return result;
}

MetadataReader::ImagePointer MetadataReader::image(const QUrl& url) const
{
    const auto it = m_loadedImages.find(url);
    return it == m_loadedImages.end() ? nullptr : it->second;
}

void MetadataReader::setImage(const QUrl& url, ImagePointer image)
{
    if (image)
        m_loadedImages.insert_or_assign(url, std::move(image));
    else
        m_loadedImages.erase(url);
}

MetadataReader::Images::const_iterator MetadataReader::findNamed(const QString& fileName) const
{
    return std::find_if(m_loadedImages.begin(), m_loadedImages.end(), [&](const auto& entry) {
        return entry.first.fileName(QUrl::FullyDecoded) == fileName;
    });
}

MetadataReader::ImagePointer MetadataReader::imageNamed(const QString& fileName) const
{
    const auto it = findNamed(fileName);
    return it == m_loadedImages.end() ? nullptr : it->second;
}

void MetadataReader::setImageNamed(const QString& fileName, ImagePointer image)
{
    const auto it = findNamed(fileName);
    if (it != m_loadedImages.end())
        setImage(it->first, std::move(image));
}

void MetadataReader::addURLs(const QList<QUrl>& urls)
{
    for (const QUrl& url : urls)
        m_loadedImages.insert_or_assign(url, std::make_shared<ExifImage>(url));
}

void MetadataReader::addImages(const std::vector<ImagePointer>& images)
{
    for (const ImagePointer& image : images) {
        if (!image)
            continue;
        if (const std::optional<QUrl> url = image->url())
            m_loadedImages.insert_or_assign(*url, image);
    }
}

void MetadataReader::read(const QStringList& tags, const QList<QUrl>& urls,
                          const ReadCompletion& completion)
{
    QStringList arguments{QStringLiteral("-groupNames"), QStringLiteral("-json"),
                          QStringLiteral("-ignoreMinorErrors"), QStringLiteral("-n")};
    for (const QUrl& url : urls)
        arguments << exiftoolPath(url);
    for (const QString& tag : tags)
        arguments << QLatin1Char('-') + tag;
    m_exiftool.run(arguments, [&](std::expected<ProcessResult, ExiftoolError> result) {
        if (!result)
            completion(std::unexpected(result.error().toError(ExiftoolTask::read)));
        else
            completion(store(result->response));
    });
}

std::expected<QString, Error> MetadataReader::store(const QByteArray& answer)
{
    nlohmann::ordered_json json;
    try {
        json = nlohmann::ordered_json::parse(answer.cbegin(), answer.cend());
    } catch (const nlohmann::ordered_json::parse_error& failure) {
        return std::unexpected(exiftoolAnswerError(failure.what()));
    }
    const bool listOfObjects =
        json.is_array() && std::all_of(json.begin(), json.end(),
                                       [](const auto& element) { return element.is_object(); });
    int count = 0;
    if (listOfObjects) {
        for (const nlohmann::ordered_json& object : json) {
            const auto source = object.find(ExifImage::sourceFileKey.toStdString());
            if (source == object.end() || !source->is_string())
                continue;
            // SourceFile stays a text, as exiftool gave it.
            ExifImage::Metadata metadata;
            for (const auto& [key, value] : object.items())
                metadata.insert_or_assign(QString::fromStdString(key), dynamicValueFromJson(value));
            const QUrl url =
                QUrl::fromLocalFile(QString::fromStdString(source->get<std::string>()));
            m_loadedImages.insert_or_assign(url, std::make_shared<ExifImage>(std::move(metadata)));
            ++count;
        }
    }
    return QStringLiteral("Read %1 new images").arg(count);
}

std::expected<void, Error> MetadataReader::writeJSON(const QString& path, bool sidecars)
{
    m_sidecarSpellings.clear();
    if (sidecars) {
        // A SourceFile held as text is moved too: dropping it would leave
        // exiftool unable to tell which file the values belong to.
        SidecarFinder finder(m_sidecarNaming);
        for (const auto& entry : m_loadedImages) {
            ExifImage& image = *entry.second;
            if (const std::optional<QUrl> source = image.url()) {
                const QUrl sidecar = finder.sidecarOf(*source);
                const QString spelling = sidecar.path().right(3);
                if (spelling != QLatin1String("xmp") && !m_sidecarSpellings.contains(spelling))
                    m_sidecarSpellings << spelling;
                image.metadata.insert_or_assign(ExifImage::sourceFileKey, sidecar);
            }
        }
        m_sidecarSpellings.sort();
    }
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        return std::unexpected(
            jsonFileError(JsonFileErrorCode::unwritable, path,
                          QStringLiteral("The folder “%1” could not be created.").arg(folder)));
    m_plainExchange = {};
    const auto plain =
        sidecars || !m_writableTags ? std::nullopt : plainTextExchange(images(), *m_writableTags);
    if (plain) {
        const QString csv =
            folder + QLatin1Char('/') + QFileInfo(path).completeBaseName() + QStringLiteral(".csv");
        QFile file(csv);
        if (!file.open(QIODevice::WriteOnly) || file.write(*plain) != plain->size() ||
            !file.flush())
            return std::unexpected(
                jsonFileError(JsonFileErrorCode::unwritable, csv, file.errorString()));
        m_plainExchange = {path, csv};
        return {};
    }
    nlohmann::ordered_json objects = nlohmann::ordered_json::array();
    for (const auto& entry : m_loadedImages)
        objects.push_back(entry.second->exiftoolJson());
    return writeJsonFile(objects, path);
}

void MetadataReader::writeImages(const QString& jsonPath, const MetadataCompletion& completion)
{
    QStringList tags;
    for (const auto& entry : m_loadedImages) {
        for (const auto& value : entry.second->metadata)
            tags << value.first;
    }
    const QStringList exchange = m_plainExchange.first == jsonPath
                                     ? plainTextExchangeOptions(m_plainExchange.second)
                                     : QStringList{jsonOption + jsonPath};
    write(exchange + QStringList{QStringLiteral("-struct"), QStringLiteral("-ignoreMinorErrors")} +
              iptcCharsetArguments(tags) + exifSegmentArguments(tags),
          QStringLiteral("Finished writing images."), completion);
}

void MetadataReader::writeSidecars(const QString& jsonPath, const MetadataCompletion& completion)
{
    // Unlike the direct form, no -ignoreMinorErrors: a minor error fails a
    // sidecar write. Kept on purpose.
    QStringList options{jsonOption + jsonPath, QStringLiteral("-srcfile"),
                        sidecarFormat(m_sidecarNaming)};
    // exiftool takes the first of these that exists, the plain one when
    // none does: the same sidecar that writeJSON chose.
    for (const QString& spelling : m_sidecarSpellings)
        options << QStringLiteral("-srcfile")
                << sidecarFormat(m_sidecarNaming).chopped(3) + spelling;
    write(options, QStringLiteral("Finished writing XMP sidecar files."), completion);
}

void MetadataReader::write(const QStringList& options, const QString& closingMessage,
                           const MetadataCompletion& completion)
{
    if (!m_writeInPlace) {
        m_lastWriteReport =
            runExiftoolWrite(m_exiftool, options, urls(), m_verbose, closingMessage, completion);
        return;
    }
    // In place, exiftool copies its new file back over the original's bytes.
    ExifTool inPlace = m_exiftool;
    inPlace.setOverwriteOriginal(false);
    m_lastWriteReport = runExiftoolWrite(
        inPlace, options + QStringList{QStringLiteral("-overwrite_original_in_place")}, urls(),
        m_verbose, closingMessage, completion);
}

} // namespace qb
