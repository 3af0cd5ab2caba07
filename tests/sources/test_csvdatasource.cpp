// SPDX-License-Identifier: GPL-3.0-or-later
#include "sources/csvdatasource.h"

#include "../support/testsupport.h"

#include "extensions/textfile.h"

#include <QStringEncoder>

#include <unicode/ucnv.h>

#include <gtest/gtest.h>

using namespace qb;

namespace {

using CSVDataSourceTest = qb::testing::FileTree;

// The text as a spreadsheet would save it in that code page.
QByteArray encodeIn(const char* icuName, const QString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(icuName, &status);
    QByteArray bytes(text.size() * 4 + 4, '\0');
    const int32_t length = ucnv_fromUChars(converter, bytes.data(), int32_t(bytes.size()),
                                           reinterpret_cast<const UChar*>(text.utf16()),
                                           int32_t(text.size()), &status);
    ucnv_close(converter);
    EXPECT_TRUE(U_SUCCESS(status)) << icuName;
    bytes.truncate(length);
    return bytes;
}

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

    EXPECT_EQ(source.duplicateKeys(), QStringList({"K"}));

    // Keys repeated are told in the order their second record comes.
    ASSERT_TRUE(source.loadCSV(touch("d.csv", "k,v\nB,1\nA,2\nB,3\nA,4\nC,5\nA,6\n")));
    source.buildMetadata("k");
    EXPECT_EQ(source.duplicateKeys(), QStringList({"B", "A"}));
    EXPECT_EQ(source.row("A")->at("v"), "6");
    EXPECT_EQ(source.row("B")->at("v"), "3");

    ASSERT_TRUE(source.loadCSV(touch("a.csv", "z,a,key\r\n1,,K\r\n2,3,K\r\n4,5,\r\n")));
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

TEST_F(CSVDataSourceTest, DelimitersSplitOutsideQuotesAndAutomaticPicksByTheHeader)
{
    using D = CSVDataSource::FieldDelimiter;
    const struct {
        const char* name;
        QByteArray text;
        D delimiter;
        QStringList headers;
        QString title; // of the row keyed "A1"
    } cases[] = {
        {"comma",
         "id,title\nA1,\"Malm\xc3\xb6, harbour\"\n",
         D::comma,
         {"id", "title"},
         "Malm\u00f6, harbour"},
        {"semicolon", "id;title\r\nA1;\"a;b\"\r\n", D::semicolon, {"id", "title"}, "a;b"},
        {"tab", "id\ttitle\nA1\t\"a\tb\"\n", D::tab, {"id", "title"}, "a\tb"},
        {"auto_comma", "id,title\nA1,\"a,b\"\n", D::automatic, {"id", "title"}, "a,b"},
        {"auto_semicolon",
         "id;\"t,i,t,l,e\";x\r\nA1;\"a;b\";\n",
         D::automatic,
         {"id", "t,i,t,l,e", "x"},
         "a;b"},
        {"auto_tab", "id\ttitle\tx,y\nA1\tb\t\n", D::automatic, {"id", "title", "x,y"}, "b"},
        {"auto_comma_with_quoted_semicolons",
         "id,\"a;b;c\"\nA1,x;y\n",
         D::automatic,
         {"id", "a;b;c"},
         "x;y"},
        {"auto_tie_is_comma", "id,title;x\nA1,t;x\n", D::automatic, {"id", "title;x"}, "t;x"},
        {"semicolon_file_read_as_comma", "id;title\nA1;t\n", D::comma, {"id;title"}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CSVDataSource source;
        source.setFieldDelimiter(c.delimiter);
        ASSERT_TRUE(source.loadCSV(touch(QString::fromLatin1(c.name) + ".csv", c.text)));
        EXPECT_EQ(source.keyNames(), c.headers);
        source.buildMetadata("id");
        if (!c.title.isEmpty()) {
            EXPECT_EQ(source.metadata().at("A1").at(c.headers[1]), DynamicValue(c.title));
        }
    }
}

TEST_F(CSVDataSourceTest, SpreadsheetCodePagesReadBackExactlyAndBinaryIsRefused)
{
    const QString nordic = QStringLiteral(
        "Shot;City;Region;Note\nA1;Malm\u00f6;\u00d8resund;K\u00f8benhavn og Sj\u00e6lland\n"
        "A2;G\u00f6teborg;V\u00e4stra G\u00f6taland;\u201cBest\u201d shot \u2013 12 \u20ac\n");
    const QString japanese = QStringLiteral("Shot;Title;Place\n"
                                            "A1;\u6771\u4eac\u30bf\u30ef\u30fc\u306e\u591c"
                                            "\u666f;\u6771\u4eac\u90fd\u6e2f\u533a\n"
                                            "A2;\u5bcc\u58eb\u5c71\u3068\u685c;\u5c71\u68a8"
                                            "\u770c\n");
    const QString mac = QStringLiteral("Shot;City;Region\nA1;Malm\u00f6;\u00d8resund\n"
                                       "A2;K\u00f8benhavn;Sj\u00e6lland\n");
    QByteArray binary;
    for (int i = 0; i < 512; ++i)
        binary += char((i * 7919 + 13) % 251 + 1); // no zero bytes, not text either
    const struct {
        const char* name;
        QString text;
        const char* encoding;
        std::optional<TextEncoding> given;
        const char* readAs; // nothing: read as given; empty: refused
    } cases[] = {
        {"windows1252", nordic, "windows-1252", std::nullopt, "Windows-1252"},
        {"shiftjis", japanese, "Shift_JIS", std::nullopt, "Shift-JIS"},
        {"macroman", mac, "macintosh", std::nullopt, "Mac Roman"},
        {"given_cp1252", mac, "windows-1252", TextEncoding::windowsCP1252, nullptr},
        {"given_wrong", japanese, "Shift_JIS", TextEncoding::utf8, ""},
        {"binary", {}, nullptr, std::nullopt, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QByteArray bytes = c.encoding ? encodeIn(c.encoding, c.text) : binary;
        CSVDataSource source;
        source.setFieldDelimiter(CSVDataSource::FieldDelimiter::automatic);
        source.setEncoding(c.given);
        const auto loaded = source.loadCSV(touch(QString::fromLatin1(c.name) + ".csv", bytes));
        if (c.readAs && !*c.readAs) {
            ASSERT_FALSE(loaded.has_value());
            const Error error = toError(loaded.error());
            EXPECT_TRUE(error.message().contains(c.given ? "couldn\u2019t be read as utf8"
                                                         : "Windows-1252, ISO-8859-1"))
                << error.message().toStdString();
            continue;
        }
        ASSERT_TRUE(loaded.has_value()) << toError(loaded.error()).message().toStdString();
        EXPECT_EQ(source.detectedCodePage()
                      ? QString::fromLatin1(source.detectedCodePage()->displayName)
                      : QString(),
                  QString::fromLatin1(c.readAs ? c.readAs : ""));
        QStringList lines;
        for (qsizetype i = 0; i < source.csvData()->rowCount(); ++i)
            lines << source.csvData()->row(i).join(u';');
        EXPECT_EQ(source.keyNames().join(u';') + "\n" + lines.join(u'\n') + "\n", c.text);
    }
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
