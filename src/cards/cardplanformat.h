// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "cards/cardplan.h"

#include <QString>

#include <nlohmann/json.hpp>

#include <functional>

namespace qb {

struct PlanTextOptions {
    // A row's name for people, such as "Ana Lindqvist" for key 1234; none
    // when empty.
    std::function<QString(const QString& key)> describe;
    // Every frame on a line of its own, after the subjects.
    bool listFrames = false;
};

// The plan as a photographer reads it before anything is written: the
// subjects with their frames and the checks they need, then what is left
// unassigned, unread or unmatched. Ends with a line break.
QString planText(const CardPlan& plan, const PlanTextOptions& options = {});

// The plan for programs: its options, every frame with its role and rows,
// the subjects with their checks, the rows without frames.
nlohmann::ordered_json planJson(const CardPlan& plan);

// "45 s", "6 min 10 s", "2 h 5 min".
QString durationText(double seconds);

} // namespace qb
