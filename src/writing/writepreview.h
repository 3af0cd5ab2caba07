// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/metadataassignment.h"

#include "exif/currentvalues.h"
#include "exif/exiftool.h"
#include "exif/metadatamanager.h"

#include <QList>
#include <QUrl>

#include <expected>
#include <vector>

namespace qb {

// One tag of one image: what it holds now and what a write would put there.
struct PreviewField {
    QString tag;
    DynamicValue current; // absent when the file hasn't the tag
    DynamicValue next;
    bool changes = true;
};

struct PreviewImage {
    PreviewImage(QString path, std::vector<PreviewField> fields, QStringList leftAlone = {},
                 QString unreadable = {})
        : path(std::move(path))
        , fields(std::move(fields))
        , leftAlone(std::move(leftAlone))
        , unreadable(std::move(unreadable))
    {
    }

    QString path;
    std::vector<PreviewField> fields;
    // The tags that empty cells leave as the file has them.
    QStringList leftAlone;
    // Why exiftool could not read the file; empty when it could.
    QString unreadable;
};

// Where the current values are read: the image, or with `sidecars` its
// XMP sidecar when it has one.
struct PreviewSource {
    bool sidecars = false;
    SidecarNaming naming = SidecarNaming::name;
};

// What a write would change, image by image, before anything is written.
struct WritePreview {
    std::vector<PreviewImage> images;
    // The images that matched no row, which the write leaves alone.
    QStringList unmatched;

    nlohmann::ordered_json toJson() const;
    // Per image, each tag as "current → new", unchanged ones marked.
    QString text() const;
};

// How a value reads in the preview: a list's elements joined with ", ",
// "(absent)" for none.
QString previewText(const DynamicValue& value);
// Whether writing `next` over `current` leaves the tag as it is. `current`
// is as exiftool stores it (read with -n): numbers compare as numbers
// (5 and 5.0), dates whatever their separators (2024:01:02, 2024-01-02).
bool sameTagValue(const DynamicValue& current, const DynamicValue& next);

// The preview from values already read; `current` is keyed by the path
// read, which `readPaths` gives for each image (the image's own when it
// has none); `standardError` is exiftool's, naming the files it couldn't read.
WritePreview buildPreview(const ExifImages& images, const CurrentValues& current,
                          const QList<QUrl>& unmatched, const QStringList& readPaths = {},
                          const QString& standardError = {});

// Reads the current values of every tag the images would get, as exiftool
// stores them, in one run of exiftool or in `parts` at once, and builds
// the preview.
std::expected<WritePreview, Error> previewWrite(const ExifTool& exiftool, const ExifImages& images,
                                                const QList<QUrl>& unmatched, int parts = 1,
                                                const PreviewSource& source = {});

// The images found that matched no row, in the order found.
QList<QUrl> unmatchedImages(const QList<QUrl>& found, const ExifImages& mapped);

// The tags that `images` would get, in their first order, SourceFile left out.
QStringList destinationTags(const ExifImages& images);

} // namespace qb
