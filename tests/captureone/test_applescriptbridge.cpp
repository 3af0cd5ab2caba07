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
using D = AppleEventDescriptor;
using Case = AppleScriptBridgeError::Case;

struct ErrorTextRow {
    AppleScriptBridgeError error;
    const char* description;
    const char* reason;
};

TEST(AppleScriptBridgeError, CarriesItsTexts)
{
    const ErrorTextRow rows[] = {
        {AppleScriptBridgeError::couldNotLocateResouce(QStringLiteral("CaptureOne20Actions")),
         "Error Locating Resource", "Could not locate bundle resource called CaptureOne20Actions"},
        {AppleScriptBridgeError::couldNotLoadScript(
             QUrl::fromLocalFile(QStringLiteral("/opt/q b/Actions.applescript"))),
         "Error Loading Script", "The script at /opt/q b/Actions.applescript could not be loaded"},
        {AppleScriptBridgeError::couldNotExecute(QStringLiteral("variatsIn"), QStringLiteral("x"),
                                                 QStringLiteral("Can't get collection."), -1728),
         "Can't get collection.", "Error Executing variatsIn"},
        {AppleScriptBridgeError::couldNotCompileSource(QStringLiteral("set x to")),
         "The AppleScript source could not be compiled",
         "The AppleScript source could not be compiled"},
        {AppleScriptBridgeError::executionError(QStringLiteral("Access not allowed."), -1723,
                                                QStringLiteral("beep")),
         "Access not allowed.", "The script returned an error"},
    };
    for (const ErrorTextRow& row : rows) {
        SCOPED_TRACE(row.description);
        const Error error = row.error.toError();
        EXPECT_EQ(error.errorDescription, QString::fromUtf8(row.description));
        EXPECT_EQ(error.failureReason, QString::fromUtf8(row.reason));
        EXPECT_EQ(error.domain, AppleScriptBridgeError::domain());
        EXPECT_EQ(error.code, int(row.error.kind));
    }
}

class AppleScriptBridgeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        QDir(m_dir.path()).mkdir(resourceBundleName);
        QFile script(bundle() + QStringLiteral("/Actions.applescript"));
        ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    }
    QString bundle() const { return m_dir.filePath(resourceBundleName); }
    AppleScriptBridge bridge() const { return AppleScriptBridge(m_engine, bundle()); }

    QTemporaryDir m_dir;
    std::shared_ptr<FakeScriptEngine> m_engine = std::make_shared<FakeScriptEngine>();
};

TEST_F(AppleScriptBridgeTest, SendsTheArgumentsAsOneListAndTheHandlerAsWritten)
{
    m_engine->respond = [](const EngineCall&) -> ScriptOutcome {
        return D::text(QStringLiteral("Session.cosessiondb"));
    };
    const ScriptResult result = bridge().runHandler(
        QStringLiteral("Actions"), QStringLiteral("applescript"), QStringLiteral("variatsIn"),
        {D::text(QStringLiteral("Selects")), D::boolean(true)});

    ASSERT_TRUE(result);
    EXPECT_EQ(*result, D::text(QStringLiteral("Session.cosessiondb")));
    ASSERT_EQ(m_engine->handlerCalls().size(), 1u);
    const EngineCall call = m_engine->handlerCalls().front();
    EXPECT_EQ(call.handler, QStringLiteral("variatsIn"));
    EXPECT_EQ(call.arguments, D::list({D::text(QStringLiteral("Selects")), D::boolean(true)}));
    EXPECT_EQ(call.file.toLocalFile(), bundle() + QStringLiteral("/Actions.applescript"));
}

TEST_F(AppleScriptBridgeTest, NoArgumentsStillSendAnEmptyListAndNoResultIsNoError)
{
    const ScriptResult result = bridge().runHandler(
        QStringLiteral("Actions"), QStringLiteral("applescript"), QStringLiteral("getCapture"), {});
    ASSERT_TRUE(result);
    EXPECT_FALSE(result->has_value());
    EXPECT_EQ(m_engine->handlerCalls().front().arguments, D::list());
}

TEST_F(AppleScriptBridgeTest, AFailingHandlerNamesTheScriptFileAndKeepsTheScriptsWords)
{
    m_engine->loadedSource = QStringLiteral("on getCapture()\nend getCapture");
    m_engine->respond = [](const EngineCall&) -> ScriptOutcome {
        return std::unexpected(ScriptFailure{QStringLiteral("Can't get captures."), -1728});
    };
    const ScriptResult result = bridge().runHandler(
        QStringLiteral("Actions"), QStringLiteral("applescript"), QStringLiteral("getCapture"), {});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, Case::couldNotExecute);
    EXPECT_EQ(result.error().script, QStringLiteral("Actions.applescript"));
    EXPECT_EQ(result.error().number, -1728);
    EXPECT_EQ(result.error().toError().errorDescription, QStringLiteral("Can't get captures."));
    EXPECT_EQ(result.error().toError().failureReason, QStringLiteral("Error Executing getCapture"));
}

TEST_F(AppleScriptBridgeTest, AFailureWithoutMessageOrNumberSaysSo)
{
    m_engine->respond = [](const EngineCall&) -> ScriptOutcome {
        return std::unexpected(ScriptFailure{});
    };
    // A compiled script loaded from a file has no source to show.
    auto loaded = m_engine->load(QUrl::fromLocalFile(QStringLiteral("/x.scpt")));
    ASSERT_TRUE(loaded);

    const ScriptResult result = AppleScriptBridge::runHandler(**loaded, QStringLiteral("f"), {});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().error, QStringLiteral("No error message provided"));
    EXPECT_FALSE(result.error().number);
    EXPECT_EQ(result.error().script, QStringLiteral("Script has no source code available"));
}

