// SPDX-License-Identifier: GPL-3.0-or-later
#include "kit/csvdatasource.h"

#include "testsupport.h"

#include "extensions/textfile.h"

#include <QStringEncoder>

#include <gtest/gtest.h>

using namespace qb;

namespace {

using CSVDataSourceTest = qb::testing::FileTree;

TEST_F(CSVDataSourceTest, KeyingKeepsColumnOrderAndLaterRowsReplace)
{
    CSVDataSource source;
    // CR LF line ends leave no stray carriage return on the last header.
    ASSERT_TRUE(source.loadCSV(touch("a.csv", "z,a,key\r\n1,,K\r\n2,3,K\r\n4,5,\r\n")).has_value());
    EXPECT_EQ(source.keyNames(), QStringList({"z", "a", "key"})); // not sorted
    source.buildMetadata("key");
    const MetadataTable expected = {
        {"K", {{"z", "2"}, {"a", "3"}, {"key", "K"}}},
        {"", {{"z", "4"}, {"a", "5"}, {"key", ""}}},
    };
    EXPECT_EQ(source.metadata(), expected);

    source.buildMetadata("z");
    EXPECT_EQ(source.keys(), QStringList({"1", "2", "4"}));
    source.buildMetadata("missing");
    EXPECT_TRUE(source.metadata().empty());
}

TEST_F(CSVDataSourceTest, FailedLoadKeepsThePreviousFile)
{
    CSVDataSource source;
    source.buildMetadata("id"); // no file: nothing happens
    EXPECT_TRUE(source.keyNames().isEmpty());
    ASSERT_TRUE(source.loadCSV(touch("good.csv", "id,name\n")).has_value());
    source.buildMetadata("id");
    EXPECT_TRUE(source.metadata().empty()); // header only

    const auto duplicate = source.loadCSV(touch("dup.csv", "id,id\n1,2\n"));
    ASSERT_FALSE(duplicate.has_value());
    EXPECT_TRUE(std::holds_alternative<CSVError>(duplicate.error()));
    const auto missing = source.loadCSV(url("gone.csv"));
    ASSERT_FALSE(missing.has_value());
    EXPECT_TRUE(std::holds_alternative<Error>(missing.error()));
    EXPECT_EQ(source.keyNames(), QStringList({"id", "name"}));
}

TEST(TextDecoding, EncodingsAreDetectedOrRefused)
{
    const QString text = QStringLiteral("k,v\nM\u00e4lar\u00f6,\u65e5\u672c\n");
    auto encode = [&](QStringConverter::Encoding encoding, bool bom) {
        QStringEncoder encoder(encoding, bom ? QStringConverter::Flag::WriteBom
                                             : QStringConverter::Flag::Default);
        return QByteArray(encoder.encode(text));
    };
    const struct {
        const char* name;
        QByteArray bytes;
        bool readable;
    } cases[] = {
        {"utf8", text.toUtf8(), true},
        {"utf8_bom", encode(QStringConverter::Utf8, true), true},
        {"utf16be_bom", encode(QStringConverter::Utf16BE, true), true},
        {"utf32le_bom", encode(QStringConverter::Utf32LE, true), true},
        {"utf16le_unmarked", encode(QStringConverter::Utf16LE, false), true},
        {"latin1", encode(QStringConverter::Latin1, false), false},
        {"utf16_bom_bad_body", QByteArray("\xFF\xFE\x00\xD8", 4), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto decoded = decodeText(c.bytes, QStringLiteral("f.csv"));
        EXPECT_EQ(decoded.has_value(), c.readable);
        if (decoded) {
            EXPECT_EQ(*decoded, text);
        } else {
            EXPECT_EQ(
                decoded.error().errorDescription,
                QStringLiteral("The file \u201cf.csv\u201d couldn\u2019t be opened because "
                               "the text encoding of its contents can\u2019t be determined."));
        }
    }
}

} // namespace
