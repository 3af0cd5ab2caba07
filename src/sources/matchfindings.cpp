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
    }
    return {};
}

MatchFindings MatchFindings::find(const FileNameDataSource& source, const QList<QUrl>& images)
{
    MatchFindings findings;
    findings.m_style = source.matchingStyle();
    findings.m_duplicateKeys = source.duplicateKeys();
    if (images.isEmpty())
        return findings;
    // A key pattern that runs out of time is told once, here or in the
    // mapping of the same run.
    const RegexTimeouts run;
    const KeyedRows& rows = source.rows();
    const std::optional<qsizetype> emptyKey = rows.find(u"");
    const std::vector<std::vector<qsizetype>> matching = source.matchingRows(images);
    qsizetype matchedByEmptyKey = 0;
    QSet<QUrl> told;
    for (qsizetype image = 0; image < images.size(); ++image) {
        QStringList keys;
        for (const qsizetype position : matching[std::size_t(image)]) {
            if (position == emptyKey)
                ++matchedByEmptyKey; // told on its own line, not with each image
            else
                keys << rows.key(position).toString();
        }
        // An image given twice is told once.
        if (keys.size() < 2 || told.contains(images[image]))
            continue;
        told.insert(images[image]);
        sortPlain(keys);
        findings.m_overlaps.push_back({images[image], keys});
    }
    findings.m_emptyKeyMatchesAll = emptyKey && matchedByEmptyKey == images.size();
    return findings;
}

QStringList MatchFindings::lines() const
{
    QStringList lines;
    const qsizetype duplicates = std::min<qsizetype>(m_duplicateKeys.size(), lineLimit);
    for (qsizetype i = 0; i < duplicates; ++i)
        lines << QStringLiteral("Several rows of the data have the key \u201c%1\u201d: the last "
                                "of them stands.")
                     .arg(m_duplicateKeys[i]);
    if (const qsizetype rest = m_duplicateKeys.size() - duplicates; rest > 0)
        lines << QStringLiteral("\u2026 and %1 more %2 several rows have.")
                     .arg(rest)
                     .arg(rest == 1 ? QStringLiteral("key") : QStringLiteral("keys"));
    if (m_emptyKeyMatchesAll)
        lines << QStringLiteral("A row with an empty key matches every image under \u201c%1\u201d: "
                                "its values go to every image, also to those without a row of "
                                "their own.")
                     .arg(matchingStyleTitle(m_style));
    const qsizetype shown = std::min<qsizetype>(qsizetype(m_overlaps.size()), lineLimit);
    for (qsizetype i = 0; i < shown; ++i) {
        const Overlap& overlap = m_overlaps[std::size_t(i)];
        lines << QStringLiteral("%1 matched %2 rows: %3")
                     .arg(overlap.image.fileName(QUrl::FullyDecoded))
                     .arg(overlap.keys.size())
                     .arg(overlap.keys.join(QStringLiteral(", ")));
    }
    if (const qsizetype rest = qsizetype(m_overlaps.size()) - shown; rest > 0)
        lines << QStringLiteral("\u2026 and %1 more %2 matched more than one row.")
                     .arg(rest)
                     .arg(rest == 1 ? QStringLiteral("image") : QStringLiteral("images"));
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
