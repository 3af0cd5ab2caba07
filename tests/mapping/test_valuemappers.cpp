// SPDX-License-Identifier: GPL-3.0-or-later
#include "mapping/valuemappers.h"

#include <gtest/gtest.h>

#include <unicode/locid.h>

#include <memory>

using namespace qb;

namespace {

using List = DynamicValue::List;

QDateTime utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::UTC);
}

struct MapperCase {
    const char* name;
    std::shared_ptr<ValueMapper> mapper;
    DynamicValue input;
    DynamicValue expected;
};

const auto stringMapper = std::make_shared<StringMapper>();
const auto arrayMapper = std::make_shared<ArrayMapper>(QStringLiteral(";"));
const auto upper = std::make_shared<StringCaseMapper>(StringCaseMapper::Transformation::uppercase);
const auto capitalize =
    std::make_shared<StringCaseMapper>(StringCaseMapper::Transformation::capitalize);
const auto replaceLiteral =
    std::make_shared<StringReplacementMapper>(QStringLiteral("a"), QStringLiteral("o"), false);
const auto swapNumbers = std::make_shared<StringReplacementMapper>(QStringLiteral("(\\d+)-(\\d+)"),
                                                                   QStringLiteral("$2-$1"), true);
const auto boolMapper = std::make_shared<BooleanMapper>();
const auto yesNo =
    std::make_shared<BooleanValueMapper>(QStringLiteral("yes"), QStringLiteral("no"));
const auto dateMapper = std::make_shared<DateMapper>(QStringLiteral("yyyy-MM-dd"));
const DateComparison lastDay{DateComparison::Type::isInTheLast, 1, DateComparison::Component::day};
const auto inLastDay =
    std::make_shared<DateComparisonMapper>(lastDay, [] { return utc(2024, 3, 10, 12); });

const DynamicValue absent;
const DynamicValue date = utc(2021, 3, 4, 5, 6, 7);
const DynamicValue strings = DynamicValue(List{"a", "b"});
const DynamicValue numbers = DynamicValue(List{1, 2.5});
const DynamicValue dictionary = DynamicValue(DynamicValue::Dictionary{{"k", "v"}});

// The answer of each mapper to each kind of input.
const MapperCase answerTable[] = {
    {"string_absent", stringMapper, absent, absent},
    {"string_text", stringMapper, "abc", "abc"},
    {"string_empty_is_present", stringMapper, "", ""},
    {"string_true", stringMapper, true, "true"},
    {"string_date", stringMapper, date, "2021-03-04 05:06:07 +0000"},
    {"string_list_stays_list", stringMapper, strings, strings},
    {"string_number_list", stringMapper, numbers, DynamicValue(List{"1", "2.5"})},
    {"string_dictionary", stringMapper, dictionary, "[\"k\": \"v\"]"},

    {"array_absent", arrayMapper, absent, absent},
    {"array_split_keeps_empty", arrayMapper, "a;;b", DynamicValue(List{"a", "", "b"})},
    {"array_empty_text", arrayMapper, "", DynamicValue(List{""})},
    {"array_no_trim", arrayMapper, " a ; b", DynamicValue(List{" a ", " b"})},
    {"array_number", arrayMapper, 3, absent},
    {"array_list", arrayMapper, strings, absent},

    {"case_absent", upper, absent, absent},
    {"case_text", upper, "abc", "ABC"},
    {"case_capitalize", capitalize, "jOHN smith", "John Smith"},
    {"case_list", upper, strings, DynamicValue(List{"A", "B"})},
    {"replace_literal", replaceLiteral, "banana", "bonono"},
    {"replace_regex_template", swapNumbers, "10-20", "20-10"},
    {"replace_list", replaceLiteral, strings, DynamicValue(List{"o", "b"})},

    {"bool_absent_is_false", boolMapper, absent, false},
    {"bool_bool", boolMapper, true, true},
    {"bool_text_true", boolMapper, "true", true},
    {"bool_text_false", boolMapper, "false", false},
    {"bool_text_True", boolMapper, "True", absent},
    {"bool_text_padded", boolMapper, " true", absent},
    {"bool_zero", boolMapper, 0, false},
    {"bool_one", boolMapper, 1, true},
    {"bool_two", boolMapper, 2, absent},
    {"bool_list", boolMapper, strings, false},

    {"boolvalue_true", yesNo, true, "yes"},
    {"boolvalue_false", yesNo, false, "no"},
    {"boolvalue_absent", yesNo, absent, "no"},
    {"boolvalue_text_true", yesNo, "true", "no"},

    {"date_absent", dateMapper, absent, absent},
    {"date_date", dateMapper, date, date},
    {"date_text", dateMapper, "2021-03-04", utc(2021, 3, 4)},
    {"date_text_invalid_month", dateMapper, "2021-13-45", absent},
    {"date_text_trailing", dateMapper, "2021-03-04x", absent},
    {"date_integer_seconds", dateMapper, 86400, utc(1970, 1, 2)},
    {"date_float_seconds", dateMapper, 1.5, QDateTime::fromMSecsSinceEpoch(1500, Qt::UTC)},

    {"compare_absent", inLastDay, absent, absent},
    {"compare_text_not_parsed", inLastDay, "2024-03-10", absent},
    {"compare_yesterday_early", inLastDay, utc(2024, 3, 9, 0, 1), true},
    {"compare_two_days_ago_late", inLastDay, utc(2024, 3, 8, 23, 59), false},
    {"compare_tomorrow", inLastDay, utc(2024, 3, 11, 0, 0), false},
};

