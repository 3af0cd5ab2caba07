// SPDX-License-Identifier: GPL-3.0-or-later
#include "documentmigrator.h"

#include "documents/documentjson.h"
#include "documents/packagelayout.h"

#include "extensions/log.h"

namespace qb {

namespace {

const QString mappingMember = mappingMemberName();

// Conversion mode 1 turned a text into a list; every other mode meant no
// conversion.
constexpr qint64 arrayConversionMode = 1;

} // namespace

KeyedMetadataMapping KeyedMetadataMapping::fromJson(const JsonObject& object)
{
    KeyedMetadataMapping row;
    row.key = object.string("key");
    const JsonObject mapping = object.object("mapping");
    row.mapping.destTag = mapping.string("destTag");
    row.mapping.conversionMode = mapping.integer("conversionMode");
    row.mapping.arraySeperator = mapping.string("arraySeperator");
    return row;
}

MappingsDocDataV1 MappingsDocDataV1::fromJson(const JsonObject& object)
{
    MappingsDocDataV1 data;
    data.mappings = decodeArray(object, "mappings", &KeyedMetadataMapping::fromJson);
    data.isEditable = object.boolean("isEditable");
    data.datasource = optionalString(object, "datasource");
    return data;
}

namespace DocumentMigrator {

DocumentVersion DocumentVersion::fromJson(const JsonObject& object)
{
    return DocumentVersion{object.integer("version")};
}

std::expected<MappingsDocDataV2, Error> decodeLatestDocument(const FileWrapper& package)
{
    // A file without a readable version is taken for the first generation;
    // if it is damaged beyond that, decoding it as such reports why.
    const auto probed = decodeMember(package, mappingMember, &DocumentVersion::fromJson);
    const qint64 version = probed ? probed->version : 1;
    qbLog(
        QStringLiteral("Attempting to decode document version '%1' from FileWrapper").arg(version));
    if (version == 1) {
        const auto old = decodeMember(package, mappingMember, &MappingsDocDataV1::fromJson);
        if (!old)
            return std::unexpected(old.error());
        return migrate(*old);
    }
    return decodeMember(package, mappingMember, &MappingsDocDataV2::fromJson);
}

MappingsDocDataV2 migrate(const MappingsDocDataV1& document)
{
    MappingsDocDataV2 data;
    data.isEditable = document.isEditable;
    data.datasource = document.datasource;
    data.mappings.reserve(document.mappings.size());
    for (const KeyedMetadataMapping& row : document.mappings) {
        std::vector<std::shared_ptr<const ValueMapper>> actions;
        if (row.mapping.conversionMode == arrayConversionMode)
            actions.push_back(std::make_shared<ArrayMapper>(row.mapping.arraySeperator));
        data.mappings.emplace_back(row.key, row.mapping.destTag, std::move(actions));
    }
    data.version = 2;
    return data;
}

} // namespace DocumentMigrator

} // namespace qb
