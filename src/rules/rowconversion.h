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
// source column or a destination (a row still being built). An unplaced
// row stands for the mapping it keeps.
std::optional<MetadataMapping> mappingForRow(const Criteria& row, int index);
// Every complete row, in order.
std::vector<MetadataMapping> mappingsForRows(const std::vector<Criteria>& rows);

// A saved row that the tree as it stands has no place for: its column
// isn't in the data, or no mode offers its first mapper. A row made of it
// shows it as unfinished and reads back as the mapping it keeps, so that it
// is saved as it was until a tree with its column comes.
class UnplacedRowCriterion final : public Criterion {
public:
    UnplacedRowCriterion(MetadataMapping mapping, QString reason);

    const Criteria& children() const override;
    // The sentence the row would read: "Caption ▸ use source value ▸ Title".
    DisplayValue displayValue() const override;
    RowPart rowPart() const override
    {
        return {QStringLiteral("unplacedRule"), QStringLiteral("Saved rule")};
    }
    QString description() const override;
    QString unfinishedReason() const override { return m_reason; }

    const MetadataMapping mapping;

private:
    QString m_reason;
};

// The criteria of the row that shows `mapping`, the mapping at `index` of a
// document. A mapping without a place among `sources` (see above) becomes a
// row of one UnplacedRowCriterion. Only the first mapper of a chain has a
// place in a row. A destination that the mode doesn't offer leaves the row
// ending before it.
Criteria rowForMapping(const MetadataMapping& mapping, int index, const SourceTagCriteria& sources);

} // namespace qb