class MapperAnswers : public ::testing::TestWithParam<MapperCase> {
protected:
    // The table's dates and cases are written for UTC and a neutral locale.
    void SetUp() override
    {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale("en_US_POSIX"), status);
    }
};

TEST_P(MapperAnswers, AnswerByInputKind)
{
    const MapperCase& c = GetParam();
    EXPECT_EQ(c.mapper->map(c.input), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Table, MapperAnswers, ::testing::ValuesIn(answerTable),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ValueMappers, DisplayNamesAreTheRuleEditorTexts)
{
    EXPECT_EQ(StringReplacementMapper::displayName(), "replace string"); // lower case on purpose
    EXPECT_EQ(BooleanValueMapper::displayName(), "Boolean mapper");
    EXPECT_EQ(DateComparisonMapper::displayName(), "Compare dates");
}

TEST(ValueMappers, CaseMappingFollowsTheLocale)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("tr_TR"), status);
    EXPECT_EQ(upper->map("istanbul"), "İSTANBUL");
    icu::Locale::setDefault(icu::Locale("en_US"), status);
    EXPECT_EQ(upper->map("istanbul"), "ISTANBUL");
}

TEST(ValueMappers, InvalidRegexLeavesTextUnchanged)
{
    const StringReplacementMapper broken(QStringLiteral("("), QStringLiteral("x"), true);
    EXPECT_EQ(broken.map("a(b"), "a(b");
    const StringReplacementMapper literal(QStringLiteral("("), QStringLiteral("x"), false);
    EXPECT_EQ(literal.map("a(b"), "axb");
    const StringReplacementMapper emptyTarget(QString(), QStringLiteral("x"), false);
    EXPECT_EQ(emptyTarget.map("ab"), "ab");
}

TEST(ValueMappers, DateMapperReadsMissingFieldsAsTheYear2000)
{
    const DateMapper timeOnly(QStringLiteral("HH:mm"));
    EXPECT_EQ(timeOnly.map("12:30"), DynamicValue(utc(2000, 1, 1, 12, 30)));
}

TEST(DateComparisonEvaluate, RangeIsInclusiveAtTheUnit)
{
    using T = DateComparison::Type;
    using U = DateComparison::Component;
    const QDateTime now = utc(2024, 3, 31, 10, 30);
    const struct {
        const char* name;
        DateComparison comparison;
        QDateTime date;
        bool expected;
    } cases[] = {
        {"month_back_from_31_march", {T::isInTheLast, 1, U::month}, utc(2024, 2, 1), true},
        {"month_back_excludes_january", {T::isInTheLast, 1, U::month}, utc(2024, 1, 31), false},
        {"next_unit_never_in_last", {T::isInTheLast, 100, U::year}, utc(2025, 1, 1), false},
        {"same_unit_counts_as_now", {T::isInTheLast, 100, U::year}, utc(2024, 4, 1), true},
        {"zero_interval_same_day", {T::isInTheLast, 0, U::day}, utc(2024, 3, 31, 0, 0), true},
        {"negative_interval_empty", {T::isInTheLast, -1, U::day}, utc(2024, 3, 31, 10, 0), false},
        {"next_hours", {T::isInTheNext, 2, U::hour}, utc(2024, 3, 31, 12, 59), true},
        {"next_hours_past_bound", {T::isInTheNext, 2, U::hour}, utc(2024, 3, 31, 13, 0), false},
        {"next_excludes_past", {T::isInTheNext, 2, U::day}, utc(2024, 3, 30, 23, 0), false},
        {"huge_interval_fails", {T::isInTheLast, qint64(1) << 40, U::day}, utc(2000, 1, 1), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.comparison.evaluate(c.date, now), c.expected);
    }
}

} // namespace
