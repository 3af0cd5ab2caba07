// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/captureoneevents.h"
#include "fakescripting.h"

#include <gtest/gtest.h>

#include <functional>

namespace qb {
namespace {

using test::EngineCall;
using test::FakeRunningApplications;
using test::FakeScriptEngine;
using D = AppleEventDescriptor;
using V = CaptureOneVersion;

TEST(CaptureOneVersion, RawValueNumberAndIdentifierDifferForTwenty)
{
    struct Row {
        V version;
        const char* raw;
        int number;
        const char* identifier;
    };
    const Row rows[] = {{V::v11, "11", 11, "com.phaseone.captureone11"},
                        {V::v12, "12", 12, "com.phaseone.captureone12"},
                        {V::v20, "13", 20, "com.captureone.captureone13"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.raw);
        EXPECT_EQ(rawValue(row.version), QString::fromUtf8(row.raw));
        EXPECT_EQ(captureOneVersionFromRawValue(QString::fromUtf8(row.raw)), row.version);
        EXPECT_EQ(displayNumber(row.version), row.number);
        EXPECT_EQ(bundleIdentifier(row.version), QString::fromUtf8(row.identifier));
        EXPECT_EQ(description(row.version), QStringLiteral("Capture One %1").arg(row.number));
    }
    EXPECT_FALSE(captureOneVersionFromRawValue(QStringLiteral("20")));
}

TEST(CaptureOneEventsError, CarriesItsThreeTexts)
{
    struct Row {
        CaptureOneEventsError error;
        const char* description;
        const char* reason;
        const char* suggestion;
    };
    const Row rows[] = {
        {CaptureOneEventsError::resultWasNil(QStringLiteral("getCapture")), "Unexpected Type",
         "Result of script \"getCapture\" was unexpectedly nil.",
         "Please report this error to the developer"},
        {CaptureOneEventsError::unexpectedType(QStringLiteral("makeDirsAndFaves"),
                                               QStringLiteral("String")),
         "Unexpected Type", "Script \"makeDirsAndFaves\" did not return a String as expected.",
         "Please report this error to the developer"},
        {CaptureOneEventsError::captureOneNotRunning(V::v20), "Capture One 20 is not running",
         "Capture One 20 is not running.", "Launch Capture One 20"},
        {CaptureOneEventsError::captureOneNotRunning(V::v11), "Capture One 11 is not running",
         "Capture One 11 is not running.", "Launch Capture One 11"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.reason);
        const Error error = row.error.toError();
        EXPECT_EQ(error.errorDescription, QString::fromUtf8(row.description));
        EXPECT_EQ(error.failureReason, QString::fromUtf8(row.reason));
        EXPECT_EQ(error.recoverySuggestion, QString::fromUtf8(row.suggestion));
        EXPECT_EQ(error.domain, CaptureOneEventsError::domain());
    }
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

    std::shared_ptr<FakeScriptEngine> m_engine = std::make_shared<FakeScriptEngine>();
    std::shared_ptr<FakeRunningApplications> m_running = std::make_shared<FakeRunningApplications>(
        QStringList{"com.apple.finder", "com.captureone.captureone13"});
    test::CapturedOutput m_output;
};

TEST_F(CaptureOneEventsTest, AnotherVersionRunningCountsAsNotRunning)
{
    const auto result = events(V::v12).currentDocument();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().failureReason, QStringLiteral("Capture One 12 is not running."));
    EXPECT_EQ(result.error().recoverySuggestion, QStringLiteral("Launch Capture One 12"));
    EXPECT_TRUE(m_engine->calls.empty());
    EXPECT_FALSE(events(V::v12).isRunning());
    EXPECT_EQ(events().runningApplication()->bundleIdentifier,
              QStringLiteral("com.captureone.captureone13"));
}

TEST_F(CaptureOneEventsTest, EveryOperationChecksFirst)
{
    m_running->identifiers.clear();
    const CaptureOneEvents e = events();
    const std::vector<std::pair<const char*, std::function<Error()>>> operations = {
        {"currentDocument",
         [&] {
             return e.currentDocument().error();
         }},
        {"favoritesList",
         [&] {
             return e.favoritesList().error();
         }},
        {"collectionInfo",
         [&] {
             return e.collectionInfo("a").error();
         }},
        {"variantsIn",
         [&] {
             return e.variantsIn("a").error();
         }},
        {"validate",
         [&] {
             return e.validate({}).error();
         }},
        {"setCapture",
         [&] {
             return e.setCapture("a").error();
         }},
        {"getCapture",
         [&] {
             return e.getCapture().error();
         }},
        {"makeDirsAndFaves",
         [&] {
             return e.makeDirsAndFaves({}).error();
         }},
        {"getCaptureName",
         [&] {
             return e.getCaptureName().error();
         }},
        {"setCaptureName",
         [&] {
             return e.setCaptureName({}, {}).error();
         }},
        {"runAdjustments",
         [&] {
             return e.runAdjustments({}, false).error();
         }},
        {"makeAdjustments",
         [&] {
             return e.makeAdjustments({}, {}).error();
         }},
    };
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        EXPECT_EQ(operation().failureReason, QStringLiteral("Capture One 20 is not running."));
    }
    EXPECT_TRUE(m_engine->calls.empty());
}

