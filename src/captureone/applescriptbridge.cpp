// SPDX-License-Identifier: GPL-3.0-or-later
#include "applescriptbridge.h"

#include "extensions/log.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QtGlobal>

namespace qb {

namespace {

QString urlPath(const QUrl& url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.path();
}

std::shared_ptr<const Error> engineError(const ScriptFailure& failure)
{
    return std::make_shared<const Error>(scriptFailureError(failure));
}

// Without a QCoreApplication Qt can't tell where the executable lives, and
// the library may be used before one exists.
QString executableFolder()
{
    if (QCoreApplication::instance())
        return QCoreApplication::applicationDirPath();
    const QFileInfo self(QStringLiteral("/proc/self/exe"));
    return self.exists() ? QFileInfo(self.canonicalFilePath()).absolutePath() : QString();
}

} // namespace

AppleScriptBridgeError AppleScriptBridgeError::couldNotLocateResouce(const QString& called)
{
    AppleScriptBridgeError error;
    error.kind = Case::couldNotLocateResouce;
    error.called = called;
    return error;
}

AppleScriptBridgeError AppleScriptBridgeError::couldNotLoadScript(const QUrl& at)
{
    AppleScriptBridgeError error;
    error.kind = Case::couldNotLoadScript;
    error.at = at;
    return error;
}

AppleScriptBridgeError AppleScriptBridgeError::couldNotExecute(const QString& method,
                                                               const QString& script,
                                                               const QString& message,
                                                               std::optional<int> number)
{
    AppleScriptBridgeError error;
    error.kind = Case::couldNotExecute;
    error.method = method;
    error.script = script;
    error.error = message;
    error.number = number;
    return error;
}

AppleScriptBridgeError AppleScriptBridgeError::couldNotCompileSource(const QString& source)
{
    AppleScriptBridgeError error;
    error.kind = Case::couldNotCompileSource;
    error.source = source;
    return error;
}

AppleScriptBridgeError AppleScriptBridgeError::executionError(const QString& message,
                                                              std::optional<int> number,
                                                              const QString& source)
{
    AppleScriptBridgeError error;
    error.kind = Case::executionError;
    error.error = message;
    error.number = number;
    error.source = source;
    return error;
}

QString AppleScriptBridgeError::errorDescription() const
{
    switch (kind) {
    case Case::couldNotLocateResouce:
        return QStringLiteral("Error Locating Resource");
    case Case::couldNotLoadScript:
        return QStringLiteral("Error Loading Script");
    case Case::couldNotExecute:
    case Case::executionError:
        return error;
    case Case::couldNotCompileSource:
        return QStringLiteral("The AppleScript source could not be compiled");
    }
    return {};
}

QString AppleScriptBridgeError::failureReason() const
{
    switch (kind) {
    case Case::couldNotLocateResouce:
        return QStringLiteral("Could not locate bundle resource called ") + called;
    case Case::couldNotLoadScript:
        return QStringLiteral("The script at ") + urlPath(at) +
               QStringLiteral(" could not be loaded");
    case Case::couldNotExecute:
        return QStringLiteral("Error Executing ") + method;
    case Case::couldNotCompileSource:
        return QStringLiteral("The AppleScript source could not be compiled");
    case Case::executionError:
        return QStringLiteral("The script returned an error");
    }
    return {};
}

Error AppleScriptBridgeError::toError() const
{
    Error result;
    result.domain = domain();
    result.code = int(kind);
    result.errorDescription = errorDescription();
    result.failureReason = failureReason();
    result.underlying = underlying;
    switch (kind) {
    case Case::couldNotLocateResouce:
        result.userInfo.insert(QStringLiteral("called"), called);
        break;
    case Case::couldNotLoadScript:
        result.userInfo.insert(QStringLiteral("at"), at);
        break;
    case Case::couldNotExecute:
        result.userInfo.insert(QStringLiteral("method"), method);
        result.userInfo.insert(QStringLiteral("script"), script);
        break;
    case Case::couldNotCompileSource:
        result.userInfo.insert(QStringLiteral("source"), source);
        break;
    case Case::executionError:
        result.userInfo.insert(QStringLiteral("source"), source);
        break;
    }
    if (number)
        result.userInfo.insert(QStringLiteral("number"), *number);
    return result;
}

QStringList resourceBundleSearchFolders()
{
    QStringList folders;
    const QString override = qEnvironmentVariable(resourceBundleVariable);
    if (!override.isEmpty())
        folders << override;
    const QString executable = executableFolder();
    if (!executable.isEmpty()) {
        folders << QDir::cleanPath(executable + QStringLiteral("/../share/quillbrook"));
        folders << executable;
    }
#ifdef QB_CAPTUREONE_SOURCE_RESOURCES
    folders << QStringLiteral(QB_CAPTUREONE_SOURCE_RESOURCES);
#endif
    return folders;
}

std::optional<QString> findResourceBundle(const QStringList& folders)
{
    for (const QString& folder : folders) {
        if (folder.isEmpty())
            continue;
        const QFileInfo given(folder);
        if (given.fileName() == resourceBundleName && given.isDir())
            return given.absoluteFilePath();
        const QFileInfo bundle(QDir(folder).filePath(resourceBundleName));
        if (bundle.isDir())
            return bundle.absoluteFilePath();
    }
    return std::nullopt;
}

const QString& sharedResourceBundle()
{
    // A function-local static: computed once, safely across threads.
    static const QString bundle = [] {
        const std::optional<QString> found = findResourceBundle(resourceBundleSearchFolders());
        if (!found)
            qFatal("unable to find bundle named CaptureOneScripting_CaptureOne");
        return *found;
    }();
    return bundle;
}

AppleScriptBridge::AppleScriptBridge(std::shared_ptr<ScriptEngine> engine, QString resourceBundle)
    : m_engine(std::move(engine))
    , m_resourceBundle(std::move(resourceBundle))
{
}

QString AppleScriptBridge::resourceBundle() const
{
    return m_resourceBundle.isEmpty() ? sharedResourceBundle() : m_resourceBundle;
}

std::optional<QUrl> AppleScriptBridge::urlForResource(const QString& name,
                                                      const QString& extension) const
{
    const QString fileName = extension.isEmpty() ? name : name + QLatin1Char('.') + extension;
    const QFileInfo file(QDir(resourceBundle()).filePath(fileName));
    if (!file.isFile())
        return std::nullopt;
    return QUrl::fromLocalFile(file.absoluteFilePath());
}

ScriptResult AppleScriptBridge::runHandler(const QUrl& scriptURL, const QString& handler,
                                           const AppleEventDescriptor::List& arguments) const
{
    auto script = m_engine->load(scriptURL);
    if (!script) {
        AppleScriptBridgeError error = AppleScriptBridgeError::couldNotLoadScript(scriptURL);
        error.underlying = engineError(script.error());
        return std::unexpected(error);
    }
    ScriptResult result = runHandler(**script, handler, arguments);
    // A file's source would be of little use in a message; its name tells
    // which of our scripts failed.
    if (!result && result.error().kind == AppleScriptBridgeError::Case::couldNotExecute)
        result.error().script = QFileInfo(urlPath(scriptURL)).fileName();
    return result;
}

std::expected<std::shared_ptr<Script>, AppleScriptBridgeError>
AppleScriptBridge::compile(const QString& source) const
{
    auto script = m_engine->compile(source);
    if (!script) {
        AppleScriptBridgeError error = AppleScriptBridgeError::couldNotCompileSource(source);
        error.underlying = engineError(script.error());
        return std::unexpected(error);
    }
    return *script;
}

ScriptResult AppleScriptBridge::runHandler(const QString& resourceName, const QString& extension,
                                           const QString& handler,
                                           const AppleEventDescriptor::List& arguments) const
{
    const std::optional<QUrl> url = urlForResource(resourceName, extension);
    if (!url)
        return std::unexpected(AppleScriptBridgeError::couldNotLocateResouce(resourceName));
    return runHandler(*url, handler, arguments);
}

ScriptResult AppleScriptBridge::runHandler(Script& script, const QString& handler,
                                           const AppleEventDescriptor::List& arguments)
{
    AppleEventDescriptor list = AppleEventDescriptor::list();
    for (const AppleEventDescriptor& argument : arguments)
        list.insertDescriptor(argument, 0);
    ScriptOutcome outcome = script.callHandler(handler, list);
    if (outcome)
        return *outcome;
    const ScriptFailure& failure = outcome.error();
    return std::unexpected(AppleScriptBridgeError::couldNotExecute(
        handler, script.source().value_or(QStringLiteral("Script has no source code available")),
        failure.message.value_or(QStringLiteral("No error message provided")), failure.number));
}

void AppleScriptBridge::requestAutomationPermission(const QString& bundleIdentifier) const
{
    if (!m_engine->checksAutomationPermission())
        return;
    qbLog(QStringLiteral("Checking AppleEvents permission"));
    qbLog(QString::number(m_engine->automationPermission(bundleIdentifier)));
}

} // namespace qb
