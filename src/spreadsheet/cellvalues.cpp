// SPDX-License-Identifier: GPL-3.0-or-later
#include "cellvalues.h"

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QTime>

#include <charconv>
#include <cmath>

namespace qb {

namespace {

constexpr qint64 secondsPerDay = 86400;

// Written by hand: a large sheet has a date in every row, and this is many
// times faster than QDate and QString::arg.
void putDigits(char* at, qint64 value, int count)
{
    for (int i = count - 1; i >= 0; --i, value /= 10)
        at[i] = char('0' + value % 10);
}

QString clockText(qint64 hours, qint64 seconds)
{
    char text[32];
    const int hourDigits = hours >= 100 ? int(QByteArray::number(hours).size()) : 2;
    putDigits(text, hours, hourDigits);
    text[hourDigits] = ':';
    putDigits(text + hourDigits + 1, seconds / 60 % 60, 2);
    text[hourDigits + 3] = ':';
    putDigits(text + hourDigits + 4, seconds % 60, 2);
    return QString::fromLatin1(text, hourDigits + 6);
}

// Year, month and day of a day counted from 1 January 1970, by the
// proleptic Gregorian calendar (Howard Hinnant's civil_from_days).
void civilFromDays(qint64 z, qint64& year, int& month, int& day)
{
    z += 719468;
    const qint64 era = (z >= 0 ? z : z - 146096) / 146097;
    const qint64 dayOfEra = z - era * 146097;
    const qint64 yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const qint64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const qint64 shifted = (5 * dayOfYear + 2) / 153;
    day = int(dayOfYear - (153 * shifted + 2) / 5 + 1);
    month = int(shifted < 10 ? shifted + 3 : shifted - 9);
    year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
}

// Day 1 of the 1900 system is 1 January 1900, and day 60 is the 29 February
// that year never had: from day 61 on, the days count from 30 December 1899.
std::optional<QString> dayText(qint64 days, bool date1904)
{
    if (!date1904 && days == 60)
        return QStringLiteral("1900-02-29");
    if (!date1904 && days == 0)
        return std::nullopt; // "1900-01-00" to Excel, no date at all
    // 1 January 1904, 31 and 30 December 1899, in days from 1970.
    const qint64 epoch = date1904 ? -24107 : days < 60 ? -25568 : -25569;
    qint64 year = 0;
    int month = 0;
    int day = 0;
    civilFromDays(epoch + days, year, month, day);
    if (year > 9999)
        return std::nullopt;
    char text[10];
    putDigits(text, year, 4);
    text[4] = '-';
    putDigits(text + 5, month, 2);
    text[7] = '-';
    putDigits(text + 8, day, 2);
    return QString::fromLatin1(text, 10);
}

// The value of hexadecimal digits, or nothing.
std::optional<int> hexValue(QStringView text)
{
    int value = 0;
    for (QChar c : text) {
        const int digit = c.isDigit()                ? c.unicode() - '0'
                          : (c >= u'A' && c <= u'F') ? c.unicode() - 'A' + 10
                          : (c >= u'a' && c <= u'f') ? c.unicode() - 'a' + 10
                                                     : -1;
        if (digit < 0)
            return std::nullopt;
        value = value * 16 + digit;
    }
    return value;
}

} // namespace

QString numberText(double value)
{
    if (value == 0 || !std::isfinite(value))
        return value == 0 ? QStringLiteral("0") : QString::number(value);
    const double magnitude = std::fabs(value);
    const auto format = magnitude >= 1e-5 && magnitude < 1e21 ? std::chars_format::fixed
                                                              : std::chars_format::scientific;
    char buffer[64];
    const auto [end, error] = std::to_chars(std::begin(buffer), std::end(buffer), value, format);
    if (error != std::errc())
        return QString::number(value, 'g', 17);
    return QString::fromLatin1(buffer, end - buffer);
}

std::optional<double> parseNumber(QStringView text)
{
    char buffer[64];
    if (text.isEmpty() || text.size() >= qsizetype(sizeof buffer))
        return std::nullopt;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].unicode() > 127)
            return std::nullopt;
        buffer[i] = static_cast<char>(text[i].unicode());
    }
    double value = 0;
    const char* end = buffer + text.size();
    const auto [stop, error] = std::from_chars(buffer, end, value);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

