// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureone/applescriptbridge.h"
#include "fakescripting.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace qb {
namespace {

using test::EngineCall;
using test::FakeScriptEngine;
using Case = AppleScriptBridgeError::Case;

// The texts of the other cases are checked where a run fails with them.
TEST(AppleScriptBridgeError, CarriesItsTexts)
{
    const struct {
        AppleScriptBridgeError error;
        const char* description;
        const char* reason;
    } rows[] = {
        {AppleScriptBridgeError::couldNotLocateResouce("CaptureOne20Actions"),
         "Error Locating Resource", "Could not locate bundle resource called CaptureOne20Actions"},
        {AppleScriptBridgeError::couldNotLoadScript(
             QUrl::fromLocalFile("/opt/q b/Actions.applescript")),
         "Error Loading Script", "The script at /opt/q b/Actions.applescript could not be loaded"},
        {AppleScriptBridgeError::couldNotCompileSource("set x to"),
         "The AppleScript source could not be compiled",
         "The AppleScript source could not be compiled"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.description);
        const Error error = row.error.toError();
        EXPECT_EQ(error.errorDescription, row.description);
        EXPECT_EQ(error.failureReason, row.reason);
        EXPECT_EQ(error.domain, AppleScriptBridgeError::domain());
        EXPECT_EQ(error.code, int(row.error.kind));
    }
}

class AppleScriptBridgeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir(m_dir.path()).mkdir(resourceBundleName));
        QFile script(bundle() + "/Actions.applescript");
        ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    }
    QString bundle() const { return m_dir.filePath(resourceBundleName); }
    AppleScriptBridge bridge() const { return AppleScriptBridge(m_engine, bundle()); }
    ScriptResult run(const char* resource, const char* handler)
    {
        return bridge().runHandler(resource, "applescript", handler, {});
    }

    QTemporaryDir m_dir;
    std::shared_ptr<FakeScriptEngine> m_engine = std::make_shared<FakeScriptEngine>();
};

// How handlers are called, arguments and all, shows in the events tests.
TEST_F(AppleScriptBridgeTest, AFailingHandlerNamesTheScriptFileAndKeepsTheScriptsWords)
{
    m_engine->loadedSource = "on getCapture()\nend getCapture";
    m_engine->respond = [](const EngineCall&) -> ScriptOutcome {
        return std::unexpected(ScriptFailure{"Can't get captures.", -1728});
    };
    const ScriptResult result = run("Actions", "getCapture");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, Case::couldNotExecute);
    EXPECT_EQ(result.error().script, "Actions.applescript");
    EXPECT_EQ(result.error().number, -1728);
    EXPECT_EQ(result.error().toError().errorDescription, "Can't get captures.");
    EXPECT_EQ(result.error().toError().failureReason, "Error Executing getCapture");
}

TEST_F(AppleScriptBridgeTest, AFailureWithoutMessageOrNumberSaysSo)
{
    m_engine->respond = [](const EngineCall&) -> ScriptOutcome {
        return std::unexpected(ScriptFailure{});
    };
    // A compiled script loaded from a file has no source to show.
    auto loaded = m_engine->load(QUrl::fromLocalFile("/x.scpt"));
    ASSERT_TRUE(loaded);
    const ScriptResult result = AppleScriptBridge::runHandler(**loaded, "f", {});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().error, "No error message provided");
    EXPECT_FALSE(result.error().number);
    EXPECT_EQ(result.error().script, "Script has no source code available");
}

TEST_F(AppleScriptBridgeTest, MissingResourcesAndUnloadableScriptsFail)
{
    const ScriptResult missing = run("Nothing", "f");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().kind, Case::couldNotLocateResouce);
    EXPECT_EQ(missing.error().called, "Nothing");

    m_engine->loadFailure = ScriptFailure{"not a script", -2740};
    const ScriptResult unloadable = run("Actions", "f");
    ASSERT_FALSE(unloadable);
    EXPECT_EQ(unloadable.error().kind, Case::couldNotLoadScript);
    ASSERT_TRUE(unloadable.error().underlying);
    EXPECT_EQ(unloadable.error().underlying->errorDescription, "not a script");
    EXPECT_TRUE(m_engine->handlerCalls().empty());
}

