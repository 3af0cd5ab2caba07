// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "extensions/regex.h"

#include <QString>

#include <expected>
#include <optional>

namespace qb {

// Turns a card's code into the key of a row. Without a pattern the code's
// text is the key. With one, the key is the pattern's group named `key`
// when it has one, else its first capture group, else the whole match; so
// "@(\d+)$" makes "/%S@1234" give "1234". A code the pattern doesn't match,
// or whose key comes out empty, gives no key and so doesn't make a card.
//
// The pattern comes from the user, and its searches have the time limit
// that Regex gives them.
class CardKeyPattern {
public:
    // The code's text as it is.
    CardKeyPattern() = default;
    // An error naming the pattern when it is malformed.
    static std::expected<CardKeyPattern, Error> compile(const QString& pattern);

    std::optional<QString> keyOf(const QString& codeText) const;

    // Empty for the plain text.
    const QString& pattern() const { return m_source; }

private:
    enum class Take { whole, firstGroup, namedGroup };

    QString m_source;
    std::optional<Regex> m_regex;
    Take m_take = Take::whole;
};

} // namespace qb
