// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "spreadsheet/sheettable.h"
#include "spreadsheet/ziparchive.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <optional>

namespace qb {

// An Office Open XML workbook (.xlsx, .xlsm), its sheets and their cells.
std::expected<QStringList, Error> xlsxSheetNames(ZipArchive& archive);
std::expected<SheetTable, Error> readXlsxSheet(ZipArchive& archive,
                                               const std::optional<QString>& sheetName);

} // namespace qb
