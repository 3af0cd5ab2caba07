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
// writable (its import would pass over it without a word), or with a value
// that holds a NUL character (no file format keeps one). Without `writable`
// the tags aren't judged.
std::expected<void, Error> checkBatch(const ExifImages& images, const WritableTags* writable);

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
