// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <unicode/unistr.h>

namespace qb {

// Both sides are UTF-16, so the conversions copy code units and nothing else.
inline icu::UnicodeString toIcu(const QString& text)
{
    return icu::UnicodeString(reinterpret_cast<const UChar*>(text.utf16()),
                              static_cast<int32_t>(text.size()));
}

inline QString fromIcu(const icu::UnicodeString& text)
{
    return QString(reinterpret_cast<const QChar*>(text.getBuffer()), text.length());
}

} // namespace qb
