// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/metadataassignment.h"
#include "mapping/metadatamapping.h"

#include "exif/writabletags.h"
#include "extensions/error.h"

#include <QStringList>

#include <expected>
#include <vector>

namespace qb {

// What would make exiftool write something other than what the user sees,
// told before anything is written. The command line refuses or warns with
// these before it hands the images over, and the queue refuses again, so
// that no front end can get past them.

// Refuses a batch with a destination tag that exiftool doesn't know as
// writable (its import would pass over it without a word), with a value
// that holds a NUL character (no file format keeps one), or with a value a
// tag can't hold: an IPTC text beyond its record's limit, or EXIF that
// can't fit a JPEG's one segment (exiftool would write either without a
// word, and other programs read them cut short). Without `writable` the
// tags and sizes aren't judged; `sidecars` writes XMP only.
std::expected<void, Error> checkBatch(const ExifImages& images, const WritableTags* writable,
                                      bool sidecars = false);

// Whether an XMP sidecar holds `tag`.
bool sidecarCanHold(const QString& tag);

// The destination tags of the batch that an XMP sidecar can't hold, such
// as EXIF or IPTC tags, which exiftool leaves out of a sidecar without a
// word. Sorted, each once.
QStringList tagsSidecarsCantHold(const ExifImages& images);
QString sidecarWarning(const QStringList& tags);

// One line for each rule that reads a column the data source doesn't have:
// it writes nothing.
QStringList missingColumnWarnings(const std::vector<MetadataMapping>& mappings,
                                  const QStringList& columns);

} // namespace qb
