// SPDX-License-Identifier: GPL-3.0-or-later
#include "exiftag.h"

#include "extensions/texthelpers.h"

namespace qb {

QString valueTypeName(TagValueType type)
{
    switch (type) {
    case TagValueType::String:
        return QStringLiteral("String");
    case TagValueType::Int:
        return QStringLiteral("Int");
    case TagValueType::Double:
        return QStringLiteral("Double");
    case TagValueType::Date:
        return QStringLiteral("Date");
    case TagValueType::Url:
        return QStringLiteral("URL");
    case TagValueType::StringList:
        return QStringLiteral("[String]");
    }
    return {};
}

std::optional<QString> TagValueTraits<QString>::fromDynamic(const DynamicValue& value)
{
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<qint64> TagValueTraits<qint64>::fromDynamic(const DynamicValue& value)
{
    if (value.kind() != DynamicValue::Kind::Integer)
        return std::nullopt;
    return value.toInteger();
}

std::optional<double> TagValueTraits<double>::fromDynamic(const DynamicValue& value)
{
    if (!value.isNumber())
        return std::nullopt;
    return value.toDouble();
}

std::optional<QDateTime> TagValueTraits<QDateTime>::fromDynamic(const DynamicValue& value)
{
    if (!value.isDate())
        return std::nullopt;
    return value.toDate();
}

std::optional<QUrl> TagValueTraits<QUrl>::fromDynamic(const DynamicValue& value)
{
    if (!value.isUrl())
        return std::nullopt;
    return value.toUrl();
}

std::optional<QStringList> TagValueTraits<QStringList>::fromDynamic(const DynamicValue& value)
{
    if (!value.isStringList())
        return std::nullopt;
    QStringList texts;
    texts.reserve(qsizetype(value.toList().size()));
    for (const DynamicValue& element : value.toList())
        texts.append(element.toString());
    return texts;
}

QString tagDisplayName(const QString& name)
{
    const QStringList parts = name.split(QLatin1Char(':'));
    if (parts.size() != 2)
        return name;
    return splitCamelCase(parts.at(1));
}

} // namespace qb
