// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QDateTime>
#include <QString>

#include <expected>

namespace qb {

// Whole calendar units from `from` to `to`, by the current calendar (the
// default locale's, in the default time zone, so LANG and TZ steer them).
// Each counts its unit alone: months() of a year and a half is 18. Negative
// when `to` is earlier; 0 when either date is invalid.
int years(const QDateTime& from, const QDateTime& to);
int months(const QDateTime& from, const QDateTime& to);
int weeks(const QDateTime& from, const QDateTime& to);
int days(const QDateTime& from, const QDateTime& to);
int hours(const QDateTime& from, const QDateTime& to);
int minutes(const QDateTime& from, const QDateTime& to);
int seconds(const QDateTime& from, const QDateTime& to);

// `date` as text through a Unicode date pattern (such as "yyyy-MM-dd HH:mm"),
// in the default locale and time zone.
std::expected<QString, Error> dateText(const QDateTime& date, const QString& pattern);
std::expected<QString, Error> currentDateText(const QString& pattern);

} // namespace qb
