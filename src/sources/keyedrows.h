// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/metadatasource.h"

#include "csv/csvfileview.h"

#include <QString>
#include <QStringList>
#include <QStringView>

#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace qb {

// Rows keyed by text, a key at most once, in the order of the keys.
using MetadataTable = std::map<QString, MetadataRow>;

// The rows of a data source as its matching reads them: by position, in
// ascending order of their keys. A row is made when it is asked for, so
// that a table of millions of rows can stay in the compact form it was
// read in.
class KeyedRows {
public:
    virtual ~KeyedRows() = default;

    virtual qsizetype size() const = 0;
    virtual QStringView key(qsizetype index) const = 0;
    virtual MetadataRow row(qsizetype index) const = 0;

    bool isEmpty() const { return size() == 0; }
    // The position of `key`, compared exactly.
    std::optional<qsizetype> find(QStringView key) const;
    // Every row, made; for small tables.
    MetadataTable table() const;
};

// Rows held as they were made.
class TableRows final : public KeyedRows {
public:
    explicit TableRows(MetadataTable table);

    qsizetype size() const override { return qsizetype(m_rows.size()); }
    QStringView key(qsizetype index) const override { return m_rows[std::size_t(index)].first; }
    MetadataRow row(qsizetype index) const override { return m_rows[std::size_t(index)].second; }

private:
    std::vector<std::pair<QString, MetadataRow>> m_rows;
};

// The records of a read CSV file keyed by one of its columns, each row a
// text value per header, made from the file's own fields on demand. Where
// records share a key, the last of them stands.
class CSVRows final : public KeyedRows {
public:
    CSVRows(CSVFileView file, qsizetype keyColumn);

    qsizetype size() const override { return qsizetype(m_entries.size()); }
    QStringView key(qsizetype index) const override { return m_entries[std::size_t(index)].key; }
    MetadataRow row(qsizetype index) const override;

    // The keys that more than one record had, in the order met.
    const QStringList& duplicateKeys() const { return m_duplicateKeys; }

private:
    struct Entry {
        QStringView key; // into the file's fields, which the view keeps alive
        qsizetype record;
    };

    CSVFileView m_file;
    std::vector<Entry> m_entries;
    QStringList m_duplicateKeys;
};

} // namespace qb
