// SPDX-License-Identifier: GPL-3.0-or-later
#include "spreadsheet.h"

#include "spreadsheet/odsreader.h"
#include "spreadsheet/spreadsheetfile.h"
#include "spreadsheet/xlsxreader.h"

#include <QFileInfo>

#include <array>

using namespace Qt::StringLiterals;

namespace qb {

namespace {

struct Extension {
    QStringView suffix;
    std::optional<SpreadsheetFormat> format; // nothing: refused, with advice
};

constexpr std::array<Extension, 10> extensions{{
    {u"xlsx", SpreadsheetFormat::xlsx},
    {u"xlsm", SpreadsheetFormat::xlsx},
    {u"xltx", SpreadsheetFormat::xlsx},
    {u"xltm", SpreadsheetFormat::xlsx},
    {u"ods", SpreadsheetFormat::ods},
    {u"ots", SpreadsheetFormat::ods},
    {u"xls", std::nullopt},
    {u"xlt", std::nullopt},
    {u"xlsb", std::nullopt},
    {u"numbers", std::nullopt},
}};

const Extension* extensionOf(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix();
    for (const Extension& extension : extensions) {
        if (suffix.compare(extension.suffix, Qt::CaseInsensitive) == 0)
            return &extension;
    }
    return nullptr;
}

} // namespace

std::optional<SpreadsheetFormat> spreadsheetFormatForPath(const QString& path)
{
    const Extension* extension = extensionOf(path);
    return extension ? extension->format : std::nullopt;
}

bool isSpreadsheetPath(const QString& path)
{
    return extensionOf(path) != nullptr;
}

std::expected<SpreadsheetFormat, Error> spreadsheetFormatOf(const QString& path,
                                                            const SpreadsheetLimits& limits)
{
    auto opened = openSpreadsheet(path, limits);
    if (!opened)
        return std::unexpected(opened.error());
    return opened->format;
}

std::expected<QStringList, Error> sheetNames(const QString& path, const SpreadsheetLimits& limits)
{
    auto opened = openSpreadsheet(path, limits);
    if (!opened)
        return std::unexpected(opened.error());
    if (opened->format == SpreadsheetFormat::ods)
        return odsSheetNames(*opened->archive);
    return xlsxSheetNames(*opened->archive);
}

std::expected<SheetTable, Error> readSheet(const QString& path,
                                           const std::optional<QString>& sheetName,
                                           const SpreadsheetLimits& limits)
{
    auto opened = openSpreadsheet(path, limits);
    if (!opened)
        return std::unexpected(opened.error());
    if (opened->format == SpreadsheetFormat::ods)
        return readOdsSheet(*opened->archive, sheetName);
    return readXlsxSheet(*opened->archive, sheetName);
}

} // namespace qb
