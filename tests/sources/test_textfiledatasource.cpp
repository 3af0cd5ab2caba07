// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/textfiledatasource.h"

#include "../support/testsupport.h"

#include <gtest/gtest.h>

using namespace qb;

namespace {

TEST(TextFileLinesTest, SplitsAtLoneLineFeedsOnly)
{
    const struct {
        const char* name;
        QString text;
        QStringList lines;
    } rows[] = {
        {"no final line feed", "A1\nB2", {"A1", "B2"}},
        {"empty lines dropped", "\n\nA1\n\n\nB2\n\n", {"A1", "B2"}},
        {"blanks kept", " A1 \n   \n\tB2", {" A1 ", "   ", "\tB2"}},
        {"Windows line ends make one name", "A1\r\nB2\r\n", {"A1\r\nB2\r\n"}},
        {"a lone line feed after CR LF", "A1\r\n\nB2", {"A1\r\n", "B2"}},
        {"lone carriage return", "A1\rB2", {"A1\rB2"}},
        {"a mark after a line feed starts the next line",
         QString::fromUtf8("a\n\u0301b"),
         {"a", QString::fromUtf8("\u0301b")}},
        {"only line feeds", "\n\n", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(TextFileDataSource::lines(row.text), row.lines);
    }
}

using TextFileLoadTest = qb::testing::FileTree;

TEST_F(TextFileLoadTest, LoadAddsOrReplacesUnlessCleared)
{
    TextFileDataSource source;
    source.setMetadata({{"A1", {{"title", "kept?"}}}, {"Z9", {}}});
    ASSERT_TRUE(source.loadText(touch("names.txt", "A1\nB2\n"), false).has_value());
    const MetadataTable added{{"A1", {}}, {"B2", {}}, {"Z9", {}}};
    EXPECT_EQ(source.metadata(), added); // A1's row is now empty

    ASSERT_TRUE(source.loadText(touch("names.txt", "A1\r\nB2\r\n"), true).has_value());
    EXPECT_EQ(source.keys(), QStringList{"A1\r\nB2\r\n"}); // Windows line ends: one row

    const auto missing = source.loadText(url("none.txt"), true);
    ASSERT_FALSE(missing.has_value());
    EXPECT_FALSE(missing.error().errorDescription.isEmpty());
    EXPECT_EQ(source.keys(), QStringList{"A1\r\nB2\r\n"});
}

} // namespace
