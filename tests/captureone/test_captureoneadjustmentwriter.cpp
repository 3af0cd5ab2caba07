// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/captureoneadjustmentwriter.h"
#include "fakescripting.h"

#include <gtest/gtest.h>

namespace qb {
namespace {

using test::EngineCall;
using test::FakeRunningApplications;
using test::FakeScriptEngine;
using A = CaptureOneAdjustment;
using D = AppleEventDescriptor;

QUrl file(const char* name)
{
    return QUrl::fromLocalFile(QStringLiteral("/Shoot/") + QString::fromUtf8(name));
}

std::shared_ptr<ExifImage> image(const char* name, ExifImage::Metadata values)
{
    auto result = std::make_shared<ExifImage>(file(name));
    result->merge(values, true);
    return result;
}

TEST(AdjustmentForTag, OnlyTheNameAfterTheGroupDecides)
{
    const std::pair<const char*, std::optional<A>> rows[] = {
        {"EXIF:Rating", A::rating},
        {"XMP:Rating", A::rating},
        {"XMP-photoshop:Headline", A::contentHeadline},
        {"IPTC:Caption-Abstract", std::nullopt},
        {"XMP:Label", A::colorTag},
        {"XMP:AuthorsPosition", A::contactCreatorJobTitle},
        {"XMP:CreatorRegion", A::contactState},
        {"XMP:CreatorWorkURL", A::contactWebsite},
        {"XMP:CaptionWriter", A::contentDescriptionWriter},
        {"XMP:SubjectCode", A::contentSubjectCodes},
        {"XMP:Scene", A::imageScenes},
        {"XMP:CountryCode", A::imageCountryCode},
        {"XMP:OriginalFileName", A::gettyOriginalFilename},
        {"XMP:ParentMEID", A::gettyOriginalFilename},
        {"XMP:Personality", A::gettyPersonalities},
        {"XMP:Rights", A::statusRightsUsageTerms},
        {"XMP:UsageTerms", A::statusRightsUsageTerms},
        {"XMP:Title", A::statusTitle},
        {"XMP:Subject", std::nullopt},
        {"XMP:CreatorContactInfo", std::nullopt},
        {"XMP:CreatorTool", std::nullopt},
        {"XMP:Credit", std::nullopt},
        {"Rating", std::nullopt},
        {"XMP:xmp:Rating", std::nullopt},
        {"XMP::Rating", std::nullopt},
        {"XMP:rating", std::nullopt},
        {"SourceFile", std::nullopt},
    };
    for (const auto& [tag, expected] : rows) {
        SCOPED_TRACE(tag);
        EXPECT_EQ(adjustmentForTag(QString::fromUtf8(tag)), expected);
    }
}

TEST(AppleScriptValue, TextsAreQuotedAndEscapedOtherValuesTakeTheirTextForm)
{
    const std::pair<DynamicValue, const char*> rows[] = {
        {DynamicValue(3), "3"},
        {DynamicValue(2.5), "2.5"},
        {DynamicValue(true), "true"},
        {DynamicValue("Studio"), "\"Studio\""},
        {DynamicValue(""), "\"\""},
        {DynamicValue("Say \"cheese\""), "\"Say \\\"cheese\\\"\""},
        {DynamicValue("C:\\Shoots"), "\"C:\\\\Shoots\""},
        {DynamicValue::stringList({"a", "b"}), "[\"a\", \"b\"]"},
        {DynamicValue::stringList({"a\"b"}), "[\"a\\\"b\"]"},
    };
    for (const auto& [value, expected] : rows) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(appleScriptValue(value), QString::fromUtf8(expected));
    }
    // Free of quotes and backslashes, a list keeps its default form.
    const DynamicValue mixed(DynamicValue::List{DynamicValue("x"), DynamicValue(1)});
    EXPECT_EQ(appleScriptValue(mixed), mixed.description());
}

// Reads the AppleScript string literal that opens at `start`: its content,
// and the position after its closing quote.
std::optional<std::pair<QString, qsizetype>> readStringLiteral(const QString& text, qsizetype start)
{
    if (start >= text.size() || text[start] != QLatin1Char('"'))
        return std::nullopt;
    QString content;
    for (qsizetype i = start + 1; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == QLatin1Char('\\')) {
            if (++i == text.size())
                return std::nullopt;
            content += text[i];
        } else if (c == QLatin1Char('"')) {
            return std::pair{content, i + 1};
        } else {
            content += c;
        }
    }
    return std::nullopt;
}

