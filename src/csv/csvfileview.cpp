// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvfileview.h"

#include <QtGlobal>

#include <algorithm>

namespace qb {

namespace csvdetail {

namespace {

// Large enough that blocks are few, small enough that a block's growth
// never doubles much memory.
constexpr qsizetype blockSize = qsizetype(1) << 22;

} // namespace

QStringView RowStorage::field(qsizetype row, qsizetype column) const
{
    if (row < 0 || row >= rowCount() || column < 0 || column >= fieldCount)
        qFatal("CSV field (%lld, %lld) is outside the file", qint64(row), qint64(column));
    const std::size_t first = std::size_t(row * fieldCount);
    const qsizetype start = column == 0 ? 0 : ends[first + std::size_t(column) - 1];
    const QString& block = blocks[rowBlocks[std::size_t(row)]];
    return QStringView(block).sliced(rowStarts[std::size_t(row)] + start,
                                     ends[first + std::size_t(column)] - start);
}

void RowStorage::append(QStringView text, const std::vector<qsizetype>& fieldEnds)
{
    // A row too long for the block in hand starts a block of its own size.
    if (blocks.empty() || blocks.back().size() + text.size() > blocks.back().capacity()) {
        if (!blocks.empty())
            blocks.back().squeeze();
        blocks.emplace_back();
        blocks.back().reserve(std::max(blockSize, text.size()));
    }
    QString& block = blocks.back();
    rowBlocks.push_back(quint32(blocks.size() - 1));
    rowStarts.push_back(quint32(block.size()));
    block.append(text);
    for (const qsizetype end : fieldEnds)
        ends.push_back(quint32(end));
}

void RowStorage::squeeze()
{
    if (!blocks.empty())
        blocks.back().squeeze();
    rowBlocks.shrink_to_fit();
    rowStarts.shrink_to_fit();
    ends.shrink_to_fit();
}

QStringList RowStorage::row(qsizetype row) const
{
    QStringList fields;
    fields.reserve(fieldCount);
    for (qsizetype column = 0; column < fieldCount; ++column)
        fields.append(field(row, column).toString());
    return fields;
}

std::shared_ptr<const HeaderLookup> makeHeaderLookup(const QStringList& headers)
{
    auto lookup = std::make_shared<HeaderLookup>();
    lookup->reserve(headers.size());
    for (qsizetype column = 0; column < headers.size(); ++column) {
        const QString name = headers[column].normalized(QString::NormalizationForm_C);
        if (lookup->contains(name))
            return nullptr;
        lookup->insert(name, column);
    }
    return lookup;
}

std::optional<qsizetype> lookupColumn(const HeaderLookup& lookup, const QString& header)
{
    // Keys are stored composed, so a composed name is found at once.
    auto it = lookup.constFind(header);
    if (it == lookup.constEnd())
        it = lookup.constFind(header.normalized(QString::NormalizationForm_C));
    if (it == lookup.constEnd())
        return std::nullopt;
    return it.value();
}

} // namespace csvdetail

CSVRecord::CSVRecord(std::shared_ptr<const csvdetail::RowStorage> rows, qsizetype index,
                     std::shared_ptr<const csvdetail::HeaderLookup> lookup)
    : m_rows(std::move(rows))
    , m_index(index)
    , m_lookup(std::move(lookup))
{
}

QStringView CSVRecord::view(qsizetype index) const
{
    return m_rows->field(m_index, index);
}

std::optional<QString> CSVRecord::value(const QString& header) const
{
    const std::optional<qsizetype> column = csvdetail::lookupColumn(*m_lookup, header);
    if (!column)
        return std::nullopt;
    return view(*column).toString();
}

CSVRecordsView::CSVRecordsView(std::shared_ptr<const csvdetail::RowStorage> rows,
                               std::shared_ptr<const csvdetail::HeaderLookup> lookup)
    : m_rows(std::move(rows))
    , m_lookup(std::move(lookup))
{
}

CSVRecord CSVRecordsView::operator[](qsizetype index) const
{
    if (index < 0 || index >= size())
        qFatal("CSV record %lld is outside the file", qint64(index));
    return CSVRecord(m_rows, index, m_lookup);
}

CSVColumnsView::CSVColumnsView(std::shared_ptr<const csvdetail::RowStorage> rows)
    : m_rows(std::move(rows))
{
}

QStringList CSVColumnsView::operator[](qsizetype column) const
{
    if (column < 0 || column >= size())
        qFatal("CSV column %lld is outside the file", qint64(column));
    QStringList values;
    values.reserve(m_rows->rowCount());
    for (qsizetype row = 0; row < m_rows->rowCount(); ++row)
        values.append(m_rows->field(row, column).toString());
    return values;
}

CSVFileView::CSVFileView()
    : m_rows(std::make_shared<const csvdetail::RowStorage>())
    , m_lookup(std::make_shared<const csvdetail::HeaderLookup>())
{
}

CSVFileView::CSVFileView(QStringList headers, std::shared_ptr<const csvdetail::RowStorage> rows,
                         std::shared_ptr<const csvdetail::HeaderLookup> lookup)
    : m_headers(std::move(headers))
    , m_rows(std::move(rows))
    , m_lookup(std::move(lookup))
{
}

std::optional<CSVFileView> CSVFileView::fromTable(QStringList headers,
                                                  const std::vector<QStringList>& rows)
{
    auto lookup = csvdetail::makeHeaderLookup(headers);
    if (!lookup)
        return std::nullopt;
    auto storage = std::make_shared<csvdetail::RowStorage>();
    storage->fieldCount = headers.size();
    QString text;
    std::vector<qsizetype> ends;
    for (const QStringList& row : rows) {
        text.clear();
        ends.clear();
        for (const QString& field : row) {
            text += field;
            ends.push_back(text.size());
        }
        ends.resize(std::size_t(headers.size()), text.size());
        storage->append(text, ends);
    }
    storage->squeeze();
    return CSVFileView(std::move(headers), std::move(storage), std::move(lookup));
}

QList<QStringList> CSVFileView::rows() const
{
    QList<QStringList> rows;
    rows.reserve(rowCount());
    for (qsizetype index = 0; index < rowCount(); ++index)
        rows.append(row(index));
    return rows;
}

std::optional<qsizetype> CSVFileView::columnIndex(const QString& header) const
{
    return csvdetail::lookupColumn(*m_lookup, header);
}

} // namespace qb
