// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "rules/conversionmodes.h"

#include "mapping/metadatamapping.h"

#include <QStringList>

#include <optional>
#include <vector>

namespace qb {

class NotificationCenter;

using SourceTagCriteria = std::vector<std::shared_ptr<SourceTagCriterion>>;

// One source criterion per key name, in order. Their text fields post the
// rule text change to `center`.
SourceTagCriteria makeSourceTagCriteria(const QStringList& keyNames, NotificationCenter* center);

// The three questions a rule editor asks, answered over the tree. A null
// criterion stands for the top of the tree: the source columns.
int numberOfChildren(const Criterion* criterion, const SourceTagCriteria& sources);
CriterionPtr childOf(const Criterion* criterion, int index, const SourceTagCriteria& sources);
DisplayValue displayValueOf(const Criterion* criterion);

// The mapping that row `index` stands for, or none while the row lacks a
// source column or a destination (a row still being built).
std::optional<MetadataMapping> mappingForRow(const Criteria& row, int index);
// Every complete row, in order.
std::vector<MetadataMapping> mappingsForRows(const std::vector<Criteria>& rows);

// The criteria of the row that shows `mapping`, the mapping at `index` of a
// document, or none when it has no place: its column isn't among `sources`,
// or its first mapper is of a type that no mode offers. Only the first
// mapper of a chain has a place in a row. A destination that the mode
// doesn't offer leaves the row ending before it.
std::optional<Criteria> rowForMapping(const MetadataMapping& mapping, int index,
                                      const SourceTagCriteria& sources);

} // namespace qb
