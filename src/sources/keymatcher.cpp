// SPDX-License-Identifier: GPL-3.0-or-later
#include "keymatcher.h"

#include "extensions/plainorder.h"

#include <algorithm>

namespace qb {

bool nameMatchesKey(const QString& canonicalName, const QString& key, MatchingStyle style)
{
    using Style = MatchingStyle;
    if (style == Style::regex) {
        // Composed like the name, so that an accent typed either way matches.
        const std::optional<Regex> pattern = Regex::compile(canonical(key));
        return pattern && pattern->isFoundIn(canonicalName);
    }
    const QString canonicalKey = canonical(key);
    switch (style) {
    case Style::contains:
        return canonicalName.contains(canonicalKey);
    case Style::equals:
    case Style::path:
        return canonicalName == canonicalKey;
    case Style::prefix:
        return canonicalName.startsWith(canonicalKey);
    case Style::suffix:
        return canonicalName.endsWith(canonicalKey);
    case Style::regex:
        break;
    }
    return false;
}

KeyMatcher::KeyMatcher(const QStringList& keys, MatchingStyle style)
    : m_style(style)
{
    if (style == MatchingStyle::regex) {
        m_patterns.reserve(keys.size());
        for (const QString& key : keys)
            m_patterns.push_back(Regex::compile(canonical(key)));
        return;
    }
    m_canonicalKeys.reserve(keys.size());
    for (const QString& key : keys)
        m_canonicalKeys << canonical(key);
    for (int i = 0; i < m_canonicalKeys.size(); ++i) {
        const QString& key = m_canonicalKeys[i];
        m_positionsByKey[QStringView(key)].push_back(i);
        m_keyLengths.push_back(key.size());
    }
    std::sort(m_keyLengths.begin(), m_keyLengths.end());
    m_keyLengths.erase(std::unique(m_keyLengths.begin(), m_keyLengths.end()), m_keyLengths.end());
}

void KeyMatcher::addHits(QStringView slice, std::vector<int>& hits) const
{
    const auto it = m_positionsByKey.constFind(slice);
    if (it != m_positionsByKey.cend())
        hits.insert(hits.end(), it->begin(), it->end());
}

std::vector<int> KeyMatcher::matchingKeys(const QString& canonicalName) const
{
    std::vector<int> hits;
    const QStringView name(canonicalName);
    const qsizetype size = name.size();
    switch (m_style) {
    case MatchingStyle::equals:
    case MatchingStyle::path:
        addHits(name, hits);
        break;
    case MatchingStyle::prefix:
    case MatchingStyle::suffix:
        for (qsizetype length : m_keyLengths) {
            if (length > size)
                break;
            addHits(m_style == MatchingStyle::prefix ? name.first(length) : name.last(length),
                    hits);
        }
        break;
    case MatchingStyle::contains:
        for (qsizetype length : m_keyLengths) {
            if (length > size)
                break;
            for (qsizetype start = 0; start + length <= size; ++start)
                addHits(name.sliced(start, length), hits);
        }
        break;
    case MatchingStyle::regex:
        for (int i = 0; i < int(m_patterns.size()); ++i) {
            if (m_patterns[i] && m_patterns[i]->isFoundIn(canonicalName))
                hits.push_back(i);
        }
        return hits;
    }
    // A key found at several places of the name, or under several lengths
    // of slicing, counts once; the table's order decides the merge order.
    std::sort(hits.begin(), hits.end());
    hits.erase(std::unique(hits.begin(), hits.end()), hits.end());
    return hits;
}

} // namespace qb
