// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyedrows.h"

#include <algorithm>

namespace qb {

std::optional<qsizetype> KeyedRows::find(QStringView key) const
{
    qsizetype low = 0;
    qsizetype high = size();
    while (low < high) {
        const qsizetype middle = low + (high - low) / 2;
        if (this->key(middle) < key)
            low = middle + 1;
        else
            high = middle;
    }
    if (low < size() && this->key(low) == key)
        return low;
    return std::nullopt;
}

MetadataTable KeyedRows::table() const
{
    MetadataTable table;
    for (qsizetype i = 0; i < size(); ++i)
        table.emplace_hint(table.end(), key(i).toString(), row(i));
    return table;
}

TableRows::TableRows(MetadataTable table)
{
    m_rows.reserve(table.size());
    for (auto it = table.begin(); it != table.end();) {
        auto node = table.extract(it++);
        m_rows.emplace_back(std::move(node.key()), std::move(node.mapped()));
    }
}

CSVRows::CSVRows(CSVFileView file, qsizetype keyColumn)
    : m_file(std::move(file))
{
    const CSVRecordsView records = m_file.records();
    m_entries.reserve(std::size_t(records.size()));
    for (qsizetype record = 0; record < records.size(); ++record) {
        const CSVRecord fields = records[record];
        if (!fields.isEmpty())
            m_entries.push_back({fields.view(keyColumn), record});
    }
    // By key, and among equal keys by record, so the last record of a key
    // ends its run and is the one kept.
    std::sort(m_entries.begin(), m_entries.end(), [](const Entry& a, const Entry& b) {
        return a.key != b.key ? a.key < b.key : a.record < b.record;
    });
    std::vector<std::pair<qsizetype, QStringView>> duplicates; // second record, key
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (kept > 0 && m_entries[kept - 1].key == m_entries[i].key) {
            // The first repeat of a key is its second record.
            if (duplicates.empty() || duplicates.back().second != m_entries[i].key)
                duplicates.emplace_back(m_entries[i].record, m_entries[i].key);
            m_entries[kept - 1] = m_entries[i];
            continue;
        }
        m_entries[kept++] = m_entries[i];
    }
    m_entries.resize(kept);
    m_entries.shrink_to_fit();
    // Told in the order the second record of each key was met.
    std::sort(duplicates.begin(), duplicates.end());
    for (const auto& [record, key] : duplicates)
        m_duplicateKeys << key.toString();
}

MetadataRow CSVRows::row(qsizetype index) const
{
    const CSVRecord record = m_file.records()[m_entries[std::size_t(index)].record];
    const QStringList& headers = m_file.headers();
    MetadataRow row;
    for (qsizetype column = 0; column < headers.size(); ++column)
        row.insert_or_assign(headers[column], DynamicValue(record.view(column).toString()));
    return row;
}

} // namespace qb
