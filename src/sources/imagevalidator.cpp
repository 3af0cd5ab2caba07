// SPDX-License-Identifier: GPL-3.0-or-later
#include "imagevalidator.h"

#include "preferences/preferences.h"
#include "sources/urlimageprovider.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace qb {

namespace {

bool isDirectory(const QUrl& url)
{
    // A path that doesn't exist is no directory.
    return url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir();
}

} // namespace

QString pathExtension(const QUrl& url)
{
    const QString name = url.adjusted(QUrl::StripTrailingSlash).fileName(QUrl::FullyDecoded);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? name.mid(dot + 1) : QString();
}

QStringList ImageValidator::writableTypeList()
{
    QStringList types;
    types.reserve(qsizetype(writableTypes.size()));
    for (std::string_view type : writableTypes)
        types << QString::fromLatin1(type.data(), qsizetype(type.size()));
    return types;
}

bool ImageValidator::hasWritableExtension(const QUrl& url)
{
    const QByteArray extension = pathExtension(url).toUpper().toUtf8();
    const std::string_view wanted(extension.constData(), std::size_t(extension.size()));
    return std::find(writableTypes.begin(), writableTypes.end(), wanted) != writableTypes.end();
}

ImageValidator::ValidatedImages ImageValidator::validate(const QList<QUrl>& urls,
                                                         int writeMethodValue)
{
    ValidatedImages result;
    if (writeMethodValue != 0) {
        result.validImages = urls;
        return result;
    }
    for (const QUrl& url : urls) {
        if (hasWritableExtension(url) || isDirectory(url))
            result.validImages << url;
    }
    result.invalidCount = int(urls.size() - result.validImages.size());
    if (result.invalidCount != 0)
        result.message = QStringLiteral("Exiftool can't write to %1 of the selected images. They "
                                        "will be ignored.")
                             .arg(result.invalidCount);
    return result;
}

ImageValidator::ValidatedImages ImageValidator::validate(const QList<QUrl>& urls,
                                                         const Preferences& preferences)
{
    return validate(urls, preferences.writeMethodValue());
}

QList<QUrl> ImageValidator::expandDroppedURLs(const QList<QUrl>& urls, bool recursive)
{
    return expandDropped(urls, recursive).images;
}

FolderSearch ImageValidator::expandDropped(const QList<QUrl>& urls, bool recursive)
{
    FolderSearch expanded;
    for (const QUrl& url : urls) {
        if (isSearchableFolder(url))
            expanded += searchFolder(QDir::cleanPath(url.toLocalFile()), recursive);
        else
            expanded.images << url;
    }
    return expanded;
}

} // namespace qb
