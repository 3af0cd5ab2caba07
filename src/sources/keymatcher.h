// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/matchingstyle.h"

#include "extensions/regex.h"

#include <QHash>
#include <QStringList>
#include <QStringView>

#include <optional>
#include <vector>

namespace qb {

// The comparison of one key with one image name, under a style. Both sides
// are taken in their canonical form, a pattern as well as a plain key. The
// path style compares as equality: the caller has made the key a path.
bool nameMatchesKey(const QString& canonicalName, const QString& key, MatchingStyle style);

// A table's keys prepared once for many image names: literal styles look up
// the name's slices in a hash of the keys, and regular expressions are
// compiled once. Answers are exactly those of nameMatchesKey over all keys.
class KeyMatcher {
public:
    KeyMatcher(const QStringList& keys, MatchingStyle style);

    // Positions in `keys` of those that match the name, ascending.
    std::vector<int> matchingKeys(const QString& canonicalName) const;

private:
    void addHits(QStringView slice, std::vector<int>& hits) const;

    MatchingStyle m_style;
    QStringList m_canonicalKeys; // owns the text the hash views point into
    QHash<QStringView, std::vector<int>> m_positionsByKey;
    std::vector<qsizetype> m_keyLengths; // distinct, ascending
    std::vector<std::optional<Regex>> m_patterns;
};

} // namespace qb
