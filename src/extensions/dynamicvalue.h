// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>
#include <QUrl>

#include <map>
#include <variant>
#include <vector>

namespace qb {

// A metadata value of any kind, or absent. Data sources deliver it, mappers
// take and return it, image records store it; only mappers and writers look
// at its kind.
class DynamicValue {
public:
    enum class Kind { Absent, String, Boolean, Integer, Floating, Date, Url, List, Dictionary };
    using List = std::vector<DynamicValue>;
    using Dictionary = std::map<QString, DynamicValue>;

    DynamicValue() = default;
    DynamicValue(const QString& text)
        : m_value(text)
    {
    }
    DynamicValue(const char* text)
        : m_value(QString::fromUtf8(text))
    {
    }
    DynamicValue(bool flag)
        : m_value(flag)
    {
    }
    DynamicValue(int number)
        : m_value(qint64(number))
    {
    }
    DynamicValue(qint64 number)
        : m_value(number)
    {
    }
    DynamicValue(double number)
        : m_value(number)
    {
    }
    // Dates are instants; the time zone of the argument is not kept.
    DynamicValue(const QDateTime& date)
        : m_value(date.toUTC())
    {
    }
    DynamicValue(const QUrl& url)
        : m_value(url)
    {
    }
    DynamicValue(List list)
        : m_value(std::move(list))
    {
    }
    DynamicValue(Dictionary dictionary)
        : m_value(std::move(dictionary))
    {
    }

    static DynamicValue stringList(const QStringList& texts);

    Kind kind() const { return static_cast<Kind>(m_value.index()); }
    bool isAbsent() const { return kind() == Kind::Absent; }
    bool isPresent() const { return !isAbsent(); }
    bool isString() const { return kind() == Kind::String; }
    bool isBoolean() const { return kind() == Kind::Boolean; }
    bool isNumber() const { return kind() == Kind::Integer || kind() == Kind::Floating; }
    bool isDate() const { return kind() == Kind::Date; }
    bool isUrl() const { return kind() == Kind::Url; }
    bool isList() const { return kind() == Kind::List; }
    bool isDictionary() const { return kind() == Kind::Dictionary; }
    // A list whose elements are all strings; the empty list is one.
    bool isStringList() const;
    // A list each element of which has a description, i.e. none is absent.
    bool isDescribableList() const;

    // Emptiable: texts, lists and dictionaries can be empty. Every other kind
    // counts as filled, absent included.
    bool isEmptiable() const { return isString() || isList() || isDictionary(); }
    bool isEmpty() const;

    // Accessors assume the kind was checked first.
    const QString& toString() const { return std::get<QString>(m_value); }
    bool toBool() const { return std::get<bool>(m_value); }
    qint64 toInteger() const { return std::get<qint64>(m_value); }
    double toDouble() const;
    const QDateTime& toDate() const { return std::get<QDateTime>(m_value); }
    const QUrl& toUrl() const { return std::get<QUrl>(m_value); }
    const List& toList() const { return std::get<List>(m_value); }
    const Dictionary& toDictionary() const { return std::get<Dictionary>(m_value); }

    // The text form of every kind but absent (which gives an empty text).
    QString description() const;

    friend bool operator==(const DynamicValue& a, const DynamicValue& b)
    {
        return a.m_value == b.m_value;
    }

private:
    std::variant<std::monostate, QString, bool, qint64, double, QDateTime, QUrl, List, Dictionary>
        m_value;
};

// For test failure messages.
void PrintTo(const DynamicValue& value, std::ostream* os);

} // namespace qb
