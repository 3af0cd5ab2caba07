// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/currentvalues.h"
#include "exif/exiftool.h"

#include "extensions/error.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <expected>

namespace qb {

// The images' values of the tag they are keyed by, from one read of
// exiftool split across `parts` exiftools at once. An image without the
// tag, or with an empty value, is left out: no row can match it.
std::expected<QHash<QUrl, QString>, Error>
readTagKeys(const ExifTool& exiftool, const QList<QUrl>& images, const QString& tag, int parts = 1);

// Whether `tag` is a tag name exiftool takes as one ("EXIF:SerialNumber",
// "Title"), and so can never be read as an option of its own ("-all=").
bool isTagName(const QString& tag);

// The same from values already read, each image's under the tag's name.
QHash<QUrl, QString> tagKeysOf(const CurrentValues& values, const QList<QUrl>& images,
                               const QString& tag);

} // namespace qb
