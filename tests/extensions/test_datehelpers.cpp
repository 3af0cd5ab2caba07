// SPDX-License-Identifier: GPL-3.0-or-later
#include "extensions/datehelpers.h"

#include <unicode/timezone.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>
#include <string>

namespace {

// Points TZ at a zone for one test and lets ICU pick it up as a fresh
// process would, then puts everything back.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone)
        : m_previousIcu(icu::TimeZone::createDefault())
    {
        if (const char* previous = std::getenv("TZ"))
            m_previousTz = previous;
        setenv("TZ", zone, 1);
        tzset();
        icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
    }
    ~ScopedTimeZone()
    {
        if (m_previousTz)
            setenv("TZ", m_previousTz->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
        icu::TimeZone::adoptDefault(m_previousIcu.release());
    }

private:
    std::unique_ptr<icu::TimeZone> m_previousIcu;
    std::optional<std::string> m_previousTz;
};

QDateTime utc(const char* text)
{
    return QDateTime::fromString(text, Qt::ISODate);
}

TEST(DateHelpers, AcrossAMonthEnd)
{
    ScopedTimeZone zone("UTC");
    const QDateTime from = utc("2021-01-31T10:00:00Z");
    const struct {
        const char* to;
        int years, months, weeks, days, hours;
    } cases[] = {
        {"2021-02-28T10:00:00Z", 0, 1, 4, 28, 672},  {"2021-03-01T09:00:00Z", 0, 1, 4, 28, 695},
        {"2021-03-31T09:59:59Z", 0, 1, 8, 58, 1415}, {"2022-01-31T10:00:00Z", 1, 12, 52, 365, 8760},
        {"2021-01-30T10:00:00Z", 0, 0, 0, -1, -24},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.to);
        const QDateTime to = utc(row.to);
        EXPECT_EQ(qb::years(from, to), row.years);
        EXPECT_EQ(qb::months(from, to), row.months);
        EXPECT_EQ(qb::weeks(from, to), row.weeks);
        EXPECT_EQ(qb::days(from, to), row.days);
        EXPECT_EQ(qb::hours(from, to), row.hours);
    }
    EXPECT_EQ(qb::minutes(from, utc("2021-01-31T10:01:30Z")), 1);
    EXPECT_EQ(qb::seconds(from, utc("2021-01-31T10:01:30Z")), 90);
    EXPECT_EQ(qb::years(utc("2020-02-29T00:00:00Z"), utc("2021-02-28T00:00:00Z")), 1);
    EXPECT_EQ(qb::days(from, QDateTime()), 0);
}

TEST(DateHelpers, DaysFollowTheTimeZone)
{
    // Noon to noon in Berlin across the spring change is one day of 23 hours;
    // in UTC the same instants are less than a day apart.
    const QDateTime from = utc("2021-03-27T11:00:00Z");
    const QDateTime to = utc("2021-03-28T10:00:00Z");
    {
        ScopedTimeZone zone("Europe/Berlin");
        EXPECT_EQ(qb::days(from, to), 1);
        EXPECT_EQ(qb::hours(from, to), 23);
        EXPECT_EQ(qb::dateText(to, "yyyy-MM-dd HH:mm").value(), "2021-03-28 12:00");
    }
    {
        ScopedTimeZone zone("UTC");
        EXPECT_EQ(qb::days(from, to), 0);
        EXPECT_EQ(qb::hours(from, to), 23);
        EXPECT_EQ(qb::dateText(to, "yyyy-MM-dd HH:mm").value(), "2021-03-28 10:00");
    }
}

TEST(DateHelpers, DateTextErrors)
{
    EXPECT_FALSE(qb::dateText(QDateTime(), "yyyy").has_value());
    EXPECT_TRUE(qb::currentDateText("yyyy").has_value());
}

} // namespace
