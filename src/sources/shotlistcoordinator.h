// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/imageprovider.h"
#include "mapping/metadatasource.h"

#include "extensions/error.h"

#include <QList>
#include <QUrl>

#include <expected>
#include <memory>
#include <vector>

namespace qb {

// One row key read as a shot still to be taken, and the images taken for it
// so far.
struct ShotRequest {
    QString name;
    QList<QUrl> images;

    bool hasImages() const { return !images.isEmpty(); }
    // "☑︎ A12: 3 images", or with an empty box when nothing is shot yet.
    // The word stays "images" for one image too.
    QString description() const;

    friend bool operator==(const ShotRequest&, const ShotRequest&) = default;
};

// Puts shots in the plain string ordering of their names.
void sortShotRequests(std::vector<ShotRequest>& shots);

// Relates a data source's rows to the images a provider holds, and makes a
// capture folder for each row. Both are shared with their other users.
class ShotlistCoordinator {
public:
    ShotlistCoordinator(std::shared_ptr<ImageProvider> imageProvider,
                        std::shared_ptr<MetadataSource> datasource);

    const std::shared_ptr<ImageProvider>& imageProvider() const { return m_imageProvider; }
    void setImageProvider(std::shared_ptr<ImageProvider> provider);
    const std::shared_ptr<MetadataSource>& datasource() const { return m_datasource; }
    void setDatasource(std::shared_ptr<MetadataSource> datasource);
    // Whether an image must also lie in a folder named after its shot.
    bool requireMatchingFolder() const { return m_requireMatchingFolder; }
    void setRequireMatchingFolder(bool require) { m_requireMatchingFolder = require; }

    // One shot per row key, shots without images included, in the order of
    // the source's key map; sorting is the caller's affair.
    std::vector<ShotRequest> shotRequests() const;

    // Creates one folder per row key below `baseURL`, in key order; a key
    // is taken as a relative path, so "a/b" nests and "/x" ignores the base.
    // Existing folders are fine. A key holding a NUL or "..", or leading out
    // of the base through a link, is refused before anything is made. The first other failure stops
    // the run: the folders made so far stay but are not handed to the provider. On success an
    // updateable provider searches the new folders from now on. Returns the folders, in order.
    std::expected<QList<QUrl>, Error> createFolders(const QUrl& baseURL);

private:
    std::shared_ptr<ImageProvider> m_imageProvider;
    std::shared_ptr<MetadataSource> m_datasource;
    bool m_requireMatchingFolder = true;
};

} // namespace qb
