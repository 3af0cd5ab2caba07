// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exiftool.h"
#include "extensions/dynamicvalue.h"

#include <QStringList>

#include <nlohmann/json.hpp>

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

    // Takes in what a read of other files found.
    void merge(CurrentRead& other);
};
std::expected<CurrentRead, Error> readCurrent(const ExifTool& exiftool, const QStringList& paths,
                                              const QStringList& tags, bool numeric, int parts = 1);

// A tag's value in both of exiftool's forms: `raw` as -n reads it, which
// writes back exactly with "TAG#", and `shown` as exiftool prints it, the
// form in which a write gives values. A text that isn't UTF-8, such as a
// camera's Latin-1 EXIF, comes as "base64:..." in both, so that it goes
// back byte for byte; JSON null stands for a tag the file hasn't.
struct ExactValue {
    nlohmann::ordered_json raw;
    nlohmann::ordered_json shown;
};
// Each file's values by tag; a file exiftool could not read is left out.
using ExactValues = std::map<QString, std::map<QString, ExactValue>>;

// Reads `tags` of `paths` as readCurrentValues does, keyed by the tag as
// asked. With no tags, every tag is read, keyed by exiftool's own names
// ("XMP:XMP-dc:Title").
std::expected<ExactValues, Error> readExactValues(const ExifTool& exiftool,
                                                  const QStringList& paths, const QStringList& tags,
                                                  int parts = 1);

// Whether exiftool's key "XMP:XMP-dc:Title" (read with -G0:1) is the tag
// "XMP-dc:Title", "XMP:Title" or "Title". Groups and names compare without
// regard to case, as exiftool's do.
bool keyNamesTag(const QString& key, const QString& tag);

} // namespace qb
