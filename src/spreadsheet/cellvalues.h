// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace qb {

// How a number format shows a serial date and time number.
enum class DateKind {
    none,     // as a number
    date,     // 2024-03-05
    time,     // 14:30:00, the time of day
    dateTime, // 2024-03-05T14:30:00
    duration, // 38:30:00, elapsed hours that pass 24
};

// A cell's position, counted from 0.
struct CellPosition {
    qint64 row = 0;
    qint64 column = 0;
};

// The largest sheet either format can address.
inline constexpr qint64 maxSheetColumns = 16384;
inline constexpr qint64 maxSheetRows = 1'048'576;

// The shortest text that reads back as the same double: no ".0" on whole
// numbers, and plain digits from 1e-5 up to 1e21 rather than an exponent.
QString numberText(double value);
std::optional<double> parseNumber(QStringView text);

// A serial day number (days since the workbook's epoch, the fraction the time
// of day) as ISO 8601 text of the kind given, or nothing for a number no date
// format shows (negative, or past the year 9999). The 1900 system keeps
// Excel's 29 February 1900, which Lotus 1-2-3 had and Excel kept.
std::optional<QString> serialDateText(double serial, DateKind kind, bool date1904);

// An ISO 8601 duration ("PT14H30M00S", "P1DT2H") as hours:minutes:seconds,
// seconds rounded; nothing when it isn't one.
std::optional<QString> durationText(QStringView iso);

// An ISO date or date and time with its fraction of a second rounded off,
// as a spreadsheet program shows it; other text as it is.
QString wholeSecondDateText(const QString& iso);

// "C7" for row 6, column 2, and back. References past the largest sheet
// are refused.
QString cellReference(CellPosition position);
QString columnName(qint64 column);
std::optional<CellPosition> parseCellReference(QStringView reference);

// Office Open XML writes characters XML can't hold (and a literal "_x") as
// "_xHHHH_"; this puts them back.
QString unescapeOoxmlText(QString text);

} // namespace qb
