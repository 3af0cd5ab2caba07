// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "spreadsheet/sheettable.h"
#include "spreadsheet/ziparchive.h"

#include <QString>

#include <expected>
#include <memory>

namespace qb {

struct OpenedSpreadsheet {
    SpreadsheetFormat format;
    std::unique_ptr<ZipArchive> archive;
};

// Opens a spreadsheet by what its bytes are, whatever its name says. Files
// we don't read are refused with what they are and what to do instead.
std::expected<OpenedSpreadsheet, Error> openSpreadsheet(const QString& path,
                                                        const SpreadsheetLimits& limits);

} // namespace qb
