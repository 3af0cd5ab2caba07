// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QTextStream>

#include <nlohmann/json.hpp>

namespace qb::cli {

using Json = nlohmann::ordered_json;

// Pretty-printed, UTF-8 as it is, slashes unescaped; text that isn't valid
// Unicode is written with replacement characters rather than failing.
void printJson(QTextStream& out, const Json& json);
Json jsonStrings(const QStringList& texts);

} // namespace qb::cli