std::optional<QString> serialDateText(double serial, DateKind kind, bool date1904)
{
    if (kind == DateKind::none || !std::isfinite(serial) || serial < 0 || serial > 3e6)
        return std::nullopt;
    // Shown to the second, the way the cell's format rounds it.
    const qint64 total = std::llround(serial * secondsPerDay);
    const qint64 days = total / secondsPerDay;
    const qint64 seconds = total % secondsPerDay;
    const QString clock = clockText(seconds / 3600, seconds);
    switch (kind) {
    case DateKind::time:
        return clock;
    case DateKind::duration:
        return clockText(total / 3600, total);
    case DateKind::date:
        return dayText(days, date1904);
    case DateKind::dateTime:
        // Day 0 of the 1900 system is no date; a date-and-time format over it
        // holds a time the user typed without one.
        if (days == 0 && !date1904)
            return clock;
        if (const auto day = dayText(days, date1904))
            return *day + QLatin1Char('T') + clock;
        return std::nullopt;
    case DateKind::none:
        break;
    }
    return std::nullopt;
}

std::optional<QString> durationText(QStringView iso)
{
    bool negative = false;
    if (iso.startsWith(u'-')) {
        negative = true;
        iso = iso.sliced(1);
    }
    if (!iso.startsWith(u'P'))
        return std::nullopt;
    double seconds = 0;
    bool inTime = false;
    bool any = false;
    qsizetype start = 1;
    for (qsizetype i = 1; i < iso.size(); ++i) {
        const QChar c = iso[i];
        if (c == u'T' && !inTime && start == i) {
            inTime = true;
            start = i + 1;
            continue;
        }
        if (c.isDigit() || c == u'.')
            continue;
        const auto amount = parseNumber(iso.sliced(start, i - start));
        if (!amount)
            return std::nullopt;
        const double unit = !inTime && c == u'D'  ? secondsPerDay
                            : inTime && c == u'H' ? 3600
                            : inTime && c == u'M' ? 60
                            : inTime && c == u'S' ? 1
                                                  : 0;
        if (unit == 0)
            return std::nullopt;
        seconds += *amount * unit;
        any = true;
        start = i + 1;
    }
    if (!any || start != iso.size() || seconds > 1e12)
        return std::nullopt;
    const qint64 total = std::llround(seconds);
    return (negative && total > 0 ? QStringLiteral("-") : QString()) +
           clockText(total / 3600, total);
}

QString wholeSecondDateText(const QString& iso)
{
    const qsizetype split = iso.indexOf(QLatin1Char('T'));
    const qsizetype dot = iso.indexOf(QLatin1Char('.'), split);
    if (split < 0 || dot < 0)
        return iso;
    const QDate date = QDate::fromString(iso.left(split), Qt::ISODate);
    const QTime time = QTime::fromString(iso.sliced(split + 1, dot - split - 1), Qt::ISODate);
    const auto fraction = parseNumber(QStringView(iso).sliced(dot));
    if (!date.isValid() || !time.isValid() || !fraction)
        return iso;
    // In UTC, where every day has each of its seconds: the text is a wall
    // clock's, with no zone of its own.
    const QDateTime moment(date, time, Qt::UTC);
    return moment.addSecs(*fraction >= 0.5 ? 1 : 0).toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"));
}

QString columnName(qint64 column)
{
    QString name;
    for (qint64 rest = column + 1; rest > 0; rest = (rest - 1) / 26)
        name.prepend(QChar(char16_t(u'A' + (rest - 1) % 26)));
    return name;
}

QString cellReference(CellPosition position)
{
    return columnName(position.column) + QString::number(position.row + 1);
}

std::optional<CellPosition> parseCellReference(QStringView reference)
{
    qint64 column = 0;
    qsizetype i = 0;
    for (; i < reference.size() && reference[i].isLetter() && i < 4; ++i) {
        const char16_t letter = reference[i].toUpper().unicode();
        if (letter < u'A' || letter > u'Z')
            return std::nullopt;
        column = column * 26 + (letter - u'A' + 1);
    }
    qint64 row = 0;
    const qsizetype digits = i;
    for (; i < reference.size() && i - digits < 8; ++i) {
        if (!reference[i].isDigit())
            return std::nullopt;
        row = row * 10 + reference[i].digitValue();
    }
    if (digits == 0 || i == digits || i != reference.size() || column > maxSheetColumns ||
        row < 1 || row > maxSheetRows)
        return std::nullopt;
    return CellPosition{row - 1, column - 1};
}

QString unescapeOoxmlText(QString text)
{
    qsizetype at = text.indexOf(QLatin1String("_x"));
    while (at >= 0) {
        if (at + 7 <= text.size() && text[at + 6] == u'_') {
            if (const auto code = hexValue(QStringView(text).sliced(at + 2, 4))) {
                text.replace(at, 7, QChar(char16_t(*code)));
                at = text.indexOf(QLatin1String("_x"), at + 1);
                continue;
            }
        }
        at = text.indexOf(QLatin1String("_x"), at + 2);
    }
    return text;
}

} // namespace qb
