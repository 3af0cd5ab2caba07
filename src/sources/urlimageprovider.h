// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/imageprovider.h"

#include <QFileInfo>

namespace qb {

// Whether a file counts as an image or audiovisual content, the kinds a
// folder search picks up. Judged by name, as a directory listing gives it.
bool isImageOrAudiovisual(const QFileInfo& file);

// What a search of folders found: the images, and the images left out
// because their names aren't UTF-8. Such a name has no text of its own: it
// would be taken for another file, or for none, so it is never used.
struct FolderSearch {
    QList<QUrl> images;
    // Their paths, each byte that isn't UTF-8 shown as \xHH.
    QStringList leftOut;

    FolderSearch& operator+=(const FolderSearch& other);
};

// The images and audiovisual files found in a folder, sorted by path: its
// direct children only unless `recursive`. Folders themselves are never
// part of the result.
FolderSearch searchFolder(const QString& folder, bool recursive);
QList<QUrl> imagesInFolder(const QString& folder, bool recursive);

// The bytes of a file name as text, each one that isn't UTF-8 as \xHH.
QString readableFileName(const QByteArray& bytes);

// Whether a dropped or chosen URL is a folder to search for images: any
// existing directory except one named exactly "CaptureOne", which stands
// for itself.
bool isSearchableFolder(const QUrl& url);

class UpdateableImageProvider : public ImageProvider {
public:
    virtual void addURLs(const QList<QUrl>& urls) = 0;
    virtual void setURLs(const QList<QUrl>& urls) = 0;
};

// Files and folders as the user gave them, expanded on demand: folders
// become the images inside them, and each image appears once.
class URLImageProvider final : public UpdateableImageProvider {
public:
    explicit URLImageProvider(QList<QUrl> urls = {}, bool recursive = true);

    const QList<QUrl>& urls() const { return m_urls; }
    bool recursive() const { return m_recursive; }
    void setRecursive(bool recursive) { m_recursive = recursive; }

    // Walks the file system afresh at each call; urls() stays as it is.
    QList<QUrl> images() const override { return search().images; }
    FolderSearch search() const;
    // Makes the expansion permanent; answers what was left out.
    QStringList expandURLs();
    void addURLs(const QList<QUrl>& urls) override { m_urls += urls; }
    void setURLs(const QList<QUrl>& urls) override { m_urls = urls; }

private:
    QList<QUrl> m_urls;
    bool m_recursive;
};

} // namespace qb
