// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <random>

namespace qb {
namespace {

using csvtest::configuration;
using csvtest::expectFailure;
using csvtest::nextRowOf;
using csvtest::table;
using Config = CSVReader::Configuration;
using enum Strategy::Header;

struct ParseCase {
    friend void PrintTo(const ParseCase& row, std::ostream* out) { *out << row.name; }

    const char* name;
    QString input;
    Config config;
    const char* headers; // as for table()
    const char* rows;
    QString reason = {}; // set: the read fails with it
    QVariantMap userInfo = {};
};

class CsvParsing : public testing::TestWithParam<ParseCase> {};

TEST_P(CsvParsing, ReadsTheExpectedRows)
{
    const ParseCase& row = GetParam();
    const auto view = CSVReader::readFile(row.input, row.config);
    if (row.reason.isEmpty()) {
        ASSERT_TRUE(view.has_value()) << view.error().what();
        EXPECT_EQ(view->headers(), table(row.headers).value(0));
        EXPECT_EQ(view->rows(), table(row.rows));
        return;
    }
    ASSERT_FALSE(view.has_value()) << "rows: " << view->rowCount();
    expectFailure(view.error(), row.reason);
    EXPECT_EQ(view.error().errorUserInfo(), row.userInfo);
}

const QString fieldCount = "The number of fields is not constant between rows.";
const QString quoteInField = "Quotes aren't allowed within fields which don't start with quotes.";
const QString duplicate = "The header row contain two fields with the same value.";
const QString unclosed = "The last field is escaped (through quotes) and an EOF (End of File) was "
                         "encountered before the field was properly closed (with a final quote "
                         "character).";

QVariantMap at(int rowIndex)
{
    return {{"Row index", rowIndex}};
}

QVariantMap counts(int rowIndex, int parsed, int expected)
{
    return {{"Row index", rowIndex},
            {"Number of parsed fields", parsed},
            {"Number of expected fields", expected}};
}

const Config header = configuration(u",", u"\n", firstLine);
const Config crlf = configuration(u",", u"\r\n");
const Config abc = configuration(u",", u"abc");
const Config colons = configuration(u"::", u"\n");
const Config spaces = configuration(u",", u"\n", none, {U' '});

INSTANTIATE_TEST_SUITE_P(
    Table, CsvParsing,
    testing::Values(
        // Delimiters of one, two and three scalars.
        ParseCase{"crlf", "a,b\r\n1,2\r\n", configuration(u",", u"\r\n", firstLine), "a|b", "1|2"},
        ParseCase{"crlfLoneCarriageReturnIsContent", "a\rb,c\r\nd,e", crlf, "", "a\rb|c/d|e"},
        ParseCase{"crlfEndingInCarriageReturn", "a,b\r", crlf, "", "a|b\r"},
        ParseCase{"crlfOnLineFeeds", "a,b\n1,2\n", crlf, "", "a|b\n1|2\n"},
        ParseCase{"quotedThenCrlf", "\"a\"\r\n\"b\"", crlf, "", "a/b"},
        ParseCase{"threeScalarsPartial", "abx", abc, "", "abx"},
        ParseCase{"threeScalarsPartialAtEnd", "1,2ab", abc, "", "1|2ab"},
        ParseCase{"threeScalars", "1,2abc3,4abcab,5", abc, "", "1|2/3|4/ab|5"},
        ParseCase{"twoScalarField", "a::b:c:\nd::e", colons, "", "a|b:c:/d|e"},
        ParseCase{"nonBmpField", "a😀b\nc😀d", configuration(u"😀", u"\n"), "", "a|b/c|d"},
        ParseCase{"fieldDelimiterTestedFirst", "a,b,\nc", configuration(u",", u",\n"), "",
                  "a|b|\nc"},
        // Blank lines: only the one right after the first line is a row.
        ParseCase{"lastRowWithoutDelimiter", "a,b\n1,2", header, "a|b", "1|2"},
        ParseCase{"lastRowWithDelimiter", "a,b\n1,2\n", header, "a|b", "1|2"},
        ParseCase{"blankAfterHeaderIsARow", "a,b\n\n1,2\n", header, "", "", fieldCount,
                  counts(2, 1, 2)},
        ParseCase{"laterBlanksVanish", "a,b\n1,2\n\n3,4\n\n", header, "a|b", "1|2/3|4"},
        ParseCase{"blankAfterHeaderOneColumn", "a\n\n1\n", header, "a", "/1"},
        ParseCase{"leadingBlanksWithoutHeader", "\n\na,b\n1,2\n", Config(), "", "a|b/1|2"},
        ParseCase{"blankFirstLineIsTheHeader", "\n\na,b\n1,2\n", header, "", "", fieldCount,
                  counts(3, 2, 1)},
        ParseCase{"blankAfterFirstRowWithoutHeader", "a,b\n\n1,2", Config(), "", "", fieldCount,
                  counts(2, 1, 2)},
        ParseCase{"onlyAFieldDelimiterIsNoBlank", "a,b\n,\n", header, "a|b", "|"},
        ParseCase{"blankInQuotesIsContent", "a\n1\n\"\n\"\n", header, "a", "1/\n"},
        ParseCase{"trailingEmptyField", "a,b\n1,\n", header, "a|b", "1|"},
        ParseCase{"trailingEmptyFieldAtEnd", "a,b\n1,", header, "a|b", "1|"},
        ParseCase{"onlyBlanksWithoutHeader", "\n\n\n", Config(), "", ""},
        // Quoting.
        ParseCase{"delimiterInQuotes", "a,b\n\"1,2\",3\n", header, "a|b", "1,2|3"},
        ParseCase{"doubledQuote", "\"x\"\"y\"", Config(), "", "x\"y"},
        ParseCase{"lineBreakInQuotes", "\"x\ny\"", Config(), "", "x\ny"},
        ParseCase{"closedByTheEnd", "\"x\"", Config(), "", "x"},
        ParseCase{"emptyQuoted", "\"\",\"\"", Config(), "", "|"},
        ParseCase{"quoteInsideUnquoted", "a,b\nx\"y,2\n", header, "", "", quoteInField, at(1)},
        ParseCase{"contentAfterClosingQuote", "a,b\n\"x\"y,2\n", header, "", "", unclosed, at(1)},
        ParseCase{"unclosedAtEnd", "\"x", Config(), "", "", unclosed, at(0)},
        ParseCase{"unclosedOnLaterRow", "a\nb\n\"c\n", Config(), "", "", unclosed, at(2)},
        ParseCase{"noEscaping", "a\"b,\"c\"\n",
                  configuration(u",", u"\n", none, {}, Strategy::Escaping::none()), "",
                  "a\"b|\"c\""},
        ParseCase{"otherQuote", "'a,b',c\n",
                  configuration(u",", u"\n", none, {}, Strategy::Escaping::quote(U'\'')), "",
                  "a,b|c"},
        // Trimming.
        ParseCase{"aroundFields", " a , b \n", spaces, "", "a|b"},
        ParseCase{"aroundQuotes", " \"x\" ,y\n", spaces, "", "x|y"},
        ParseCase{"notInsideQuotes", "\" x \"", spaces, "", " x "},
        ParseCase{"insideKept", " a b ,c", spaces, "", "a b|c"},
        ParseCase{"afterQuoteToTheEnd", "\"x\"  ", spaces, "", "x"},
        ParseCase{"nonBmpTrim", "😀a😀,b😀", configuration(u",", u"\n", none, {U'😀'}), "", "a|b"},
        ParseCase{"trimmedLineIsBlank", "a,b\n1,2\n   \n3,4",
                  configuration(u",", u"\n", firstLine, {U' '}), "a|b", "1|2/3|4"},
        ParseCase{"quoteAfterTrimmedSpace", "a,b\n x\"y,2",
                  configuration(u",", u"\n", firstLine, {U' '}), "", "", quoteInField, at(1)},
        // Duplicate headers fail before any row is read, also one that would fail.
        ParseCase{"duplicateHeaders", "x,x\nb,c", header, "", "", duplicate},
        ParseCase{"duplicateBeforeBadRow", "x,y,x\n\"unclosed", header, "", "", duplicate},
        ParseCase{"canonicallyEqualHeaders", "\xC3\xA9,e\xCC\x81\n1,2", header, "", "", duplicate},
        ParseCase{"equalFieldsWithoutHeader", "x,x\nb,c", Config(), "", "x|x/b|c"},
        // Field counts.
        ParseCase{"moreThanHeader", "a,b\n1,2,3\n", header, "", "", fieldCount, counts(2, 3, 2)},
        ParseCase{"fewerThanFirstRow", "1,2\n3,4\n5\n", Config(), "", "", fieldCount,
                  counts(3, 1, 2)},
        ParseCase{"afterSkippedBlanks", "a,b\n1,2\n\n\n3\n", header, "", "", fieldCount,
                  counts(3, 1, 2)}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CsvReaderState, RepeatsItsFailureAndItsEnd)
{
    auto reader = CSVReader::make(QStringLiteral("a,b\n1,2\n3\n4,5\n"), header);
    ASSERT_TRUE(reader.has_value());
    EXPECT_EQ(reader->headers(), QStringList({"a", "b"}));
    EXPECT_EQ(nextRowOf(*reader), QStringList({"1", "2"}));
    EXPECT_EQ(reader->rowCount(), 1);
    const auto first = reader->nextRow();
    ASSERT_FALSE(first.has_value());
    const auto second = reader->nextRow();
    ASSERT_FALSE(second.has_value());
    EXPECT_EQ(second.error().failureReason(), first.error().failureReason());
    EXPECT_EQ(second.error().errorUserInfo(), first.error().errorUserInfo());
    EXPECT_EQ(reader->status().kind, CSVReader::Status::Kind::failed);

    for (const QString& input : {QStringLiteral("x\n"), QString()}) {
        auto done = CSVReader::make(input, header);
        ASSERT_TRUE(done.has_value());
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(nextRowOf(*done), std::nullopt);
        EXPECT_EQ(done->status().kind, CSVReader::Status::Kind::finished);
    }
}

// Random tables written the usual way come back field for field, from text
// and from a stream in any Unicode encoding read a few bytes at a time.
TEST(CsvRoundTrip, RandomTablesComeBackUnchanged)
{
    std::mt19937 random(20240611);
    using enum TextEncoding;
    const TextEncoding encodings[] = {utf8, utf16LittleEndian, utf16BigEndian, utf32LittleEndian,
                                      utf32BigEndian};
    const QStringList pieces{"a", "bc", ",", "\"", "\n", "\r", " ", "é", "😀", "\r\n", ""};
    for (int round = 0; round < 40; ++round) {
        const int columns = 2 + int(random() % 4);
        QList<QStringList> rows;
        QString text;
        for (int r = 0, count = 1 + int(random() % 30); r < count; ++r) {
            QStringList fields;
            QStringList written;
            for (int c = 0; c < columns; ++c) {
                QString field;
                for (int i = 0, length = int(random() % 6); i < length; ++i)
                    field += pieces[random() % pieces.size()];
                const bool plain = !field.contains(QRegularExpression("[,\"\r\n]"));
                fields << field;
                written << (plain && random() % 2
                                ? field
                                : '"' + QString(field).replace("\"", "\"\"") + '"');
            }
            rows << fields;
            text += written.join(',') + '\n';
        }
        SCOPED_TRACE(text.toStdString());
        const auto fromText = CSVReader::readFile(text);
        ASSERT_TRUE(fromText.has_value()) << fromText.error().what();
        EXPECT_EQ(fromText->rows(), rows);

        const TextEncoding encoding = encodings[round % std::size(encodings)];
        const auto streamed = CSVReader::readFile(std::make_unique<csvtest::FakeByteSource>(
            csvtest::encodeText(text, encoding, true), 1 + round % 7,
            std::make_shared<csvtest::FakeByteSource::Log>()));
        ASSERT_TRUE(streamed.has_value()) << streamed.error().what();
        EXPECT_EQ(streamed->rows(), rows);
    }
}

} // namespace
} // namespace qb
