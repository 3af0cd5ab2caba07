// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "../support/capturedoutput.h"

#include "captureone/runningapplications.h"
#include "captureone/scriptengine.h"
#include "extensions/log.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace qb::test {

// What a fake engine saw, in order.
struct EngineCall {
    enum class Kind { load, compile, handler, execute };
    Kind kind;
    QUrl file = {};       // load; handler and execute of a loaded script
    QString source = {};  // compile; handler and execute of a compiled script
    QString handler = {}; // handler
    AppleEventDescriptor arguments = AppleEventDescriptor::list(); // handler
};

// Answers handler calls and runs through `respond`, and records everything.
class FakeScriptEngine : public ScriptEngine {
public:
    std::expected<std::shared_ptr<Script>, ScriptFailure> load(const QUrl& file) override
    {
        calls.push_back({EngineCall::Kind::load, file});
        if (loadFailure)
            return std::unexpected(*loadFailure);
        return std::make_shared<FakeScript>(*this, file, loadedSource);
    }
    std::expected<std::shared_ptr<Script>, ScriptFailure> compile(const QString& source) override
    {
        calls.push_back({EngineCall::Kind::compile, {}, source});
        if (compileFailure)
            return std::unexpected(*compileFailure);
        return std::make_shared<FakeScript>(*this, QUrl(), source);
    }
    bool checksAutomationPermission() const override { return permissionAnswer.has_value(); }
    qint32 automationPermission(const QString& bundleIdentifier) override
    {
        permissionRequests << bundleIdentifier;
        return permissionAnswer.value_or(0);
    }

    std::vector<EngineCall> handlerCalls() const
    {
        std::vector<EngineCall> result;
        for (const EngineCall& call : calls) {
            if (call.kind == EngineCall::Kind::handler)
                result.push_back(call);
        }
        return result;
    }
    QStringList compiledSources() const
    {
        QStringList result;
        for (const EngineCall& call : calls) {
            if (call.kind == EngineCall::Kind::compile)
                result << call.source;
        }
        return result;
    }

    std::function<ScriptOutcome(const EngineCall& call)> respond = [](const EngineCall&) {
        return ScriptOutcome(std::nullopt);
    };
    std::optional<ScriptFailure> loadFailure;
    std::optional<ScriptFailure> compileFailure;
    // Loaded scripts report this as their source; compiled ones their text.
    std::optional<QString> loadedSource;
    std::optional<qint32> permissionAnswer;
    QStringList permissionRequests;
    std::vector<EngineCall> calls;

private:
    class FakeScript : public Script {
    public:
        FakeScript(FakeScriptEngine& engine, QUrl file, std::optional<QString> source)
            : m_engine(engine)
            , m_file(std::move(file))
            , m_source(std::move(source))
        {
        }
        std::optional<QString> source() const override { return m_source; }
        ScriptOutcome callHandler(const QString& handler,
                                  const AppleEventDescriptor& arguments) override
        {
            return record({EngineCall::Kind::handler, m_file, m_source.value_or(QString()), handler,
                           arguments});
        }
        ScriptOutcome execute() override
        {
            return record({EngineCall::Kind::execute, m_file, m_source.value_or(QString())});
        }

    private:
        ScriptOutcome record(const EngineCall& call)
        {
            m_engine.calls.push_back(call);
            return m_engine.respond(call);
        }

        FakeScriptEngine& m_engine;
        QUrl m_file;
        std::optional<QString> m_source;
    };
};

class FakeRunningApplications : public RunningApplications {
public:
    explicit FakeRunningApplications(QStringList bundleIdentifiers = {})
        : identifiers(std::move(bundleIdentifiers))
    {
    }
    std::vector<RunningApplication> runningApplications() const override
    {
        std::vector<RunningApplication> result;
        for (const QString& identifier : identifiers)
            result.push_back({identifier, identifier});
        return result;
    }

    QStringList identifiers;
};

using qb::testing::CapturedOutput;

} // namespace qb::test
