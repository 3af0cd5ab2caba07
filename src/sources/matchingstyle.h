// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

namespace qb {

// How a row's key is compared with an image's name. The raw values are what
// documents store.
enum class MatchingStyle { contains = 0, equals = 1, prefix = 2, regex = 3, suffix = 4 };

inline constexpr std::array<MatchingStyle, 5> allMatchingStyles = {
    MatchingStyle::contains, MatchingStyle::equals, MatchingStyle::prefix, MatchingStyle::regex,
    MatchingStyle::suffix};

constexpr std::optional<MatchingStyle> matchingStyleFromRawValue(int raw)
{
    for (MatchingStyle style : allMatchingStyles) {
        if (static_cast<int>(style) == raw)
            return style;
    }
    return std::nullopt;
}

} // namespace qb
