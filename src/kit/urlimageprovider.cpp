// SPDX-License-Identifier: GPL-3.0-or-later
#include "urlimageprovider.h"

#include <QDir>
#include <QDirIterator>
#include <QMimeDatabase>
#include <QSet>

namespace qb {

namespace {

// Raw formats that shared-mime-info doesn't know.
const QSet<QString> extraImageSuffixes = {
    QStringLiteral("iiq"), QStringLiteral("3fr"), QStringLiteral("fff"), QStringLiteral("srw"),
    QStringLiteral("eip"), QStringLiteral("erf"), QStringLiteral("mos")};

const QString captureOneFolder = QStringLiteral("CaptureOne");

} // namespace

bool isImageOrAudiovisual(const QFileInfo& file)
{
    static const QMimeDatabase database;
    // The kind goes by the extension alone, and a name whose only dot leads
    // it (".jpg") is a hidden file without one.
    if (file.fileName().lastIndexOf(QLatin1Char('.')) <= 0)
        return false;
    if (extraImageSuffixes.contains(file.suffix().toLower()))
        return true;
    const QMimeType type = database.mimeTypeForFile(file, QMimeDatabase::MatchExtension);
    const QString name = type.name();
    return name.startsWith(QLatin1String("image/")) || name.startsWith(QLatin1String("video/")) ||
           name.startsWith(QLatin1String("audio/")) ||
           type.inherits(QStringLiteral("image/x-dcraw"));
}

QList<QUrl> imagesInFolder(const QString& folder, bool recursive)
{
    // Hidden entries are visited, as a Finder-style enumeration with no
    // options would; symbolic links to folders aren't followed, so that a
    // link loop can't make the walk endless.
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    recursive ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags);
    QStringList paths;
    while (it.hasNext()) {
        const QFileInfo info = it.nextFileInfo();
        // An entry whose kind can't be read any more (it went away during
        // the walk) ends the search of this folder; the rest isn't visited.
        // Kept on purpose: the walk has always stopped there, not skipped.
        if (!info.exists() && !info.isSymLink())
            break;
        if (info.isFile() && isImageOrAudiovisual(info))
            paths << info.filePath();
    }
    // Directory order differs between file systems; a sorted list keeps
    // runs and their output repeatable.
    paths.sort();
    QList<QUrl> found;
    found.reserve(paths.size());
    for (const QString& path : paths)
        found << QUrl::fromLocalFile(path);
    return found;
}

bool isSearchableFolder(const QUrl& url)
{
    // "/shoot/CaptureOne/" names the folder CaptureOne too.
    const QString name = url.adjusted(QUrl::StripTrailingSlash).fileName(QUrl::FullyDecoded);
    return url.isLocalFile() && name != captureOneFolder && QFileInfo(url.toLocalFile()).isDir();
}

URLImageProvider::URLImageProvider(QList<QUrl> urls, bool recursive)
    : m_urls(std::move(urls))
    , m_recursive(recursive)
{
}

QList<QUrl> URLImageProvider::images() const
{
    QList<QUrl> expanded;
    for (const QUrl& url : m_urls) {
        if (isSearchableFolder(url))
            expanded += imagesInFolder(QDir::cleanPath(url.toLocalFile()), m_recursive);
        else
            expanded << url;
    }
    // Each image once, in the order first met: stable output for scripts.
    QList<QUrl> unique;
    QSet<QUrl> seen;
    for (const QUrl& url : expanded) {
        const QUrl normal = url.adjusted(QUrl::NormalizePathSegments | QUrl::StripTrailingSlash);
        if (!seen.contains(normal)) {
            seen.insert(normal);
            unique << url;
        }
    }
    return unique;
}

} // namespace qb
