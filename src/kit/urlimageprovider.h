// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "kit/imageprovider.h"

#include <QFileInfo>

namespace qb {

// Whether a file counts as an image or audiovisual content, the kinds a
// folder search picks up. Judged by name, as a directory listing gives it.
bool isImageOrAudiovisual(const QFileInfo& file);

// The images and audiovisual files found in a folder, sorted by path: its
// direct children only unless `recursive`. Folders themselves are never
// part of the result.
QList<QUrl> imagesInFolder(const QString& folder, bool recursive);

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
    QList<QUrl> images() const override;
    // Makes the expansion permanent.
    void expandURLs() { m_urls = images(); }
    void addURLs(const QList<QUrl>& urls) override { m_urls += urls; }
    void setURLs(const QList<QUrl>& urls) override { m_urls = urls; }

private:
    QList<QUrl> m_urls;
    bool m_recursive;
};

} // namespace qb
