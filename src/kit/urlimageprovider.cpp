// SPDX-License-Identifier: GPL-3.0-or-later
#include "urlimageprovider.h"

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

void searchFolder(const QString& folder, bool recursive, QList<QUrl>& found)
{
    // Hidden entries are visited, as a Finder-style enumeration with no
    // options would; symbolic links to folders aren't followed, so that a
    // link loop can't make the walk endless.
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    recursive ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags);
    QStringList paths;
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        if (info.isFile() && isImageOrAudiovisual(info))
            paths << info.filePath();
    }
    // Directory order differs between file systems; a sorted list keeps
    // runs and their output repeatable.
    paths.sort();
    for (const QString& path : paths)
        found << QUrl::fromLocalFile(path);
}

} // namespace

bool isImageOrAudiovisual(const QFileInfo& file)
{
    static const QMimeDatabase database;
    if (extraImageSuffixes.contains(file.suffix().toLower()))
        return true;
    const QMimeType type = database.mimeTypeForFile(file, QMimeDatabase::MatchExtension);
    const QString name = type.name();
    return name.startsWith(QLatin1String("image/")) || name.startsWith(QLatin1String("video/")) ||
           name.startsWith(QLatin1String("audio/")) ||
           type.inherits(QStringLiteral("image/x-dcraw"));
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
        const QFileInfo info(url.toLocalFile());
        if (url.isLocalFile() && info.isDir() && info.fileName() != captureOneFolder)
            searchFolder(info.filePath(), m_recursive, expanded);
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