TEST(GeneratedScript, ACellCannotEndItsString)
{
    const char* cells[] = {
        "He said \"hi\"",
        "x\" & (do shell script \"touch /tmp/owned\") & \"",
        "ends with a backslash\\",
        "\\\" & beep & \"",
        "\"",
    };
    const QString prefix =
        QStringLiteral("set content headline of first variant of (every image whose path is "
                       "thePath) to ");
    for (const char* cell : cells) {
        SCOPED_TRACE(cell);
        const CaptureOneImageMap images{
            {file("a.jpg"), image("a.jpg", {{"XMP:Headline", DynamicValue(cell)}})}};
        const auto previews = captureOneDryRun(images);
        ASSERT_EQ(previews.size(), 1u);
        const QStringList lines = previews.front().script.split(QLatin1Char('\n'));
        ASSERT_EQ(lines.size(), 7);
        const QString& statement = lines[4];
        ASSERT_TRUE(statement.startsWith(prefix));
        const auto literal = readStringLiteral(statement, prefix.size());
        ASSERT_TRUE(literal);
        EXPECT_EQ(literal->first, QString::fromUtf8(cell));
        EXPECT_EQ(literal->second, statement.size()) << "script continues after the string";
    }
}

TEST(Grouping, ImagesWithLikeValuesTravelTogether)
{
    const CaptureOneImageMap images{
        {file("a.jpg"), image("a.jpg", {{"XMP:Rating", 3}, {"XMP:City", "Rome"}})},
        {file("b.jpg"), image("b.jpg", {{"EXIF:Rating", 3}, {"IPTC:City", "Rome"}})},
        {file("c.jpg"), image("c.jpg", {{"XMP:Rating", 5}, {"XMP:Subject", "Rome"}})},
        {file("d.jpg"), image("d.jpg", {{"XMP:Subject", "Rome"}, {"Credit", "Me"}})},
    };
    const auto groups = groupAdjustments(images);
    ASSERT_EQ(groups.size(), 3u);
    EXPECT_TRUE(groups[0].adjustments.empty());
    EXPECT_EQ(groups[0].files, std::vector<QUrl>{file("d.jpg")});
    EXPECT_EQ(groups[1].adjustments,
              (CaptureOneAdjustments{{A::rating, "3"}, {A::imageCity, "\"Rome\""}}));
    EXPECT_EQ(groups[1].files, (std::vector<QUrl>{file("a.jpg"), file("b.jpg")}));
    EXPECT_EQ(groups[2].adjustments, (CaptureOneAdjustments{{A::rating, "5"}}));
    EXPECT_EQ(groups[2].files, std::vector<QUrl>{file("c.jpg")});
}