TEST_F(CaptureOneEventsTest, HandlersAreCalledInTheVersionsScriptWithTheirArguments)
{
    answer(D::textList({QStringLiteral("x"), QStringLiteral("y")}));
    const CaptureOneEvents e = events();
    struct Row {
        const char* handler;
        std::function<void()> call;
        D::List arguments;
    };
    const Row rows[] = {
        {"currentDocument", [&] { (void)e.currentDocument(); }, {}},
        {"favoritesList", [&] { (void)e.favoritesList(); }, {}},
        {"variatsIn",
         [&] { (void)e.variantsIn(QStringLiteral("Selects")); },
         {D::text(QStringLiteral("Selects"))}},
        {"setCapture",
         [&] { (void)e.setCapture(QStringLiteral("Look 2")); },
         {D::text(QStringLiteral("Look 2"))}},
        {"getCapture", [&] { (void)e.getCapture(); }, {}},
        {"makeDirsAndFaves",
         [&] {
             (void)e.makeDirsAndFaves({{"Look 1", "Look 2"}, true});
         },
         {D::textList({"Look 1", "Look 2"}), D::boolean(true)}},
        {"getCaptureName", [&] { (void)e.getCaptureName(); }, {}},
        {"setCaptureName",
         [&] { (void)e.setCaptureName(std::nullopt, QStringLiteral("Look")); },
         {D::missingValue(), D::text(QStringLiteral("Look"))}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.handler);
        m_engine->calls.clear();
        m_output.printed.clear();
        row.call();
        const EngineCall call = onlyCall();
        EXPECT_EQ(call.handler, QString::fromUtf8(row.handler));
        EXPECT_EQ(call.arguments, D::list(row.arguments));
        EXPECT_TRUE(call.file.toLocalFile().endsWith(QStringLiteral(
            "CaptureOneScripting_CaptureOne.bundle/CaptureOne20Actions.applescript")));
        EXPECT_EQ(m_output.printed, QStringList{"Finding source CaptureOne20Actions.applescript"});
    }
}

TEST_F(CaptureOneEventsTest, TextResultsWithoutTextFail)
{
    answer(D::missingValue());
    const CaptureOneEvents e = events(V::v11);
    m_running->identifiers = {QStringLiteral("com.phaseone.captureone11")};
    EXPECT_EQ(e.getCapture().error().failureReason,
              QStringLiteral("Result of script \"getCapture\" was unexpectedly nil."));
    EXPECT_EQ(e.setCapture(QStringLiteral("a")).error().failureReason,
              QStringLiteral("Result of script \"setCapture\" was unexpectedly nil."));
    EXPECT_EQ(e.makeDirsAndFaves({}).error().failureReason,
              QStringLiteral("Script \"makeDirsAndFaves\" did not return a String as expected."));
    answer([](const EngineCall&) -> ScriptOutcome { return std::nullopt; });
    EXPECT_EQ(e.currentDocument().error().failureReason,
              QStringLiteral("Result of script \"currentDocument\" was unexpectedly nil."));
    answer(D::text(QStringLiteral("Shoot.cosessiondb")));
    EXPECT_EQ(e.currentDocument(), QStringLiteral("Shoot.cosessiondb"));
    EXPECT_TRUE(m_engine->handlerCalls().back().file.toLocalFile().endsWith(
        QStringLiteral("CaptureOne11Actions.applescript")));
}

TEST_F(CaptureOneEventsTest, FavouritesComeUniqueAndSorted)
{
    answer(D::list({D::text(QStringLiteral("b")), D::text(QStringLiteral("a")), D::missingValue(),
                    D::text(QStringLiteral("b"))}));
    EXPECT_EQ(events().favoritesList(), (QStringList{"a", "b"}));
}

TEST_F(CaptureOneEventsTest, ValidationCountsNamesBeginningWithEachCollection)
{
    answer([](const EngineCall& call) -> ScriptOutcome {
        if (call.handler == QLatin1String("variatsIn"))
            return D::textList({"S10_1", "S1_1", "s1_2"});
        return D::textList({"S10", "S2"});
    });
    const auto result = events().validate({QStringLiteral("Selects"), {"S1", "S10", ""}, true});
    ASSERT_TRUE(result);
    EXPECT_EQ(result->comparitorCollection, QStringLiteral("Selects"));
    EXPECT_EQ(result->result,
              (std::map<QString, qint64>{{"S1", 2}, {"S10", 1}, {"", 3}, {"S2", 0}}));
    EXPECT_EQ(m_engine->handlerCalls().front().arguments,
              D::list({D::text(QStringLiteral("Selects"))}));
}

