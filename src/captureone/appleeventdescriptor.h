// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>
#include <variant>
#include <vector>

namespace qb {

// The values that travel between us and a script: handler arguments and
// results. Only the kinds our scripts use are modelled; the coercions follow
// what AppleScript itself does for them.
class AppleEventDescriptor {
public:
    enum class Kind { text, boolean, list, missingValue, fileURL, int32 };
    using List = std::vector<AppleEventDescriptor>;

    static AppleEventDescriptor text(const QString& value);
    static AppleEventDescriptor boolean(bool value);
    static AppleEventDescriptor list(List items = {});
    static AppleEventDescriptor textList(const QStringList& texts);
    static AppleEventDescriptor missingValue();
    static AppleEventDescriptor fileURL(const QUrl& url);
    static AppleEventDescriptor int32(qint32 value);
    // A text, or missing value when there is none.
    static AppleEventDescriptor optionalText(const std::optional<QString>& value);

    Kind kind() const { return static_cast<Kind>(m_value.index()); }
    bool isMissingValue() const { return kind() == Kind::missingValue; }

    // Text as it is, integers in decimal, booleans as "true"/"false";
    // nothing for lists, missing value and files.
    std::optional<QString> stringValue() const;
    // Integers as they are, booleans as 1 or 0, a text holding a 32-bit
    // integer as that number; everything else gives 0.
    qint32 int32Value() const;
    // Booleans as they are, a non-zero integer as true, the texts "true"
    // and "false"; everything else gives false.
    bool booleanValue() const;
    // Only a file URL has one.
    std::optional<QUrl> fileURLValue() const;

    // The items of a list; other kinds have none.
    qsizetype numberOfItems() const;
    // 1-based, as AppleScript counts; nothing outside 1...numberOfItems.
    std::optional<AppleEventDescriptor> descriptorAtIndex(qsizetype index) const;
    // Index 0 appends; 1...count+1 inserts before that position. A
    // descriptor that isn't a list becomes the empty list first.
    void insertDescriptor(AppleEventDescriptor descriptor, qsizetype index);

    // The texts of a list's items that have one, in order.
    QStringList texts() const;

    // A short form for logs and test messages, close to AppleScript's.
    QString debugText() const;

    friend bool operator==(const AppleEventDescriptor& a, const AppleEventDescriptor& b)
    {
        return a.m_value == b.m_value;
    }

private:
    struct Missing {
        friend bool operator==(Missing, Missing) { return true; }
    };
    using Value = std::variant<QString, bool, List, Missing, QUrl, qint32>;

    explicit AppleEventDescriptor(Value value)
        : m_value(std::move(value))
    {
    }

    Value m_value;
};

// For test failure messages.
void PrintTo(const AppleEventDescriptor& descriptor, std::ostream* os);

} // namespace qb