TEST(DryRun, ShowsEachGroupsFilesAndScript)
{
    const CaptureOneImageMap images{
        {file("a.jpg"), image("a.jpg", {{"XMP:Rating", 2}})},
        {file("b.jpg"), image("b.jpg", {{"XMP:Rating", 2}})},
        {file("c.jpg"), image("c.jpg", {})},
    };
    const auto previews = captureOneDryRun(images);
    ASSERT_EQ(previews.size(), 2u);
    EXPECT_EQ(previews[1].files, (std::vector<QUrl>{file("a.jpg"), file("b.jpg")}));
    EXPECT_EQ(captureOneDryRunText(previews),
              QStringLiteral("-- Group 1 of 2: 1 file\n"
                             "-- /Shoot/c.jpg\n"
                             "use application \"com.captureone.captureone13\"\n"
                             "\n"
                             "on makeAdjustments(thePaths)\n"
                             "repeat with thePath in thePaths\n"
                             "\n"
                             "end repeat\n"
                             "end makeAdjustments\n"
                             "\n"
                             "-- Group 2 of 2: 2 files\n"
                             "-- /Shoot/a.jpg\n"
                             "-- /Shoot/b.jpg\n"
                             "use application \"com.captureone.captureone13\"\n"
                             "\n"
                             "on makeAdjustments(thePaths)\n"
                             "repeat with thePath in thePaths\n"
                             "set rating of first variant of (every image whose path is "
                             "thePath) to 2\n"
                             "end repeat\n"
                             "end makeAdjustments\n"));
    EXPECT_TRUE(captureOneDryRunText({}).isEmpty());
}

class WriterTest : public ::testing::Test {
protected:
    CaptureOneAdjustmentWriter writer() const
    {
        return CaptureOneAdjustmentWriter(m_engine, m_running);
    }

    std::shared_ptr<FakeScriptEngine> m_engine = std::make_shared<FakeScriptEngine>();
    std::shared_ptr<FakeRunningApplications> m_running =
        std::make_shared<FakeRunningApplications>(QStringList{"com.captureone.captureone13"});
    test::CapturedOutput m_output;
    const CaptureOneImageMap m_images{
        {file("a.jpg"), image("a.jpg", {{"XMP:Rating", 1}})},
        {file("b.jpg"), image("b.jpg", {{"XMP:Rating", 4}})},
        {file("c.jpg"), image("c.jpg", {{"XMP:Rating", 1}})},
    };
};

TEST_F(WriterTest, SendsOneScriptPerGroupAndFinishes)
{
    EXPECT_EQ(writer().applyAdjustments(m_images), QStringLiteral("Finished applying adjustments"));
    const auto previews = captureOneDryRun(m_images);
    ASSERT_EQ(previews.size(), 2u);
    EXPECT_EQ(m_engine->compiledSources(), (QStringList{previews[0].script, previews[1].script}));
    const auto calls = m_engine->handlerCalls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].arguments, D::list({D::textList({"/Shoot/a.jpg", "/Shoot/c.jpg"})}));
    EXPECT_EQ(calls[1].arguments, D::list({D::textList({"/Shoot/b.jpg"})}));
}

TEST_F(WriterTest, StopsAtTheFirstFailingGroup)
{
    m_engine->respond = [](const EngineCall&) -> ScriptOutcome {
        return std::unexpected(ScriptFailure{QStringLiteral("Capture One got an error."), -10000});
    };
    const auto result = writer().applyAdjustments(m_images);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().errorDescription, QStringLiteral("Capture One got an error."));
    EXPECT_EQ(result.error().failureReason, QStringLiteral("Error Executing makeAdjustments"));
    EXPECT_EQ(m_engine->handlerCalls().size(), 1u);
}

TEST_F(WriterTest, AnEmptyQueueSendsNothing)
{
    EXPECT_EQ(writer().applyAdjustments({}), CaptureOneAdjustmentWriter::finishedMessage());
    EXPECT_TRUE(m_engine->calls.empty());
}

TEST(LinuxWriter, ReportsThatCaptureOneIsNotRunning)
{
    CaptureOneAdjustmentWriter writer;
    const auto result =
        writer.applyAdjustments({{file("a.jpg"), image("a.jpg", {{"XMP:Rating", 1}})}});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().errorDescription, QStringLiteral("Capture One 20 is not running"));
    EXPECT_EQ(result.error().failureReason, QStringLiteral("Capture One 20 is not running."));
    EXPECT_EQ(result.error().recoverySuggestion, QStringLiteral("Launch Capture One 20"));
}

} // namespace
} // namespace qb
