// SPDX-License-Identifier: GPL-3.0-or-later
#include "dynamicvalue.h"

#include <QStringList>
#include <QTimeZone>

#include <algorithm>
#include <ostream>

namespace qb {

namespace {

QString quotedDescription(const DynamicValue& value)
{
    if (value.isString())
        return QLatin1Char('"') + value.toString() + QLatin1Char('"');
    return value.description();
}

} // namespace

DynamicValue DynamicValue::stringList(const QStringList& texts)
{
    List list;
    list.reserve(texts.size());
    for (const QString& text : texts)
        list.emplace_back(text);
    return DynamicValue(std::move(list));
}

bool DynamicValue::isStringList() const
{
    if (!isList())
        return false;
    const List& list = toList();
    return std::all_of(list.begin(), list.end(), [](const auto& e) { return e.isString(); });
}

bool DynamicValue::isDescribableList() const
{
    if (!isList())
        return false;
    const List& list = toList();
    return std::all_of(list.begin(), list.end(), [](const auto& e) { return e.isPresent(); });
}

bool DynamicValue::isEmpty() const
{
    switch (kind()) {
    case Kind::String:
        return toString().isEmpty();
    case Kind::List:
        return toList().empty();
    case Kind::Dictionary:
        return toDictionary().empty();
    default:
        return false;
    }
}

double DynamicValue::toDouble() const
{
    if (kind() == Kind::Integer)
        return static_cast<double>(toInteger());
    return std::get<double>(m_value);
}

QString DynamicValue::description() const
{
    switch (kind()) {
    case Kind::Absent:
        return {};
    case Kind::String:
        return toString();
    case Kind::Boolean:
        return toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case Kind::Integer:
        return QString::number(toInteger());
    case Kind::Floating:
        return QString::number(toDouble(), 'g', QLocale::FloatingPointShortest);
    case Kind::Date:
        return toDate().toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
    case Kind::Url:
        return toUrl().toString(QUrl::FullyEncoded);
    case Kind::List: {
        QStringList parts;
        for (const DynamicValue& element : toList())
            parts << quotedDescription(element);
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    case Kind::Dictionary: {
        if (toDictionary().empty())
            return QStringLiteral("[:]");
        QStringList parts;
        for (const auto& [key, element] : toDictionary())
            parts << QLatin1Char('"') + key + QStringLiteral("\": ") + quotedDescription(element);
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    }
    return {};
}

void PrintTo(const DynamicValue& value, std::ostream* os)
{
    static constexpr const char* names[] = {"absent", "string", "boolean", "integer",   "floating",
                                            "date",   "url",    "list",    "dictionary"};
    *os << names[static_cast<int>(value.kind())] << '(' << value.description().toStdString() << ')';
}

} // namespace qb
