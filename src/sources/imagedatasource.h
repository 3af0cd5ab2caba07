// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/filenamedatasource.h"

#include "exif/metadatareader.h"
#include "extensions/error.h"

#include <QList>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>

namespace qb {

// Rows taken from other images: a row is all the metadata exiftool reads
// from one source image, under that image's name, with the tag names as
// read (with their group) as its fields.
class ImageDataSource final : public FileNameDataSource {
public:
    using ReaderFactory = std::function<std::unique_ptr<MetadataReader>()>;
    using LoadCompletion = std::function<void(const std::expected<QString, Error>&)>;

    // Each load reads through a reader of its own, made by `makeReader`; by
    // default one that runs the installed exiftool.
    explicit ImageDataSource(ReaderFactory makeReader = {});

    // Reads every tag of the images at `urls` and adds a row for each,
    // replacing a row of the same name: loads add up, and of two images
    // with one name the one read last stays. `completion` gets "Imorted N
    // images", N counting the whole table, or the reader's error, which
    // leaves the table as it was.
    //
    // exiftool runs on the calling thread and `completion` is called before
    // this returns; a caller that must not block runs it on a worker of its
    // own and keeps the table from being read meanwhile.
    void loadImages(const QList<QUrl>& urls, const LoadCompletion& completion);

private:
    ReaderFactory m_makeReader;
};

} // namespace qb
