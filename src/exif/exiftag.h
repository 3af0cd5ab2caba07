// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/dynamicvalue.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>
#include <type_traits>

namespace qb {

// The six kinds of value a tag can be declared with.
enum class TagValueType { String, Int, Double, Date, Url, StringList };

// "String", "Int", "Double", "Date", "URL", "[String]".
QString valueTypeName(TagValueType type);

// How each declared value type sits in a DynamicValue. Reads check the kind
// and never convert between kinds: a text "5" is not an Int.
template <typename Value>
struct TagValueTraits;

template <>
struct TagValueTraits<QString> {
    static constexpr TagValueType type = TagValueType::String;
    static std::optional<QString> fromDynamic(const DynamicValue& value);
    static DynamicValue toDynamic(const QString& value) { return DynamicValue(value); }
};

template <>
struct TagValueTraits<qint64> {
    static constexpr TagValueType type = TagValueType::Int;
    static std::optional<qint64> fromDynamic(const DynamicValue& value);
    static DynamicValue toDynamic(qint64 value) { return DynamicValue(value); }
};

// A whole number is a Double too: exiftool's JSON writes a one-second
// exposure as 1, and that must not read as missing. Nothing else converts.
template <>
struct TagValueTraits<double> {
    static constexpr TagValueType type = TagValueType::Double;
    static std::optional<double> fromDynamic(const DynamicValue& value);
    static DynamicValue toDynamic(double value) { return DynamicValue(value); }
};

template <>
struct TagValueTraits<QDateTime> {
    static constexpr TagValueType type = TagValueType::Date;
    static std::optional<QDateTime> fromDynamic(const DynamicValue& value);
    static DynamicValue toDynamic(const QDateTime& value) { return DynamicValue(value); }
};

template <>
struct TagValueTraits<QUrl> {
    static constexpr TagValueType type = TagValueType::Url;
    static std::optional<QUrl> fromDynamic(const DynamicValue& value);
    static DynamicValue toDynamic(const QUrl& value) { return DynamicValue(value); }
};

template <>
struct TagValueTraits<QStringList> {
    static constexpr TagValueType type = TagValueType::StringList;
    static std::optional<QStringList> fromDynamic(const DynamicValue& value);
    static DynamicValue toDynamic(const QStringList& value)
    {
        return DynamicValue::stringList(value);
    }
};

template <typename Value>
concept TagValue = requires
{
    TagValueTraits<Value>::type;
};

// A tag with a value of any type, for lists that mix tags.
class MetadataValueBox {
public:
    MetadataValueBox(QString tag, DynamicValue value)
        : m_tag(std::move(tag))
        , m_value(std::move(value))
    {
    }

    // The tag's full name.
    const QString& tag() const { return m_tag; }
    const DynamicValue& value() const { return m_value; }

    friend bool operator==(const MetadataValueBox&, const MetadataValueBox&) = default;

private:
    QString m_tag;
    DynamicValue m_value;
};

// The human label of a tag name: the part after the group, split into words.
// Names without exactly one colon are returned whole.
QString tagDisplayName(const QString& name);

// A handle for one tag, "GROUP:Name" in exiftool's spelling. `Value` is the
// declared value type; nothing of it is stored, reads check it at run time.
// Tags have identity (the catalogue hands out one object per entry), so they
// are neither copied nor moved.
template <TagValue Value>
class Exiftag {
public:
    using ValueType = Value;

    // No validation of the text.
    explicit Exiftag(QString name)
        : m_name(std::move(name))
    {
    }
    Exiftag(const Exiftag&) = delete;
    Exiftag& operator=(const Exiftag&) = delete;

    const QString& name() const { return m_name; }
    QString displayName() const { return tagDisplayName(m_name); }

    // Dates stay dates here; they become text only on the way to exiftool.
    MetadataValueBox boxed(const Value& value) const
    {
        return MetadataValueBox(m_name, TagValueTraits<Value>::toDynamic(value));
    }

private:
    const QString m_name;
};

// A tag together with one value. The tag is held by reference and must
// outlive this object; catalogue entries live as long as the process.
template <TagValue Value>
class ExifTagValue {
public:
    ExifTagValue(const Exiftag<Value>& tag, Value value)
        : m_tag(tag)
        , m_value(std::move(value))
    {
    }
    // A temporary tag would leave the reference dangling.
    ExifTagValue(const Exiftag<Value>&& tag, Value value) = delete;
    ExifTagValue(const ExifTagValue&) = delete;
    ExifTagValue& operator=(const ExifTagValue&) = delete;

    const Exiftag<Value>& tag() const { return m_tag; }
    const Value& value() const { return m_value; }
    void setValue(Value value) { m_value = std::move(value); }

    MetadataValueBox boxed() const { return m_tag.boxed(m_value); }

private:
    const Exiftag<Value>& m_tag;
    Value m_value;
};

} // namespace qb
