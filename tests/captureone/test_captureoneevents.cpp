// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/captureoneevents.h"
#include "fakescripting.h"

#include <gtest/gtest.h>

#include <functional>

namespace qb {
namespace {

using test::EngineCall;
using D = AppleEventDescriptor;
using V = CaptureOneVersion;

TEST(CaptureOneVersion, RawValueAndNumberDifferForTwenty)
{
    EXPECT_EQ(rawValue(V::v20), "13");
    EXPECT_EQ(captureOneVersionFromRawValue("13"), V::v20);
    EXPECT_EQ(captureOneVersionFromRawValue("11"), V::v11);
    EXPECT_FALSE(captureOneVersionFromRawValue("20"));
    EXPECT_EQ(displayNumber(V::v20), 20);
    EXPECT_EQ(description(V::v20), "Capture One 20");
    EXPECT_EQ(bundleIdentifier(V::v20), "com.captureone.captureone13");
    EXPECT_EQ(bundleIdentifier(V::v12), "com.phaseone.captureone12");
}

class CaptureOneEventsTest : public ::testing::Test {
protected:
    CaptureOneEvents events(V version = V::v20) const
    {
        return CaptureOneEvents(version, AppleScriptBridge(m_engine), m_running);
    }
    void answer(std::function<ScriptOutcome(const EngineCall&)> respond)
    {
        m_engine->respond = std::move(respond);
    }
    void answer(const D& result)
    {
        answer([result](const EngineCall&) -> ScriptOutcome { return result; });
    }
    EngineCall onlyCall() const
    {
        EXPECT_EQ(m_engine->handlerCalls().size(), 1u);
        return m_engine->handlerCalls().empty() ? EngineCall{} : m_engine->handlerCalls().front();
    }

    std::shared_ptr<test::FakeScriptEngine> m_engine = std::make_shared<test::FakeScriptEngine>();
    std::shared_ptr<test::FakeRunningApplications> m_running =
        std::make_shared<test::FakeRunningApplications>(
            QStringList{"com.apple.finder", "com.captureone.captureone13"});
    test::CapturedOutput m_output;
};

// Capture One 20 runs, which doesn't count for 12.
TEST_F(CaptureOneEventsTest, EveryOperationChecksThatItsVersionRunsFirst)
{
    const CaptureOneEvents e = events(V::v12);
    EXPECT_FALSE(e.isRunning());
    EXPECT_EQ(events().runningApplication()->bundleIdentifier, "com.captureone.captureone13");
    const Error errors[] = {e.currentDocument().error(),
                            e.favoritesList().error(),
                            e.collectionInfo("a").error(),
                            e.variantsIn("a").error(),
                            e.validate({}).error(),
                            e.setCapture("a").error(),
                            e.getCapture().error(),
                            e.makeDirsAndFaves({}).error(),
                            e.getCaptureName().error(),
                            e.setCaptureName({}, {}).error(),
                            e.runAdjustments({}, false).error(),
                            e.makeAdjustments({}, {}).error()};
    for (size_t i = 0; i < std::size(errors); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(errors[i].domain, CaptureOneEventsError::domain());
        EXPECT_EQ(errors[i].errorDescription, "Capture One 12 is not running");
        EXPECT_EQ(errors[i].failureReason, "Capture One 12 is not running.");
        EXPECT_EQ(errors[i].recoverySuggestion, "Launch Capture One 12");
    }
    EXPECT_TRUE(m_engine->calls.empty());
}

TEST_F(CaptureOneEventsTest, HandlersAreCalledInTheVersionsScriptWithTheirArguments)
{
    answer(D::textList({"x", "y"}));
    const CaptureOneEvents e = events();
    const struct {
        const char* handler;
        std::function<void()> call;
        D::List arguments;
    } rows[] = {
        {"currentDocument", [&] { (void)e.currentDocument(); }, {}},
        {"favoritesList", [&] { (void)e.favoritesList(); }, {}},
        {"variatsIn", [&] { (void)e.variantsIn("Selects"); }, {D::text("Selects")}},
        {"setCapture", [&] { (void)e.setCapture("Look 2"); }, {D::text("Look 2")}},
        {"getCapture", [&] { (void)e.getCapture(); }, {}},
        {"makeDirsAndFaves",
         [&] {
             (void)e.makeDirsAndFaves({{"Look 1", "Look 2"}, true});
         },
         {D::textList({"Look 1", "Look 2"}), D::boolean(true)}},
        {"getCaptureName", [&] { (void)e.getCaptureName(); }, {}},
        {"setCaptureName",
         [&] { (void)e.setCaptureName(std::nullopt, "Look"); },
         {D::missingValue(), D::text("Look")}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.handler);
        m_engine->calls.clear();
        m_output.printed.clear();
        row.call();
        const EngineCall call = onlyCall();
        EXPECT_EQ(call.handler, row.handler);
        EXPECT_EQ(call.arguments, D::list(row.arguments));
        EXPECT_TRUE(call.file.toLocalFile().endsWith(
            "CaptureOneScripting_CaptureOne.bundle/CaptureOne20Actions.applescript"));
        EXPECT_EQ(m_output.printed, QStringList{"Finding source CaptureOne20Actions.applescript"});
    }
}

TEST_F(CaptureOneEventsTest, TextResultsWithoutTextFail)
{
    answer(D::missingValue());
    const CaptureOneEvents e = events(V::v11);
    m_running->identifiers = {"com.phaseone.captureone11"};
    const Error nil = e.getCapture().error();
    EXPECT_EQ(nil.errorDescription, "Unexpected Type");
    EXPECT_EQ(nil.failureReason, "Result of script \"getCapture\" was unexpectedly nil.");
    EXPECT_EQ(nil.recoverySuggestion, "Please report this error to the developer");
    const Error wrongType = e.makeDirsAndFaves({}).error();
    EXPECT_EQ(wrongType.errorDescription, "Unexpected Type");
    EXPECT_EQ(wrongType.failureReason,
              "Script \"makeDirsAndFaves\" did not return a String as expected.");
    EXPECT_EQ(wrongType.recoverySuggestion, "Please report this error to the developer");
    answer([](const EngineCall&) -> ScriptOutcome { return std::nullopt; });
    EXPECT_EQ(e.currentDocument().error().failureReason,
              "Result of script \"currentDocument\" was unexpectedly nil.");
    answer(D::text("Shoot.cosessiondb"));
    EXPECT_EQ(e.currentDocument(), "Shoot.cosessiondb");
    EXPECT_TRUE(m_engine->handlerCalls().back().file.toLocalFile().endsWith(
        "CaptureOne11Actions.applescript"));
}

TEST_F(CaptureOneEventsTest, FavouritesComeUniqueAndSortedAndValidationCountsPrefixes)
{
    answer(D::list({D::text("b"), D::text("a"), D::missingValue(), D::text("b")}));
    EXPECT_EQ(events().favoritesList(), (QStringList{"a", "b"}));

    m_engine->calls.clear();
    answer([](const EngineCall& call) -> ScriptOutcome {
        if (call.handler == QLatin1String("variatsIn"))
            return D::textList({"S10_1", "S1_1", "s1_2"});
        return D::textList({"S10", "S2"});
    });
    const auto result = events().validate({"Selects", {"S1", "S10", ""}, true});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->comparitorCollection, "Selects");
    EXPECT_EQ(result->result,
              (std::map<QString, qint64>{{"S1", 2}, {"S10", 1}, {"", 3}, {"S2", 0}}));
    EXPECT_EQ(m_engine->handlerCalls().front().arguments, D::list({D::text("Selects")}));
}

TEST_F(CaptureOneEventsTest, CollectionInfoAndNamingConvertTheirLists)
{
    answer(D::list(
        {D::text("Look 1"), D::text("CCpj"), D::missingValue(), D::missingValue(), D::int32(5)}));
    const auto information = events().collectionInfo("Look 1");
    ASSERT_TRUE(information);
    EXPECT_EQ(information->kind, CaptureOneCollection::Kind::project);
    EXPECT_EQ(information->variantCount, 5);
    EXPECT_EQ(onlyCall().handler, "collectionInfo");

    answer(D::textList({"[Capture Name]", "Look"}));
    EXPECT_EQ(events().getCaptureName(), (CaptureNaming{"[Capture Name]", "Look"}));
}

using CaptureOneEventsDeathTest = CaptureOneEventsTest;

TEST_F(CaptureOneEventsDeathTest, OurOwnScriptAnsweringInTheWrongShapeStops)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    answer(D::textList({"Look 1", "CCxx"}));
    EXPECT_DEATH((void)events().collectionInfo("Look 1"), "wrong shape");
}