TEST_F(CaptureOneEventsTest, CollectionInfoAndNamingConvertTheirLists)
{
    answer(D::list({D::text(QStringLiteral("Look 1")), D::text(QStringLiteral("CCpj")),
                    D::missingValue(), D::missingValue(), D::int32(5)}));
    const auto information = events().collectionInfo(QStringLiteral("Look 1"));
    ASSERT_TRUE(information);
    EXPECT_EQ(information->kind, CaptureOneCollection::Kind::project);
    EXPECT_EQ(information->variantCount, 5);
    EXPECT_EQ(onlyCall().handler, QStringLiteral("collectionInfo"));

    answer(D::textList({"[Capture Name]", "Look"}));
    EXPECT_EQ(events().getCaptureName(),
              (CaptureNaming{QStringLiteral("[Capture Name]"), QStringLiteral("Look")}));
}

using CaptureOneEventsDeathTest = CaptureOneEventsTest;

TEST_F(CaptureOneEventsDeathTest, OurOwnScriptAnsweringInTheWrongShapeStops)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    answer(D::textList({"Look 1", "CCxx"}));
    EXPECT_DEATH((void)events().collectionInfo(QStringLiteral("Look 1")), "wrong shape");
}

TEST_F(CaptureOneEventsTest, ScriptFailuresPassThroughUnchanged)
{
    answer([](const EngineCall&) -> ScriptOutcome {
        return std::unexpected(ScriptFailure{QStringLiteral("Can't get document 1."), -1728});
    });
    const Error error = events().currentDocument().error();
    EXPECT_EQ(error.domain, AppleScriptBridgeError::domain());
    EXPECT_EQ(error.errorDescription, QStringLiteral("Can't get document 1."));
    EXPECT_EQ(error.failureReason, QStringLiteral("Error Executing currentDocument"));
    EXPECT_EQ(error.userInfo.value(QStringLiteral("script")),
              QStringLiteral("CaptureOne20Actions.applescript"));
}

TEST_F(CaptureOneEventsTest, RunAdjustmentsCompilesTheSelectedVariantsScript)
{
    const CaptureOneAdjustments adjustments{{CaptureOneAdjustment::rating, QStringLiteral("1")}};
    ASSERT_TRUE(events().runAdjustments(adjustments, false));
    EXPECT_EQ(m_engine->compiledSources(),
              QStringList{buildAdjustmentScript(
                  adjustments, QStringLiteral("com.captureone.captureone13"), false, false)});
    EXPECT_EQ(m_engine->calls.back().kind, EngineCall::Kind::execute);

    answer([](const EngineCall&) -> ScriptOutcome { return std::unexpected(ScriptFailure{}); });
    const Error failed = events().runAdjustments(adjustments, true).error();
    EXPECT_EQ(failed.errorDescription, QStringLiteral("No error message given"));
    EXPECT_EQ(failed.failureReason, QStringLiteral("The script returned an error"));

    m_engine->compileFailure = ScriptFailure{QStringLiteral("Expected end of line."), -2741};
    EXPECT_EQ(events().runAdjustments(adjustments, true).error().failureReason,
              QStringLiteral("The AppleScript source could not be compiled"));
}

TEST_F(CaptureOneEventsTest, MakeAdjustmentsHandsThePathsToTheGeneratedHandler)
{
    const CaptureOneAdjustments adjustments{{CaptureOneAdjustment::rating, QStringLiteral("4")}};
    const QStringList paths{"/Shoot/a.iiq", "/Shoot/b.iiq"};
    ASSERT_TRUE(events().makeAdjustments(paths, adjustments));
    EXPECT_EQ(m_engine->compiledSources(), QStringList{events().buildPathScript(adjustments)});
    const EngineCall call = onlyCall();
    EXPECT_EQ(call.handler, QStringLiteral("makeAdjustments"));
    EXPECT_EQ(call.arguments, D::list({D::textList(paths)}));
}

TEST(CharacterPrefix, ComparesWholeCharactersCaseSensitively)
{
    struct Row {
        const char* text;
        const char* prefix;
        bool expected;
    };
    const Row rows[] = {
        {"S1_1", "S1", true},
        {"S10_1", "S1", true},
        {"S1_1", "S10", false},
        {"s1_1", "S1", false},
        {"anything", "", true},
        {"", "", true},
        {"S1", "S1_1", false},
        {"e\xCC\x81t\xC3\xA9", "\xC3\xA9", true},
        {"e\xCC\x81t\xC3\xA9", "e", false},
        {"\xC3\xA9t\xC3\xA9", "e\xCC\x81", true},
        // No precomposed form: the accent stays a second code point.
        {"x\xCC\x81y", "x", false},
        {"x\xCC\x81y", "x\xCC\x81", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.text << " / " << row.prefix);
        EXPECT_EQ(hasCharacterPrefix(QString::fromUtf8(row.text), QString::fromUtf8(row.prefix)),
                  row.expected);
    }
}

} // namespace
} // namespace qb
