// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <compare>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace qb {

namespace csvdetail {

// The rows of a file. The fields of many rows sit side by side in one large
// text block, and each row keeps where it starts and where its fields end,
// which keeps a large file near the size of its UTF-16 text: no string
// object per field, nor one per row.
struct RowStorage {
    qsizetype fieldCount = 0;
    std::vector<QString> blocks;
    // Per row: its block, and where it starts in it.
    std::vector<quint32> rowBlocks;
    std::vector<quint32> rowStarts;
    // fieldCount ends per row, counted from the row's start.
    std::vector<quint32> ends;

    qsizetype rowCount() const { return static_cast<qsizetype>(rowStarts.size()); }
    QStringView field(qsizetype row, qsizetype column) const;
    QStringList row(qsizetype row) const;
    // Appends a row of `fieldEnds.size()` fields; `fieldEnds` count from
    // the start of `text`.
    void append(QStringView text, const std::vector<qsizetype>& fieldEnds);
    // Gives back what the last block holds in reserve.
    void squeeze();
};

// Header names in canonical composition, mapped to their column.
using HeaderLookup = QHash<QString, qsizetype>;

// The lookup of a header row; null when two names are the same.
std::shared_ptr<const HeaderLookup> makeHeaderLookup(const QStringList& headers);

// The column of a header name, compared under canonical equivalence.
std::optional<qsizetype> lookupColumn(const HeaderLookup& lookup, const QString& header);

// A random-access iterator over a view that answers operator[] by value.
template <typename View>
class IndexIterator {
public:
    using value_type = decltype(std::declval<const View&>()[0]);
    using difference_type = qsizetype;
    using iterator_concept = std::random_access_iterator_tag;

    IndexIterator() = default;
    IndexIterator(const View* view, qsizetype index)
        : m_view(view)
        , m_index(index)
    {
    }

    value_type operator*() const { return (*m_view)[m_index]; }
    value_type operator[](difference_type n) const { return (*m_view)[m_index + n]; }
    IndexIterator& operator++() { return *this += 1; }
    IndexIterator operator++(int) { return std::exchange(*this, *this + 1); }
    IndexIterator& operator--() { return *this -= 1; }
    IndexIterator operator--(int) { return std::exchange(*this, *this - 1); }
    IndexIterator& operator+=(difference_type n)
    {
        m_index += n;
        return *this;
    }
    IndexIterator& operator-=(difference_type n) { return *this += -n; }
    friend IndexIterator operator+(IndexIterator it, difference_type n) { return it += n; }
    friend IndexIterator operator+(difference_type n, IndexIterator it) { return it += n; }
    friend IndexIterator operator-(IndexIterator it, difference_type n) { return it -= n; }
    friend difference_type operator-(const IndexIterator& a, const IndexIterator& b)
    {
        return a.m_index - b.m_index;
    }
    friend bool operator==(const IndexIterator& a, const IndexIterator& b)
    {
        return a.m_index == b.m_index;
    }
    friend auto operator<=>(const IndexIterator& a, const IndexIterator& b)
    {
        return a.m_index <=> b.m_index;
    }

private:
    const View* m_view = nullptr;
    qsizetype m_index = 0;
};

} // namespace csvdetail

// One row of a file view: its fields by position, and by header name.
class CSVRecord {
public:
    using const_iterator = csvdetail::IndexIterator<CSVRecord>;

    qsizetype size() const { return m_rows->fieldCount; }
    bool isEmpty() const { return size() == 0; }
    // An index outside the row is a programming error and stops the process.
    QString operator[](qsizetype index) const { return view(index).toString(); }
    QStringView view(qsizetype index) const;
    // The field under that header, or nothing if no header has that name.
    std::optional<QString> value(const QString& header) const;
    QStringList row() const { return m_rows->row(m_index); }

    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size()}; }

private:
    friend class CSVRecordsView;
    CSVRecord(std::shared_ptr<const csvdetail::RowStorage> rows, qsizetype index,
              std::shared_ptr<const csvdetail::HeaderLookup> lookup);

    std::shared_ptr<const csvdetail::RowStorage> m_rows;
    qsizetype m_index;
    std::shared_ptr<const csvdetail::HeaderLookup> m_lookup;
};

// The rows of a file as records, indices from 0.
class CSVRecordsView {
public:
    using const_iterator = csvdetail::IndexIterator<CSVRecordsView>;

    qsizetype size() const { return m_rows->rowCount(); }
    bool isEmpty() const { return size() == 0; }
    qsizetype startIndex() const { return 0; }
    qsizetype endIndex() const { return size(); }
    CSVRecord operator[](qsizetype index) const;

    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size()}; }

private:
    friend class CSVFileView;
    CSVRecordsView(std::shared_ptr<const csvdetail::RowStorage> rows,
                   std::shared_ptr<const csvdetail::HeaderLookup> lookup);

    std::shared_ptr<const csvdetail::RowStorage> m_rows;
    std::shared_ptr<const csvdetail::HeaderLookup> m_lookup;
};

// The same data by column: each element holds one value per row.
class CSVColumnsView {
public:
    using const_iterator = csvdetail::IndexIterator<CSVColumnsView>;

    qsizetype size() const { return m_rows->fieldCount; }
    bool isEmpty() const { return size() == 0; }
    QStringList operator[](qsizetype column) const;

    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size()}; }

private:
    friend class CSVFileView;
    explicit CSVColumnsView(std::shared_ptr<const csvdetail::RowStorage> rows);

    std::shared_ptr<const csvdetail::RowStorage> m_rows;
};

// A whole input, read: the header row and the data rows. An immutable value,
// cheap to copy and safe to share between threads.
class CSVFileView {
public:
    using RecordsView = CSVRecordsView;
    using ColumnsView = CSVColumnsView;

    CSVFileView();
    CSVFileView(QStringList headers, std::shared_ptr<const csvdetail::RowStorage> rows,
                std::shared_ptr<const csvdetail::HeaderLookup> lookup);
    // A table read elsewhere, such as a spreadsheet's sheet, held the same
    // way; each row is as wide as the headers. Nothing when two headers are
    // the same, which reading a CSV file refuses too.
    static std::optional<CSVFileView> fromTable(QStringList headers,
                                                const std::vector<QStringList>& rows);

    const QStringList& headers() const { return m_headers; }
    qsizetype rowCount() const { return m_rows->rowCount(); }
    QStringList row(qsizetype index) const { return m_rows->row(index); }
    // Every row as a list; copies all fields, so meant for small files.
    QList<QStringList> rows() const;
    RecordsView records() const { return {m_rows, m_lookup}; }
    ColumnsView columns() const { return ColumnsView(m_rows); }
    std::optional<qsizetype> columnIndex(const QString& header) const;

private:
    QStringList m_headers;
    std::shared_ptr<const csvdetail::RowStorage> m_rows;
    std::shared_ptr<const csvdetail::HeaderLookup> m_lookup;
};

} // namespace qb
