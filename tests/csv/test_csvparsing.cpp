// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <random>

namespace qb {
namespace {

using csvtest::expectFailure;
using csvtest::nextRowOf;
using csvtest::readTable;
using Rows = QList<QStringList>;
using Header = Strategy::Header;

struct ParseCase {
    friend void PrintTo(const ParseCase& row, std::ostream* out) { *out << row.name; }

    const char* name;
    QString input;
    CSVReader::Configuration config;
    QStringList headers;
    Rows rows;
    QString reason = {}; // set: the read fails with it
    QVariantMap userInfo = {};
};

CSVReader::Configuration withHeader(Header header = Header::firstLine)
{
    CSVReader::Configuration config;
    config.headerStrategy = header;
    return config;
}

CSVReader::Configuration delimited(Delimiter::Field field, Delimiter::Row row,
                                   Header header = Header::none)
{
    CSVReader::Configuration config = withHeader(header);
    config.delimiters = {field, row};
    return config;
}

CSVReader::Configuration trimming(std::set<char32_t> trim, Header header = Header::none)
{
    CSVReader::Configuration config = withHeader(header);
    config.trimStrategy = std::move(trim);
    return config;
}

CSVReader::Configuration escaping(Strategy::Escaping escaping)
{
    CSVReader::Configuration config;
    config.escapingStrategy = escaping;
    return config;
}

class CsvParsing : public testing::TestWithParam<ParseCase> {};

TEST_P(CsvParsing, ReadsTheExpectedRows)
{
    const ParseCase& row = GetParam();
    const auto table = readTable(row.input, row.config);
    if (row.reason.isEmpty()) {
        ASSERT_TRUE(table.has_value()) << table.error().what();
        EXPECT_EQ(table->headers, row.headers);
        EXPECT_EQ(table->rows, row.rows);
        return;
    }
    ASSERT_FALSE(table.has_value()) << "rows: " << table->rows.size();
    expectFailure(table.error(), row.reason);
    EXPECT_EQ(table.error().errorUserInfo(), row.userInfo);
}

std::string caseName(const testing::TestParamInfo<ParseCase>& info)
{
    return info.param.name;
}

const QString fieldCount = "The number of fields is not constant between rows.";
const QString quoteInField = "Quotes aren't allowed within fields which don't start with quotes.";
const QString unclosed = "The last field is escaped (through quotes) and an EOF (End of File) was "
                         "encountered before the field was properly closed (with a final quote "
                         "character).";

QVariantMap counts(int rowIndex, int parsed, int expected)
{
    return {{"Row index", rowIndex},
            {"Number of parsed fields", parsed},
            {"Number of expected fields", expected}};
}

INSTANTIATE_TEST_SUITE_P(
    Delimiters, CsvParsing,
    testing::Values(
        ParseCase{"crlf",
                  "a,b\r\n1,2\r\n",
                  delimited(u",", u"\r\n", Header::firstLine),
                  {"a", "b"},
                  {{"1", "2"}}},
        ParseCase{"crlfLoneCarriageReturnIsContent",
                  "a\rb,c\r\nd,e",
                  delimited(u",", u"\r\n"),
                  {},
                  {{"a\rb", "c"}, {"d", "e"}}},
        ParseCase{
            "crlfEndingInCarriageReturn", "a,b\r", delimited(u",", u"\r\n"), {}, {{"a", "b\r"}}},
        ParseCase{
            "crlfOnLineFeeds", "a,b\n1,2\n", delimited(u",", u"\r\n"), {}, {{"a", "b\n1", "2\n"}}},
        ParseCase{"threeScalarsPartial", "abx", delimited(u",", u"abc"), {}, {{"abx"}}},
        ParseCase{"threeScalarsPartialAtEnd", "1,2ab", delimited(u",", u"abc"), {}, {{"1", "2ab"}}},
        ParseCase{"threeScalars",
                  "1,2abc3,4abcab,5",
                  delimited(u",", u"abc"),
                  {},
                  {{"1", "2"}, {"3", "4"}, {"ab", "5"}}},
        ParseCase{"twoScalarField",
                  "a::b:c:\nd::e",
                  delimited(u"::", u"\n"),
                  {},
                  {{"a", "b:c:"}, {"d", "e"}}},
        ParseCase{"twoScalarFieldCutByEnd", "a::b:", delimited(u"::", u"\n"), {}, {{"a", "b:"}}},
        ParseCase{"nonBmpField",
                  QString::fromUtf8("a😀b\nc😀d"),
                  delimited(u"😀", u"\n"),
                  {},
                  {{"a", "b"}, {"c", "d"}}},
        ParseCase{"semicolon", "a,b;c\n", delimited(u";", u"\n"), {}, {{"a,b", "c"}}},
        ParseCase{"fieldDelimiterTestedFirst",
                  "a,b,\nc",
                  delimited(u",", u",\n"),
                  {},
                  {{"a", "b", "\nc"}}},
        ParseCase{
            "quotedThenCrlf", "\"a\"\r\n\"b\"", delimited(u",", u"\r\n"), {}, {{"a"}, {"b"}}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    BlankLines, CsvParsing,
    testing::Values(
        ParseCase{"lastRowWithoutDelimiter", "a,b\n1,2", withHeader(), {"a", "b"}, {{"1", "2"}}},
        ParseCase{"lastRowWithDelimiter", "a,b\n1,2\n", withHeader(), {"a", "b"}, {{"1", "2"}}},
        ParseCase{"blankAfterHeaderIsARow",
                  "a,b\n\n1,2\n",
                  withHeader(),
                  {},
                  {},
                  fieldCount,
                  counts(2, 1, 2)},
        ParseCase{"laterBlanksVanish",
                  "a,b\n1,2\n\n3,4\n\n",
                  withHeader(),
                  {"a", "b"},
                  {{"1", "2"}, {"3", "4"}}},
        ParseCase{"blankAfterHeaderOneColumn", "a\n\n1\n", withHeader(), {"a"}, {{""}, {"1"}}},
        ParseCase{"leadingBlanksWithoutHeader",
                  "\n\na,b\n1,2\n",
                  withHeader(Header::none),
                  {},
                  {{"a", "b"}, {"1", "2"}}},
        ParseCase{"blankFirstLineIsTheHeader",
                  "\n\na,b\n1,2\n",
                  withHeader(),
                  {},
                  {},
                  fieldCount,
                  counts(3, 2, 1)},
        ParseCase{"blankAfterFirstRowWithoutHeader",
                  "a,b\n\n1,2",
                  withHeader(Header::none),
                  {},
                  {},
                  fieldCount,
                  counts(2, 1, 2)},
        ParseCase{"onlyAFieldDelimiterIsNoBlank", "a,b\n,\n", withHeader(), {"a", "b"}, {{"", ""}}},
        ParseCase{"blankInQuotesIsContent", "a\n1\n\"\n\"\n", withHeader(), {"a"}, {{"1"}, {"\n"}}},
        ParseCase{"trailingEmptyField", "a,b\n1,\n", withHeader(), {"a", "b"}, {{"1", ""}}},
        ParseCase{"trailingEmptyFieldAtEnd", "a,b\n1,", withHeader(), {"a", "b"}, {{"1", ""}}},
        ParseCase{"emptyWithHeader", "", withHeader(), {}, {}},
        ParseCase{"onlyBlanksWithoutHeader", "\n\n\n", withHeader(Header::none), {}, {}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Quoting, CsvParsing,
    testing::Values(
        ParseCase{
            "delimiterInQuotes", "a,b\n\"1,2\",3\n", withHeader(), {"a", "b"}, {{"1,2", "3"}}},
        ParseCase{"doubledQuote", "\"x\"\"y\"", {}, {}, {{"x\"y"}}},
        ParseCase{"lineBreakInQuotes", "\"x\ny\"", {}, {}, {{"x\ny"}}},
        ParseCase{"closedByTheEnd", "\"x\"", {}, {}, {{"x"}}},
        ParseCase{"emptyQuoted", "\"\",\"\"", {}, {}, {{"", ""}}},
        ParseCase{"quoteInsideUnquoted",
                  "a,b\nx\"y,2\n",
                  withHeader(),
                  {},
                  {},
                  quoteInField,
                  {{"Row index", 1}}},
        ParseCase{"quoteEndingUnquoted",
                  "a,b\nxy\",2\n",
                  withHeader(),
                  {},
                  {},
                  quoteInField,
                  {{"Row index", 1}}},
        ParseCase{
            "quoteInHeader", "a\"b\n", withHeader(), {}, {}, quoteInField, {{"Row index", 0}}},
        ParseCase{"contentAfterClosingQuote",
                  "a,b\n\"x\"y,2\n",
                  withHeader(),
                  {},
                  {},
                  unclosed,
                  {{"Row index", 1}}},
        ParseCase{"unclosedAtEnd", "\"x", {}, {}, {}, unclosed, {{"Row index", 0}}},
        ParseCase{"unclosedOnLaterRow", "a\nb\n\"c\n", {}, {}, {}, unclosed, {{"Row index", 2}}},
        ParseCase{"noEscaping",
                  "a\"b,\"c\"\n",
                  escaping(Strategy::Escaping::none()),
                  {},
                  {{"a\"b", "\"c\""}}},
        ParseCase{"otherQuote",
                  "'a,b',c\n",
                  escaping(Strategy::Escaping::quote(U'\'')),
                  {},
                  {{"a,b", "c"}}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Trimming, CsvParsing,
    testing::Values(
        ParseCase{"aroundFields", " a , b \n", trimming({U' '}), {}, {{"a", "b"}}},
        ParseCase{"aroundQuotes", " \"x\" ,y\n", trimming({U' '}), {}, {{"x", "y"}}},
        ParseCase{"notInsideQuotes", "\" x \"", trimming({U' '}), {}, {{" x "}}},
        ParseCase{"insideKept", " a b ,c", trimming({U' '}), {}, {{"a b", "c"}}},
        ParseCase{"afterQuoteToTheEnd", "\"x\"  ", trimming({U' '}), {}, {{"x"}}},
        ParseCase{"severalScalars", "\t a\t,b \t\n", trimming({U' ', U'\t'}), {}, {{"a", "b"}}},
        ParseCase{"nonBmp", QString::fromUtf8("😀a😀,b😀"), trimming({U'😀'}), {}, {{"a", "b"}}},
        ParseCase{"trimmedLineIsBlank",
                  "a,b\n1,2\n   \n3,4",
                  trimming({U' '}, Header::firstLine),
                  {"a", "b"},
                  {{"1", "2"}, {"3", "4"}}},
        ParseCase{"quoteAfterTrimmedSpace",
                  "a,b\n x\"y,2",
                  trimming({U' '}, Header::firstLine),
                  {},
                  {},
                  quoteInField,
                  {{"Row index", 1}}}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    FieldCounts, CsvParsing,
    testing::Values(
        ParseCase{
            "moreThanHeader", "a,b\n1,2,3\n", withHeader(), {}, {}, fieldCount, counts(2, 3, 2)},
        ParseCase{"fewerThanFirstRow", "1,2\n3,4\n5\n", {}, {}, {}, fieldCount, counts(3, 1, 2)},
        ParseCase{"afterSkippedBlanks",
                  "a,b\n1,2\n\n\n3\n",
                  withHeader(),
                  {},
                  {},
                  fieldCount,
                  counts(3, 1, 2)}),
    caseName);

TEST(CsvReaderState, RepeatsItsFailureAndItsEnd)
{
    auto reader = CSVReader::make(QStringLiteral("a,b\n1,2\n3\n4,5\n"), withHeader());
    ASSERT_TRUE(reader.has_value());
    EXPECT_EQ(reader->headers(), QStringList({"a", "b"}));
    EXPECT_EQ(reader->count().rows, 1);
    EXPECT_EQ(reader->count().fields, 2);
    EXPECT_EQ(nextRowOf(*reader), QStringList({"1", "2"}));
    EXPECT_EQ(reader->rowCount(), 1);
    const auto first = reader->nextRow();
    ASSERT_FALSE(first.has_value());
    const auto second = reader->nextRow();
    ASSERT_FALSE(second.has_value());
    EXPECT_EQ(second.error().failureReason(), first.error().failureReason());
    EXPECT_EQ(second.error().errorUserInfo(), first.error().errorUserInfo());
    EXPECT_EQ(reader->status().kind, CSVReader::Status::Kind::failed);

    auto done = CSVReader::make(QStringLiteral("x\n"));
    ASSERT_TRUE(done.has_value());
    EXPECT_EQ(nextRowOf(*done), QStringList{"x"});
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(nextRowOf(*done), std::nullopt);
    EXPECT_EQ(done->status().kind, CSVReader::Status::Kind::finished);
    EXPECT_EQ(done->rowCount(), 1);
}

TEST(CsvReaderState, EmptyInputEndsAtOnce)
{
    auto reader = CSVReader::make(QString());
    ASSERT_TRUE(reader.has_value());
    EXPECT_EQ(nextRowOf(*reader), std::nullopt);
    auto withHeaderLine = CSVReader::make(QString(), withHeader());
    ASSERT_TRUE(withHeaderLine.has_value());
    EXPECT_EQ(withHeaderLine->status().kind, CSVReader::Status::Kind::finished);
    EXPECT_TRUE(withHeaderLine->headers().isEmpty());
}

// Random tables written the usual way come back field for field, through
// text and through a UTF-16 stream read a few bytes at a time.
TEST(CsvRoundTrip, RandomTablesComeBackUnchanged)
{
    std::mt19937 random(20240611);
    const QStringList pieces{"a", "bc", ",", "\"", "\n", "\r", " ", "é", "😀", "\r\n", ""};
    for (int round = 0; round < 40; ++round) {
        const int columns = 2 + int(random() % 4);
        Rows rows;
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
        const auto fromText = readTable(text);
        ASSERT_TRUE(fromText.has_value()) << fromText.error().what();
        EXPECT_EQ(fromText->rows, rows);

        const auto log = std::make_shared<csvtest::FakeByteSource::Log>();
        const QByteArray bytes = csvtest::encodeText(text, TextEncoding::utf16LittleEndian, true);
        auto reader = CSVReader::make(std::make_unique<csvtest::FakeByteSource>(bytes, 3, log));
        ASSERT_TRUE(reader.has_value());
        Rows streamed;
        for (auto next = reader->nextRow(); next && *next; next = reader->nextRow())
            streamed << **next;
        EXPECT_EQ(streamed, rows);
    }
}

} // namespace
} // namespace qb
