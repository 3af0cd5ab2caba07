// SPDX-License-Identifier: GPL-3.0-or-later
#include "dynamicvaluejson.h"

namespace qb {

nlohmann::ordered_json toJsonValue(const DynamicValue& value)
{
    using Kind = DynamicValue::Kind;
    switch (value.kind()) {
    case Kind::Absent:
        return nullptr;
    case Kind::String:
        return value.toString().toStdString();
    case Kind::Boolean:
        return value.toBool();
    case Kind::Integer:
        return value.toInteger();
    case Kind::Floating:
        return value.toDouble();
    case Kind::Date:
    case Kind::Url:
        return value.description().toStdString();
    case Kind::List: {
        nlohmann::ordered_json array = nlohmann::ordered_json::array();
        for (const DynamicValue& element : value.toList())
            array.push_back(toJsonValue(element));
        return array;
    }
    case Kind::Dictionary: {
        nlohmann::ordered_json object = nlohmann::ordered_json::object();
        for (const auto& [key, element] : value.toDictionary())
            object[key.toStdString()] = toJsonValue(element);
        return object;
    }
    }
    return nullptr;
}

DynamicValue dynamicValueFromJson(const nlohmann::ordered_json& json)
{
    using Type = nlohmann::ordered_json::value_t;
    switch (json.type()) {
    case Type::string:
        return QString::fromStdString(json.get_ref<const std::string&>());
    case Type::boolean:
        return json.get<bool>();
    case Type::number_integer:
        return json.get<qint64>();
    case Type::number_unsigned:
        if (json.get<quint64>() <= quint64(INT64_MAX))
            return qint64(json.get<quint64>());
        return json.get<double>();
    case Type::number_float:
        return json.get<double>();
    case Type::array: {
        DynamicValue::List list;
        list.reserve(json.size());
        for (const auto& element : json)
            list.push_back(dynamicValueFromJson(element));
        return DynamicValue(std::move(list));
    }
    case Type::object: {
        DynamicValue::Dictionary dictionary;
        for (const auto& [key, element] : json.items())
            dictionary.emplace(QString::fromStdString(key), dynamicValueFromJson(element));
        return DynamicValue(std::move(dictionary));
    }
    default:
        return {};
    }
}

} // namespace qb
