// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/dynamicvalue.h"

#include <nlohmann/json.hpp>

namespace qb {

// JSON has no dates or URLs: dates go as their description, URLs as their
// text. Callers that need another form (exiftool's) convert them first.
nlohmann::ordered_json toJsonValue(const DynamicValue& value);

// null becomes absent; integers stay integers, so that a number read from
// exiftool is written back the way it came.
DynamicValue dynamicValueFromJson(const nlohmann::ordered_json& json);

} // namespace qb
