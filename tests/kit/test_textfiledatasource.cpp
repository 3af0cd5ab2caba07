// SPDX-License-Identifier: GPL-3.0-or-later
#include "kit/textfiledatasource.h"

#include <QFile>
#include <QTemporaryDir>

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
        {"plain", "A1\nB2\n", {"A1", "B2"}},
        {"no final line feed", "A1\nB2", {"A1", "B2"}},
        {"empty lines dropped", "\n\nA1\n\n\nB2\n\n", {"A1", "B2"}},
        {"blanks kept", " A1 \n   \n\tB2", {" A1 ", "   ", "\tB2"}},
        {"Windows line ends make one name", "A1\r\nB2\r\n", {"A1\r\nB2\r\n"}},
        {"a lone line feed after CR LF", "A1\r\n\nB2", {"A1\r\n", "B2"}},
        {"lone carriage return", "A1\rB2", {"A1\rB2"}},
        {"combining marks stay with their letter",
         QString::fromUtf8("e\u0301\nA\u030A\n"),
         {QString::fromUtf8("e\u0301"), QString::fromUtf8("A\u030A")}},
        {"a mark after a line feed starts the next line",
         QString::fromUtf8("a\n\u0301b"),
         {"a", QString::fromUtf8("\u0301b")}},
        {"emoji sequences",
         QString::fromUtf8("\U0001F469\u200D\U0001F4F7\n\U0001F1E9\U0001F1EA"),
         {QString::fromUtf8("\U0001F469\u200D\U0001F4F7"),
          QString::fromUtf8("\U0001F1E9\U0001F1EA")}},
        {"nothing", "", {}},
        {"only line feeds", "\n\n", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(TextFileDataSource::lines(row.text), row.lines);
    }
}

TEST(TextFileDataSourceTest, NamesMakeEmptyRowsMatchedByPrefix)
{
    const TextFileDataSource source({"B7", "A12", "B7"});
    EXPECT_EQ(source.matchingStyle(), FileNameDataSource::MatchingStyle::prefix);
    EXPECT_EQ(source.keys(), QStringList({"A12", "B7"}));
    EXPECT_TRUE(source.keyNames().isEmpty());
    EXPECT_TRUE(source.metadataForImage(QUrl::fromLocalFile("/s/A12_1.jpg")).empty());
    const auto byKey = source.imagesByKey({QUrl::fromLocalFile("/s/A12_1.jpg")});
    EXPECT_EQ(byKey.at("A12").size(), 1);
    EXPECT_TRUE(byKey.at("B7").isEmpty());
}

class TextFileLoadTest : public ::testing::Test {
protected:
    QUrl write(const QByteArray& bytes)
    {
        const QString path = m_dir.filePath("names.txt");
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return QUrl::fromLocalFile(path);
    }
    QTemporaryDir m_dir;
};

TEST_F(TextFileLoadTest, LoadAddsOrReplacesUnlessCleared)
{
    TextFileDataSource source;
    source.setMetadata({{"A1", {{"title", "kept?"}}}, {"Z9", {}}});
    ASSERT_TRUE(source.loadText(write("A1\nB2\n"), false).has_value());
    const MetadataTable added{{"A1", {}}, {"B2", {}}, {"Z9", {}}};
    EXPECT_EQ(source.metadata(), added); // A1's row is now empty

    ASSERT_TRUE(source.loadText(write("C3\n"), true).has_value());
    EXPECT_EQ(source.keys(), QStringList{"C3"});
}

TEST_F(TextFileLoadTest, WindowsLineEndsGiveOneRow)
{
    TextFileDataSource source;
    ASSERT_TRUE(source.loadText(write("A1\r\nB2\r\n"), true).has_value());
    EXPECT_EQ(source.keys(), QStringList{"A1\r\nB2\r\n"});
}

TEST_F(TextFileLoadTest, AnUnreadableFileChangesNothing)
{
    TextFileDataSource source({"A1"});
    const auto missing = source.loadText(QUrl::fromLocalFile(m_dir.filePath("none.txt")), true);
    ASSERT_FALSE(missing.has_value());
    EXPECT_FALSE(missing.error().errorDescription.isEmpty());
    EXPECT_EQ(source.keys(), QStringList{"A1"});
}

} // namespace
