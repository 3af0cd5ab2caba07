// SPDX-License-Identifier: GPL-3.0-or-later
#include "plannedrows.h"

namespace qb {

RowKeys rowKeysOf(const FileNameDataSource& source)
{
    return RowKeys(source.keys());
}

QString rowName(const FileNameDataSource& source, const QString& key)
{
    const std::optional<MetadataRow> row = source.row(key);
    if (!row)
        return {};
    QStringList parts;
    for (const auto& [column, value] : *row) {
        const QString text = value.isString() ? value.toString().trimmed() : QString();
        if (column.contains(QLatin1String("name"), Qt::CaseInsensitive) && !text.isEmpty() &&
            text != key)
            parts << text;
    }
    return parts.join(QLatin1Char(' '));
}

PlannedRows::PlannedRows(std::shared_ptr<const FileNameDataSource> rows,
                         const std::vector<std::pair<QString, QStringList>>& assignments)
    : m_rows(std::move(rows))
{
    for (const auto& [path, keys] : assignments) {
        m_keysByPath.insert(path, keys);
        m_images << QUrl::fromLocalFile(path);
    }
}

MetadataRow PlannedRows::metadataForImage(const QUrl& url) const
{
    MetadataRow merged;
    for (const QString& key : m_keysByPath.value(url.toLocalFile())) {
        if (const std::optional<MetadataRow> row = m_rows->row(key))
            mergeRow(merged, *row);
    }
    return merged;
}

QList<QUrl> PlannedRows::imagesMatchingKey(const QString& key, const QList<QUrl>& urls) const
{
    QList<QUrl> matching;
    for (const QUrl& url : urls) {
        if (m_keysByPath.value(url.toLocalFile()).contains(key))
            matching << url;
    }
    return matching;
}

std::map<QString, QList<QUrl>> PlannedRows::imagesByKey(const QList<QUrl>& urls) const
{
    std::map<QString, QList<QUrl>> byKey;
    for (const QString& key : keys())
        byKey[key];
    for (const QUrl& url : urls) {
        for (const QString& key : m_keysByPath.value(url.toLocalFile()))
            byKey[key] << url;
    }
    return byKey;
}

} // namespace qb
