// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/metadatamapping.h"

#include "extensions/jsondecode.h"

#include <QString>

#include <optional>
#include <vector>

namespace qb {

// The content of mapping.json as the current generation writes it.
struct MappingsDocDataV2 {
    // Read back as it stands in the file, whatever it is; always 2 on writing.
    qint64 version = 2;
    std::vector<MetadataMapping> mappings;
    bool isEditable = true;
    // Left out of the JSON when unset; a document then keeps its default.
    std::optional<QString> datasource;

    Json toJson() const;
    // Throws JsonDecodeFailure; an unknown mapper type is one like any other.
    static MappingsDocDataV2 fromJson(const JsonObject& object);
};

// Each element of the array `key` of `object`, decoded by `decode`, with
// its index in the path of a failure.
template <class Decode>
auto decodeArray(const JsonObject& object, const char* key, Decode&& decode)
    -> std::vector<decltype(decode(std::declval<const JsonObject&>()))>
{
    const Json& array = object.array(key);
    std::vector<decltype(decode(std::declval<const JsonObject&>()))> values;
    values.reserve(array.size());
    for (std::size_t i = 0; i < array.size(); ++i)
        values.push_back(
            decode(JsonObject(array[i], object.pathOf(key) + QStringLiteral("[%1]").arg(i))));
    return values;
}

} // namespace qb
