// SPDX-License-Identifier: GPL-3.0-or-later
#include "spreadsheet/cellvalues.h"
#include "spreadsheet/numberformats.h"

#include <gtest/gtest.h>

#include <optional>

#include "../support/printing.h"

using namespace Qt::StringLiterals;

namespace qb {
namespace {

using enum DateKind;

TEST(CellValues, NumbersReadAsTheShortestTextThatReadsBack)
{
    const struct {
        double value;
        const char* text;
    } cases[] = {
        {0, "0"},
        {-0.0, "0"},
        {42, "42"},
        {-3, "-3"},
        {1000000, "1000000"}, // not "1e+06"
        {123456789012, "123456789012"},
        {1e20, "100000000000000000000"},
        {1e21, "1e+21"},
        {0.1, "0.1"},
        {0.1 + 0.2, "0.30000000000000004"},
        {1.0 / 3, "0.3333333333333333"},
        {2.5e-5, "0.000025"},
        {1.5e-7, "1.5e-07"},
        {-0.5, "-0.5"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.text);
        const QString text = numberText(row.value);
        EXPECT_EQ(text, QString::fromLatin1(row.text));
        EXPECT_EQ(parseNumber(text), row.value == 0 ? 0 : row.value);
    }
    EXPECT_EQ(parseNumber(u"1.157407407407407e-05"), 1.157407407407407e-05);
    for (const char16_t* bad : {u"", u"12a", u" 1", u"١٢"})
        EXPECT_EQ(parseNumber(bad), std::nullopt) << QString::fromUtf16(bad).toStdString();
}

TEST(CellValues, SerialNumbersReadAsIsoDatesAndTimes)
{
    const struct {
        double serial;
        DateKind kind;
        bool date1904;
        std::optional<QString> text;
    } cases[] = {
        {1, date, false, u"1900-01-01"_s},
        {59, date, false, u"1900-02-28"_s},
        {60, date, false, u"1900-02-29"_s}, // Excel's day that never was
        {61, date, false, u"1900-03-01"_s},
        {45356, date, false, u"2024-03-05"_s},
        {45356.99, date, false, u"2024-03-05"_s},
        {2958465, date, false, u"9999-12-31"_s},
        {2958466, date, false, std::nullopt},
        {-1, date, false, std::nullopt},
        {0, date, false, std::nullopt},
        {45356.604166666664, dateTime, false, u"2024-03-05T14:30:00"_s},
        {36585.99998842592, dateTime, false, u"2000-02-29T23:59:59"_s},
        {0.5, dateTime, false, u"12:00:00"_s},
        {0.6041666666666666, time, false, u"14:30:00"_s},
        {45356.604166666664, time, false, u"14:30:00"_s},
        {1.157407407407407e-05, time, false, u"00:00:01"_s},
        {0.99999999, time, false, u"00:00:00"_s}, // rounds up to midnight
        {1.5, duration, false, u"36:00:00"_s},
        {5.125, duration, false, u"123:00:00"_s},
        {0, date, true, u"1904-01-01"_s},
        {43894, date, true, u"2024-03-05"_s},
        {1.25, dateTime, true, u"1904-01-02T06:00:00"_s},
        {45356, none, false, std::nullopt},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::Message()
                     << row.serial << " kind " << int(row.kind) << " 1904 " << row.date1904);
        EXPECT_EQ(serialDateText(row.serial, row.kind, row.date1904), row.text);
    }
}

TEST(CellValues, IsoDurationsReadToTheSecond)
{
    const struct {
        const char16_t* duration;
        std::optional<QString> text;
    } durations[] = {
        {u"PT14H30M00S", u"14:30:00"_s}, {u"PT36H00M00S", u"36:00:00"_s},
        {u"P1DT2H", u"26:00:00"_s},      {u"PT1H30M29.6S", u"01:30:30"_s},
        {u"-PT1H", u"-01:00:00"_s},      {u"P1Y", std::nullopt},
        {u"PT", std::nullopt},           {u"PTH", std::nullopt},
        {u"14:30", std::nullopt},
    };
    for (const auto& row : durations) {
        SCOPED_TRACE(QString::fromUtf16(row.duration).toStdString());
        EXPECT_EQ(durationText(row.duration), row.text);
    }
}

TEST(CellValues, NumberFormatsTellDatesFromNumbers)
{
    const struct {
        const char16_t* code;
        DateKind kind;
    } cases[] = {
        {u"yyyy-mm-dd", date},
        {u"dd/mm/yyyy", date},
        {u"mmm", date},
        {u"[$-409]mmmm d, yyyy;@", date},
        {u"h:mm", time},
        {u"mm:ss", time},
        {u"h:mm AM/PM", time},
        {u"yyyy-mm-dd h:mm:ss", dateTime},
        {u"m/d/yy h:mm AM/PM", dateTime},
        {u"[h]:mm:ss", duration},
        {u"General", none},
        {u"0.00E+00", none},
        {u"0.00\" m\"", none}, // the m is quoted text
        {u"0.00\\m", none},    // and escaped here
        {u"#,##0 [$€-407]", none},
        {u"[Red]0.00;[Blue]-0.00", none},
        {u"0%", none},
        {u"@", none},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(QString::fromUtf16(row.code).toStdString());
        EXPECT_EQ(dateKindOfFormat(row.code), row.kind);
    }
    const struct {
        int id;
        DateKind kind;
    } builtIns[] = {{0, none},      {2, none},  {14, date},     {17, date}, {18, time}, {21, time},
                    {22, dateTime}, {45, time}, {46, duration}, {47, time}, {49, none}};
    for (const auto& row : builtIns)
        EXPECT_EQ(builtInDateKind(row.id), row.kind) << row.id;
}

TEST(CellValues, CellReferencesNameRowAndColumn)
{
    const struct {
        const char16_t* reference;
        std::optional<std::pair<qint64, qint64>> position; // row, column
    } cases[] = {
        {u"A1", std::pair{0, 0}},
        {u"C7", std::pair{6, 2}},
        {u"Z1", std::pair{0, 25}},
        {u"AA10", std::pair{9, 26}},
        {u"XFD1048576", std::pair{1048575, 16383}},
        {u"", std::nullopt},
        {u"A", std::nullopt},
        {u"1", std::nullopt},
        {u"A0", std::nullopt},
        {u"XFE1", std::nullopt},
        {u"A1048577", std::nullopt},
        {u"A1B", std::nullopt},
        {u"$A$1", std::nullopt},
        {u"AAAAA1", std::nullopt},
    };
    for (const auto& row : cases) {
        const QString reference = QString::fromUtf16(row.reference);
        SCOPED_TRACE(reference.toStdString());
        const auto parsed = parseCellReference(reference);
        ASSERT_EQ(parsed.has_value(), row.position.has_value());
        if (!parsed)
            continue;
        EXPECT_EQ(parsed->row, row.position->first);
        EXPECT_EQ(parsed->column, row.position->second);
        EXPECT_EQ(cellReference(*parsed), reference);
    }
}

} // namespace
} // namespace qb
