// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "captureone/appleeventdescriptor.h"
#include "captureone/scriptengine.h"
#include "extensions/error.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <expected>
#include <memory>
#include <optional>

namespace qb {

// How running a script failed. The first case keeps its historical spelling.
struct AppleScriptBridgeError {
    enum class Case {
        couldNotLocateResouce,
        couldNotLoadScript,
        couldNotExecute,
        couldNotCompileSource,
        executionError,
    };

    static AppleScriptBridgeError couldNotLocateResouce(const QString& called);
    static AppleScriptBridgeError couldNotLoadScript(const QUrl& at);
    static AppleScriptBridgeError couldNotExecute(const QString& method, const QString& script,
                                                  const QString& error, std::optional<int> number);
    static AppleScriptBridgeError couldNotCompileSource(const QString& source);
    static AppleScriptBridgeError executionError(const QString& error, std::optional<int> number,
                                                 const QString& source);

    static QString domain() { return QStringLiteral("CaptureOne.AppleScriptBridge.Error"); }

    QString errorDescription() const;
    QString failureReason() const;
    Error toError() const;

    Case kind = Case::couldNotLocateResouce;
    QString called;            // couldNotLocateResouce
    QUrl at;                   // couldNotLoadScript
    QString method;            // couldNotExecute
    QString script;            // couldNotExecute
    QString error;             // couldNotExecute, executionError
    std::optional<int> number; // couldNotExecute, executionError
    QString source;            // couldNotCompileSource, executionError
    // What the engine said when it could neither load nor compile.
    std::shared_ptr<const Error> underlying;
};

// A handler's answer: its descriptor, or nothing when it returned nothing.
using ScriptResult = std::expected<std::optional<AppleEventDescriptor>, AppleScriptBridgeError>;

// The folder that holds our script resources.
inline const QString resourceBundleName = QStringLiteral("CaptureOneScripting_CaptureOne.bundle");

// The environment variable that names a folder holding the resource bundle
// (or the bundle itself); it is tried before every other place.
inline const char resourceBundleVariable[] = "QUILLBROOK_CAPTUREONE_SCRIPTS";

// Where the bundle is looked for, in order: the variable's folder; the
// installed share/quillbrook beside the executable's bin; the executable's
// own folder; the source tree the library was built from.
QStringList resourceBundleSearchFolders();
// The first folder of `folders` that holds the bundle, as the bundle's path.
std::optional<QString> findResourceBundle(const QStringList& folders);
// The bundle of this installation, found once. A missing bundle is a fault
// of the installation, not a run-time condition, and stops the process.
const QString& sharedResourceBundle();

// Loads a script, calls one named handler of it and hands back the answer.
// It knows nothing of Capture One and keeps no state between calls; calls
// block the calling thread until the script has ended.
class AppleScriptBridge {
public:
    // An empty `resourceBundle` means the shared one.
    explicit AppleScriptBridge(std::shared_ptr<ScriptEngine> engine, QString resourceBundle = {});

    ScriptEngine& engine() const { return *m_engine; }
    QString resourceBundle() const;

    // The file `name`.`extension` in the resource bundle, when it exists.
    std::optional<QUrl> urlForResource(const QString& name, const QString& extension) const;

    // A script of source text, ready to run.
    std::expected<std::shared_ptr<Script>, AppleScriptBridgeError>
    compile(const QString& source) const;

    ScriptResult runHandler(const QUrl& scriptURL, const QString& handler,
                            const AppleEventDescriptor::List& arguments) const;
    ScriptResult runHandler(const QString& resourceName, const QString& extension,
                            const QString& handler,
                            const AppleEventDescriptor::List& arguments) const;
    // The core the others use: the arguments go as one list, in order, and
    // the handler's name exactly as written.
    static ScriptResult runHandler(Script& script, const QString& handler,
                                   const AppleEventDescriptor::List& arguments);

    // Asks the system, and so the user, for leave to automate the
    // application. The answer is only logged: a refusal shows later, when
    // an event fails.
    void requestAutomationPermission(const QString& bundleIdentifier) const;

private:
    std::shared_ptr<ScriptEngine> m_engine;
    QString m_resourceBundle;
};

} // namespace qb
