// SPDX-License-Identifier: GPL-3.0-or-later
#include "shotlistcoordinator.h"

#include "sources/urlimageprovider.h"

#include "extensions/plainorder.h"
#include "extensions/regex.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
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

// Whether `path` lies in `folder` once the links of the part that exists
// are resolved. A folder that doesn't exist yet has no links to follow.
bool staysInside(const QString& path, const QString& folder)
{
    const QString base = QFileInfo(folder).canonicalFilePath();
    if (base.isEmpty())
        return true;
    QString existing = path;
    while (!QFileInfo::exists(existing) && existing.size() > folder.size())
        existing = QFileInfo(existing).path();
    const QString resolved = QFileInfo(existing).canonicalFilePath();
    return resolved == base || resolved.startsWith(base + QLatin1Char('/'));
}

// Why `key` can't name a capture folder below `baseURL`, or nothing when it
// can. A key that begins with a slash is a path of its own, as it always
// was; any other must stay below the base.
std::optional<QString> keyRefusal(const QUrl& baseURL, const QString& key)
{
    if (key.contains(QChar(0)))
        return QStringLiteral("It holds a NUL character, which no folder name can hold.");
    if (key.split(QLatin1Char('/')).contains(QStringLiteral("..")))
        return QStringLiteral("It holds \u201c..\u201d, which would climb out of the folder.");
    if (!key.startsWith(QLatin1Char('/')) &&
        !staysInside(folderPath(baseURL, key), QDir::cleanPath(baseURL.toLocalFile())))
        return QStringLiteral("It leads out of the folder through a link.");
    return std::nullopt;
}

Error keyError(const QString& key, const QString& reason)
{
    QString shown = key;
    shown.replace(QChar(0), QChar(0xFFFD)); // a NUL would end the text where it is shown
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.FolderCreationError");
    error.code = EINVAL;
    error.errorDescription =
        QStringLiteral("No capture folder can be made for the key \u201c%1\u201d.").arg(shown);
    error.failureReason = reason;
    error.userInfo.insert(QStringLiteral("key"), key);
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
    // Every key is judged before any folder is made: a refused one stops the
    // run with nothing half done.
    const QStringList keys = m_datasource->keys();
    for (const QString& key : keys) {
        if (const auto refused = keyRefusal(baseURL, key))
            return std::unexpected(keyError(key, *refused));
    }
    QList<QUrl> created;
    for (const QString& key : keys) {
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
