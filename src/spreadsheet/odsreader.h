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

// An OpenDocument spreadsheet (.ods), its tables and their cells.
std::expected<QStringList, Error> odsSheetNames(ZipArchive& archive);
std::expected<SheetTable, Error> readOdsSheet(ZipArchive& archive,
                                              const std::optional<QString>& sheetName);

// Whether the package's manifest says its parts are encrypted.
std::expected<bool, Error> odsIsEncrypted(ZipArchive& archive);

} // namespace qb
