// SPDX-License-Identifier: GPL-3.0-or-later
#include "documents/datasourcesettings.h"

#include "documenttesthelpers.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;
using qb::test::writeFile;

namespace {

TEST(SettingsJson, CSVSettingsArePrettyWithUnsetKeysLeftOut)
{
    CSVDatasourceSettings settings;
    settings.keyNames = {"Shot", "a/b"};
    EXPECT_EQ(settings.fileWrapper()->regularFileContents(),
              "{\n  \"keyNames\": [\n    \"Shot\",\n    \"a/b\"\n  ],\n"
              "  \"selectedMatchStyle\": 2\n}");
    EXPECT_EQ(settings.fileWrapper()->preferredFilename, "csv.json");
    EXPECT_EQ(ImageDatasourceSettings().fileWrapper()->regularFileContents(),
              "{\n  \"selectedMatchStyle\": 2\n}");
}

TEST(SettingsJson, CSVSettingsThatDontDecodeSayWhere)
{
    QTemporaryDir dir;
    writeFile(dir.filePath("gone.csv"), "Shot\n");
    const QString bookmark =
        *BookmarkURL(QUrl::fromLocalFile(dir.filePath("gone.csv"))).bookmarkData();
    ASSERT_TRUE(QFile::remove(dir.filePath("gone.csv")));

    const struct {
        QByteArray json;
        QString where;
    } cases[] = {
        {"{\"selectedMatchStyle\": 2}", "keyNames"},
        {"{\"keyNames\": [\"a\", 3], \"selectedMatchStyle\": 2}", "keyNames[1]"},
        {"{\"keyNames\": [], \"selectedMatchStyle\": \"2\"}", "selectedMatchStyle"},
        {"{\"keyNames\": [\"Shot\"], \"selectedMatchStyle\": 2, \"currentURL\": \"" +
             bookmark.toLatin1() + "\"}",
         "currentURL"},
        {"{\"keyNames\": [", "not valid JSON"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.json.toStdString());
        const auto decoded = CSVDatasourceSettings::decode(row.json);
        ASSERT_FALSE(decoded.has_value());
        EXPECT_TRUE(decoded.error().failureReason.contains(row.where))
            << decoded.error().failureReason.toStdString();
    }
}

TEST(SettingsJson, TheDelimiterIsKeptOnlyWhenItIsntComma)
{
    using D = CSVDataSource::FieldDelimiter;
    const QByteArray version2 = "{\"keyNames\": [\"Shot\"], \"selectedMatchStyle\": 2";
    const struct {
        QByteArray member; // as it follows the other keys
        D delimiter;
        bool written;
    } cases[] = {
        {"", D::comma, false},
        {", \"fieldDelimiter\": \"semicolon\"", D::semicolon, true},
        {", \"fieldDelimiter\": \"tab\"", D::tab, true},
        {", \"fieldDelimiter\": \"auto\"", D::automatic, true},
        {", \"fieldDelimiter\": \"pipe\"", D::comma, true}, // a later version's
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.member.toStdString());
        const auto decoded = CSVDatasourceSettings::decode(version2 + c.member + "}");
        ASSERT_TRUE(decoded.has_value());
        EXPECT_EQ(decoded->delimiter(), c.delimiter);
        const QByteArray saved = *decoded->fileWrapper()->regularFileContents();
        EXPECT_EQ(saved.contains("fieldDelimiter"), c.written);
        EXPECT_EQ(CSVDatasourceSettings::decode(saved)->delimiter(), c.delimiter);
    }
    CSVDatasourceSettings settings;
    settings.setDelimiter(D::tab);
    settings.setDelimiter(D::comma);
    EXPECT_EQ(settings.fileWrapper()->regularFileContents(),
              CSVDatasourceSettings().fileWrapper()->regularFileContents());
}

