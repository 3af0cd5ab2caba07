// SPDX-License-Identifier: GPL-3.0-or-later
#include "valuemapperchain.h"

namespace qb {

namespace {

template <class Mapper, class Variant>
bool tryWrap(const ValueMapper& mapper, std::optional<Variant>& out)
{
    if (out)
        return true;
    if (const auto* typed = dynamic_cast<const Mapper*>(&mapper))
        out.emplace(*typed);
    return bool(out);
}

Json emptyObject()
{
    return Json::object();
}

Json attributesOf(const ArrayMapper& m)
{
    return {{"delimiter", toJson(m.delimiter)}};
}
Json attributesOf(const StringMapper&)
{
    return emptyObject();
}
Json attributesOf(const StringCaseMapper& m)
{
    return {{"transformation", toJson(StringCaseMapper::rawValue(m.transformation))}};
}
Json attributesOf(const StringReplacementMapper& m)
{
    Json json = Json::object();
    json["target"] = toJson(m.target);
    json["replacement"] = toJson(m.replacement);
    json["isRegex"] = m.isRegex;
    return json;
}
Json attributesOf(const BooleanMapper&)
{
    return emptyObject();
}
Json attributesOf(const BooleanValueMapper& m)
{
    Json json = Json::object();
    json["trueValue"] = toJson(m.trueValue);
    json["falseValue"] = toJson(m.falseValue);
    return json;
}
Json attributesOf(const DateMapper& m)
{
    return {{"format", toJson(m.format)}};
}
Json attributesOf(const DateComparisonMapper& m)
{
    Json comparison = Json::object();
    comparison["type"] = toJson(DateComparison::rawValue(m.comparison.type));
    comparison["interval"] = m.comparison.interval;
    comparison["unit"] = toJson(DateComparison::rawValue(m.comparison.unit));
    return {{"comparison", comparison}};
}

template <class Enum>
Enum requireRaw(const JsonObject& object, const char* key,
                std::optional<Enum> (*fromRaw)(const QString&))
{
    const QString raw = object.string(key);
    if (const std::optional<Enum> value = fromRaw(raw))
        return *value;
    throw JsonDecodeFailure(object.pathOf(key),
                            QStringLiteral("\"%1\" is not a known value").arg(raw));
}

} // namespace

QString MappingContainer::rawValue(Unassociated type)
{
    static const char* const names[] = {
        "array",   "string",       "stringCase", "stringReplacement",
        "boolean", "booleanValue", "date",       "dateComparison"};
    return QString::fromLatin1(names[static_cast<int>(type)]);
}

std::optional<MappingContainer> MappingContainer::make(const ValueMapper& mapper)
{
    std::optional<Variant> wrapped;
    tryWrap<ArrayMapper>(mapper, wrapped) || tryWrap<StringMapper>(mapper, wrapped) ||
        tryWrap<StringCaseMapper>(mapper, wrapped) ||
        tryWrap<StringReplacementMapper>(mapper, wrapped) ||
        tryWrap<BooleanMapper>(mapper, wrapped) || tryWrap<BooleanValueMapper>(mapper, wrapped) ||
        tryWrap<DateMapper>(mapper, wrapped) || tryWrap<DateComparisonMapper>(mapper, wrapped);
    if (!wrapped)
        return std::nullopt;
    return MappingContainer(std::move(*wrapped));
}

std::shared_ptr<const ValueMapper> MappingContainer::mapper() const
{
    return std::visit(
        [](const auto& typed) -> std::shared_ptr<const ValueMapper> {
            return std::make_shared<std::decay_t<decltype(typed)>>(typed);
        },
        m_mapper);
}

Json MappingContainer::toJson() const
{
    Json json = Json::object();
    json["attributes"] =
        std::visit([](const auto& typed) { return attributesOf(typed); }, m_mapper);
    json["type"] = qb::toJson(rawValue(type()));
    return json;
}

MappingContainer MappingContainer::fromJson(const JsonObject& object)
{
    const QString type = object.string("type");
    int index = 0;
    while (index < unassociatedCount && rawValue(static_cast<Unassociated>(index)) != type)
        ++index;
    if (index == unassociatedCount) {
        // A document from elsewhere must not be able to stop the program.
        throw JsonDecodeFailure(object.pathOf("type"),
                                QStringLiteral("unknown mapper type \"%1\"").arg(type));
    }
    const JsonObject attributes = object.object("attributes");
    switch (static_cast<Unassociated>(index)) {
    case Unassociated::array:
        return MappingContainer(ArrayMapper(attributes.string("delimiter")));
    case Unassociated::string:
        return MappingContainer(StringMapper());
    case Unassociated::stringCase:
        return MappingContainer(StringCaseMapper(requireRaw<StringCaseMapper::Transformation>(
            attributes, "transformation", &StringCaseMapper::transformationFromRawValue)));
    case Unassociated::stringReplacement:
        return MappingContainer(StringReplacementMapper(attributes.string("target"),
                                                        attributes.string("replacement"),
                                                        attributes.boolean("isRegex")));
    case Unassociated::boolean:
        return MappingContainer(BooleanMapper());
    case Unassociated::booleanValue:
        return MappingContainer(
            BooleanValueMapper(attributes.string("trueValue"), attributes.string("falseValue")));
    case Unassociated::date:
        return MappingContainer(DateMapper(attributes.string("format")));
    case Unassociated::dateComparison: {
        const JsonObject comparison = attributes.object("comparison");
        DateComparison value{
            requireRaw<DateComparison::Type>(comparison, "type", &DateComparison::typeFromRawValue),
            comparison.integer("interval"),
            requireRaw<DateComparison::Component>(comparison, "unit",
                                                  &DateComparison::componentFromRawValue)};
        return MappingContainer(DateComparisonMapper(value));
    }
    }
    object.fail(QStringLiteral("unreachable mapper type"));
}

void ValueMapperChain::applyChain(DynamicValue& value) const
{
    for (const auto& mapper : mappers)
        value = mapper->map(value);
}

DynamicValue ValueMapperChain::applied(DynamicValue value) const
{
    applyChain(value);
    return value;
}

Json ValueMapperChain::toJson() const
{
    Json array = Json::array();
    for (const auto& mapper : mappers) {
        if (const auto container = MappingContainer::make(*mapper))
            array.push_back(container->toJson());
    }
    return {{"mappers", array}};
}

ValueMapperChain ValueMapperChain::fromJson(const JsonObject& object)
{
    const Json& array = object.array("mappers");
    std::vector<std::shared_ptr<const ValueMapper>> mappers;
    mappers.reserve(array.size());
    for (std::size_t i = 0; i < array.size(); ++i) {
        const QString path = QStringLiteral("%1[%2]").arg(object.pathOf("mappers")).arg(i);
        mappers.push_back(MappingContainer::fromJson(JsonObject(array[i], path)).mapper());
    }
    return ValueMapperChain(std::move(mappers));
}

std::expected<ValueMapperChain, Error> ValueMapperChain::decode(const Json& json)
{
    return decodeJson([&] { return fromJson(JsonObject(json, QString())); });
}

bool sameMappers(const ValueMapperChain& a, const ValueMapperChain& b)
{
    // Two chains are the same when they encode the same: every field of
    // every mapper takes part in its JSON form.
    return a.toJson() == b.toJson();
}

} // namespace qb
