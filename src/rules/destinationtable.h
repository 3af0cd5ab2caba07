// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "rules/criterion.h"

#include <QString>

#include <memory>
#include <vector>

namespace qb {

// One entry of the last popup of a row: a metadata field the system
// writes, under a name photographers know, or a separator between groups.
class ExifTagCriterion final : public Criterion {
public:
    ExifTagCriterion(QString exifTagName, QString displayName, std::vector<MapperType> modes);

    // The tag as exiftool spells it, empty for a separator.
    const QString exifTagName;
    // The popup text; "-" marks a separator.
    const QString displayName;
    // The mappers that may come before this tag in a row.
    const std::vector<MapperType> supportedModes;

    bool isSeparator() const { return displayName == QLatin1String("-"); }
    bool supports(MapperType mode) const;

    const Criteria& children() const override;
    DisplayValue displayValue() const override;
    RowPart rowPart() const override
    {
        return {QStringLiteral("destination"), QStringLiteral("Destination")};
    }
    QString description() const override;

    // Separators are all equal to each other.
    friend bool operator==(const ExifTagCriterion& a, const ExifTagCriterion& b)
    {
        return a.exifTagName == b.exifTagName;
    }
    friend bool operator<(const ExifTagCriterion& a, const ExifTagCriterion& b)
    {
        return a.displayName < b.displayName;
    }
};

using ExifTagCriterionPtr = std::shared_ptr<ExifTagCriterion>;

// The 49 destinations in popup order, built once and shared by every window.
const std::vector<ExifTagCriterionPtr>& destinationTable();

// The entries a mode may write to, in table order; the whole table for
// "use source value" (no mapper).
Criteria destinationsFor(std::optional<MapperType> mode);

// The first destination among `criteria` with exactly this tag name, or null.
ExifTagCriterionPtr findDestination(const Criteria& criteria, const QString& tagName);

} // namespace qb
