// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <vector>

// The values the spreadsheet readers share with their callers.
namespace qb {

enum class SpreadsheetFormat { xlsx, ods };

// Bounds that keep a hostile or broken file from costing more than a real
// sheet would. The defaults are far above what a studio's data needs.
struct SpreadsheetLimits {
    // Uncompressed bytes of any one part of the zip container.
    qint64 partBytes = qint64{512} * 1024 * 1024;
    // Bytes between two '<' of a part: one text or tag this long is no cell
    // (a cell holds at most 32,767 characters), and the XML reader would
    // hold it whole.
    qint64 runBytes = qint64{8} * 1024 * 1024;
    // Cells of the table read, the empty ones within it included.
    qint64 cells = 16'000'000;
};

// A sheet read as the spreadsheet program shows it: every value is text.
struct SheetTable {
    QString sheetName;
    // The first row that holds anything; as wide as the widest row.
    QStringList headers;
    // The rows below it, each exactly as wide as `headers`. Trailing empty
    // rows and columns are left out; empty rows in between are kept.
    std::vector<QStringList> rows;
    // What the user should know about cells that didn't read as shown, such
    // as "Cell C7 holds the error #N/A; it reads as empty."
    QStringList notes;
};

} // namespace qb
