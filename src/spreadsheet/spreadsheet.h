// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <optional>
#include <vector>

namespace qb {

enum class SpreadsheetFormat { xlsx, ods };

// The format a file's name promises (.xlsx, .xlsm, .ods, in any case), or
// nothing. The bytes decide in the end: readSheet() reads what the file is.
std::optional<SpreadsheetFormat> spreadsheetFormatForPath(const QString& path);

// Whether a name is a spreadsheet's at all, one we read or one we refuse with
// advice (.xls, .xlsb, .numbers). Callers send those here, not to the CSV
// reader, so the user learns what to do instead of seeing garbled columns.
bool isSpreadsheetPath(const QString& path);

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

// The format of a file by its bytes, or why it can't be read: an old binary
// .xls, a Numbers document, a password, a damaged zip... each said plainly.
std::expected<SpreadsheetFormat, Error> spreadsheetFormatOf(const QString& path,
                                                            const SpreadsheetLimits& limits = {});

// The names of the sheets that hold tables, in the workbook's order.
std::expected<QStringList, Error> sheetNames(const QString& path,
                                             const SpreadsheetLimits& limits = {});

// One sheet as a table; without a name, the first sheet (of a workbook, the
// first that isn't hidden). Names match without regard to case when none
// matches exactly. An unknown name is an error whose userInfo "sheets"
// lists the names there are.
std::expected<SheetTable, Error> readSheet(const QString& path,
                                           const std::optional<QString>& sheetName = std::nullopt,
                                           const SpreadsheetLimits& limits = {});

} // namespace qb
