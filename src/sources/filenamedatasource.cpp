// SPDX-License-Identifier: GPL-3.0-or-later
#include "filenamedatasource.h"

#include "mapping/imageprovider.h"
#include "sources/keymatcher.h"

#include "extensions/plainorder.h"

#include <set>

namespace qb {

std::vector<MetadataRow> MetadataSource::metadataForImages(const QList<QUrl>& urls) const
{
    std::vector<MetadataRow> rows;
    rows.reserve(urls.size());
    for (const QUrl& url : urls)
        rows.push_back(metadataForImage(url));
    return rows;
}

void mergeRow(MetadataRow& result, const MetadataRow& row)
{
    for (const auto& [field, value] : row) {
        const auto [it, inserted] = result.try_emplace(field, value);
        if (!inserted && it->second.isEmptiable() && it->second.isEmpty())
            it->second = value;
    }
}

FileNameDataSource::FileNameDataSource(MetadataTable metadata)
    : m_metadata(std::move(metadata))
{
}

bool FileNameDataSource::imageMatchesKey(const QUrl& url, const QString& key) const
{
    return nameMatchesKey(canonical(imageName(url)), key, m_matchingStyle);
}

MetadataRow FileNameDataSource::metadataForImage(const QUrl& url) const
{
    MetadataRow result;
    for (const auto& [key, row] : m_metadata) {
        if (imageMatchesKey(url, key))
            mergeRow(result, row);
    }
    return result;
}

QList<QUrl> FileNameDataSource::imagesMatchingKey(const QString& key, const QList<QUrl>& urls) const
{
    QList<QUrl> matching;
    for (const QUrl& url : urls) {
        if (imageMatchesKey(url, key))
            matching << url;
    }
    return matching;
}

std::map<QString, QList<QUrl>> FileNameDataSource::imagesByKey(const QList<QUrl>& urls) const
{
    std::map<QString, QList<QUrl>> result;
    QStringList tableKeys;
    for (const auto& entry : m_metadata) {
        tableKeys << entry.first;
        result[entry.first];
    }
    const KeyMatcher matcher(tableKeys, m_matchingStyle);
    for (const QUrl& url : urls) {
        for (int position : matcher.matchingKeys(canonical(imageName(url))))
            result[tableKeys[position]] << url;
    }
    return result;
}

QStringList FileNameDataSource::keyNames() const
{
    std::set<QString> names;
    for (const auto& entry : m_metadata) {
        for (const auto& field : entry.second)
            names.insert(field.first);
    }
    QStringList sorted(names.begin(), names.end());
    sortPlain(sorted);
    return sorted;
}

QStringList FileNameDataSource::keys() const
{
    QStringList sorted;
    for (const auto& entry : m_metadata)
        sorted << entry.first;
    sortPlain(sorted);
    return sorted;
}

std::vector<MetadataRow> FileNameDataSource::metadataForImages(const QList<QUrl>& urls) const
{
    QStringList tableKeys;
    std::vector<const MetadataRow*> tableRows;
    for (const auto& [key, row] : m_metadata) {
        tableKeys << key;
        tableRows.push_back(&row);
    }
    const KeyMatcher matcher(tableKeys, m_matchingStyle);
    std::vector<MetadataRow> rows;
    rows.reserve(urls.size());
    for (const QUrl& url : urls) {
        MetadataRow merged;
        for (int position : matcher.matchingKeys(canonical(imageName(url))))
            mergeRow(merged, *tableRows[position]);
        rows.push_back(std::move(merged));
    }
    return rows;
}

} // namespace qb
