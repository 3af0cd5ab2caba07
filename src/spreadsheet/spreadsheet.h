// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "spreadsheet/sheettable.h"

#include "extensions/error.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <optional>
#include <vector>

namespace qb {

// The format a file's name promises (.xlsx, .xlsm, .ods, in any case), or
// nothing. The bytes decide in the end: readSheet() reads what the file is.
std::optional<SpreadsheetFormat> spreadsheetFormatForPath(const QString& path);

// Whether a name is a spreadsheet's at all, one we read or one we refuse with
// advice (.xls, .xlsb, .numbers). Callers send those here, not to the CSV
// reader, so the user learns what to do instead of seeing garbled columns.
bool isSpreadsheetPath(const QString& path);

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
