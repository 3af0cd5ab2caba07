// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "captureone/runningapplications.h"
#include "captureone/scriptengine.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace qb::test {

// What a fake engine saw, in order.
struct EngineCall {
    enum class Kind { load, compile, handler, execute };
    Kind kind;
    QUrl file;       // load; handler and execute of a loaded script
    QString source;  // compile; handler and execute of a compiled script
    QString handler; // handler
    AppleEventDescriptor arguments = AppleEventDescriptor::list(); // handler
};

// Answers handler calls and runs through `respond`, and records everything.
class FakeScriptEngine : public ScriptEngine {
public:
    using Responder = std::function<ScriptOutcome(const EngineCall& call)>;

    std::expected<std::shared_ptr<Script>, ScriptFailure> load(const QUrl& file) override;
    std::expected<std::shared_ptr<Script>, ScriptFailure> compile(const QString& source) override;
    bool checksAutomationPermission() const override { return permissionAnswer.has_value(); }
    qint32 automationPermission(const QString& bundleIdentifier) override;

    // Handler calls only.
    std::vector<EngineCall> handlerCalls() const;
    QStringList compiledSources() const;

    Responder respond = [](const EngineCall&) -> ScriptOutcome {
        return std::nullopt;
    };
    std::optional<ScriptFailure> loadFailure;
    std::optional<ScriptFailure> compileFailure;
    // Loaded scripts report this as their source; compiled ones their text.
    std::optional<QString> loadedSource;
    std::optional<qint32> permissionAnswer;
    QStringList permissionRequests;
    std::vector<EngineCall> calls;
};

class FakeRunningApplications : public RunningApplications {
public:
    explicit FakeRunningApplications(QStringList bundleIdentifiers = {})
        : identifiers(std::move(bundleIdentifiers))
    {
    }
    std::vector<RunningApplication> runningApplications() const override;

    QStringList identifiers;
};

// Captures what the library prints and logs while it lives.
class CapturedOutput {
public:
    CapturedOutput();
    ~CapturedOutput();
    QStringList printed;
    QStringList logged;
};

} // namespace qb::test
