// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exifimage.h"
#include "exif/writabletags.h"

#include <QByteArray>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace qb {

// exiftool takes in a CSV file faster per image than the same values as
// JSON. For a batch whose values are all plain text that its CSV import
// sets exactly as its JSON import would, the CSV: a SourceFile column, then
// one per tag; a list's items joined as exiftool splits them again. Nothing
// for any other batch, which goes as JSON: values that aren't text, empty
// texts (an empty cell writes nothing), texts exiftool reads as binary data
// or a structure, items it would split or run together, two spellings of
// one tag, a path across lines. `tags` tells which tags are lists.
std::optional<QByteArray> plainTextExchange(const std::vector<std::shared_ptr<ExifImage>>& images,
                                            const WritableTags& tags);

// The options that have exiftool write the values of such a file.
QStringList plainTextExchangeOptions(const QString& path);

} // namespace qb