TEST(SettingsJson, TheSheetTheKeyTagAndThePathStyleRoundTripAndAreLeftOutUnset)
{
    const QByteArray start = "{\"keyNames\": [\"Shot\"], \"selectedMatchStyle\": ";
    const struct {
        QByteArray rest; // the style and what follows it
        std::optional<QString> sheet;
        std::optional<QString> keyTag;
        std::optional<FileNameDataSource::MatchingStyle> style;
    } cases[] = {
        {"2", std::nullopt, std::nullopt, FileNameDataSource::MatchingStyle::prefix},
        {"5, \"sheetName\": \"Day 2\"", "Day 2", std::nullopt,
         FileNameDataSource::MatchingStyle::path},
        {"1, \"keyTag\": \"EXIF:SerialNumber\", \"sheetName\": \"\u00c9t\u00e9\"",
         QString::fromUtf8("\u00c9t\u00e9"), "EXIF:SerialNumber",
         FileNameDataSource::MatchingStyle::equals},
        {"6", std::nullopt, std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rest.toStdString());
        const auto decoded = CSVDatasourceSettings::decode(start + c.rest + "}");
        ASSERT_TRUE(decoded.has_value()) << decoded.error().message().toStdString();
        EXPECT_EQ(decoded->sheetName, c.sheet);
        EXPECT_EQ(decoded->keyTag, c.keyTag);
        EXPECT_EQ(decoded->matchingStyle(), c.style);
        const QByteArray saved = *decoded->fileWrapper()->regularFileContents();
        EXPECT_EQ(saved.contains("sheetName"), c.sheet.has_value());
        EXPECT_EQ(saved.contains("keyTag"), c.keyTag.has_value());
        const auto again = CSVDatasourceSettings::decode(saved);
        EXPECT_EQ(again->sheetName, c.sheet);
        EXPECT_EQ(again->keyTag, c.keyTag);
        EXPECT_EQ(again->selectedMatchStyle, decoded->selectedMatchStyle);
    }
    const auto wrong = CSVDatasourceSettings::decode(start + "2, \"keyTag\": 3}");
    ASSERT_FALSE(wrong.has_value());
    EXPECT_TRUE(wrong.error().failureReason.contains("keyTag"));
}

TEST(SettingsJson, CardModeAndItsFixesRoundTripAndAreLeftOutUnset)
{
    const QByteArray start = "{\"keyNames\": [\"Key\"], \"selectedMatchStyle\": 2";
    const struct {
        QByteArray rest;
        bool cardMode;
        std::vector<CardFixSetting> fixes;
    } cases[] = {
        {"", false, {}},
        {", \"cardMode\": true", true, {}},
        {", \"cardMode\": true, \"cardFixes\": [{\"frame\": \"IMG_0005.JPG\", \"key\": "
         "\"1235\"}, {\"frame\": \"B/IMG_0001.JPG\", \"key\": null}]",
         true,
         {{"IMG_0005.JPG", "1235"}, {"B/IMG_0001.JPG", std::nullopt}}},
        // Fixes outlast a spell out of card mode.
        {", \"cardFixes\": [{\"frame\": \"IMG_0002.JPG\"}]", false, {{"IMG_0002.JPG", {}}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rest.toStdString());
        const auto decoded = CSVDatasourceSettings::decode(start + c.rest + "}");
        ASSERT_TRUE(decoded.has_value()) << decoded.error().message().toStdString();
        EXPECT_EQ(decoded->cardMode, c.cardMode);
        EXPECT_EQ(decoded->cardFixes, c.fixes);
        const QByteArray saved = *decoded->fileWrapper()->regularFileContents();
        EXPECT_EQ(saved.contains("cardMode"), c.cardMode);
        EXPECT_EQ(saved.contains("cardFixes"), !c.fixes.empty());
        const auto again = CSVDatasourceSettings::decode(saved);
        EXPECT_EQ(again->cardMode, c.cardMode);
        EXPECT_EQ(again->cardFixes, c.fixes);
    }
    for (const QByteArray& wrong : {QByteArray(", \"cardFixes\": [{\"key\": \"1\"}]"),
                                    QByteArray(", \"cardFixes\": [\"IMG_0001.JPG\"]")}) {
        const auto decoded = CSVDatasourceSettings::decode(start + wrong + "}");
        ASSERT_FALSE(decoded.has_value());
        EXPECT_TRUE(decoded.error().failureReason.contains("cardFixes[0]"))
            << decoded.error().failureReason.toStdString();
    }
}

TEST(SettingsJson, UnknownStyleSurvivesButNamesNoStyle)
{
    const auto image = ImageDatasourceSettings::decode("{\"selectedMatchStyle\": 9}");
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(image->selectedMatchStyle, 9);
    EXPECT_EQ(image->matchingStyle(), std::nullopt);
    EXPECT_FALSE(ImageDatasourceSettings::decode("{}").has_value());
}

} // namespace
