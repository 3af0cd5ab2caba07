// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/metadataassignment.h"

#include "exif/currentvalues.h"
#include "exif/exiftool.h"

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
    QString path;
    std::vector<PreviewField> fields;
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
// Whether writing `next` over `current` leaves the tag as it is.
bool sameTagValue(const DynamicValue& current, const DynamicValue& next);

// The preview from values already read; `current` is keyed by file path.
WritePreview buildPreview(const ExifImages& images, const CurrentValues& current,
                          const QList<QUrl>& unmatched);

// Reads the current values of every tag the images would get, in one run of
// exiftool or in `parts` at once, and builds the preview.
std::expected<WritePreview, Error> previewWrite(const ExifTool& exiftool, const ExifImages& images,
                                                const QList<QUrl>& unmatched, int parts = 1);

// The images found that matched no row, in the order found.
QList<QUrl> unmatchedImages(const QList<QUrl>& found, const ExifImages& mapped);

// The tags that `images` would get, in their first order, SourceFile left out.
QStringList destinationTags(const ExifImages& images);

} // namespace qb
