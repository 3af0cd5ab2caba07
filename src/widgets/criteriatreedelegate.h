// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "widgets/ruleeditor.h"

#include "rules/rowconversion.h"

namespace qb {

// Answers a rule editor's questions from the tree of the data source's
// columns; what happens when rows change is the subclass's affair.
class CriteriaTreeDelegate : public RuleEditorDelegate {
public:
    int numberOfChildren(const Criterion* criterion) override
    {
        return qb::numberOfChildren(criterion, sourceTagCriteria);
    }
    CriterionPtr child(int index, const Criterion* criterion) override
    {
        return childOf(criterion, index, sourceTagCriteria);
    }
    DisplayValue displayValue(const Criterion* criterion, int) override
    {
        return displayValueOf(criterion);
    }

    // The top of the tree, one per column.
    SourceTagCriteria sourceTagCriteria;
};

} // namespace qb
