// SPDX-License-Identifier: GPL-3.0-or-later
#include "filenamedatasource.h"

#include "mapping/imageprovider.h"
#include "sources/keymatcher.h"

#include "extensions/plainorder.h"

#include <QDir>

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

FileNameDataSource::FileNameDataSource()
    : m_rows(std::make_shared<TableRows>(MetadataTable()))
{
}

FileNameDataSource::FileNameDataSource(MetadataTable metadata)
    : m_rows(std::make_shared<TableRows>(std::move(metadata)))
{
}

void FileNameDataSource::setMetadata(MetadataTable metadata)
{
    m_rows = std::make_shared<TableRows>(std::move(metadata));
}

std::optional<MetadataRow> FileNameDataSource::row(const QString& key) const
{
    if (const auto index = m_rows->find(key))
        return m_rows->row(*index);
    return std::nullopt;
}

void FileNameDataSource::setKeyTag(std::optional<QString> tag)
{
    m_keyTag = std::move(tag);
    m_tagKeys.clear();
    m_keysRead.clear();
}

void FileNameDataSource::addTagKeys(const QList<QUrl>& read, const QHash<QUrl, QString>& values)
{
    for (const QUrl& url : read) {
        m_keysRead.insert(url);
        m_tagKeys.remove(url);
    }
    m_tagKeys.insert(values);
}

QList<QUrl> FileNameDataSource::imagesToReadKeysOf(const QList<QUrl>& images) const
{
    QList<QUrl> unread;
    if (!m_keyTag || m_matchingStyle == MatchingStyle::path)
        return unread;
    QSet<QUrl> seen;
    for (const QUrl& url : images) {
        if (!m_keysRead.contains(url) && !seen.contains(url)) {
            seen.insert(url);
            unread << url;
        }
    }
    return unread;
}

std::optional<QString> FileNameDataSource::subjectOf(const QUrl& url) const
{
    if (m_matchingStyle == MatchingStyle::path)
        return canonical(QDir::cleanPath(url.toLocalFile()));
    if (!m_keyTag)
        return canonical(imageName(url));
    const auto it = m_tagKeys.constFind(url);
    if (it == m_tagKeys.cend())
        return std::nullopt;
    return canonical(*it);
}

QString FileNameDataSource::comparedKey(const QString& key) const
{
    if (m_matchingStyle != MatchingStyle::path)
        return key;
    const QString path = QDir::isAbsolutePath(key) || m_keyFolder.isEmpty()
                             ? key
                             : m_keyFolder + QLatin1Char('/') + key;
    return canonical(QDir::cleanPath(path));
}

bool FileNameDataSource::imageMatchesKey(const QUrl& url, const QString& key) const
{
    const std::optional<QString> subject = subjectOf(url);
    return subject && nameMatchesKey(*subject, comparedKey(key), m_matchingStyle);
}

MetadataRow FileNameDataSource::metadataForImage(const QUrl& url) const
{
    MetadataRow result;
    const std::optional<QString> subject = subjectOf(url);
    if (!subject)
        return result;
    for (qsizetype i = 0; i < m_rows->size(); ++i) {
        if (nameMatchesKey(*subject, comparedKey(m_rows->key(i).toString()), m_matchingStyle))
            mergeRow(result, m_rows->row(i));
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
    for (qsizetype i = 0; i < m_rows->size(); ++i)
        result.emplace_hint(result.end(), m_rows->key(i).toString(), QList<QUrl>());
    const std::vector<std::vector<qsizetype>> matching = matchingRows(urls);
    for (qsizetype image = 0; image < urls.size(); ++image) {
        for (const qsizetype position : matching[std::size_t(image)])
            result[m_rows->key(position).toString()] << urls[image];
    }
    return result;
}

QStringList FileNameDataSource::keyNames() const
{
    std::set<QString> names;
    for (qsizetype i = 0; i < m_rows->size(); ++i) {
        for (const auto& field : m_rows->row(i))
            names.insert(field.first);
    }
    QStringList sorted(names.begin(), names.end());
    sortPlain(sorted);
    return sorted;
}

QStringList FileNameDataSource::keys() const
{
    QStringList sorted;
    sorted.reserve(m_rows->size());
    for (qsizetype i = 0; i < m_rows->size(); ++i)
        sorted << m_rows->key(i).toString();
    sortPlain(sorted);
    return sorted;
}

std::vector<std::vector<qsizetype>> FileNameDataSource::matchingRows(const QList<QUrl>& urls) const
{
    std::vector<std::vector<qsizetype>> matching(std::size_t(urls.size()));
    std::vector<std::optional<QString>> subjects;
    subjects.reserve(std::size_t(urls.size()));
    for (const QUrl& url : urls)
        subjects.push_back(subjectOf(url));
    // A handful of images against a large table: one pass over the keys
    // costs less than indexing them. Patterns are compiled once each by
    // the index, so they always take it.
    constexpr qsizetype fewImages = 8;
    if (urls.size() <= fewImages && m_matchingStyle != MatchingStyle::regex) {
        for (qsizetype i = 0; i < m_rows->size(); ++i) {
            const QString key = comparedKey(m_rows->key(i).toString());
            for (std::size_t image = 0; image < subjects.size(); ++image) {
                if (subjects[image] && nameMatchesKey(*subjects[image], key, m_matchingStyle))
                    matching[image].push_back(i);
            }
        }
        return matching;
    }
    QStringList tableKeys;
    tableKeys.reserve(m_rows->size());
    for (qsizetype i = 0; i < m_rows->size(); ++i)
        tableKeys << comparedKey(m_rows->key(i).toString());
    const KeyMatcher matcher(tableKeys, m_matchingStyle);
    for (std::size_t image = 0; image < subjects.size(); ++image) {
        if (!subjects[image])
            continue;
        for (const int position : matcher.matchingKeys(*subjects[image]))
            matching[image].push_back(position);
    }
    return matching;
}

std::vector<MetadataRow> FileNameDataSource::metadataForImages(const QList<QUrl>& urls) const
{
    std::vector<MetadataRow> rows;
    rows.reserve(urls.size());
    for (const std::vector<qsizetype>& positions : matchingRows(urls)) {
        MetadataRow merged;
        for (const qsizetype position : positions)
            mergeRow(merged, m_rows->row(position));
        rows.push_back(std::move(merged));
    }
    return rows;
}

} // namespace qb
