// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/valuemapperchain.h"

#include <QString>

#include <expected>
#include <memory>
#include <vector>

namespace qb {

// One rule row as data: read `keyName` from the source row, run it through
// `actions`, store the result under `destTag`.
struct MetadataMapping {
    MetadataMapping(QString keyName, QString destTag,
                    std::vector<std::shared_ptr<const ValueMapper>> mappers = {});
    MetadataMapping(QString keyName, QString destTag, std::shared_ptr<ValueMapperChain> actions);

    QString keyName;
    QString destTag;
    std::shared_ptr<ValueMapperChain> actions;

    // "Mapping 'Title' -> 2 actions -> 'IPTC:Headline'", for logs.
    QString description() const;

    Json toJson() const;
    static MetadataMapping fromJson(const JsonObject& object);
    static std::expected<MetadataMapping, Error> decode(const Json& json);
    // A JSON array of mapping objects, as the command line and documents hold them.
    static std::expected<std::vector<MetadataMapping>, Error> decodeList(const Json& json);
};

bool operator==(const MetadataMapping& a, const MetadataMapping& b);

} // namespace qb
