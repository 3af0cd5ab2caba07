// SPDX-License-Identifier: GPL-3.0-or-later
#include "shotlistcoordinator.h"

#include "kit/urlimageprovider.h"

#include "extensions/plainorder.h"
#include "extensions/regex.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace qb {

namespace {

// The last path component of the folder that holds `url`.
QString parentFolderName(const QUrl& url)
{
    const QUrl parent = url.adjusted(QUrl::StripTrailingSlash)
                            .adjusted(QUrl::RemoveFilename | QUrl::StripTrailingSlash);
    return parent.fileName(QUrl::FullyDecoded);
}

QString folderPath(const QUrl& baseURL, const QString& key)
{
    // A key that begins with a slash is a path of its own: the base plays no part.
    if (key.startsWith(QLatin1Char('/')))
        return QDir::cleanPath(key);
    return QDir::cleanPath(baseURL.toLocalFile() + QLatin1Char('/') + key);
}

Error folderCreationError(const QString& path, int code, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.FolderCreationError");
    error.code = code;
    error.errorDescription = QStringLiteral("The folder \u201c%1\u201d couldn\u2019t be created.")
                                 .arg(QFileInfo(path).fileName());
    error.failureReason = reason;
    error.userInfo.insert(QStringLiteral("path"), path);
    return error;
}

std::expected<void, Error> makeFolder(const QString& path)
{
    std::error_code code;
    std::filesystem::create_directories(QFile::encodeName(path).toStdString(), code);
    if (code)
        return std::unexpected(
            folderCreationError(path, code.value(), QString::fromStdString(code.message())));
    return {};
}

} // namespace

QString ShotRequest::description() const
{
    const QString mark = hasImages() ? QStringLiteral("\u2611\uFE0E") : QStringLiteral("\u2610");
    // Concatenated, not formatted: a shot name may hold "%1" itself.
    return mark + QLatin1Char(' ') + name + QStringLiteral(": ") + QString::number(images.size()) +
           QStringLiteral(" images");
}

void sortShotRequests(std::vector<ShotRequest>& shots)
{
    std::stable_sort(shots.begin(), shots.end(), [](const ShotRequest& a, const ShotRequest& b) {
        return plainLess(a.name, b.name);
    });
}

ShotlistCoordinator::ShotlistCoordinator(std::shared_ptr<ImageProvider> imageProvider,
                                         std::shared_ptr<MetadataSource> datasource)
    : m_imageProvider(std::move(imageProvider))
    , m_datasource(std::move(datasource))
{
    Q_ASSERT(m_imageProvider && m_datasource);
}

void ShotlistCoordinator::setImageProvider(std::shared_ptr<ImageProvider> provider)
{
    Q_ASSERT(provider);
    m_imageProvider = std::move(provider);
}

void ShotlistCoordinator::setDatasource(std::shared_ptr<MetadataSource> datasource)
{
    Q_ASSERT(datasource);
    m_datasource = std::move(datasource);
}

std::vector<ShotRequest> ShotlistCoordinator::shotRequests() const
{
    // A key pattern that runs out of time is told once.
    const RegexTimeouts run;
    const auto byKey = m_datasource->imagesByKey(m_imageProvider->images());
    std::vector<ShotRequest> shots;
    shots.reserve(byKey.size());
    for (const auto& [key, urls] : byKey) {
        ShotRequest shot{key, {}};
        if (m_requireMatchingFolder) {
            // Compared as text, whatever the file system's case rules.
            const QString folder = canonical(key);
            for (const QUrl& url : urls) {
                if (canonical(parentFolderName(url)) == folder)
                    shot.images << url;
            }
        } else {
            shot.images = urls;
        }
        shots.push_back(std::move(shot));
    }
    return shots;
}

std::expected<QList<QUrl>, Error> ShotlistCoordinator::createFolders(const QUrl& baseURL)
{
    if (!baseURL.isLocalFile())
        return std::unexpected(folderCreationError(
            baseURL.toDisplayString(), 0, QStringLiteral("The location is not a local folder.")));
    QList<QUrl> created;
    for (const QString& key : m_datasource->keys()) {
        const QString path = folderPath(baseURL, key);
        if (auto made = makeFolder(path); !made)
            return std::unexpected(made.error());
        created << QUrl::fromLocalFile(path);
    }
    if (auto* updateable = dynamic_cast<UpdateableImageProvider*>(m_imageProvider.get()))
        updateable->addURLs(created);
    return created;
}

} // namespace qb
