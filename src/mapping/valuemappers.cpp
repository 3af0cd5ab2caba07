// SPDX-License-Identifier: GPL-3.0-or-later
#include "valuemappers.h"

#include "extensions/icustring.h"
#include "extensions/regex.h"

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>

#include <cmath>
#include <limits>
#include <memory>

namespace qb {

DynamicValue StringValueMapper::map(const DynamicValue& value) const
{
    if (value.isAbsent())
        return {};
    if (value.isString())
        return mapString(value.toString());
    if (value.isDescribableList()) {
        // Covers lists of strings too: a string's description is itself.
        DynamicValue::List mapped;
        mapped.reserve(value.toList().size());
        for (const DynamicValue& element : value.toList())
            mapped.push_back(mapString(element.description()));
        return DynamicValue(std::move(mapped));
    }
    if (value.isList())
        return {};
    return mapString(value.description());
}

DynamicValue ArrayMapper::map(const DynamicValue& value) const
{
    if (!value.isString())
        return {};
    // An empty delimiter would split between every character; keep the text whole.
    if (delimiter.isEmpty())
        return DynamicValue::stringList({value.toString()});
    return DynamicValue::stringList(value.toString().split(delimiter, Qt::KeepEmptyParts));
}

QString StringCaseMapper::rawValue(Transformation transformation)
{
    switch (transformation) {
    case Transformation::capitalize:
        return QStringLiteral("capitalize");
    case Transformation::lowercase:
        return QStringLiteral("lowercase");
    case Transformation::uppercase:
        return QStringLiteral("uppercase");
    }
    return {};
}

std::optional<StringCaseMapper::Transformation>
StringCaseMapper::transformationFromRawValue(const QString& raw)
{
    for (Transformation candidate : allTransformations) {
        if (rawValue(candidate) == raw)
            return candidate;
    }
    return std::nullopt;
}

DynamicValue StringCaseMapper::mapString(const QString& text) const
{
    // Case mapping follows the user's locale (Turkish dotted i, Dutch IJ, ...).
    icu::UnicodeString result = toIcu(text);
    const icu::Locale& locale = icu::Locale::getDefault();
    switch (transformation) {
    case Transformation::capitalize:
        result.toTitle(nullptr, locale);
        break;
    case Transformation::lowercase:
        result.toLower(locale);
        break;
    case Transformation::uppercase:
        result.toUpper(locale);
        break;
    }
    return fromIcu(result);
}

DynamicValue StringReplacementMapper::mapString(const QString& text) const
{
    if (isRegex) {
        const std::optional<Regex> regex = Regex::compile(target);
        return regex ? regex->replaceAll(text, replacement) : text;
    }
    if (target.isEmpty())
        return text;
    QString result = text;
    return result.replace(target, replacement, Qt::CaseSensitive);
}

DynamicValue BooleanMapper::map(const DynamicValue& value) const
{
    switch (value.kind()) {
    case DynamicValue::Kind::Absent:
        return false;
    case DynamicValue::Kind::Boolean:
        return value;
    case DynamicValue::Kind::String:
        if (value.toString() == QLatin1String("true"))
            return true;
        if (value.toString() == QLatin1String("false"))
            return false;
        return {};
    case DynamicValue::Kind::Integer:
    case DynamicValue::Kind::Floating:
        if (value.toDouble() == 0.0)
            return false;
        if (value.toDouble() == 1.0)
            return true;
        return {};
    default:
        return false;
    }
}

DynamicValue BooleanValueMapper::map(const DynamicValue& value) const
{
    if (value.isBoolean())
        return value.toBool() ? trueValue : falseValue;
    return falseValue;
}

namespace {

constexpr qint64 msecsPerSecond = 1000;

std::optional<QDateTime> parseDate(const QString& text, const QString& pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat formatter(toIcu(pattern), icu::Locale::getDefault(), status);
    if (U_FAILURE(status))
        return std::nullopt;
    formatter.setLenient(false);
    std::unique_ptr<icu::Calendar> calendar(formatter.getCalendar()->clone());
    // Fields the pattern doesn't mention default to 2000-01-01 00:00, as
    // they do on a Mac.
    calendar->clear();
    calendar->set(2000, UCAL_JANUARY, 1, 0, 0, 0);
    const icu::UnicodeString subject = toIcu(text);
    icu::ParsePosition position(0);
    formatter.parse(subject, *calendar, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != subject.length())
        return std::nullopt;
    const UDate instant = calendar->getTime(status);
    if (U_FAILURE(status))
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(qint64(instant), Qt::UTC);
}

std::optional<QDateTime> dateFromSeconds(double seconds)
{
    const double msecs = std::round(seconds * msecsPerSecond);
    if (!std::isfinite(msecs) || std::abs(msecs) > 8.64e15) // QDateTime's range
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(qint64(msecs), Qt::UTC);
}

} // namespace

DynamicValue DateMapper::map(const DynamicValue& value) const
{
    std::optional<QDateTime> date;
    switch (value.kind()) {
    case DynamicValue::Kind::Date:
        return value;
    case DynamicValue::Kind::String:
        date = parseDate(value.toString(), format);
        break;
    case DynamicValue::Kind::Integer:
    case DynamicValue::Kind::Floating:
        date = dateFromSeconds(value.toDouble());
        break;
    default:
        break;
    }
    return date ? DynamicValue(*date) : DynamicValue();
}

QString DateComparison::rawValue(Type type)
{
    return type == Type::isInTheLast ? QStringLiteral("isInTheLast")
                                     : QStringLiteral("isInTheNext");
}

QString DateComparison::rawValue(Component unit)
{
    switch (unit) {
    case Component::minute:
        return QStringLiteral("minute");
    case Component::hour:
        return QStringLiteral("hour");
    case Component::day:
        return QStringLiteral("day");
    case Component::month:
        return QStringLiteral("month");
    case Component::year:
        return QStringLiteral("year");
    }
    return {};
}

std::optional<DateComparison::Type> DateComparison::typeFromRawValue(const QString& raw)
{
    for (Type candidate : {Type::isInTheLast, Type::isInTheNext}) {
        if (rawValue(candidate) == raw)
            return candidate;
    }
    return std::nullopt;
}

std::optional<DateComparison::Component> DateComparison::componentFromRawValue(const QString& raw)
{
    for (Component candidate :
         {Component::minute, Component::hour, Component::day, Component::month, Component::year}) {
        if (rawValue(candidate) == raw)
            return candidate;
    }
    return std::nullopt;
}

namespace {

UCalendarDateFields calendarField(DateComparison::Component unit)
{
    switch (unit) {
    case DateComparison::Component::minute:
        return UCAL_MINUTE;
    case DateComparison::Component::hour:
        return UCAL_HOUR_OF_DAY;
    case DateComparison::Component::day:
        return UCAL_DAY_OF_MONTH;
    case DateComparison::Component::month:
        return UCAL_MONTH;
    case DateComparison::Component::year:
        return UCAL_YEAR;
    }
    return UCAL_DAY_OF_MONTH;
}

// The first instant of the unit that holds `instant`, so that two instants in
// one unit compare equal.
std::optional<UDate> startOfUnit(icu::Calendar& calendar, UDate instant,
                                 DateComparison::Component unit)
{
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(instant, status);
    calendar.set(UCAL_MILLISECOND, 0);
    calendar.set(UCAL_SECOND, 0);
    if (unit != DateComparison::Component::minute)
        calendar.set(UCAL_MINUTE, 0);
    if (unit == DateComparison::Component::day || unit == DateComparison::Component::month ||
        unit == DateComparison::Component::year)
        calendar.set(UCAL_HOUR_OF_DAY, 0);
    if (unit == DateComparison::Component::month || unit == DateComparison::Component::year)
        calendar.set(UCAL_DAY_OF_MONTH, 1);
    if (unit == DateComparison::Component::year)
        calendar.set(UCAL_MONTH, calendar.getActualMinimum(UCAL_MONTH, status));
    const UDate start = calendar.getTime(status);
    if (U_FAILURE(status))
        return std::nullopt;
    return start;
}

} // namespace

bool DateComparison::evaluate(const QDateTime& date, const QDateTime& now) const
{
    if (interval < std::numeric_limits<int32_t>::min() ||
        interval > std::numeric_limits<int32_t>::max())
        return false;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status))
        return false;
    const UDate nowInstant = UDate(now.toMSecsSinceEpoch());
    calendar->setTime(nowInstant, status);
    const int32_t amount = int32_t(type == Type::isInTheLast ? -interval : interval);
    calendar->add(calendarField(unit), amount, status);
    const UDate boundInstant = calendar->getTime(status);
    if (U_FAILURE(status))
        return false;

    const auto bound = startOfUnit(*calendar, boundInstant, unit);
    const auto current = startOfUnit(*calendar, nowInstant, unit);
    const auto target = startOfUnit(*calendar, UDate(date.toMSecsSinceEpoch()), unit);
    if (!bound || !current || !target)
        return false;
    if (type == Type::isInTheLast)
        return *bound <= *target && *current >= *target;
    return *current <= *target && *bound >= *target;
}

Clock systemClock()
{
    return [] {
        return QDateTime::currentDateTimeUtc();
    };
}

DynamicValue DateComparisonMapper::map(const DynamicValue& value) const
{
    if (!value.isDate())
        return {};
    return comparison.evaluate(value.toDate(), m_clock());
}

} // namespace qb
