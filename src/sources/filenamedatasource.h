// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/keyedrows.h"
#include "sources/matchingstyle.h"

#include "mapping/metadatasource.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

namespace qb {

// A table of rows keyed by text, each key naming an image or a family of
// images under a matching style: by its file name, by the value of a tag the
// images carry, or, under the path style, by the file's path.
class FileNameDataSource : public MetadataSource {
public:
    using MatchingStyle = qb::MatchingStyle;

    explicit FileNameDataSource(MetadataTable metadata);

    MatchingStyle matchingStyle() const { return m_matchingStyle; }
    void setMatchingStyle(MatchingStyle style) { m_matchingStyle = style; }
    // Every row, made; for small tables.
    MetadataTable metadata() const { return m_rows->table(); }
    void setMetadata(MetadataTable metadata);
    const KeyedRows& rows() const { return *m_rows; }
    void setRows(std::shared_ptr<const KeyedRows> rows) { m_rows = std::move(rows); }
    // The row of exactly that key.
    std::optional<MetadataRow> row(const QString& key) const;
    // The keys that more than one row of the data had, in the order met;
    // the table kept the last of those rows.
    const QStringList& duplicateKeys() const { return m_duplicateKeys; }
    void setDuplicateKeys(QStringList keys) { m_duplicateKeys = std::move(keys); }

    // The folder that a relative path key starts from, the data file's.
    const QString& keyFolder() const { return m_keyFolder; }
    void setKeyFolder(QString folder) { m_keyFolder = std::move(folder); }
    // The tag whose value keys each image instead of its name; nothing for
    // the name. Setting it forgets the values read before.
    const std::optional<QString>& keyTag() const { return m_keyTag; }
    void setKeyTag(std::optional<QString> tag);
    // Adds the key tag's values as read from the images `read`; an image
    // without one matches no row. Each image is read once while the tag
    // stays, also when a window's images change.
    void addTagKeys(const QList<QUrl>& read, const QHash<QUrl, QString>& values);
    // Of `images`, those whose key tag hasn't been read since the tag was
    // set; none when the images are keyed by name or path.
    QList<QUrl> imagesToReadKeysOf(const QList<QUrl>& images) const;

    // What an image is matched by, in canonical form: its path under the
    // path style, else the key tag's value or its name. Nothing for an image
    // without a value of the key tag.
    std::optional<QString> subjectOf(const QUrl& url) const;
    // A key as it is compared: under the path style, the path it names,
    // resolved against the key folder, with . and .. taken out.
    QString comparedKey(const QString& key) const;

    bool imageMatchesKey(const QUrl& url, const QString& key) const;

    // The plain walk of the whole table, one comparison per row.
    MetadataRow metadataForImage(const QUrl& url) const override;
    QList<QUrl> imagesMatchingKey(const QString& key, const QList<QUrl>& urls) const override;
    std::map<QString, QList<QUrl>> imagesByKey(const QList<QUrl>& urls) const override;
    QStringList keyNames() const override;
    QStringList keys() const override;
    // The same answers as the plain walk, with the keys indexed once for the
    // whole list; this is what an assignment over thousands of images uses.
    std::vector<MetadataRow> metadataForImages(const QList<QUrl>& urls) const override;
    // For each image, the positions in rows() of the keys it matches, in
    // ascending order: the rows that metadataForImage merges.
    std::vector<std::vector<qsizetype>> matchingRows(const QList<QUrl>& urls) const;

protected:
    // For the subclasses, which fill the table in their own way.
    FileNameDataSource();

private:
    MatchingStyle m_matchingStyle = MatchingStyle::prefix;
    std::shared_ptr<const KeyedRows> m_rows;
    QStringList m_duplicateKeys;
    QString m_keyFolder;
    std::optional<QString> m_keyTag;
    QHash<QUrl, QString> m_tagKeys;
    QSet<QUrl> m_keysRead;
};

// A field takes its value from the first row that has something to say; a
// row never erases a value. Texts, lists and dictionaries can be empty and
// then give way; every other kind counts as filled.
void mergeRow(MetadataRow& result, const MetadataRow& row);

} // namespace qb
