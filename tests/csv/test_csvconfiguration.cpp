// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include "csv/csvfailures.h"

#include <gtest/gtest.h>

namespace qb {
namespace {

using csvtest::expectFailure;
using enum Strategy::Header;

CSVReader::Configuration with(Delimiter::Field field, Delimiter::Row row,
                              std::set<char32_t> trim = {}, Strategy::Escaping escaping = {})
{
    return csvtest::configuration(field, row, none, trim, escaping);
}

TEST(CsvConfiguration, AcceptsOrRefusesWithTheRightText)
{
    const QString inference = "Delimiter inference is not yet supported by this library";
    const QString same = "The field and row delimiters cannot be the same.";
    const QString trimDelimiter = "The trim character set includes delimiter characters.";
    const QString trimQuote = "The trim characters set includes the escaping scalar.";
    struct Row {
        CSVReader::Configuration config;
        QString reason; // empty: accepted
        QVariantMap userInfo = {};
    };
    const Row rows[] = {
        {{}, {}},
        {with(u"", u"\n"), inference},
        {with(u",", u""), inference},
        {with(u";", u";"), same, {{"Delimiter", ";"}}},
        {with(u"ab", u"ab"), same, {{"Delimiter", "ab"}}},
        {with(u",", u",\n"), {}}, // a prefix is allowed
        {with(u" ", u"\n", {U' '}), trimDelimiter, {{"Delimiter", " "}, {"Trim characters", " "}}},
        {with(u",", u"\r\n", {U'\t', U'\r'}),
         trimDelimiter,
         {{"Delimiter", "\r\n"}, {"Trim characters", "\t\r"}}},
        {with(u",", u"\n", {U' ', U'"'}),
         trimQuote,
         {{"Escaping scalar", "\""}, {"Trim characters", " \""}}},
        {with(u",", u"\n", {U'"'}, Strategy::Escaping::none()), {}},
        {with(u",", u"\n", {U'"'}, Strategy::Escaping::quote(U'\'')), {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << (&row - rows));
        const auto settings = CSVReader::Settings::make(row.config);
        const auto reader = CSVReader::make(QStringLiteral("a"), row.config);
        if (row.reason.isEmpty()) {
            ASSERT_TRUE(settings.has_value()) << settings.error().what();
            EXPECT_TRUE(reader.has_value());
            continue;
        }
        ASSERT_FALSE(settings.has_value());
        expectFailure(settings.error(), row.reason);
        EXPECT_EQ(settings.error().errorUserInfo(), row.userInfo);
        // Every entry form checks first, so a reader can't come of it either.
        ASSERT_FALSE(reader.has_value());
        EXPECT_EQ(reader.error().failureReason(), row.reason);
    }
}

TEST(CsvError, CodesMapToKinds)
{
    using enum CSVReaderError;
    EXPECT_EQ(csvReaderErrorFromCode(1), invalidConfiguration);
    EXPECT_EQ(csvReaderErrorFromCode(2), invalidInput);
    EXPECT_EQ(csvReaderErrorFromCode(4), streamFailure);
    for (const int unused : {0, 3, 5})
        EXPECT_FALSE(csvReaderErrorFromCode(unused).has_value()) << unused;
    EXPECT_EQ(csvReaderErrorDescription(invalidConfiguration), "Invalid configuration");
    EXPECT_EQ(csvReaderErrorDescription(invalidInput), "Invalid input");
    EXPECT_EQ(csvReaderErrorDescription(streamFailure), "Stream failure");
    EXPECT_TRUE(CSVError::domain().endsWith(".Reader"));
}

TEST(CsvError, LongFormGathersEverythingPresent)
{
    EXPECT_EQ(csvfailure::delimiterInference().longDescription(),
              "[CSVReader] Invalid configuration"
              "\n\tReason: Delimiter inference is not yet supported by this library"
              "\n\tHelp: Specify a concrete delimiter or get in contact with the maintainer");

    Error platform;
    platform.errorDescription = "No such file or directory";
    const CSVError error =
        csvfailure::fileUnreadable(QUrl::fromLocalFile("/nowhere/x.csv"), platform);
    EXPECT_EQ(error.longDescription(),
              "[CSVReader] Invalid input"
              "\n\tReason: The file under the given URL couldn't be read."
              "\n\tHelp: Make sure the URL is valid and you are allowed to access the file."
              "\n\tUser info: File URL: file:///nowhere/x.csv"
              "\n\tUnderlying error: No such file or directory");
    EXPECT_STREQ(error.what(), error.longDescription().toUtf8().constData());

    const QString counts = csvfailure::fieldCountMismatch(2, 1, 3).longDescription();
    EXPECT_TRUE(counts.endsWith("\n\tUser info: Number of expected fields: 3, "
                                "Number of parsed fields: 1, Row index: 2"))
        << counts.toStdString();
}

TEST(CsvError, ConvertsToTheSharedErrorValue)
{
    const Error error = csvfailure::notASCII(0xE9).toError();
    EXPECT_EQ(error.domain, CSVError::domain());
    EXPECT_EQ(error.code, 2);
    EXPECT_EQ(error.errorDescription, "Invalid input");
    EXPECT_EQ(error.failureReason, "The decoded byte is not an ASCII character.");
    EXPECT_TRUE(error.recoverySuggestion.isEmpty());
    EXPECT_TRUE(error.helpAnchor.startsWith("Make sure the CSV only contains ASCII"));
    EXPECT_EQ(error.userInfo.value("Byte").toInt(), 0xE9);
    EXPECT_EQ(error.underlying, nullptr);
}

// No input can produce it, as a parsed line always has a field; its texts are
// checked here so that the guard says the right thing should that change.
TEST(CsvError, EmptyHeaderGuardTexts)
{
    expectFailure(csvfailure::emptyHeaderLine(),
                  "A header line was expected, but an empty line was found instead.");
}

TEST(CsvTextEncoding, ShortNamesRoundTrip)
{
    for (const char* name : {"ascii", "utf8", "utf16", "utf16le", "utf16be", "utf32", "utf32le",
                             "utf32be", "unicode"}) {
        SCOPED_TRACE(name);
        const auto encoding = textEncodingFromName(QString::fromLatin1(name).toUpper());
        ASSERT_TRUE(encoding.has_value());
        EXPECT_EQ(textEncodingName(*encoding), QString::fromLatin1(name));
    }
    EXPECT_EQ(textEncodingFromName(u"utf16le"), TextEncoding::utf16LittleEndian);
    EXPECT_FALSE(textEncodingFromName(u"utf-7").has_value());
}

} // namespace
} // namespace qb
