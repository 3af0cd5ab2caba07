// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include <gtest/gtest.h>

#include <iterator>

namespace qb {
namespace {

static_assert(std::random_access_iterator<CSVFileView::RecordsView::const_iterator>);
static_assert(std::random_access_iterator<CSVFileView::ColumnsView::const_iterator>);
static_assert(std::random_access_iterator<CSVRecord::const_iterator>);

const CSVReader::Configuration withHeader =
    csvtest::configuration(u",", u"\n", Strategy::Header::firstLine);

TEST(CsvRecords, LookUpFieldsByHeader)
{
    const auto view = CSVReader::readFile(
        QString::fromUtf8("name,caf\xC3\xA9,age\nann,1,31\nbob,2,\n"), withHeader);
    ASSERT_TRUE(view.has_value()) << view.error().what();
    const CSVFileView::RecordsView records = view->records();
    ASSERT_EQ(records.endIndex(), 2);

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
        {0, QString::fromUtf8("caf\xC3\xA9"), "1"},
        {1, QString::fromUtf8("cafe\xCC\x81"), "2"}, // canonically equivalent spelling
    };
    for (const Lookup& lookup : lookups) {
        SCOPED_TRACE(lookup.header.toStdString());
        EXPECT_EQ(records[lookup.record].value(lookup.header), lookup.value);
    }
    EXPECT_EQ(records[1].row(), QStringList({"bob", "2", ""}));
    EXPECT_EQ(view->columnIndex("age"), 2);

    EXPECT_EQ(QStringList(records[0].begin(), records[0].end()), QStringList({"ann", "1", "31"}));
}

TEST(CsvRecords, ColumnsViewHoldsOneValuePerRow)
{
    const auto view = CSVReader::readFile(QStringLiteral("a,b\n1,2\n3,\n"), withHeader);
    ASSERT_TRUE(view.has_value());
    ASSERT_EQ(view->columns().size(), 2);
    EXPECT_EQ(view->columns()[0], QStringList({"1", "3"}));
    EXPECT_EQ(view->columns()[1], QStringList({"2", ""}));

    const auto headerOnly = CSVReader::readFile(QStringLiteral("a,b\n"), withHeader);
    ASSERT_TRUE(headerOnly.has_value());
    EXPECT_EQ(headerOnly->rowCount(), 0);
    EXPECT_EQ(headerOnly->columns().size(), 2);
    EXPECT_TRUE(headerOnly->columns()[1].isEmpty());
}

TEST(CsvRecords, WithoutHeadersNothingIsFoundByName)
{
    const auto view = CSVReader::readFile(QStringLiteral("a,b\n1,2\n"));
    ASSERT_TRUE(view.has_value());
    EXPECT_EQ(view->rowCount(), 2);
    EXPECT_EQ(view->records()[0].value("a"), std::nullopt);

    const auto empty = CSVReader::readFile(QString(), withHeader);
    ASSERT_TRUE(empty.has_value());
    EXPECT_TRUE(empty->headers().isEmpty());
    EXPECT_TRUE(empty->records().isEmpty());
    EXPECT_TRUE(empty->columns().isEmpty());
}

TEST(CsvRecords, ATableFromElsewhereReadsAsAFileWouldAndRefusesEqualHeaders)
{
    const struct {
        const char* name;
        QStringList headers;
        std::vector<QStringList> rows;
        bool accepted;
    } cases[] = {
        {"cells", {"id", "name"}, {{"00123", "a,\"b\"\nc"}, {"", ""}, {"7", ""}}, true},
        {"no rows", {"id"}, {}, true},
        {"empty cells beside each other", {"a", "b", "c"}, {{"", "", "x"}, {"y", "", ""}}, true},
        {"equal headers", {"id", "id"}, {{"1", "2"}}, false},
        {"equal once composed",
         {QString::fromUtf8("caf\xC3\xA9"), QString::fromUtf8("cafe\xCC\x81")},
         {},
         false},
        {"two empty headers", {"", "a", ""}, {}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto view = CSVFileView::fromTable(c.headers, c.rows);
        ASSERT_EQ(view.has_value(), c.accepted);
        if (!view)
            continue;
        EXPECT_EQ(view->headers(), c.headers);
        ASSERT_EQ(view->rowCount(), qsizetype(c.rows.size()));
        for (qsizetype row = 0; row < view->rowCount(); ++row) {
            EXPECT_EQ(view->row(row), c.rows[std::size_t(row)]);
            EXPECT_EQ(view->records()[row].value(c.headers.last()),
                      c.rows[std::size_t(row)].last());
        }
    }
}

} // namespace
} // namespace qb
