// SPDX-License-Identifier: GPL-3.0-or-later
#include "appleeventdescriptor.h"

#include <ostream>

namespace qb {

AppleEventDescriptor AppleEventDescriptor::text(const QString& value)
{
    return AppleEventDescriptor(Value(value));
}

AppleEventDescriptor AppleEventDescriptor::boolean(bool value)
{
    return AppleEventDescriptor(Value(value));
}

AppleEventDescriptor AppleEventDescriptor::list(List items)
{
    return AppleEventDescriptor(Value(std::move(items)));
}

AppleEventDescriptor AppleEventDescriptor::textList(const QStringList& texts)
{
    List items;
    items.reserve(texts.size());
    for (const QString& text : texts)
        items.push_back(AppleEventDescriptor::text(text));
    return list(std::move(items));
}

AppleEventDescriptor AppleEventDescriptor::missingValue()
{
    return AppleEventDescriptor(Value(Missing{}));
}

AppleEventDescriptor AppleEventDescriptor::fileURL(const QUrl& url)
{
    return AppleEventDescriptor(Value(url));
}

AppleEventDescriptor AppleEventDescriptor::int32(qint32 value)
{
    return AppleEventDescriptor(Value(value));
}

AppleEventDescriptor AppleEventDescriptor::optionalText(const std::optional<QString>& value)
{
    return value ? text(*value) : missingValue();
}

std::optional<QString> AppleEventDescriptor::stringValue() const
{
    switch (kind()) {
    case Kind::text:
        return std::get<QString>(m_value);
    case Kind::boolean:
        return std::get<bool>(m_value) ? QStringLiteral("true") : QStringLiteral("false");
    case Kind::int32:
        return QString::number(std::get<qint32>(m_value));
    case Kind::list:
    case Kind::missingValue:
    case Kind::fileURL:
        break;
    }
    return std::nullopt;
}

qint32 AppleEventDescriptor::int32Value() const
{
    switch (kind()) {
    case Kind::int32:
        return std::get<qint32>(m_value);
    case Kind::boolean:
        return std::get<bool>(m_value) ? 1 : 0;
    case Kind::text: {
        bool ok = false;
        const qint32 number = std::get<QString>(m_value).trimmed().toInt(&ok);
        return ok ? number : 0;
    }
    case Kind::list:
    case Kind::missingValue:
    case Kind::fileURL:
        break;
    }
    return 0;
}

bool AppleEventDescriptor::booleanValue() const
{
    switch (kind()) {
    case Kind::boolean:
        return std::get<bool>(m_value);
    case Kind::int32:
        return std::get<qint32>(m_value) != 0;
    case Kind::text:
        return std::get<QString>(m_value) == QLatin1String("true");
    case Kind::list:
    case Kind::missingValue:
    case Kind::fileURL:
        break;
    }
    return false;
}

std::optional<QUrl> AppleEventDescriptor::fileURLValue() const
{
    if (kind() != Kind::fileURL)
        return std::nullopt;
    return std::get<QUrl>(m_value);
}

qsizetype AppleEventDescriptor::numberOfItems() const
{
    return kind() == Kind::list ? qsizetype(std::get<List>(m_value).size()) : 0;
}

std::optional<AppleEventDescriptor> AppleEventDescriptor::descriptorAtIndex(qsizetype index) const
{
    if (index < 1 || index > numberOfItems())
        return std::nullopt;
    return std::get<List>(m_value)[size_t(index - 1)];
}

void AppleEventDescriptor::insertDescriptor(AppleEventDescriptor descriptor, qsizetype index)
{
    if (kind() != Kind::list)
        m_value = List{};
    List& items = std::get<List>(m_value);
    if (index <= 0 || index > qsizetype(items.size()))
        items.push_back(std::move(descriptor));
    else
        items.insert(items.begin() + (index - 1), std::move(descriptor));
}

QStringList AppleEventDescriptor::texts() const
{
    QStringList result;
    for (qsizetype index = 1; index <= numberOfItems(); ++index) {
        if (const auto text = descriptorAtIndex(index)->stringValue())
            result << *text;
    }
    return result;
}

QString AppleEventDescriptor::debugText() const
{
    switch (kind()) {
    case Kind::text:
        return QLatin1Char('"') + std::get<QString>(m_value) + QLatin1Char('"');
    case Kind::boolean:
    case Kind::int32:
        return *stringValue();
    case Kind::missingValue:
        return QStringLiteral("missing value");
    case Kind::fileURL:
        return QStringLiteral("POSIX file \"%1\"").arg(std::get<QUrl>(m_value).toLocalFile());
    case Kind::list: {
        QStringList parts;
        for (const AppleEventDescriptor& item : std::get<List>(m_value))
            parts << item.debugText();
        return QLatin1Char('{') + parts.join(QStringLiteral(", ")) + QLatin1Char('}');
    }
    }
    return {};
}

void PrintTo(const AppleEventDescriptor& descriptor, std::ostream* os)
{
    *os << descriptor.debugText().toStdString();
}

} // namespace qb
