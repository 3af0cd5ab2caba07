// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/captureoneadjustmentwriter.h"
#include "fakescripting.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace qb {
namespace {

using test::EngineCall;
using A = CaptureOneAdjustment;
using D = AppleEventDescriptor;

QUrl file(const char* name)
{
    return QUrl::fromLocalFile(QStringLiteral("/Shoot/") + QString::fromUtf8(name));
}

std::pair<const QUrl, std::shared_ptr<ExifImage>> image(const char* name,
                                                        ExifImage::Metadata values)
{
    auto result = std::make_shared<ExifImage>(file(name));
    result->merge(values, true);
    return {file(name), result};
}

// Grouping below shows EXIF:Rating and XMP:Rating alike, and Subject and
// Credit without an adjustment.
TEST(AdjustmentForTag, OnlyTheNameAfterTheGroupDecides)
{
    const std::pair<const char*, std::optional<A>> rows[] = {
        {"XMP:Label", A::colorTag},
        {"XMP:AuthorsPosition", A::contactCreatorJobTitle},
        {"XMP:CreatorRegion", A::contactState},
        {"XMP:OriginalFileName", A::gettyOriginalFilename},
        {"XMP:ParentMEID", A::gettyOriginalFilename},
        {"XMP:Rights", A::statusRightsUsageTerms},
        {"XMP:UsageTerms", A::statusRightsUsageTerms},
        {"Rating", std::nullopt},
        {"XMP:xmp:Rating", std::nullopt},
        {"XMP:rating", std::nullopt},
    };
    for (const auto& [tag, expected] : rows) {
        SCOPED_TRACE(tag);
        EXPECT_EQ(adjustmentForTag(tag), expected);
    }
}

TEST(AppleScriptValue, TextsAreQuotedAndEscapedOtherValuesTakeTheirTextForm)
{
    const std::pair<DynamicValue, const char*> rows[] = {
        {DynamicValue(3), "3"},
        {DynamicValue(2.5), "2.5"},
        {DynamicValue(true), "true"},
        {DynamicValue("Studio"), "\"Studio\""},
        {DynamicValue("Say \"cheese\""), "\"Say \\\"cheese\\\"\""},
        {DynamicValue("C:\\Shoots"), "\"C:\\\\Shoots\""},
        {DynamicValue::stringList({"a", "b"}), "[\"a\", \"b\"]"},
        {DynamicValue::stringList({"a\"b"}), "[\"a\\\"b\"]"},
    };
    for (const auto& [value, expected] : rows) {
        SCOPED_TRACE(expected);
        EXPECT_EQ(appleScriptValue(value), expected);
    }
    // Free of quotes and backslashes, a list keeps its default form.
    const DynamicValue mixed(DynamicValue::List{DynamicValue("x"), DynamicValue(1)});
    EXPECT_EQ(appleScriptValue(mixed), mixed.description());
}

TEST(GeneratedScript, ACellCannotEndItsString)
{
    const char* cells[] = {"x\" & (do shell script \"touch /tmp/owned\") & \"",
                           "ends with a backslash\\", "\\\" & beep & \"", "\""};
    const QString prefix = QStringLiteral(
        "set content headline of first variant of (every image whose path is thePath) to ");
    // One AppleScript string literal, and nothing after it.
    const QRegularExpression literal(QStringLiteral(R"re(^"((?:[^"\\]|\\.)*)"$)re"));
    for (const char* cell : cells) {
        SCOPED_TRACE(cell);
        const auto previews = captureOneDryRun({image("a.jpg", {{"XMP:Headline", cell}})});
        ASSERT_EQ(previews.size(), 1u);
        const QStringList lines = previews.front().script.split(QLatin1Char('\n'));
        ASSERT_EQ(lines.size(), 7);
        ASSERT_TRUE(lines[4].startsWith(prefix));
        const auto match = literal.match(lines[4].mid(prefix.size()));
        ASSERT_TRUE(match.hasMatch()) << "script continues after the string";
        EXPECT_EQ(match.captured(1).replace(QRegularExpression(R"re(\\(.))re"), "\\1"), cell);
    }
}

TEST(Grouping, ImagesWithLikeValuesTravelTogether)
{
    const auto groups = groupAdjustments({
        image("a.jpg", {{"XMP:Rating", 3}, {"XMP:City", "Rome"}}),
        image("b.jpg", {{"EXIF:Rating", 3}, {"IPTC:City", "Rome"}}),
        image("c.jpg", {{"XMP:Rating", 5}, {"XMP:Subject", "Rome"}}),
        image("d.jpg", {{"XMP:Subject", "Rome"}, {"Credit", "Me"}}),
    });
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
    const auto previews =
        captureOneDryRun({image("a.jpg", {{"XMP:Rating", 2}}), image("b.jpg", {{"XMP:Rating", 2}}),
                          image("c.jpg", {})});
    ASSERT_EQ(previews.size(), 2u);
    EXPECT_EQ(previews[1].files, (std::vector<QUrl>{file("a.jpg"), file("b.jpg")}));
    EXPECT_EQ(captureOneDryRunText(previews),
              "-- Group 1 of 2: 1 file\n"
              "-- /Shoot/c.jpg\n"
              "use application \"com.captureone.captureone13\"\n\n"
              "on makeAdjustments(thePaths)\nrepeat with thePath in thePaths\n\n"
              "end repeat\nend makeAdjustments\n\n"
              "-- Group 2 of 2: 2 files\n"
              "-- /Shoot/a.jpg\n"
              "-- /Shoot/b.jpg\n"
              "use application \"com.captureone.captureone13\"\n\n"
              "on makeAdjustments(thePaths)\nrepeat with thePath in thePaths\n"
              "set rating of first variant of (every image whose path is thePath) to 2\n"
              "end repeat\nend makeAdjustments\n");
    EXPECT_TRUE(captureOneDryRunText({}).isEmpty());
}

class WriterTest : public ::testing::Test {
protected:
    std::expected<QString, Error> apply(const CaptureOneImageMap& images)
    {
        return CaptureOneAdjustmentWriter(m_engine, m_running).applyAdjustments(images);
    }

    std::shared_ptr<test::FakeScriptEngine> m_engine = std::make_shared<test::FakeScriptEngine>();
    std::shared_ptr<test::FakeRunningApplications> m_running =
        std::make_shared<test::FakeRunningApplications>(QStringList{"com.captureone.captureone13"});
    test::CapturedOutput m_output;
    const CaptureOneImageMap m_images{image("a.jpg", {{"XMP:Rating", 1}}),
                                      image("b.jpg", {{"XMP:Rating", 4}}),
                                      image("c.jpg", {{"XMP:Rating", 1}})};
};

TEST_F(WriterTest, SendsOneScriptPerGroupAndFinishes)
{
    EXPECT_EQ(apply({}), "Finished applying adjustments");
    EXPECT_TRUE(m_engine->calls.empty());

    EXPECT_EQ(apply(m_images), "Finished applying adjustments");
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
        return std::unexpected(ScriptFailure{"Capture One got an error.", -10000});
    };
    const auto result = apply(m_images);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().errorDescription, "Capture One got an error.");
    EXPECT_EQ(result.error().failureReason, "Error Executing makeAdjustments");
    EXPECT_EQ(m_engine->handlerCalls().size(), 1u);
}

TEST(LinuxWriter, ReportsThatCaptureOneIsNotRunning)
{
    const auto result =
        CaptureOneAdjustmentWriter().applyAdjustments({image("a.jpg", {{"XMP:Rating", 1}})});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().errorDescription, "Capture One 20 is not running");
    EXPECT_EQ(result.error().failureReason, "Capture One 20 is not running.");
    EXPECT_EQ(result.error().recoverySuggestion, "Launch Capture One 20");
}

} // namespace
} // namespace qb
