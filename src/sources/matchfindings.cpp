// SPDX-License-Identifier: GPL-3.0-or-later
#include "matchfindings.h"

#include "extensions/plainorder.h"
#include "extensions/regex.h"

#include <QSet>

namespace qb {

QString matchingStyleTitle(FileNameDataSource::MatchingStyle style)
{
    using Style = FileNameDataSource::MatchingStyle;
    switch (style) {
    case Style::contains:
        return QStringLiteral("contains");
    case Style::equals:
        return QStringLiteral("is equal to");
    case Style::prefix:
        return QStringLiteral("begins with");
    case Style::regex:
        return QStringLiteral("matches");
    case Style::suffix:
        return QStringLiteral("ends with");
    case Style::path:
        return QStringLiteral("is the file");
    }
    return {};
}

MatchFindings MatchFindings::find(const FileNameDataSource& source, const QList<QUrl>& images)
{
    MatchFindings findings;
    findings.m_style = source.matchingStyle();
    findings.m_duplicateKeys = source.duplicateKeys();
    findings.m_keyTag = source.keyTag();
    const KeyedRows& rows = source.rows();
    const bool byPath = source.matchingStyle() == FileNameDataSource::MatchingStyle::path;
    if (images.isEmpty()) {
        for (qsizetype i = 0; byPath && i < rows.size(); ++i)
            findings.m_keysNamingNoImage << rows.key(i).toString();
        return findings;
    }
    // A key pattern that runs out of time is told once, here or in the
    // mapping of the same run.
    const RegexTimeouts run;
    const std::optional<qsizetype> emptyKey = rows.find(u"");
    const std::vector<std::vector<qsizetype>> matching = source.matchingRows(images);
    qsizetype matchedByEmptyKey = 0;
    QSet<QUrl> told;
    // An image whose tag is still being read isn't without one yet.
    const QList<QUrl> unread = source.imagesToReadKeysOf(images);
    QSet<QUrl> withoutKey(unread.begin(), unread.end());
    std::vector<bool> matched(std::size_t(byPath ? rows.size() : 0));
    for (qsizetype image = 0; image < images.size(); ++image) {
        const QUrl& url = images[image];
        if (!source.subjectOf(url) && !withoutKey.contains(url)) {
            withoutKey.insert(url);
            findings.m_imagesWithoutKey << url;
        }
        QStringList keys;
        for (const qsizetype position : matching[std::size_t(image)]) {
            if (byPath)
                matched[std::size_t(position)] = true;
            if (position == emptyKey)
                ++matchedByEmptyKey; // told on its own line, not with each image
            else
                keys << rows.key(position).toString();
        }
        // An image given twice is told once.
        if (keys.size() < 2 || told.contains(url))
            continue;
        told.insert(url);
        sortPlain(keys);
        findings.m_overlaps.push_back({url, keys});
    }
    findings.m_emptyKeyMatchesAll = emptyKey && matchedByEmptyKey == images.size();
    for (std::size_t i = 0; i < matched.size(); ++i) {
        if (!matched[i])
            findings.m_keysNamingNoImage << rows.key(qsizetype(i)).toString();
    }
    return findings;
}

namespace {

// A line for each of the first few items, then one that counts the rest;
// `rest` is given the count and whether it is one.
template <typename Items, typename Line, typename Rest>
void addLines(QStringList& lines, const Items& items, const Line& line, const Rest& rest)
{
    const qsizetype count = qsizetype(items.size());
    const qsizetype shown = std::min<qsizetype>(count, MatchFindings::lineLimit);
    for (qsizetype i = 0; i < shown; ++i)
        lines << line(items[i]);
    if (count > shown)
        lines << QStringLiteral("\u2026 and %1 more %2")
                     .arg(count - shown)
                     .arg(rest(count - shown == 1));
}

} // namespace

QStringList MatchFindings::lines() const
{
    QStringList lines;
    addLines(
        lines, m_duplicateKeys,
        [](const QString& key) {
            return QStringLiteral("Several rows of the data have the key \u201c%1\u201d: the "
                                  "last of them stands.")
                .arg(key);
        },
        [](bool one) {
            return one ? QStringLiteral("key several rows have.")
                       : QStringLiteral("keys several rows have.");
        });
    if (m_emptyKeyMatchesAll)
        lines << QStringLiteral("A row with an empty key matches every image under \u201c%1\u201d: "
                                "its values go to every image, also to those without a row of "
                                "their own.")
                     .arg(matchingStyleTitle(m_style));
    addLines(
        lines, m_overlaps,
        [](const Overlap& overlap) {
            return QStringLiteral("%1 matched %2 rows: %3")
                .arg(overlap.image.fileName(QUrl::FullyDecoded))
                .arg(overlap.keys.size())
                .arg(overlap.keys.join(QStringLiteral(", ")));
        },
        [](bool one) {
            return one ? QStringLiteral("image matched more than one row.")
                       : QStringLiteral("images matched more than one row.");
        });
    addLines(
        lines, m_keysNamingNoImage,
        [](const QString& key) {
            return QStringLiteral("The key \u201c%1\u201d names no image given: its row is not "
                                  "used.")
                .arg(key);
        },
        [](bool one) {
            return one ? QStringLiteral("key names no image given.")
                       : QStringLiteral("keys name no image given.");
        });
    const QString tag = m_keyTag.value_or(QString());
    addLines(
        lines, m_imagesWithoutKey,
        [&tag](const QUrl& image) {
            return QStringLiteral("%1 has no %2, so no row matches it.")
                .arg(image.fileName(QUrl::FullyDecoded), tag);
        },
        [&tag](bool one) {
            return (one ? QStringLiteral("image has no %1.") : QStringLiteral("images have no %1."))
                .arg(tag);
        });
    return lines;
}

Error MatchFindings::strictError() const
{
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.MatchFindings");
    error.code = 1;
    error.errorDescription = QStringLiteral("Rows tie to the images in more than one way.");
    QStringList reasons;
    if (!m_duplicateKeys.isEmpty())
        reasons << QStringLiteral("%1 %2 of the data stand on more than one row.")
                       .arg(m_duplicateKeys.size())
                       .arg(m_duplicateKeys.size() == 1 ? QStringLiteral("key")
                                                        : QStringLiteral("keys"));
    if (m_emptyKeyMatchesAll)
        reasons << QStringLiteral("A row with an empty key matches every image.");
    if (!m_overlaps.empty())
        reasons << QStringLiteral("%1 %2 matched more than one row.")
                       .arg(m_overlaps.size())
                       .arg(m_overlaps.size() == 1 ? QStringLiteral("image")
                                                   : QStringLiteral("images"));
    error.failureReason = reasons.join(QLatin1Char(' '));
    error.recoverySuggestion = QStringLiteral("Nothing was written. Give each image a key of its "
                                              "own, or choose another matching style.");
    return error;
}

} // namespace qb
