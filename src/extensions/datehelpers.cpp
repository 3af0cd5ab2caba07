// SPDX-License-Identifier: GPL-3.0-or-later
#include "datehelpers.h"
#include "icustring.h"

#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>

#include <memory>

namespace qb {

namespace {

UDate toUDate(const QDateTime& date)
{
    return static_cast<UDate>(date.toMSecsSinceEpoch());
}

// Calendars are opened per call: the default time zone and locale may change
// between calls, and a cached calendar would keep the old ones.
int difference(const QDateTime& from, const QDateTime& to, UCalendarDateFields field)
{
    if (!from.isValid() || !to.isValid())
        return 0;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status) || !calendar)
        return 0;
    calendar->setTime(toUDate(from), status);
    const int32_t count = calendar->fieldDifference(toUDate(to), field, status);
    return U_SUCCESS(status) ? count : 0;
}

Error dateTextError(const QString& pattern, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("qb.DateText");
    error.errorDescription =
        QStringLiteral("The date pattern “%1” could not be used.").arg(pattern);
    error.failureReason = reason;
    return error;
}

} // namespace

int years(const QDateTime& from, const QDateTime& to)
{
    return difference(from, to, UCAL_YEAR);
}
int months(const QDateTime& from, const QDateTime& to)
{
    return difference(from, to, UCAL_MONTH);
}
int weeks(const QDateTime& from, const QDateTime& to)
{
    return difference(from, to, UCAL_WEEK_OF_YEAR);
}
int days(const QDateTime& from, const QDateTime& to)
{
    return difference(from, to, UCAL_DATE);
}
int hours(const QDateTime& from, const QDateTime& to)
{
    return difference(from, to, UCAL_HOUR_OF_DAY);
}
int minutes(const QDateTime& from, const QDateTime& to)
{
    return difference(from, to, UCAL_MINUTE);
}
int seconds(const QDateTime& from, const QDateTime& to)
{
    return difference(from, to, UCAL_SECOND);
}

std::expected<QString, Error> dateText(const QDateTime& date, const QString& pattern)
{
    if (!date.isValid())
        return std::unexpected(dateTextError(pattern, QStringLiteral("The date is not valid.")));
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat formatter(toIcu(pattern), icu::Locale::getDefault(), status);
    if (U_FAILURE(status))
        return std::unexpected(dateTextError(
            pattern, QStringLiteral("ICU: %1").arg(QString::fromUtf8(u_errorName(status)))));
    icu::UnicodeString text;
    formatter.format(toUDate(date), text);
    return fromIcu(text);
}

std::expected<QString, Error> currentDateText(const QString& pattern)
{
    return dateText(QDateTime::currentDateTime(), pattern);
}

} // namespace qb
