// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>

namespace qb {

// How a row's key is compared with an image. The raw values are what
// documents store; `path` came later, and ties a key to the one image whose
// file it names.
enum class MatchingStyle { contains = 0, equals = 1, prefix = 2, regex = 3, suffix = 4, path = 5 };

// The styles that compare a key with an image's name, or with the value of
// the tag the images are keyed by.
inline constexpr std::array<MatchingStyle, 5> allMatchingStyles = {
    MatchingStyle::contains, MatchingStyle::equals, MatchingStyle::prefix, MatchingStyle::regex,
    MatchingStyle::suffix};

constexpr std::optional<MatchingStyle> matchingStyleFromRawValue(int raw)
{
    if (raw == static_cast<int>(MatchingStyle::path))
        return MatchingStyle::path;
    for (MatchingStyle style : allMatchingStyles) {
        if (static_cast<int>(style) == raw)
            return style;
    }
    return std::nullopt;
}

} // namespace qb
