// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvtesthelpers.h"

#include "csv/csvfailures.h"

#include <gtest/gtest.h>

namespace qb {
namespace {

using csvtest::expectFailure;

struct ConfigurationCase {
    friend void PrintTo(const ConfigurationCase& row, std::ostream* out) { *out << row.name; }

    const char* name;
    CSVReader::Configuration config;
    QString reason; // empty: accepted
    QVariantMap userInfo;
};

CSVReader::Configuration with(Delimiter::Field field, Delimiter::Row row,
                              std::set<char32_t> trim = {},
                              Strategy::Escaping escaping = Strategy::Escaping())
{
    CSVReader::Configuration config;
    config.delimiters = {field, row};
    config.trimStrategy = std::move(trim);
    config.escapingStrategy = escaping;
    return config;
}

class CsvConfigurationCheck : public testing::TestWithParam<ConfigurationCase> {};

TEST_P(CsvConfigurationCheck, AcceptsOrRefusesWithTheRightText)
{
    const ConfigurationCase& row = GetParam();
    const auto settings = CSVReader::Settings::make(row.config);
    const auto reader = CSVReader::make(QStringLiteral("a"), row.config);
    if (row.reason.isEmpty()) {
        ASSERT_TRUE(settings.has_value()) << settings.error().what();
        EXPECT_TRUE(reader.has_value());
        return;
    }
    ASSERT_FALSE(settings.has_value());
    expectFailure(settings.error(), row.reason);
    EXPECT_EQ(settings.error().errorUserInfo(), row.userInfo);
    // Every entry form checks first, so a reader can't come of it either.
    ASSERT_FALSE(reader.has_value());
    EXPECT_EQ(reader.error().failureReason(), row.reason);
}

const QString inference = "Delimiter inference is not yet supported by this library";
const QString sameDelimiters = "The field and row delimiters cannot be the same.";
const QString trimDelimiter = "The trim character set includes delimiter characters.";
const QString trimQuote = "The trim characters set includes the escaping scalar.";

INSTANTIATE_TEST_SUITE_P(
    Table, CsvConfigurationCheck,
    testing::Values(
        ConfigurationCase{"defaults", {}, {}, {}},
        ConfigurationCase{"emptyField", with(u"", u"\n"), inference, {}},
        ConfigurationCase{"emptyRow", with(u",", u""), inference, {}},
        ConfigurationCase{"equal", with(u";", u";"), sameDelimiters, {{"Delimiter", ";"}}},
        ConfigurationCase{"equalLong", with(u"ab", u"ab"), sameDelimiters, {{"Delimiter", "ab"}}},
        ConfigurationCase{"prefixAllowed", with(u",", u",\n"), {}, {}},
        ConfigurationCase{"trimFieldDelimiter",
                          with(u" ", u"\n", {U' '}),
                          trimDelimiter,
                          {{"Delimiter", " "}, {"Trim characters", " "}}},
        ConfigurationCase{"trimRowDelimiter",
                          with(u",", u"\r\n", {U'\t', U'\r'}),
                          trimDelimiter,
                          {{"Delimiter", "\r\n"}, {"Trim characters", "\t\r"}}},
        ConfigurationCase{"trimQuote",
                          with(u",", u"\n", {U' ', U'"'}),
                          trimQuote,
                          {{"Escaping scalar", "\""}, {"Trim characters", " \""}}},
        ConfigurationCase{"trimQuoteWithoutEscaping",
                          with(u",", u"\n", {U'"'}, Strategy::Escaping::none()),
                          {},
                          {}},
        ConfigurationCase{
            "trimOtherQuote", with(u",", u"\n", {U'"'}, Strategy::Escaping::quote(U'\'')), {}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CsvError, CodesMapToKinds)
{
    const std::vector<std::pair<int, std::optional<CSVReaderError>>> codes{
        {0, std::nullopt},
        {1, CSVReaderError::invalidConfiguration},
        {2, CSVReaderError::invalidInput},
        {3, std::nullopt},
        {4, CSVReaderError::streamFailure},
        {5, std::nullopt},
    };
    for (const auto& [code, kind] : codes) {
        SCOPED_TRACE(code);
        EXPECT_EQ(csvReaderErrorFromCode(code), kind);
    }
    EXPECT_EQ(csvReaderErrorDescription(CSVReaderError::invalidConfiguration),
              "Invalid configuration");
    EXPECT_EQ(csvReaderErrorDescription(CSVReaderError::invalidInput), "Invalid input");
    EXPECT_EQ(csvReaderErrorDescription(CSVReaderError::streamFailure), "Stream failure");
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
    EXPECT_EQ(textEncodingFromName(u"utf32be"), TextEncoding::utf32BigEndian);
    EXPECT_FALSE(textEncodingFromName(u"utf-7").has_value());
}

} // namespace
} // namespace qb
