// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <random>
#include <utility>

namespace qb {
namespace {

using csvtest::encodeText;
using csvtest::expectFailure;
using csvtest::FakeByteSource;
using csvtest::nextRowOf;
using Rows = QList<QStringList>;
using enum TextEncoding;

// How the bytes reach the reader.
enum class Form { data, stream1, stream3, stream1024, file, presampledFile, presampledStream };

std::string formName(Form form)
{
    const char* names[] = {"data", "stream1",        "stream3",         "stream1024",
                           "file", "presampledFile", "presampledStream"};
    return names[static_cast<int>(form)];
}

std::expected<CSVFileView, CSVError> readVia(Form form, const QByteArray& bytes,
                                             CSVReader::Configuration config)
{
    const auto log = std::make_shared<FakeByteSource::Log>();
    const auto stream = [&](qsizetype chunk) {
        return std::make_unique<FakeByteSource>(bytes, chunk, log);
    };
    config.presample = form == Form::presampledFile || form == Form::presampledStream;
    switch (form) {
    case Form::data:
        return CSVReader::readFile(bytes, config);
    case Form::stream1:
        return CSVReader::readFile(stream(1), config);
    case Form::stream3:
        return CSVReader::readFile(stream(3), config);
    case Form::stream1024:
    case Form::presampledStream:
        return CSVReader::readFile(stream(1024), config);
    case Form::file:
    case Form::presampledFile: {
        QTemporaryDir dir;
        QFile file(dir.filePath("input.csv"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();
        return CSVReader::readFile(QUrl::fromLocalFile(file.fileName()), config);
    }
    }
    std::unreachable();
}

struct EncodingCase {
    friend void PrintTo(const EncodingCase& row, std::ostream* out) { *out << row.name; }

    const char* name;
    QByteArray bytes;
    std::optional<TextEncoding> encoding;
    Rows rows;      // when it succeeds
    QString reason; // when it fails
    QVariantMap userInfo = {};
};

class CsvEncoding : public testing::TestWithParam<std::tuple<EncodingCase, Form>> {};

TEST_P(CsvEncoding, DecodesOrFailsTheSameInEveryForm)
{
    const auto& [row, form] = GetParam();
    CSVReader::Configuration config;
    config.encoding = row.encoding;
    const auto view = readVia(form, row.bytes, config);
    if (row.reason.isEmpty()) {
        ASSERT_TRUE(view.has_value()) << view.error().what();
        EXPECT_EQ(view->rows(), row.rows);
        return;
    }
    ASSERT_FALSE(view.has_value());
    expectFailure(view.error(), row.reason);
    if (!row.userInfo.isEmpty()) {
        EXPECT_EQ(view.error().errorUserInfo(), row.userInfo);
    }
}

const QString mismatch = "The encoding passed in the configuration doesn't match the Byte Order "
                         "Mark (BOM) from the input data";
const QString badUtf8 = "Some input bytes couldn't be decoded as UTF8 characters";
const QString badUtf16 = "Some input bytes couldn't be decoded as multibyte UTF16";
const QString badUtf32 = "Some input bytes couldn't be decoded as multibyte UTF32";
const QString shortUtf16 =
    "The last input UTF16 character is incomplete (only 1 byte was found when 2 were expected).";
const QString shortUtf32 =
    "The last input UTF32 character is incomplete (less than 4 bytes were found).";

const QString mixed = QString::fromUtf8("é,日\n😀,x");
const Rows mixedRows{{"é", "日"}, {"😀", "x"}};

const EncodingCase encodingCases[] = {
    {"utf8Mark", encodeText(mixed, utf8, true), {}, mixedRows, {}},
    {"utf8Unmarked", encodeText(mixed, utf8, false), {}, mixedRows, {}},
    {"shortUnmarkedKeepsReadAhead", "ab", {}, {{"ab"}}, {}},
    {"utf16LeMark", encodeText(mixed, utf16LittleEndian, true), {}, mixedRows, {}},
    {"utf16BeMark", encodeText(mixed, utf16BigEndian, true), {}, mixedRows, {}},
    {"utf16TakesLeMark", encodeText(mixed, utf16LittleEndian, true), utf16, mixedRows, {}},
    {"unicodeTakesBeMark", encodeText(mixed, utf16BigEndian, true), unicode, mixedRows, {}},
    {"utf16UnmarkedIsBigEndian", encodeText(mixed, utf16BigEndian, false), utf16, mixedRows, {}},
    {"utf16LeUnmarked",
     encodeText(mixed, utf16LittleEndian, false),
     utf16LittleEndian,
     mixedRows,
     {}},
    {"utf32LeMark", encodeText(mixed, utf32LittleEndian, true), {}, mixedRows, {}},
    {"utf32BeMark", encodeText(mixed, utf32BigEndian, true), {}, mixedRows, {}},
    {"utf32TakesLeMark", encodeText(mixed, utf32LittleEndian, true), utf32, mixedRows, {}},
    {"utf32UnmarkedIsBigEndian", encodeText(mixed, utf32BigEndian, false), utf32, mixedRows, {}},
    {"ascii", "a,b\nc,d", ascii, {{"a", "b"}, {"c", "d"}}, {}},
    {"utf8AgainstUtf16Mark",
     encodeText("a", utf16LittleEndian, true),
     utf8,
     {},
     mismatch,
     {{"Provided encoding", "utf8"}, {"Data BOM encoding", "utf16le"}}},
    {"utf32AgainstUtf16Mark", encodeText("a", utf16BigEndian, true), utf32, {}, mismatch, {}},
    {"utf16beAgainstLeMark",
     encodeText("a", utf16LittleEndian, true),
     utf16BigEndian,
     {},
     mismatch,
     {}},
    {"twoByteMarkDecidesOnThreeBytes", QByteArray("\xFF\xFE\x41", 3), {}, {}, shortUtf16, {}},
    {"asciiHighByte",
     "a,\xE9",
     ascii,
     {},
     "The decoded byte is not an ASCII character.",
     {{"Byte", 0xE9}}},
    {"unsupportedWithoutPresample",
     "a",
     isoLatin1,
     {},
     "The given encoding is not yet supported by this library",
     {{"Encoding", "latin1"}}},
    {"utf8Overlong", "a,\xC0\x80", {}, {}, badUtf8, {}},
    {"utf8Surrogate", "a,\xED\xA0\x80", {}, {}, badUtf8, {}},
    {"utf8BeyondUnicode", "a,\xF4\x90\x80\x80", {}, {}, badUtf8, {}},
    {"utf8Truncated", "a,\xE2\x82", {}, {}, badUtf8, {}},
    {"utf8LoneContinuation", "\x80", {}, {}, badUtf8, {}},
    {"utf8BadContinuation", "a,\xE2\x41\x41", {}, {}, badUtf8, {}},
    {"utf16LoneLow", QByteArray("\x00\x61\xDC\x00", 4), utf16BigEndian, {}, badUtf16, {}},
    {"utf16HighThenPlain", QByteArray("\xD8\x00\x00\x61", 4), utf16BigEndian, {}, badUtf16, {}},
    {"utf16HighAtEnd", QByteArray("\x00\x61\xD8\x00", 4), utf16BigEndian, {}, badUtf16, {}},
    {"utf32Surrogate", QByteArray("\x00\x00\xD8\x00", 4), utf32BigEndian, {}, badUtf32, {}},
    {"utf32BeyondUnicode", QByteArray("\x00\x11\x00\x00", 4), utf32BigEndian, {}, badUtf32, {}},
    {"utf32Incomplete",
     QByteArray("\x00\x00\x00\x61\x00\x00", 6),
     utf32BigEndian,
     {},
     shortUtf32,
     {}},
};

// A presampled blob with a given encoding goes through the platform decoder
// instead, which has its own test; every other pairing is run.
std::vector<std::tuple<EncodingCase, Form>> encodingParams()
{
    std::vector<std::tuple<EncodingCase, Form>> params;
    for (const EncodingCase& row : encodingCases) {
        for (const Form form : {Form::data, Form::stream1, Form::stream3, Form::stream1024,
                                Form::file, Form::presampledFile, Form::presampledStream}) {
            const bool presampled = form == Form::presampledFile || form == Form::presampledStream;
            if (!presampled || !row.encoding)
                params.emplace_back(row, form);
        }
    }
    return params;
}

INSTANTIATE_TEST_SUITE_P(Table, CsvEncoding, testing::ValuesIn(encodingParams()),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    formName(std::get<1>(info.param));
                         });

// Scalars of every width across reads of every size, so that run boundaries
// fall inside every kind of multi-byte unit.
TEST(CsvEncodingRuns, ScalarsSurviveAnyReadSize)
{
    QString text;
    for (int row = 0; row < 120; ++row) {
        QStringList fields;
        for (int column = 0; column < 5; ++column)
            fields << QString::fromUtf8((row + column) % 3 ? "a日é😀" : "\"x,😀\n\"\"é\"");
        text += fields.join(',') + '\n';
    }
    const auto expected = CSVReader::readFile(text);
    ASSERT_TRUE(expected.has_value()) << expected.error().what();
    for (const TextEncoding encoding :
         {utf8, utf16LittleEndian, utf16BigEndian, utf32LittleEndian, utf32BigEndian}) {
        for (const bool mark : {true, false}) {
            for (const qsizetype chunk : {1, 2, 3, 5, 7, 1024}) {
                SCOPED_TRACE(testing::Message() << textEncodingName(encoding).toStdString()
                                                << " mark " << mark << " chunk " << chunk);
                CSVReader::Configuration config;
                if (!mark)
                    config.encoding = encoding;
                const QByteArray bytes = encodeText(text, encoding, mark);
                const auto log = std::make_shared<FakeByteSource::Log>();
                const auto view = CSVReader::readFile(
                    std::make_unique<FakeByteSource>(bytes, chunk, log), config);
                ASSERT_TRUE(view.has_value()) << view.error().what();
                EXPECT_EQ(view->rows(), expected->rows());
                const auto blob = CSVReader::readFile(bytes, config);
                ASSERT_TRUE(blob.has_value());
                EXPECT_EQ(blob->rows(), expected->rows());
            }
        }
    }
}

// Whatever the bytes, every encoding and delimiter shape ends in rows or in
// an error, never in a crash or a hang.
TEST(CsvEncodingRuns, RandomBytesEndInRowsOrAnError)
{
    std::mt19937 random(7);
    const char alphabet[] = {',',    '\n',   '\r',   '"',    ' ',    'a',    '\0',   '\xFE',
                             '\xFF', '\xC3', '\xA9', '\xD8', '\xDC', '\xF0', '\x9F', '\x80'};
    for (int round = 0; round < 300; ++round) {
        QByteArray bytes;
        for (int i = 0, length = int(random() % 64); i < length; ++i)
            bytes += alphabet[random() % sizeof alphabet];
        for (const std::optional<TextEncoding> encoding :
             {std::optional<TextEncoding>(), std::optional(ascii), std::optional(utf16),
              std::optional(utf32LittleEndian)}) {
            CSVReader::Configuration config;
            config.encoding = encoding;
            config.headerStrategy =
                round % 2 ? Strategy::Header::firstLine : Strategy::Header::none;
            config.delimiters = {round % 3 ? Delimiter::Field(u",") : Delimiter::Field(u",\r,"),
                                 round % 4 ? Delimiter::Row(u"\n") : Delimiter::Row(u"\r\n")};
            if (round % 5 == 0)
                config.trimStrategy = {U' '};
            const auto log = std::make_shared<FakeByteSource::Log>();
            const auto view =
                CSVReader::readFile(std::make_unique<FakeByteSource>(bytes, 3, log), config);
            EXPECT_EQ(log->lastStatus, ByteSource::Status::closed);
            if (!view) {
                EXPECT_TRUE(view.error().failureReason().has_value());
            }
        }
    }
}

TEST(CsvPresample, DecodesTheWholeBlobWithTheGivenEncoding)
{
    CSVReader::Configuration config;
    config.presample = true;
    config.encoding = isoLatin1;
    const auto latin = CSVReader::readFile(QByteArray("caf\xE9,b"), config);
    ASSERT_TRUE(latin.has_value()) << latin.error().what();
    EXPECT_EQ(latin->rows(), Rows({{QString::fromUtf8("café"), "b"}}));

    const QString reason = "The data blob didn't match the given string encoding.";
    for (const auto& [encoding, bytes] :
         {std::pair{ascii, QByteArray("a,\xE9")}, std::pair{utf8, QByteArray("a,\xC0\x80")}}) {
        SCOPED_TRACE(textEncodingName(encoding).toStdString());
        config.encoding = encoding;
        const auto view = CSVReader::readFile(bytes, config);
        ASSERT_FALSE(view.has_value());
        expectFailure(view.error(), reason);
        EXPECT_EQ(view.error().errorUserInfo().value("Encoding"), textEncodingName(encoding));
    }
}

TEST(CsvStream, DeliversWholeUnitsBeforeFailingOnAnOddByte)
{
    const auto log = std::make_shared<FakeByteSource::Log>();
    const QByteArray bytes = encodeText("a\nb\nc", utf16LittleEndian, true) + 'x';
    auto reader = CSVReader::make(std::make_unique<FakeByteSource>(bytes, 3, log));
    ASSERT_TRUE(reader.has_value());
    EXPECT_EQ(nextRowOf(*reader), QStringList{"a"});
    EXPECT_EQ(nextRowOf(*reader), QStringList{"b"});
    const auto failed = reader->nextRow();
    ASSERT_FALSE(failed.has_value());
    expectFailure(failed.error(), shortUtf16);
    EXPECT_EQ(log->lastStatus, ByteSource::Status::closed);
}

struct StreamFailureCase {
    friend void PrintTo(const StreamFailureCase& row, std::ostream* out) { *out << row.name; }

    const char* name;
    bool presample;
    qsizetype failAfter;
    QString reason;
    QVariantMap userInfo;
    int rowsBeforeFailure;
};

class CsvStreamFailure : public testing::TestWithParam<StreamFailureCase> {};

TEST_P(CsvStreamFailure, ReportsTheStreamErrorAndClosesIt)
{
    const StreamFailureCase& row = GetParam();
    const auto log = std::make_shared<FakeByteSource::Log>();
    CSVReader::Configuration config;
    config.presample = row.presample;
    auto reader = CSVReader::make(
        std::make_unique<FakeByteSource>("a\nb\nc\nd\ne\n", 1024, log, row.failAfter), config);
    std::optional<CSVError> error;
    int rows = 0;
    if (!reader) {
        error = reader.error();
    } else {
        for (auto next = reader->nextRow(); next && *next; next = reader->nextRow())
            ++rows;
        const auto last = reader->nextRow();
        ASSERT_FALSE(last.has_value());
        error = last.error();
    }
    expectFailure(*error, row.reason);
    EXPECT_EQ(error->errorUserInfo(), row.userInfo);
    ASSERT_NE(error->underlyingError(), nullptr);
    EXPECT_EQ(error->underlyingError()->errorDescription, "the cable came loose");
    EXPECT_EQ(rows, row.rowsBeforeFailure);
    EXPECT_EQ(log->lastStatus, ByteSource::Status::closed);
}

INSTANTIATE_TEST_SUITE_P(
    Table, CsvStreamFailure,
    testing::Values(
        StreamFailureCase{
            "firstBytes",
            false,
            0,
            "The input stream encountered an error while trying to read the first bytes.",
            {{"Stream status", 7}},
            0},
        StreamFailureCase{"laterBytes",
                          false,
                          7,
                          "The input stream encountered an error while trying to read input bytes.",
                          {{"Stream status", 7}},
                          3},
        StreamFailureCase{"presampled",
                          true,
                          7,
                          "The provided input stream could not be read in its entirety.",
                          {{"Input stream", "fake"}},
                          0}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CsvStream, ClosesAtTheEndAndWhenDroppedEarly)
{
    const auto empty = std::make_shared<FakeByteSource::Log>();
    const auto view = CSVReader::readFile(std::make_unique<FakeByteSource>("", 1024, empty));
    ASSERT_TRUE(view.has_value());
    EXPECT_EQ(view->rowCount(), 0);
    EXPECT_EQ(empty->closes, 1);
    EXPECT_EQ(empty->lastStatus, ByteSource::Status::closed);

    const auto dropped = std::make_shared<FakeByteSource::Log>();
    {
        auto reader = CSVReader::make(std::make_unique<FakeByteSource>("a\nb\nc\n", 2, dropped));
        ASSERT_TRUE(reader.has_value());
        EXPECT_EQ(nextRowOf(*reader), QStringList{"a"});
        EXPECT_EQ(dropped->closes, 0);
    }
    EXPECT_EQ(dropped->closes, 1);

    const auto refused = std::make_shared<FakeByteSource::Log>();
    CSVReader::Configuration config;
    config.encoding = utf8;
    EXPECT_FALSE(CSVReader::make(
        std::make_unique<FakeByteSource>(encodeText("a", utf16BigEndian, true), 1024, refused),
        config));
    EXPECT_EQ(refused->opens, 1);
    EXPECT_EQ(refused->lastStatus, ByteSource::Status::closed);
}

TEST(CsvStream, ReadsThroughAQtDevice)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(encodeText("h1,h2\nv1,v2\n", utf16LittleEndian, true));
    CSVReader::Configuration config;
    config.headerStrategy = Strategy::Header::firstLine;
    const auto view =
        CSVReader::readFile(std::make_unique<QIODeviceByteSource>(std::move(buffer)), config);
    ASSERT_TRUE(view.has_value()) << view.error().what();
    EXPECT_EQ(view->headers(), QStringList({"h1", "h2"}));
    EXPECT_EQ(view->rows(), Rows({{"v1", "v2"}}));
}

TEST(CsvFile, ReportsFilesThatCantBeOpened)
{
    const QUrl missing = QUrl::fromLocalFile("/nonexistent/quillbrook/input.csv");
    CSVReader::Configuration config;
    config.presample = true;
    auto view = CSVReader::readFile(missing, config);
    ASSERT_FALSE(view.has_value());
    expectFailure(view.error(), "The file under the given URL couldn't be read.");
    EXPECT_EQ(view.error().errorUserInfo().value("File URL").toUrl(), missing);
    EXPECT_NE(view.error().underlyingError(), nullptr);

    // Without presample a missing file shows up when the stream first reads.
    view = CSVReader::readFile(missing);
    ASSERT_FALSE(view.has_value());
    expectFailure(view.error(),
                  "The input stream encountered an error while trying to read the first bytes.");

    const QUrl remote("https://example.com/input.csv");
    view = CSVReader::readFile(remote);
    ASSERT_FALSE(view.has_value());
    expectFailure(view.error(), "Creating an input stream to the given file URL failed.");
    EXPECT_EQ(view.error().errorUserInfo().value("File URL").toUrl(), remote);
}

} // namespace
} // namespace qb
