// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/imageprovider.h"
#include "mapping/metadatamapping.h"
#include "mapping/metadatasource.h"

#include "exif/exifimage.h"

#include <memory>
#include <vector>

namespace qb {

using ExifImages = std::vector<std::shared_ptr<ExifImage>>;

// What a rule does with a cell that is empty, or holds spaces only, after
// its mappers. `keep` leaves the tag as the file has it, as exiftool's own
// import of a table does; `clear` writes the tag empty.
enum class EmptyCells { keep, clear };

// "keep" and "clear", as the command line takes them.
QString emptyCellsName(EmptyCells emptyCells);
std::optional<EmptyCells> emptyCellsNamed(QStringView name);

// Whether a value counts as an empty cell: a text of spaces only, or a
// list of nothing but such texts.
bool isEmptyCell(const DynamicValue& value);

// One image record per provider URL whose row is not empty, in the
// provider's order, each holding the mapped tag values, and in its notes
// the rule behind each tag and the tags its empty cells leave alone.
// Images without a row are left out silently.
ExifImages mapImages(const ImageProvider& provider, const MetadataSource& source,
                     const std::vector<MetadataMapping>& mappings,
                     EmptyCells emptyCells = EmptyCells::keep);

// The tag values of one image. Every rule acts, each on the field it
// reads; where two rules give one tag a value, the upper one's stands.
ExifImage::Metadata applyMappings(const MetadataRow& sourceMetadata,
                                  const std::vector<MetadataMapping>& mappings,
                                  EmptyCells emptyCells = EmptyCells::keep);

// A rule whose tag an upper rule writes already: its value gives way.
struct OverruledRule {
    qsizetype row;   // from 0, in the order of the rules
    qsizetype upper; // the row whose value stands
};
std::vector<OverruledRule> overruledRules(const std::vector<MetadataMapping>& mappings);
// One line for each, naming both rows by their column and number.
QStringList overruledRuleWarnings(const std::vector<MetadataMapping>& mappings);

} // namespace qb