TEST_F(AppleScriptBridgeTest, MissingResourcesAndUnloadableScriptsFail)
{
    const ScriptResult missing = bridge().runHandler(
        QStringLiteral("Nothing"), QStringLiteral("applescript"), QStringLiteral("f"), {});
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().kind, Case::couldNotLocateResouce);
    EXPECT_EQ(missing.error().called, QStringLiteral("Nothing"));

    m_engine->loadFailure = ScriptFailure{QStringLiteral("not a script"), -2740};
    const ScriptResult unloadable = bridge().runHandler(
        QStringLiteral("Actions"), QStringLiteral("applescript"), QStringLiteral("f"), {});
    ASSERT_FALSE(unloadable);
    EXPECT_EQ(unloadable.error().kind, Case::couldNotLoadScript);
    ASSERT_TRUE(unloadable.error().underlying);
    EXPECT_EQ(unloadable.error().underlying->errorDescription, QStringLiteral("not a script"));
    EXPECT_TRUE(m_engine->handlerCalls().empty());
}

TEST_F(AppleScriptBridgeTest, PermissionIsAskedOnlyWhereTheSystemChecks)
{
    const test::CapturedOutput output;
    bridge().requestAutomationPermission(QStringLiteral("com.captureone.captureone13"));
    EXPECT_TRUE(output.logged.isEmpty());

    m_engine->permissionAnswer = -1743;
    bridge().requestAutomationPermission(QStringLiteral("com.captureone.captureone13"));
    EXPECT_EQ(output.logged, (QStringList{"Checking AppleEvents permission", "-1743"}));
    EXPECT_EQ(m_engine->permissionRequests, QStringList{"com.captureone.captureone13"});
}

TEST(ResourceBundle, TheFirstFolderHoldingTheBundleWins)
{
    QTemporaryDir first;
    QTemporaryDir second;
    QDir(second.path()).mkdir(resourceBundleName);
    const QString expected = QDir(second.path()).filePath(resourceBundleName);

    EXPECT_EQ(findResourceBundle({QString(), first.path(), second.path()}), expected);
    EXPECT_EQ(findResourceBundle({expected}), expected);
    EXPECT_FALSE(findResourceBundle({first.path()}));
}

TEST(ResourceBundle, TheEnvironmentVariableComesFirst)
{
    QTemporaryDir dir;
    qputenv(resourceBundleVariable, dir.path().toUtf8());
    const QStringList folders = resourceBundleSearchFolders();
    qunsetenv(resourceBundleVariable);
    ASSERT_FALSE(folders.isEmpty());
    EXPECT_EQ(folders.front(), dir.path());
}

TEST(ResourceBundle, TheInstalledLayoutIsSearchedBesideTheExecutable)
{
    const QString executable = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    const QDir bin = QFileInfo(executable).absoluteDir();
    const QStringList folders = resourceBundleSearchFolders();
    const qsizetype installed =
        folders.indexOf(QDir::cleanPath(bin.filePath(QStringLiteral("../share/quillbrook"))));
    ASSERT_GE(installed, 0);
    EXPECT_EQ(folders.indexOf(bin.path()), installed + 1);
    // The source tree comes last, for running from the build tree.
    EXPECT_TRUE(folders.back().endsWith(QStringLiteral("src/captureone/resources")));
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
        const auto url =
            bridge.urlForResource(QString::fromUtf8(name), QStringLiteral("applescript"));
        ASSERT_TRUE(url);
        QFile file(url->toLocalFile());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(file.readAll());
        for (const QString& handler : handlers) {
            const QRegularExpression start(QStringLiteral("^on %1\\(").arg(handler),
                                           QRegularExpression::MultilineOption);
            const QRegularExpression end(QStringLiteral("^end %1$").arg(handler),
                                         QRegularExpression::MultilineOption);
            EXPECT_TRUE(text.contains(start)) << handler.toStdString();
            EXPECT_TRUE(text.contains(end)) << handler.toStdString();
        }
    }
}

TEST(UnavailableScriptEngine, FailsEveryLoadAndCompileWithAClearMessage)
{
    const auto engine = systemScriptEngine();
    const auto loaded = engine->load(QUrl::fromLocalFile(QStringLiteral("/a.applescript")));
    const auto compiled = engine->compile(QStringLiteral("beep"));
    ASSERT_FALSE(loaded);
    ASSERT_FALSE(compiled);
    EXPECT_EQ(loaded.error().message,
              QStringLiteral("AppleScript is not available on this system."));
    EXPECT_EQ(compiled.error().message, loaded.error().message);
    EXPECT_FALSE(engine->checksAutomationPermission());

    const AppleScriptBridge bridge(engine, QStringLiteral("/nonexistent"));
    const auto source = bridge.compile(QStringLiteral("beep"));
    ASSERT_FALSE(source);
    EXPECT_EQ(source.error().kind, Case::couldNotCompileSource);
    EXPECT_EQ(source.error().underlying->errorDescription,
              QStringLiteral("AppleScript is not available on this system."));
}

} // namespace
} // namespace qb
