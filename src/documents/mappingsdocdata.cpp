// SPDX-License-Identifier: GPL-3.0-or-later
#include "mappingsdocdata.h"

#include "documents/documentjson.h"

namespace qb {

Json MappingsDocDataV2::toJson() const
{
    Json rows = Json::array();
    for (const MetadataMapping& mapping : mappings)
        rows.push_back(mapping.toJson());
    Json json = Json::object();
    json["version"] = version;
    json["mappings"] = std::move(rows);
    json["isEditable"] = isEditable;
    if (datasource)
        json["datasource"] = qb::toJson(*datasource);
    return json;
}

MappingsDocDataV2 MappingsDocDataV2::fromJson(const JsonObject& object)
{
    MappingsDocDataV2 data;
    data.version = object.integer("version");
    data.mappings = decodeArray(object, "mappings", &MetadataMapping::fromJson);
    data.isEditable = object.boolean("isEditable");
    data.datasource = optionalString(object, "datasource");
    return data;
}

} // namespace qb
