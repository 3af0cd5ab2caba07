// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "captureone/appleeventdescriptor.h"
#include "extensions/error.h"

#include <QString>
#include <QUrl>

#include <expected>
#include <memory>
#include <optional>

namespace qb {

// What a script reports when it fails: its message and number, each only
// when the script gave one of the right kind.
struct ScriptFailure {
    std::optional<QString> message;
    std::optional<int> number;
};

// The failure as our error value, for use as the underlying error.
Error scriptFailureError(const ScriptFailure& failure);

// A call's answer; a handler that returns nothing gives no descriptor.
using ScriptOutcome = std::expected<std::optional<AppleEventDescriptor>, ScriptFailure>;

// One loaded or compiled script. Calls block until the script has ended.
class Script {
public:
    virtual ~Script() = default;

    // Nothing when the script was loaded in compiled form only.
    virtual std::optional<QString> source() const = 0;
    // Calls the handler named `handler`, spelled as given, with the items of
    // `arguments` (a list) as its parameters.
    virtual ScriptOutcome callHandler(const QString& handler,
                                      const AppleEventDescriptor& arguments) = 0;
    // Runs the script's top level.
    virtual ScriptOutcome execute() = 0;
};

// Whatever can run AppleScript on this system. Injected, so that tests and
// other platforms bring their own.
class ScriptEngine {
public:
    virtual ~ScriptEngine() = default;

    virtual std::expected<std::shared_ptr<Script>, ScriptFailure> load(const QUrl& file) = 0;
    virtual std::expected<std::shared_ptr<Script>, ScriptFailure>
    compile(const QString& source) = 0;
    // Whether the system asks the user before one application automates
    // another.
    virtual bool checksAutomationPermission() const = 0;
    // The system's answer for the application, asking the user if need be.
    virtual qint32 automationPermission(const QString& bundleIdentifier) = 0;
};

// The engine of a system without AppleScript: every load and compile fails
// with a message saying so, and there is no permission to ask for.
class UnavailableScriptEngine : public ScriptEngine {
public:
    static QString unavailableMessage();

    std::expected<std::shared_ptr<Script>, ScriptFailure> load(const QUrl& file) override;
    std::expected<std::shared_ptr<Script>, ScriptFailure> compile(const QString& source) override;
    bool checksAutomationPermission() const override { return false; }
    qint32 automationPermission(const QString& bundleIdentifier) override;
};

// The engine of this system.
std::shared_ptr<ScriptEngine> systemScriptEngine();

} // namespace qb