TEST_F(AppleScriptBridgeTest, PermissionIsAskedOnlyWhereTheSystemChecks)
{
    const test::CapturedOutput output;
    bridge().requestAutomationPermission("com.captureone.captureone13");
    EXPECT_TRUE(output.logged.isEmpty());

    m_engine->permissionAnswer = -1743;
    bridge().requestAutomationPermission("com.captureone.captureone13");
    EXPECT_EQ(output.logged, (QStringList{"Checking AppleEvents permission", "-1743"}));
    EXPECT_EQ(m_engine->permissionRequests, QStringList{"com.captureone.captureone13"});
}

TEST(ResourceBundle, TheFirstFolderHoldingItWinsSearchingTheVariableFirst)
{
    QTemporaryDir first;
    QTemporaryDir second;
    QDir(second.path()).mkdir(resourceBundleName);
    const QString expected = QDir(second.path()).filePath(resourceBundleName);
    EXPECT_EQ(findResourceBundle({QString(), first.path(), second.path()}), expected);
    EXPECT_EQ(findResourceBundle({expected}), expected);
    EXPECT_FALSE(findResourceBundle({first.path()}));

    qputenv(resourceBundleVariable, first.path().toUtf8());
    const QStringList folders = resourceBundleSearchFolders();
    qunsetenv(resourceBundleVariable);
    ASSERT_FALSE(folders.isEmpty());
    EXPECT_EQ(folders.front(), first.path());
    // Then the installed layout beside the executable, then the source tree.
    const QDir bin = QFileInfo(QFileInfo("/proc/self/exe").canonicalFilePath()).absoluteDir();
    const qsizetype installed =
        folders.indexOf(QDir::cleanPath(bin.filePath("../share/quillbrook")));
    ASSERT_GE(installed, 1);
    EXPECT_EQ(folders.indexOf(bin.path()), installed + 1);
    EXPECT_TRUE(folders.back().endsWith("src/captureone/resources"));
}

// Handler names are sent as written, so each shipped script must define
// each of them with exactly this spelling.
TEST(ResourceBundle, EveryShippedScriptDefinesEveryHandler)
{
    const QStringList handlers = {"currentDocument",  "favoritesList",  "collectionInfo",
                                  "variatsIn",        "setCapture",     "getCapture",
                                  "makeDirsAndFaves", "getCaptureName", "setCaptureName"};
    const AppleScriptBridge bridge(std::make_shared<FakeScriptEngine>());
    for (const char* name : {"CaptureOne11Actions", "CaptureOne12Actions", "CaptureOne20Actions"}) {
        SCOPED_TRACE(name);
        const auto url = bridge.urlForResource(name, "applescript");
        ASSERT_TRUE(url);
        QFile file(url->toLocalFile());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        for (const QString& handler : handlers) {
            const QRegularExpression definition(QStringLiteral("^on %1\\(.*^end %1$").arg(handler),
                                                QRegularExpression::MultilineOption |
                                                    QRegularExpression::DotMatchesEverythingOption);
            EXPECT_TRUE(text.contains(definition)) << handler.toStdString();
        }
    }
}

TEST(UnavailableScriptEngine, FailsEveryLoadAndCompileWithAClearMessage)
{
    const auto engine = systemScriptEngine();
    const auto loaded = engine->load(QUrl::fromLocalFile("/a.applescript"));
    const auto compiled = engine->compile("beep");
    ASSERT_FALSE(loaded);
    ASSERT_FALSE(compiled);
    EXPECT_EQ(loaded.error().message, "AppleScript is not available on this system.");
    EXPECT_EQ(compiled.error().message, loaded.error().message);
    EXPECT_FALSE(engine->checksAutomationPermission());

    const auto source = AppleScriptBridge(engine, "/nonexistent").compile("beep");
    ASSERT_FALSE(source);
    EXPECT_EQ(source.error().kind, Case::couldNotCompileSource);
    EXPECT_EQ(source.error().underlying->errorDescription,
              "AppleScript is not available on this system.");
}

} // namespace
} // namespace qb
