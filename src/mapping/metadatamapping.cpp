// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadatamapping.h"

namespace qb {

MetadataMapping::MetadataMapping(QString keyName, QString destTag,
                                 std::vector<std::shared_ptr<const ValueMapper>> mappers)
    : keyName(std::move(keyName))
    , destTag(std::move(destTag))
    , actions(std::make_shared<ValueMapperChain>(std::move(mappers)))
{
}

MetadataMapping::MetadataMapping(QString keyName, QString destTag,
                                 std::shared_ptr<ValueMapperChain> actions)
    : keyName(std::move(keyName))
    , destTag(std::move(destTag))
    , actions(std::move(actions))
{
}

QString MetadataMapping::description() const
{
    const int count = actions ? actions->mapperCount() : 0;
    // Joined, not formatted: each arg() would read a "%2" that a column name
    // brought along as a place for the next value.
    return QStringLiteral("Mapping '") + keyName + QStringLiteral("' -> ") +
           QString::number(count) +
           (count == 1 ? QStringLiteral(" action") : QStringLiteral(" actions")) +
           QStringLiteral(" -> '") + destTag + QLatin1Char('\'');
}

Json MetadataMapping::toJson() const
{
    Json json = Json::object();
    json["keyName"] = qb::toJson(keyName);
    json["destTag"] = qb::toJson(destTag);
    json["actions"] = actions ? actions->toJson() : ValueMapperChain().toJson();
    return json;
}

MetadataMapping MetadataMapping::fromJson(const JsonObject& object)
{
    QString keyName = object.string("keyName");
    QString destTag = object.string("destTag");
    auto chain =
        std::make_shared<ValueMapperChain>(ValueMapperChain::fromJson(object.object("actions")));
    return MetadataMapping(std::move(keyName), std::move(destTag), std::move(chain));
}

std::expected<MetadataMapping, Error> MetadataMapping::decode(const Json& json)
{
    return decodeJson([&] { return fromJson(JsonObject(json, QString())); });
}

std::expected<std::vector<MetadataMapping>, Error> MetadataMapping::decodeList(const Json& json)
{
    return decodeJson([&] {
        if (!json.is_array())
            throw JsonDecodeFailure(
                QStringLiteral("top level"),
                QStringLiteral("expected an array of mappings, found %1").arg(jsonKindName(json)));
        std::vector<MetadataMapping> mappings;
        mappings.reserve(json.size());
        for (std::size_t i = 0; i < json.size(); ++i)
            mappings.push_back(fromJson(JsonObject(json[i], QStringLiteral("[%1]").arg(i))));
        return mappings;
    });
}

bool operator==(const MetadataMapping& a, const MetadataMapping& b)
{
    const ValueMapperChain empty;
    return a.keyName == b.keyName && a.destTag == b.destTag &&
           sameMappers(a.actions ? *a.actions : empty, b.actions ? *b.actions : empty);
}

} // namespace qb
