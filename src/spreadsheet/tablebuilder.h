// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "spreadsheet/cellvalues.h"
#include "spreadsheet/sheettable.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <vector>

namespace qb {

// Puts a sheet's cells, as they come row by row, into a table. Only rows
// and cells that hold something cost memory: an empty row repeated a
// million times, or empty cells to the sheet's last column, cost nothing.
class TableBuilder {
public:
    TableBuilder(QString path, QString sheetName, qint64 cellLimit);

    // Starts the row at `row` (from 0); a row that doesn't come after the
    // last is taken as the next.
    void beginRow(qint64 row);
    // `value` in `count` cells from `column` of the current row; an empty
    // value only moves on.
    std::expected<void, Error> setCells(qint64 column, const QString& value, qint64 count = 1);
    // Ends the current row, as `repeat` rows alike.
    std::expected<void, Error> endRow(qint64 repeat = 1);

    // Notes that cells from `first`, `rows` by `columns` of them, held an
    // error (such as "#N/A") and read as empty.
    void noteError(CellPosition first, qint64 rows, qint64 columns, const QString& error);
    // Notes that a cell's formula has no saved result and reads as empty.
    void noteUnsavedFormula(CellPosition cell);

    qint64 currentRow() const { return m_row; }
    const QString& path() const { return m_path; }
    SheetTable finish();

private:
    void note(QString text);

    QString m_path;
    QString m_sheetName;
    qint64 m_cellLimit;
    std::vector<QStringList> m_rows;
    QStringList m_current;
    qint64 m_row = -1;
    // The sheet row just past the last row kept; -1 before the first.
    qint64 m_keptEnd = -1;
    qsizetype m_width = 0;
    QStringList m_notes;
    qint64 m_notesLeftOut = 0;
};

} // namespace qb
