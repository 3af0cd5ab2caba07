// SPDX-License-Identifier: GPL-3.0-or-later
#include "xlsxreader.h"

#include "spreadsheet/spreadsheeterror.h"
#include "spreadsheet/tablebuilder.h"
#include "spreadsheet/xlsxparts.h"
#include "spreadsheet/xlsxsheet.h"
#include "spreadsheet/xmlpart.h"

namespace qb {

namespace {

std::expected<const XlsxWorkbook::Sheet*, Error>
chooseSheet(const QString& path, const XlsxWorkbook& workbook, const std::optional<QString>& name)
{
    if (workbook.sheets.isEmpty())
        return std::unexpected(noSheetsError(path));
    if (!name) {
        for (const XlsxWorkbook::Sheet& sheet : workbook.sheets) {
            if (!sheet.hidden)
                return &sheet;
        }
        return &workbook.sheets.front();
    }
    // Sheet names are unique without regard to case; the exact name first.
    for (const Qt::CaseSensitivity cs : {Qt::CaseSensitive, Qt::CaseInsensitive}) {
        for (const XlsxWorkbook::Sheet& sheet : workbook.sheets) {
            if (sheet.name.compare(*name, cs) == 0)
                return &sheet;
        }
    }
    QStringList names;
    for (const XlsxWorkbook::Sheet& sheet : workbook.sheets)
        names << sheet.name;
    return std::unexpected(unknownSheetError(path, *name, names));
}

std::expected<SheetTable, Error> readWorksheet(ZipArchive& archive, const XlsxWorkbook& workbook,
                                               const XlsxWorkbook::Sheet& sheet)
{
    std::vector<DateKind> styles;
    if (!workbook.stylesPart.isEmpty() && archive.contains(workbook.stylesPart)) {
        auto read = readXlsxStyles(archive, workbook.stylesPart);
        if (!read)
            return std::unexpected(read.error());
        styles = std::move(*read);
    }
    std::vector<QString> strings;
    if (!workbook.sharedStringsPart.isEmpty() && archive.contains(workbook.sharedStringsPart)) {
        auto read = readXlsxSharedStrings(archive, workbook.sharedStringsPart);
        if (!read)
            return std::unexpected(read.error());
        strings = std::move(*read);
    }

    if (sheet.part.isEmpty())
        return std::unexpected(missingPartError(archive.path(), sheet.name));
    auto part = XmlPart::open(archive, sheet.part);
    if (!part)
        return std::unexpected(part.error());
    TableBuilder builder(archive.path(), sheet.name, archive.limits().cells);
    const XlsxCellContext context{workbook.date1904, strings, styles};
    if (auto read = readXlsxSheetData(**part, builder, context); !read)
        return std::unexpected(read.error());
    return builder.finish();
}

} // namespace

std::expected<QStringList, Error> xlsxSheetNames(ZipArchive& archive)
{
    auto workbook = readXlsxWorkbook(archive);
    if (!workbook)
        return std::unexpected(workbook.error());
    QStringList names;
    for (const XlsxWorkbook::Sheet& sheet : workbook->sheets)
        names << sheet.name;
    return names;
}

std::expected<SheetTable, Error> readXlsxSheet(ZipArchive& archive,
                                               const std::optional<QString>& sheetName)
{
    auto workbook = readXlsxWorkbook(archive);
    if (!workbook)
        return std::unexpected(workbook.error());
    auto sheet = chooseSheet(archive.path(), *workbook, sheetName);
    if (!sheet)
        return std::unexpected(sheet.error());
    return readWorksheet(archive, *workbook, **sheet);
}

} // namespace qb
