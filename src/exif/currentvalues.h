// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exiftool.h"
#include "extensions/dynamicvalue.h"

#include <QStringList>

#include <expected>
#include <map>

namespace qb {

// Each file's values of the tags asked for, by the tag's name as asked; a
// tag the file hasn't is not in its dictionary. A file exiftool could not
// read is not in the map at all.
using CurrentValues = std::map<QString, DynamicValue::Dictionary>;

// Reads `tags` ("GROUP:Name", the group of family 0 or 1) of `paths` in one
// run of exiftool (but see `parts`). `numeric` reads the raw values (-n), which write back
// exactly; without it the values read as the writer's values are given.
// Only a run that could not start, or was stopped, is an error: files
// exiftool could not read are left out. With `parts` above one, the paths
// are split into that many contiguous runs read by exiftools at once, as a
// parallel write splits its batch, so that the read keeps pace with it.
std::expected<CurrentValues, Error> readCurrentValues(const ExifTool& exiftool,
                                                      const QStringList& paths,
                                                      const QStringList& tags, bool numeric,
                                                      int parts = 1);

// The values, and exiftool's standard error, which names the files it
// could not read.
struct CurrentRead {
    CurrentValues values;
    QString standardError;
};
std::expected<CurrentRead, Error> readCurrent(const ExifTool& exiftool, const QStringList& paths,
                                              const QStringList& tags, bool numeric, int parts = 1);

// Whether exiftool's key "XMP:XMP-dc:Title" (read with -G0:1) is the tag
// "XMP-dc:Title", "XMP:Title" or "Title". Groups and names compare without
// regard to case, as exiftool's do.
bool keyNamesTag(const QString& key, const QString& tag);

} // namespace qb
