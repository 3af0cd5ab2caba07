// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "spreadsheet/spreadsheet.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

#include "../support/printing.h"

namespace qb::sheettest {

using Parts = QList<std::pair<QString, QByteArray>>;
using Rows = std::vector<QStringList>;

// Writes a zip of `parts`, in order, to `path`: deflated, or stored (so a
// test can find a part's bytes in the file), or encrypted with a password.
enum class Packing { deflated, stored, password };
void writeZip(const QString& path, const Parts& parts, Packing packing = Packing::deflated);

// A workbook's parts, made by hand as Excel lays them out. Each sheet is
// its name and the contents of its <sheetData>; shared strings are the
// contents of each <si>; styles, when given, the whole styles part.
struct Workbook {
    QList<std::pair<QString, QByteArray>> sheets = {};
    QList<QByteArray> sharedStrings = {};
    QByteArray styles = {};
    bool date1904 = false;
};
Parts xlsxParts(const Workbook& workbook);

// An OpenDocument spreadsheet's parts; `tables` goes inside
// <office:spreadsheet>, `manifestEntries` inside the manifest.
Parts odsParts(const QByteArray& tables, const QByteArray& manifestEntries = {});

// The header and then the rows, as one list.
Rows allRows(const SheetTable& table);

} // namespace qb::sheettest
