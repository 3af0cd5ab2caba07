// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <ranges>

namespace qb {
namespace {

using csvtest::expectFailure;

static_assert(std::random_access_iterator<CSVFileView::RecordsView::const_iterator>);
static_assert(std::random_access_iterator<CSVFileView::ColumnsView::const_iterator>);
static_assert(std::random_access_iterator<CSVRecord::const_iterator>);

CSVReader::Configuration withHeader()
{
    CSVReader::Configuration config;
    config.headerStrategy = Strategy::Header::firstLine;
    return config;
}

TEST(CsvDuplicateHeaders, FailBeforeAnyRowIsRead)
{
    const QString reason = "The header row contain two fields with the same value.";
    // The second input would fail on its row; the headers are checked first.
    for (const char* input : {"x,x\nb,c", "x,y,x\n\"unclosed", "\xC3\xA9,e\xCC\x81\n1,2"}) {
        SCOPED_TRACE(input);
        const auto view = CSVReader::readFile(QString::fromUtf8(input), withHeader());
        ASSERT_FALSE(view.has_value());
        expectFailure(view.error(), reason);
        EXPECT_TRUE(view.error().errorUserInfo().isEmpty());
    }
    // Without a header line equal fields are plain data.
    EXPECT_TRUE(CSVReader::readFile(QStringLiteral("x,x\nb,c")).has_value());
}

TEST(CsvRecords, LookUpFieldsByHeader)
{
    const auto view = CSVReader::readFile(
        QString::fromUtf8("name,caf\xC3\xA9,age\nann,1,31\nbob,2,\n"), withHeader());
    ASSERT_TRUE(view.has_value()) << view.error().what();
    const CSVFileView::RecordsView records = view->records();
    ASSERT_EQ(records.size(), 2);
    EXPECT_EQ(records.startIndex(), 0);
    EXPECT_EQ(records.endIndex(), 2);

    struct Lookup {
        qsizetype record;
        QString header;
        std::optional<QString> value;
    };
    const Lookup lookups[] = {
        {0, "name", "ann"},
        {0, "age", "31"},
        {1, "age", ""}, // an empty cell is a present value
        {1, "Name", std::nullopt},
        {1, "nope", std::nullopt},
        {0, QString::fromUtf8("caf\xC3\xA9"), "1"},
        {1, QString::fromUtf8("cafe\xCC\x81"), "2"}, // canonically equivalent spelling
    };
    for (const Lookup& lookup : lookups) {
        SCOPED_TRACE(lookup.header.toStdString());
        EXPECT_EQ(records[lookup.record].value(lookup.header), lookup.value);
    }
    EXPECT_EQ(records[1][0], "bob");
    EXPECT_EQ(records[1].row(), QStringList({"bob", "2", ""}));
    EXPECT_EQ(view->columnIndex("age"), 2);

    QStringList names;
    std::ranges::transform(records, std::back_inserter(names),
                           [](const CSVRecord& record) { return *record.value("name"); });
    EXPECT_EQ(names, QStringList({"ann", "bob"}));
    const CSVRecord first = records[0];
    EXPECT_EQ(QStringList(first.begin(), first.end()), QStringList({"ann", "1", "31"}));
}

TEST(CsvRecords, ColumnsViewHoldsOneValuePerRow)
{
    const auto view = CSVReader::readFile(QStringLiteral("a,b\n1,2\n3,\n"), withHeader());
    ASSERT_TRUE(view.has_value());
    const auto columns = view->columns();
    ASSERT_EQ(columns.size(), 2);
    EXPECT_EQ(columns[0], QStringList({"1", "3"}));
    EXPECT_EQ(columns[1], QStringList({"2", ""}));
    EXPECT_EQ(std::ranges::distance(columns), 2);

    const auto headerOnly = CSVReader::readFile(QStringLiteral("a,b\n"), withHeader());
    ASSERT_TRUE(headerOnly.has_value());
    EXPECT_EQ(headerOnly->headers(), QStringList({"a", "b"}));
    EXPECT_EQ(headerOnly->rowCount(), 0);
    EXPECT_EQ(headerOnly->columns().size(), 2);
    EXPECT_TRUE(headerOnly->columns()[1].isEmpty());
}

TEST(CsvRecords, WithoutHeadersNothingIsFoundByName)
{
    const auto view = CSVReader::readFile(QStringLiteral("a,b\n1,2\n"));
    ASSERT_TRUE(view.has_value());
    EXPECT_TRUE(view->headers().isEmpty());
    EXPECT_EQ(view->rowCount(), 2);
    EXPECT_EQ(view->records()[0].value("a"), std::nullopt);
    EXPECT_EQ(view->row(1), QStringList({"1", "2"}));

    const auto empty = CSVReader::readFile(QString(), withHeader());
    ASSERT_TRUE(empty.has_value());
    EXPECT_TRUE(empty->headers().isEmpty());
    EXPECT_TRUE(empty->records().isEmpty());
    EXPECT_TRUE(empty->columns().isEmpty());
}

} // namespace
} // namespace qb
