// SPDX-License-Identifier: GPL-3.0-or-later
#include "urlimageprovider.h"

#include "extensions/process.h"

#include <QDir>
#include <QFile>
#include <QMimeDatabase>
#include <QSet>

#include <dirent.h>

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

namespace {

// Walks a folder by the bytes of its entries' names, which a QDirIterator
// would give only as text, losing those that aren't UTF-8.
void walk(const QByteArray& folder, bool recursive, QStringList& paths, QStringList& leftOut)
{
    DIR* dir = ::opendir(folder.constData());
    if (!dir)
        return; // gone, or not ours to read: the rest of the search goes on
    std::vector<QByteArray> subfolders;
    while (const dirent* entry = ::readdir(dir)) {
        const QByteArray name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        const QByteArray path = folder + '/' + name;
        if (!decodedUtf8(name)) {
            if (isImageOrAudiovisual(QFileInfo(readableFileName(name))))
                leftOut << readableFileName(path);
            continue;
        }
        const QFileInfo info(QFile::decodeName(path));
        // An entry whose kind can't be read any more went away while the
        // folder was read, as a sync tool's temporary files do: it is
        // skipped, and the rest of the folder is still searched.
        if (!info.exists() && !info.isSymLink())
            continue;
        // Symbolic links to folders aren't followed, so that a link loop
        // can't make the walk endless.
        if (info.isDir() && !info.isSymLink())
            subfolders.push_back(path);
        else if (info.isFile() && isImageOrAudiovisual(info))
            paths << info.filePath();
    }
    ::closedir(dir);
    if (!recursive)
        return;
    for (const QByteArray& subfolder : subfolders)
        walk(subfolder, recursive, paths, leftOut);
}

} // namespace

QString readableFileName(const QByteArray& bytes)
{
    QString text;
    qsizetype i = 0;
    while (i < bytes.size()) {
        const auto lead = uchar(bytes[i]);
        const qsizetype length = lead < 0x80           ? 1
                                 : (lead >> 5) == 0x6  ? 2
                                 : (lead >> 4) == 0xE  ? 3
                                 : (lead >> 3) == 0x1E ? 4
                                                       : 0;
        if (length > 0 && i + length <= bytes.size()) {
            if (const auto piece = decodedUtf8(bytes.mid(i, length))) {
                text += *piece;
                i += length;
                continue;
            }
        }
        text += QStringLiteral("\\x") +
                QString::number(lead, 16).toUpper().rightJustified(2, QLatin1Char('0'));
        ++i;
    }
    return text;
}

FolderSearch& FolderSearch::operator+=(const FolderSearch& other)
{
    images += other.images;
    leftOut += other.leftOut;
    return *this;
}

FolderSearch searchFolder(const QString& folder, bool recursive)
{
    // Hidden entries are visited, as a Finder-style enumeration with no
    // options would.
    QStringList paths;
    FolderSearch found;
    walk(QFile::encodeName(folder), recursive, paths, found.leftOut);
    // Directory order differs between file systems; a sorted list keeps
    // runs and their output repeatable.
    paths.sort();
    found.leftOut.sort();
    found.images.reserve(paths.size());
    for (const QString& path : paths)
        found.images << QUrl::fromLocalFile(path);
    return found;
}

QList<QUrl> imagesInFolder(const QString& folder, bool recursive)
{
    return searchFolder(folder, recursive).images;
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

FolderSearch URLImageProvider::search() const
{
    FolderSearch expanded;
    for (const QUrl& url : m_urls) {
        if (isSearchableFolder(url))
            expanded += searchFolder(QDir::cleanPath(url.toLocalFile()), m_recursive);
        else
            expanded.images << url;
    }
    // Each image once, in the order first met: stable output for scripts.
    FolderSearch unique;
    QSet<QUrl> seen;
    for (const QUrl& url : expanded.images) {
        const QUrl normal = url.adjusted(QUrl::NormalizePathSegments | QUrl::StripTrailingSlash);
        if (!seen.contains(normal)) {
            seen.insert(normal);
            unique.images << url;
        }
    }
    unique.leftOut = expanded.leftOut;
    unique.leftOut.removeDuplicates();
    return unique;
}

QStringList URLImageProvider::expandURLs()
{
    FolderSearch found = search();
    m_urls = std::move(found.images);
    return found.leftOut;
}

} // namespace qb
