// SPDX-License-Identifier: GPL-3.0-or-later
#include "spreadsheeterror.h"

#include <QFileInfo>
#include <QLocale>

namespace qb {

namespace {

const QString saveAsAdvice =
    QStringLiteral("Open it in a spreadsheet program and save it as an Excel workbook (.xlsx), "
                   "an OpenDocument spreadsheet (.ods) or CSV.");

Error spreadsheetError(const QString& path, SpreadsheetErrorCode code, const QString& reason,
                       const QString& suggestion)
{
    Error error;
    error.domain = spreadsheetErrorDomain.toString();
    error.code = static_cast<int>(code);
    error.errorDescription = QStringLiteral("The spreadsheet \u201c%1\u201d couldn\u2019t be read.")
                                 .arg(QFileInfo(path).fileName());
    error.failureReason = reason;
    error.recoverySuggestion = suggestion;
    error.userInfo.insert(QStringLiteral("path"), path);
    return error;
}

QString sizeText(qint64 bytes)
{
    return QLocale::c().formattedDataSize(bytes, 0, QLocale::DataSizeTraditionalFormat);
}

} // namespace

Error refusedFileError(const QString& path, SpreadsheetErrorCode code, const QString& what)
{
    using enum SpreadsheetErrorCode;
    switch (code) {
    case oldBinaryWorkbook:
        return spreadsheetError(path, code,
                                QStringLiteral("It is an old binary Excel workbook (.xls, Excel "
                                               "97\u20132003), which isn\u2019t read."),
                                saveAsAdvice);
    case binaryWorkbook:
        return spreadsheetError(
            path, code,
            QStringLiteral("It is a binary Excel workbook (.xlsb), which isn\u2019t read."),
            saveAsAdvice);
    case numbersDocument:
        return spreadsheetError(
            path, code, QStringLiteral("It is an Apple Numbers document, which isn\u2019t read."),
            QStringLiteral("In Numbers, choose File > Export To > Excel\u2026 or CSV\u2026 and "
                           "read the exported file."));
    case passwordProtected:
        return spreadsheetError(
            path, code,
            QStringLiteral("It is protected by a password, so its contents are encrypted."),
            QStringLiteral("Open it with its password in a spreadsheet program, save a copy "
                           "without the password as .xlsx, .ods or CSV, and read that copy."));
    default:
        return spreadsheetError(
            path, notASpreadsheet,
            (what.isEmpty() ? QString() : what + QLatin1Char(' ')) +
                QStringLiteral("It is neither an Excel workbook (.xlsx) nor an OpenDocument "
                               "spreadsheet (.ods)."),
            saveAsAdvice);
    }
}

Error damagedZipError(const QString& path, const QString& detail)
{
    return spreadsheetError(
        path, SpreadsheetErrorCode::damagedZip,
        QStringLiteral("The file is damaged: its zip container can\u2019t be read (%1).")
            .arg(detail),
        QStringLiteral("It may not have been copied or downloaded completely. Copy it again, or "
                       "open it in a spreadsheet program and save it anew."));
}

Error partTooLargeError(const QString& path, const QString& part, qint64 limit)
{
    return spreadsheetError(
        path, SpreadsheetErrorCode::partTooLarge,
        QStringLiteral("Its part \u201c%1\u201d unpacks to more than %2, far more than a sheet "
                       "of data needs; it is not read, as it may be a zip bomb.")
            .arg(part, sizeText(limit)),
        QStringLiteral("If the file is genuine, save the data in smaller sheets or as CSV."));
}

Error damagedPartError(const QString& path, const QString& part, const QString& detail)
{
    return spreadsheetError(
        path, SpreadsheetErrorCode::damagedPart,
        QStringLiteral("Its part \u201c%1\u201d is damaged: %2.").arg(part, detail),
        QStringLiteral("Open it in a spreadsheet program and save it anew."));
}

Error forbiddenXmlError(const QString& path, const QString& part)
{
    return spreadsheetError(
        path, SpreadsheetErrorCode::forbiddenXml,
        QStringLiteral("Its part \u201c%1\u201d declares a document type or entities, which no "
                       "spreadsheet program writes; it is not read, as expanding them could "
                       "exhaust the memory.")
            .arg(part),
        QStringLiteral("Open it in a spreadsheet program and save it anew."));
}

Error missingPartError(const QString& path, const QString& part)
{
    return spreadsheetError(
        path, SpreadsheetErrorCode::missingPart,
        QStringLiteral("It lacks its part \u201c%1\u201d, which every such file has.").arg(part),
        QStringLiteral("The file may be damaged or made by a program that doesn\u2019t follow the "
                       "format. Open it in a spreadsheet program and save it anew."));
}

Error unknownSheetError(const QString& path, const QString& name, const QStringList& names)
{
    QStringList quoted;
    for (const QString& each : names)
        quoted << QStringLiteral("\u201c%1\u201d").arg(each);
    Error error = spreadsheetError(
        path, SpreadsheetErrorCode::unknownSheet,
        QStringLiteral("It has no sheet named \u201c%1\u201d.").arg(name),
        QStringLiteral("Its sheets are %1.").arg(quoted.join(QStringLiteral(", "))));
    error.userInfo.insert(QStringLiteral("sheets"), names);
    return error;
}

Error tooManyCellsError(const QString& path, const QString& sheet, qint64 limit)
{
    return spreadsheetError(
        path, SpreadsheetErrorCode::tooManyCells,
        QStringLiteral("Its sheet \u201c%1\u201d spans more than %2 cells.")
            .arg(sheet, QLocale::c().toString(limit)),
        QStringLiteral("Delete the rows and columns below and beside the data, or split it "
                       "into smaller sheets."));
}

Error tooManyColumnsError(const QString& path, const QString& sheet)
{
    return spreadsheetError(
        path, SpreadsheetErrorCode::tooManyCells,
        QStringLiteral("Its sheet \u201c%1\u201d has values past column XFD, the last a sheet "
                       "has.")
            .arg(sheet),
        QStringLiteral("Open it in a spreadsheet program and save it anew."));
}

Error noSheetsError(const QString& path)
{
    return spreadsheetError(path, SpreadsheetErrorCode::noSheets,
                            QStringLiteral("It holds no sheet with a table."),
                            QStringLiteral("Open it in a spreadsheet program and check that it "
                                           "holds a sheet of data."));
}

} // namespace qb
