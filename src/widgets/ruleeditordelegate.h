// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "rules/criterion.h"

namespace qb {

class RuleEditor;

// What a rule editor asks about its tree; it knows nothing else of it. A
// null criterion stands for the top of the tree.
class RuleEditorDelegate {
public:
    virtual ~RuleEditorDelegate() = default;
    virtual int numberOfChildren(const Criterion* criterion) = 0;
    virtual CriterionPtr child(int index, const Criterion* criterion) = 0;
    virtual DisplayValue displayValue(const Criterion* criterion, int row) = 0;
    // Rows were added, removed, moved, or a choice in one changed, by the
    // user or by a call.
    virtual void ruleEditorRowsDidChange(RuleEditor& editor) = 0;
};

} // namespace qb
