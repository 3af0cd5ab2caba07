// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/dynamicvalue.h"

#include <QDateTime>
#include <QString>

#include <functional>
#include <optional>

namespace qb {

// One small pure transformation of a value. A mapper never fails: what it
// can't convert it answers as absent or as its fixed fallback.
class ValueMapper {
public:
    virtual ~ValueMapper() = default;
    virtual DynamicValue map(const DynamicValue& value) const = 0;
    // The display name of the mapper's type, for the rule editor.
    virtual QString typeDisplayName() const = 0;
};

// The string family shares one map(): strings, lists and describable values
// all reach mapString() text by text.
class StringValueMapper : public ValueMapper {
public:
    DynamicValue map(const DynamicValue& value) const final;
    virtual DynamicValue mapString(const QString& text) const = 0;
};

class StringMapper final : public StringValueMapper {
public:
    static QString displayName() { return QStringLiteral("Convert to a string"); }
    QString typeDisplayName() const override { return displayName(); }
    DynamicValue mapString(const QString& text) const override { return text; }
    friend bool operator==(const StringMapper&, const StringMapper&) = default;
};

class ArrayMapper final : public ValueMapper {
public:
    explicit ArrayMapper(QString delimiter)
        : delimiter(std::move(delimiter))
    {
    }
    static QString displayName() { return QStringLiteral("Convert to an array"); }
    QString typeDisplayName() const override { return displayName(); }
    DynamicValue map(const DynamicValue& value) const override;
    friend bool operator==(const ArrayMapper&, const ArrayMapper&) = default;

    QString delimiter;
};

class StringCaseMapper final : public StringValueMapper {
public:
    enum class Transformation { capitalize, lowercase, uppercase };
    static constexpr Transformation allTransformations[] = {
        Transformation::capitalize, Transformation::lowercase, Transformation::uppercase};
    static QString rawValue(Transformation transformation);
    static std::optional<Transformation> transformationFromRawValue(const QString& raw);

    explicit StringCaseMapper(Transformation transformation)
        : transformation(transformation)
    {
    }
    static QString displayName() { return QStringLiteral("Modify string case"); }
    QString typeDisplayName() const override { return displayName(); }
    DynamicValue mapString(const QString& text) const override;
    friend bool operator==(const StringCaseMapper&, const StringCaseMapper&) = default;

    Transformation transformation;
};

class StringReplacementMapper final : public StringValueMapper {
public:
    StringReplacementMapper(QString target, QString replacement, bool isRegex)
        : target(std::move(target))
        , replacement(std::move(replacement))
        , isRegex(isRegex)
    {
    }
    static QString displayName() { return QStringLiteral("replace string"); }
    QString typeDisplayName() const override { return displayName(); }
    DynamicValue mapString(const QString& text) const override;
    friend bool operator==(const StringReplacementMapper&,
                           const StringReplacementMapper&) = default;

    QString target;
    QString replacement;
    bool isRegex;
};

class BooleanMapper final : public ValueMapper {
public:
    static QString displayName() { return QStringLiteral("Map to a bool"); }
    QString typeDisplayName() const override { return displayName(); }
    DynamicValue map(const DynamicValue& value) const override;
    friend bool operator==(const BooleanMapper&, const BooleanMapper&) = default;
};

class BooleanValueMapper final : public ValueMapper {
public:
    BooleanValueMapper(QString trueValue, QString falseValue)
        : trueValue(std::move(trueValue))
        , falseValue(std::move(falseValue))
    {
    }
    static QString displayName() { return QStringLiteral("Boolean mapper"); }
    QString typeDisplayName() const override { return displayName(); }
    DynamicValue map(const DynamicValue& value) const override;
    friend bool operator==(const BooleanValueMapper&, const BooleanValueMapper&) = default;

    QString trueValue;
    QString falseValue;
};

class DateMapper final : public ValueMapper {
public:
    explicit DateMapper(QString format)
        : format(std::move(format))
    {
    }
    static QString displayName() { return QStringLiteral("Map to a date"); }
    QString typeDisplayName() const override { return displayName(); }
    DynamicValue map(const DynamicValue& value) const override;
    friend bool operator==(const DateMapper&, const DateMapper&) = default;

    // A Unicode date pattern, honoured letter for letter.
    QString format;
};

struct DateComparison {
    enum class Type { isInTheLast, isInTheNext };
    enum class Component { minute, hour, day, month, year };

    static QString rawValue(Type type);
    static QString rawValue(Component unit);
    static std::optional<Type> typeFromRawValue(const QString& raw);
    static std::optional<Component> componentFromRawValue(const QString& raw);

    // Whether `date` lies in the range between `now` and `interval` units
    // before or after it, both ends inclusive at the granularity of `unit`,
    // in the user's current calendar.
    bool evaluate(const QDateTime& date, const QDateTime& now) const;

    friend bool operator==(const DateComparison&, const DateComparison&) = default;

    Type type;
    qint64 interval;
    Component unit;
};

using Clock = std::function<QDateTime()>;
Clock systemClock();

class DateComparisonMapper final : public ValueMapper {
public:
    explicit DateComparisonMapper(DateComparison comparison, Clock clock = systemClock())
        : comparison(comparison)
        , m_clock(std::move(clock))
    {
    }
    static QString displayName() { return QStringLiteral("Compare dates"); }
    QString typeDisplayName() const override { return displayName(); }
    DynamicValue map(const DynamicValue& value) const override;
    friend bool operator==(const DateComparisonMapper& a, const DateComparisonMapper& b)
    {
        return a.comparison == b.comparison;
    }

    DateComparison comparison;

private:
    Clock m_clock;
};

} // namespace qb
