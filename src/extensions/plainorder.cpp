// SPDX-License-Identifier: GPL-3.0-or-later
#include "plainorder.h"

#include <algorithm>
#include <vector>

namespace qb {

namespace {

// UTF-16 code-unit order puts U+E000..U+FFFF after the surrogates; scalar
// order doesn't. Compare scalars so that ordering matches the text's own.
bool scalarLess(const QString& a, const QString& b)
{
    const QList<uint> x = a.toUcs4();
    const QList<uint> y = b.toUcs4();
    return std::lexicographical_compare(x.begin(), x.end(), y.begin(), y.end());
}

} // namespace

bool plainLess(const QString& a, const QString& b)
{
    return scalarLess(canonical(a), canonical(b));
}

void sortPlain(QStringList& texts)
{
    // Normalise once per element, not once per comparison.
    std::vector<std::pair<QList<uint>, QString>> keyed;
    keyed.reserve(texts.size());
    for (const QString& text : texts)
        keyed.emplace_back(canonical(text).toUcs4(), text);
    std::stable_sort(keyed.begin(), keyed.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (qsizetype i = 0; i < texts.size(); ++i)
        texts[i] = keyed[i].second;
}

} // namespace qb
