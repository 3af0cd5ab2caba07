// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <random>
#include <utility>

namespace qb {
namespace {

using csvtest::encoded;
using csvtest::encodeText;
using csvtest::expectFailure;
using csvtest::FakeByteSource;
using csvtest::nextRowOf;
using csvtest::table;
using Log = FakeByteSource::Log;
using enum TextEncoding;

// How the bytes reach the reader.
struct Form {
    const char* name;
    qsizetype chunk; // a stream read this many bytes at a time; 0: no stream
    bool file;
    bool presample;
};

const Form forms[] = {{"data", 0, false, false},         {"stream1", 1, false, false},
                      {"stream3", 3, false, false},      {"file", 0, true, false},
                      {"presampledFile", 0, true, true}, {"presampledStream", 1024, false, true}};

std::expected<CSVFileView, CSVError> readVia(const Form& form, const QByteArray& bytes,
                                             CSVReader::Configuration config)
{
    config.presample = form.presample;
    if (form.chunk > 0) {
        return CSVReader::readFile(
            std::make_unique<FakeByteSource>(bytes, form.chunk, std::make_shared<Log>()), config);
    }
    if (!form.file)
        return CSVReader::readFile(bytes, config);
    QTemporaryDir dir;
    QFile file(dir.filePath("input.csv"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    return CSVReader::readFile(QUrl::fromLocalFile(file.fileName()), config);
}

struct EncodingCase {
    const char* name;
    QByteArray bytes;
    std::optional<TextEncoding> encoding;
    const char* rows;    // when it succeeds, as for table()
    QString reason = {}; // when it fails
    QVariantMap userInfo = {};
};

class CsvEncoding : public testing::TestWithParam<std::tuple<EncodingCase, Form>> {};

TEST_P(CsvEncoding, DecodesOrFailsTheSameInEveryForm)
{
    const auto& [row, form] = GetParam();
    const auto view = readVia(form, row.bytes, encoded(row.encoding));
    if (row.reason.isEmpty()) {
        ASSERT_TRUE(view.has_value()) << view.error().what();
        EXPECT_EQ(view->rows(), table(row.rows));
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

// Scalars of one, two, three and four UTF-8 bytes, with and without a mark.
const char* const mixedRows = "é|日/😀|x";
QByteArray marked(TextEncoding encoding)
{
    return encodeText(QString::fromUtf8("é,日\n😀,x"), encoding, true);
}
QByteArray unmarked(TextEncoding encoding)
{
    return encodeText(QString::fromUtf8("é,日\n😀,x"), encoding, false);
}

const EncodingCase encodingCases[] = {
    {"utf8Mark", marked(utf8), {}, mixedRows},
    {"utf8Unmarked", unmarked(utf8), {}, mixedRows},
    {"shortUnmarkedKeepsReadAhead", "ab", {}, "ab"},
    {"utf16LeMark", marked(utf16LittleEndian), {}, mixedRows},
    {"utf16BeMark", marked(utf16BigEndian), {}, mixedRows},
    {"utf16TakesLeMark", marked(utf16LittleEndian), utf16, mixedRows},
    {"unicodeTakesBeMark", marked(utf16BigEndian), unicode, mixedRows},
    {"utf16UnmarkedIsBigEndian", unmarked(utf16BigEndian), utf16, mixedRows},
    {"utf16LeUnmarked", unmarked(utf16LittleEndian), utf16LittleEndian, mixedRows},
    {"utf32LeMark", marked(utf32LittleEndian), {}, mixedRows},
    {"utf32BeMark", marked(utf32BigEndian), {}, mixedRows},
    {"utf32TakesLeMark", marked(utf32LittleEndian), utf32, mixedRows},
    {"utf32UnmarkedIsBigEndian", unmarked(utf32BigEndian), utf32, mixedRows},
    {"ascii", "a,b\nc,d", ascii, "a|b/c|d"},
    {"utf8AgainstUtf16Mark",
     encodeText("a", utf16LittleEndian, true),
     utf8,
     "",
     mismatch,
     {{"Provided encoding", "utf8"}, {"Data BOM encoding", "utf16le"}}},
    {"utf32AgainstUtf16Mark", encodeText("a", utf16BigEndian, true), utf32, "", mismatch},
    {"twoByteMarkDecidesOnThreeBytes", QByteArray("\xFF\xFE\x41", 3), {}, "", shortUtf16},
    {"asciiHighByte",
     "a,\xE9",
     ascii,
     "",
     "The decoded byte is not an ASCII character.",
     {{"Byte", 0xE9}}},
    {"unsupportedWithoutPresample",
     "a",
     isoLatin1,
     "",
     "The given encoding is not yet supported by this library",
     {{"Encoding", "latin1"}}},
    {"utf8Overlong", "a,\xC0\x80", {}, "", badUtf8},
    {"utf8Surrogate", "a,\xED\xA0\x80", {}, "", badUtf8},
    {"utf8BeyondUnicode", "a,\xF4\x90\x80\x80", {}, "", badUtf8},
    {"utf8Truncated", "a,\xE2\x82", {}, "", badUtf8},
    {"utf8LoneContinuation", "\x80", {}, "", badUtf8},
    {"utf8BadContinuation", "a,\xE2\x41\x41", {}, "", badUtf8},
    {"utf16LoneLow", QByteArray("\x00\x61\xDC\x00", 4), utf16BigEndian, "", badUtf16},
    {"utf16HighThenPlain", QByteArray("\xD8\x00\x00\x61", 4), utf16BigEndian, "", badUtf16},
    {"utf16HighAtEnd", QByteArray("\x00\x61\xD8\x00", 4), utf16BigEndian, "", badUtf16},
    {"utf32Surrogate", QByteArray("\x00\x00\xD8\x00", 4), utf32BigEndian, "", badUtf32},
    {"utf32BeyondUnicode", QByteArray("\x00\x11\x00\x00", 4), utf32BigEndian, "", badUtf32},
    {"utf32Incomplete", QByteArray("\x00\x00\x00\x61\x00\x00", 6), utf32BigEndian, "",
     "The last input UTF32 character is incomplete (less than 4 bytes were found)."},
};

// A presampled blob with a given encoding goes through the platform decoder
// instead, which has its own test; every other pairing is run.
std::vector<std::tuple<EncodingCase, Form>> encodingParams()
{
    std::vector<std::tuple<EncodingCase, Form>> params;
    for (const EncodingCase& row : encodingCases) {
        for (const Form& form : forms) {
            if (!form.presample || !row.encoding)
                params.emplace_back(row, form);
        }
    }
    return params;
}

INSTANTIATE_TEST_SUITE_P(Table, CsvEncoding, testing::ValuesIn(encodingParams()),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + "_" +
                                    std::get<1>(info.param).name;
                         });

// Whatever the bytes, every encoding and delimiter shape ends in rows or in
// an error, never in a crash or a hang, and the stream is closed.
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
            CSVReader::Configuration config = csvtest::configuration(
                round % 3 ? u"," : u",\r,", round % 4 ? u"\n" : u"\r\n",
                round % 2 ? Strategy::Header::firstLine : Strategy::Header::none,
                round % 5 ? std::set<char32_t>() : std::set<char32_t>{U' '});
            config.encoding = encoding;
            const auto log = std::make_shared<Log>();
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
    CSVReader::Configuration config = encoded(isoLatin1, true);
    const auto latin = CSVReader::readFile(QByteArray("caf\xE9,b"), config);
    ASSERT_TRUE(latin.has_value()) << latin.error().what();
    EXPECT_EQ(latin->rows(), table("café|b"));

    for (const auto& [encoding, bytes] :
         {std::pair{ascii, QByteArray("a,\xE9")}, std::pair{utf8, QByteArray("a,\xC0\x80")}}) {
        SCOPED_TRACE(textEncodingName(encoding).toStdString());
        config.encoding = encoding;
        const auto view = CSVReader::readFile(bytes, config);
        ASSERT_FALSE(view.has_value());
        expectFailure(view.error(), "The data blob didn't match the given string encoding.");
        EXPECT_EQ(view.error().errorUserInfo().value("Encoding"), textEncodingName(encoding));
    }
}

TEST(CsvStream, DeliversWholeUnitsBeforeFailingOnAnOddByte)
{
    const auto log = std::make_shared<Log>();
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

TEST(CsvStream, ReportsTheStreamErrorAndClosesIt)
{
    struct Row {
        bool presample;
        qsizetype failAfter;
        int rowsBeforeFailure;
        QString reason;
    };
    const Row rows[] = {
        {false, 0, 0,
         "The input stream encountered an error while trying to read the first bytes."},
        {false, 7, 3, "The input stream encountered an error while trying to read input bytes."},
        {true, 7, 0, "The provided input stream could not be read in its entirety."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason.toStdString());
        const auto log = std::make_shared<Log>();
        auto reader = CSVReader::make(
            std::make_unique<FakeByteSource>("a\nb\nc\nd\ne\n", 1024, log, row.failAfter),
            encoded(std::nullopt, row.presample));
        std::optional<CSVError> error;
        int delivered = 0;
        if (!reader) {
            error = reader.error();
        } else {
            for (auto next = reader->nextRow(); next && *next; next = reader->nextRow())
                ++delivered;
            const auto last = reader->nextRow();
            ASSERT_FALSE(last.has_value());
            error = last.error();
        }
        expectFailure(*error, row.reason);
        const QVariantMap userInfo = row.presample ? QVariantMap{{"Input stream", "fake"}}
                                                   : QVariantMap{{"Stream status", 7}};
        EXPECT_EQ(error->errorUserInfo(), userInfo);
        ASSERT_NE(error->underlyingError(), nullptr);
        EXPECT_EQ(error->underlyingError()->errorDescription, "the cable came loose");
        EXPECT_EQ(delivered, row.rowsBeforeFailure);
        EXPECT_EQ(log->lastStatus, ByteSource::Status::closed);
    }
}

TEST(CsvStream, ClosesAtTheEndAndWhenDroppedEarly)
{
    const auto dropped = std::make_shared<Log>();
    {
        auto reader = CSVReader::make(std::make_unique<FakeByteSource>("a\nb\nc\n", 2, dropped));
        ASSERT_TRUE(reader.has_value());
        EXPECT_EQ(nextRowOf(*reader), QStringList{"a"});
        EXPECT_EQ(dropped->closes, 0);
    }
    EXPECT_EQ(dropped->closes, 1);

    const auto refused = std::make_shared<Log>();
    EXPECT_FALSE(CSVReader::make(
        std::make_unique<FakeByteSource>(encodeText("a", utf16BigEndian, true), 1024, refused),
        encoded(utf8)));
    EXPECT_EQ(refused->lastStatus, ByteSource::Status::closed);
}

TEST(CsvFile, ReportsFilesThatCantBeOpened)
{
    const QUrl missing = QUrl::fromLocalFile("/nonexistent/quillbrook/input.csv");
    auto view = CSVReader::readFile(missing, encoded(std::nullopt, true));
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
