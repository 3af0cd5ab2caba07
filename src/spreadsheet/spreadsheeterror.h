// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>
#include <QStringList>

namespace qb {

inline constexpr QStringView spreadsheetErrorDomain = u"qb.Spreadsheet";

// The codes of qb::Error values in spreadsheetErrorDomain.
enum class SpreadsheetErrorCode {
    notASpreadsheet = 1,
    oldBinaryWorkbook,
    binaryWorkbook,
    numbersDocument,
    passwordProtected,
    damagedZip,
    partTooLarge,
    damagedPart,
    forbiddenXml,
    missingPart,
    unknownSheet,
    tooManyCells,
    noSheets,
};

// A file whose kind we don't read. `what` says what it is instead, when
// known ("It is an OpenDocument text document."), for notASpreadsheet.
Error refusedFileError(const QString& path, SpreadsheetErrorCode code, const QString& what = {});
Error damagedZipError(const QString& path, const QString& detail);
Error partTooLargeError(const QString& path, const QString& part, qint64 limit);
Error damagedPartError(const QString& path, const QString& part, const QString& detail);
Error forbiddenXmlError(const QString& path, const QString& part);
Error missingPartError(const QString& path, const QString& part);
Error unknownSheetError(const QString& path, const QString& name, const QStringList& names);
Error tooManyCellsError(const QString& path, const QString& sheet, qint64 limit);
Error tooManyColumnsError(const QString& path, const QString& sheet);
Error noSheetsError(const QString& path);

} // namespace qb