TEST_F(CaptureOneEventsTest, ScriptFailuresPassThroughUnchanged)
{
    answer([](const EngineCall&) -> ScriptOutcome {
        return std::unexpected(ScriptFailure{"Can't get document 1.", -1728});
    });
    const Error error = events().currentDocument().error();
    EXPECT_EQ(error.domain, AppleScriptBridgeError::domain());
    EXPECT_EQ(error.errorDescription, "Can't get document 1.");
    EXPECT_EQ(error.failureReason, "Error Executing currentDocument");
    EXPECT_EQ(error.userInfo.value("script").toString(), "CaptureOne20Actions.applescript");
}

TEST_F(CaptureOneEventsTest, RunAdjustmentsCompilesTheSelectedVariantsScript)
{
    const CaptureOneAdjustments adjustments{{CaptureOneAdjustment::rating, "1"}};
    ASSERT_TRUE(events().runAdjustments(adjustments, false));
    EXPECT_EQ(m_engine->compiledSources(),
              QStringList{
                  buildAdjustmentScript(adjustments, "com.captureone.captureone13", false, false)});
    EXPECT_EQ(m_engine->calls.back().kind, EngineCall::Kind::execute);

    answer([](const EngineCall&) -> ScriptOutcome { return std::unexpected(ScriptFailure{}); });
    const Error failed = events().runAdjustments(adjustments, true).error();
    EXPECT_EQ(failed.errorDescription, "No error message given");
    EXPECT_EQ(failed.failureReason, "The script returned an error");

    m_engine->compileFailure = ScriptFailure{"Expected end of line.", -2741};
    EXPECT_EQ(events().runAdjustments(adjustments, true).error().failureReason,
              "The AppleScript source could not be compiled");
}

TEST(CharacterPrefix, ComparesWholeCharactersCaseSensitively)
{
    const std::tuple<const char*, const char*, bool> rows[] = {
        {"S10_1", "S1", true},
        {"S1_1", "S10", false},
        {"s1_1", "S1", false},
        {"", "", true},
        {"S1", "S1_1", false},
        {"e\xCC\x81t\xC3\xA9", "\xC3\xA9", true},
        {"e\xCC\x81t\xC3\xA9", "e", false},
        {"\xC3\xA9t\xC3\xA9", "e\xCC\x81", true},
        // No precomposed form: the accent stays a second code point.
        {"x\xCC\x81y", "x", false},
    };
    for (const auto& [text, prefix, expected] : rows) {
        SCOPED_TRACE(::testing::Message() << text << " / " << prefix);
        EXPECT_EQ(hasCharacterPrefix(text, prefix), expected);
    }
}

} // namespace
} // namespace qb
