// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/metadatamapping.h"

#include "exif/writabletags.h"

#include <QStringList>

#include <vector>

namespace qb {

// The rule rows of a table whose headers are tag names, as exiftool's own
// CSV export writes them ("SourceFile,Title,XMP-dc:Subject").
struct ColumnRules {
    // One per column whose header is a tag exiftool can write, writing the
    // cell into that tag, in the order of the columns.
    std::vector<MetadataMapping> rules;
    // The columns that name no tag exiftool can write, which write nothing;
    // those that name the file are not among them.
    QStringList otherColumns;
};

// Each column whose header names a tag exiftool can write becomes a rule
// writing that tag. A list tag's cell is split into items as exiftool
// splits a value with -sep ", ": at each comma, with any white space after
// it. Columns that say which file a row is for, or would move or link the
// file (SourceFile, FileName, Directory...), write nothing, as in
// exiftool's own import.
ColumnRules columnRules(const QStringList& headers, const WritableTags& tags);

// `rows` followed by those of `made` that write a tag no row writes yet, so
// that making the rules again adds nothing and a rule the user set stands.
// A tag without groups is the same as that name in any group.
std::vector<MetadataMapping> withColumnRules(std::vector<MetadataMapping> rows,
                                             const std::vector<MetadataMapping>& made);

} // namespace qb
