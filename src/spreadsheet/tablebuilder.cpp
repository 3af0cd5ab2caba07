// SPDX-License-Identifier: GPL-3.0-or-later
#include "tablebuilder.h"

#include "spreadsheet/spreadsheeterror.h"

#include <algorithm>

namespace qb {

namespace {

// Enough notes to show what happened; the rest are counted.
constexpr qsizetype noteLimit = 20;

QString rangeText(CellPosition first, qint64 rows, qint64 columns)
{
    const QString start = cellReference(first);
    if (rows == 1 && columns == 1)
        return start;
    return start + QLatin1Char(':') +
           cellReference({first.row + rows - 1, first.column + columns - 1});
}

} // namespace

TableBuilder::TableBuilder(QString path, QString sheetName, qint64 cellLimit)
    : m_path(std::move(path))
    , m_sheetName(std::move(sheetName))
    , m_cellLimit(cellLimit)
{
}

void TableBuilder::beginRow(qint64 row)
{
    m_row = std::max(row, m_row + 1);
    m_current.clear();
    m_current.reserve(m_width);
}

std::expected<void, Error> TableBuilder::setCells(qint64 column, const QString& value, qint64 count)
{
    if (value.isEmpty())
        return {};
    if (column < 0 || count > maxSheetColumns || column + count > maxSheetColumns)
        return std::unexpected(tooManyColumnsError(m_path, m_sheetName));
    const qsizetype end = qsizetype(column + count);
    if (m_current.size() < end)
        m_current.resize(end);
    std::fill(m_current.begin() + column, m_current.begin() + end, value);
    return {};
}

std::expected<void, Error> TableBuilder::endRow(qint64 repeat)
{
    if (m_current.isEmpty())
        return {};
    // Leading empty rows are no part of the table; empty rows between rows
    // that hold something are.
    const qint64 gap = m_keptEnd < 0 ? 0 : m_row - m_keptEnd;
    const qint64 width = std::max(m_width, m_current.size());
    const qint64 rows = qint64(m_rows.size()) + gap + repeat;
    if (repeat > m_cellLimit || rows > m_cellLimit / width)
        return std::unexpected(tooManyCellsError(m_path, m_sheetName, m_cellLimit));
    m_width = qsizetype(width);
    m_rows.resize(m_rows.size() + size_t(gap));
    for (qint64 i = 1; i < repeat; ++i)
        m_rows.push_back(m_current); // shared, until the padding below
    m_rows.push_back(std::move(m_current));
    m_current = {};
    m_keptEnd = m_row + repeat;
    return {};
}

void TableBuilder::note(QString text)
{
    if (m_notes.size() < noteLimit)
        m_notes << std::move(text);
    else
        ++m_notesLeftOut;
}

void TableBuilder::noteError(CellPosition first, qint64 rows, qint64 columns, const QString& error)
{
    if (rows == 1 && columns == 1) {
        note(QStringLiteral("Cell %1 holds the error %2; it reads as empty.")
                 .arg(cellReference(first), error));
    } else {
        note(QStringLiteral("Cells %1 hold the error %2; they read as empty.")
                 .arg(rangeText(first, rows, columns), error));
    }
}

void TableBuilder::noteUnsavedFormula(CellPosition cell)
{
    note(QStringLiteral("Cell %1 holds a formula whose result wasn\u2019t saved with the file; it "
                        "reads as empty. Open and save the file in a spreadsheet program to "
                        "save the results.")
             .arg(cellReference(cell)));
}

SheetTable TableBuilder::finish()
{
    SheetTable table;
    table.sheetName = m_sheetName;
    // Padded without undoing the sharing of repeated rows: a row repeated a
    // million times stays one list.
    const QStringList emptyRow(m_width);
    const QString* shared = nullptr;
    for (size_t i = 0; i < m_rows.size(); ++i) {
        QStringList& row = m_rows[i];
        if (row.isEmpty()) {
            row = emptyRow;
        } else if (i > 0 && row.constData() == shared) {
            row = m_rows[i - 1];
        } else {
            shared = row.constData();
            row.resize(m_width);
        }
    }
    if (!m_rows.empty()) {
        table.headers = std::move(m_rows.front());
        m_rows.erase(m_rows.begin());
        table.rows = std::move(m_rows);
    }
    table.notes = std::move(m_notes);
    if (m_notesLeftOut > 0) {
        table.notes << QStringLiteral("%1 more cells read as empty for the same reasons.")
                           .arg(m_notesLeftOut);
    }
    return table;
}

} // namespace qb
