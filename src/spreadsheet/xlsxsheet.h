// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "spreadsheet/cellvalues.h"
#include "spreadsheet/tablebuilder.h"
#include "spreadsheet/xmlpart.h"

#include <QString>

#include <expected>
#include <vector>

namespace qb {

// What the workbook says about reading its cells.
struct XlsxCellContext {
    bool date1904 = false;
    const std::vector<QString>& sharedStrings;
    const std::vector<DateKind>& styles; // by the cells' "s"
};

// Reads the <sheetData> of a worksheet part, opened at its root, into
// `builder`. One thread reads the XML while the calling thread works out
// the values: on a sheet of millions of cells the XML alone takes most of
// the time, so the values come nearly free on a second core.
std::expected<void, Error> readXlsxSheetData(XmlPart& part, TableBuilder& builder,
                                             const XlsxCellContext& context);

} // namespace qb
