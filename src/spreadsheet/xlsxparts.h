// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "spreadsheet/cellvalues.h"
#include "spreadsheet/ziparchive.h"

#include <QList>
#include <QString>
#include <QXmlStreamReader>

#include <expected>
#include <optional>
#include <vector>

namespace qb {

// The parts of an Office Open XML workbook that say how to read its sheets.
// Parts are found through the package's relationships, never by guessing
// file names: programs other than Excel name them as they like.
struct XlsxWorkbook {
    struct Sheet {
        QString name;
        QString part; // empty when the workbook names no part for it
        bool hidden = false;
    };

    QString part;
    bool date1904 = false;
    QList<Sheet> sheets; // worksheets only, in the workbook's order
    QString sharedStringsPart;
    QString stylesPart;
};

// The part the package's relationships name as its main document, such as
// "xl/workbook.xml"; nothing when it names none.
std::expected<std::optional<QString>, Error> xlsxMainPart(ZipArchive& archive);

std::expected<XlsxWorkbook, Error> readXlsxWorkbook(ZipArchive& archive);

// How each cell style (the cell's "s") shows numbers.
std::expected<std::vector<DateKind>, Error> readXlsxStyles(ZipArchive& archive,
                                                           const QString& part);

std::expected<std::vector<QString>, Error> readXlsxSharedStrings(ZipArchive& archive,
                                                                 const QString& part);

// The text of a shared or inline string (<si>, <is>), the current element:
// its plain text or its rich text runs, without the phonetic guides, still
// escaped as unescapeOoxmlText() undoes.
QString xlsxStringItem(QXmlStreamReader& xml);

// `target` of a relationship of `sourcePart`, as a part name.
QString resolveXlsxTarget(const QString& sourcePart, const QString& target);

} // namespace qb
