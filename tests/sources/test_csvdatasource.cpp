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

TEST_F(CSVDataSourceTest, LoneCarriageReturnsEndRowsUnlessTheFileMixesEndings)
{
    using Ending = CSVDataSource::RowEnding;
    const struct {
        const char* name;
        QByteArray text;
        Ending ending;
        std::vector<QStringList> rows; // after the header "id,title"
    } cases[] = {
        {"lf", "id,title\nA1,a\nB2,b\n", Ending::lf, {{"A1", "a"}, {"B2", "b"}}},
        {"crlf", "id,title\r\nA1,a\r\n", Ending::crlf, {{"A1", "a"}}},
        {"mac", "id,title\rA1,a\rB2,b\r", Ending::cr, {{"A1", "a"}, {"B2", "b"}}},
        {"mac_without_last_end", "id,title\rA1,a", Ending::cr, {{"A1", "a"}}},
        // A line break inside a cell is LF in such a file, and no row end.
        {"mac_with_a_break_in_a_cell",
         "id,title\rA1,\"one\ntwo\"\rB2,\"caf\xc3\xa9\"\r",
         Ending::cr,
         {{"A1", "one\ntwo"}, {"B2", "caf\u00e9"}}},
        // Mixed endings keep the rules they always had.
        {"lf_with_a_stray_cr", "id,title\nA1,a\rb\n", Ending::lf, {{"A1", "a\rb"}}},
        {"crlf_with_a_lone_cr", "id,title\r\nA1,a\rb\r\n", Ending::crlf, {{"A1", "a\rb"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(CSVDataSource::rowEndingOf(QByteArrayView(c.text)), c.ending);
        EXPECT_EQ(CSVDataSource::rowEndingOf(QString::fromUtf8(c.text)), c.ending);
        // Read from UTF-8 bytes, and decoded from a code page, alike.
        for (const bool latin1 : {false, true}) {
            CSVDataSource source;
            if (latin1)
                source.setEncoding(TextEncoding::isoLatin1);
            const QByteArray bytes =
                latin1 ? QString::fromUtf8(c.text).toLatin1() : QByteArray(c.text);
            ASSERT_TRUE(source.loadCSV(touch(QString::fromLatin1(c.name) + ".csv", bytes)));
            ASSERT_EQ(source.keyNames(), QStringList({"id", "title"}));
            EXPECT_EQ(source.csvData()->rows(), QList<QStringList>(c.rows.begin(), c.rows.end()));
        }
    }
}

// The spreadsheets of tests/data/spreadsheet, which the reader's own tests
// describe cell by cell.
QString fixture(const char* name)
{
    return QStringLiteral(QB_SPREADSHEET_FIXTURES "/") + QString::fromLatin1(name);
}

TEST_F(CSVDataSourceTest, ASheetIsKeyedAsACsvFileIs)
{
    const struct {
        const char* name;
        QString file;
        std::optional<QString> sheet;
        QString read;
        QStringList sheets;
        QStringList notes; // the cells they name
    } cases[] = {
        {"xlsx_first_visible_sheet",
         fixture("types.xlsx"),
         std::nullopt,
         "Shots",
         {"Hidden", "Shots", "Second"},
         {"J2"}},
        {"xlsx_named_sheet", fixture("types.xlsx"), "second", "Second", {}, {}},
        {"ods", fixture("types.ods"), std::nullopt, "Shots", {"Shots", "Other"}, {"D3"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        CSVDataSource source;
        source.setSheetName(c.sheet);
        ASSERT_TRUE(source.loadCSV(QUrl::fromLocalFile(c.file)).has_value());
        EXPECT_TRUE(source.isSpreadsheet());
        EXPECT_EQ(source.loadedSheet(), c.read);
        if (!c.sheets.isEmpty()) {
            EXPECT_EQ(source.sheetNames(), c.sheets);
        }
        ASSERT_EQ(source.notes().size(), c.notes.size());
        for (qsizetype i = 0; i < c.notes.size(); ++i)
            EXPECT_TRUE(source.notes()[i].contains(c.notes[i])) << source.notes()[i].toStdString();
        EXPECT_EQ(source.keyFolder(), QFileInfo(c.file).absolutePath());
    }

    // Text keeps its leading zeros, and rows are keyed as a CSV file's are:
    // an empty key has a row, a repeated key is told and the last row stands.
    CSVDataSource source;
    ASSERT_TRUE(source.loadCSV(QUrl::fromLocalFile(fixture("types.xlsx"))));
    source.buildMetadata("Code");
    EXPECT_EQ(source.keys(), QStringList({"", "00123", "007", "merged"}));
    EXPECT_EQ(source.row("007")->at("Name"),
              DynamicValue(QString::fromUtf8("\xc5\x81ucja\nNowak")));
    source.buildMetadata("Formula");
    EXPECT_EQ(source.duplicateKeys(), QStringList({""}));
}

TEST_F(CSVDataSourceTest, ASpreadsheetIsKnownByItsBytesAndItsFailuresKeepTheFile)
{
    CSVDataSource source;
    // Saved as .csv by mistake: read as what it is.
    QFile::copy(fixture("types.ods"), path("export.csv"));
    ASSERT_TRUE(source.loadCSV(url("export.csv")).has_value());
    EXPECT_EQ(source.loadedSheet(), "Shots");

    // Neither a sheet that isn't there, nor a damaged file, nor an old
    // binary workbook takes the rows away; a CSV file then has no sheets.
    source.setSheetName("Nope");
    const auto unknown = source.loadCSV(QUrl::fromLocalFile(fixture("types.xlsx")));
    ASSERT_FALSE(unknown.has_value());
    EXPECT_TRUE(toError(unknown.error()).message().contains("Shots")); // names those there are
    source.setSheetName(std::nullopt);
    for (const auto& [name, bytes] : std::initializer_list<std::pair<const char*, QByteArray>>{
             {"cut.xlsx", QByteArray("PK\x03\x04\x14\x00\x00\x00", 8)},
             {"old.xls", QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8)},
             {"old.csv", QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8)}}) {
        SCOPED_TRACE(name);
        const auto refused = source.loadCSV(touch(QString::fromLatin1(name), bytes));
        ASSERT_FALSE(refused.has_value());
        EXPECT_TRUE(std::holds_alternative<Error>(refused.error()));
        EXPECT_EQ(source.loadedSheet(), "Shots");
    }
    ASSERT_TRUE(source.loadCSV(touch("plain.csv", "a\n1\n")).has_value());
    EXPECT_FALSE(source.isSpreadsheet());
    EXPECT_TRUE(source.notes().isEmpty());
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
