// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakescripting.h"

#include "extensions/log.h"

namespace qb::test {

namespace {

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
        return record(
            {EngineCall::Kind::handler, m_file, m_source.value_or(QString()), handler, arguments});
    }

    ScriptOutcome execute() override
    {
        return record({EngineCall::Kind::execute, m_file, m_source.value_or(QString()), {}});
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

} // namespace

std::expected<std::shared_ptr<Script>, ScriptFailure> FakeScriptEngine::load(const QUrl& file)
{
    calls.push_back({EngineCall::Kind::load, file, {}, {}});
    if (loadFailure)
        return std::unexpected(*loadFailure);
    return std::make_shared<FakeScript>(*this, file, loadedSource);
}

std::expected<std::shared_ptr<Script>, ScriptFailure>
FakeScriptEngine::compile(const QString& source)
{
    calls.push_back({EngineCall::Kind::compile, {}, source, {}});
    if (compileFailure)
        return std::unexpected(*compileFailure);
    return std::make_shared<FakeScript>(*this, QUrl(), source);
}

qint32 FakeScriptEngine::automationPermission(const QString& bundleIdentifier)
{
    permissionRequests << bundleIdentifier;
    return permissionAnswer.value_or(0);
}

std::vector<EngineCall> FakeScriptEngine::handlerCalls() const
{
    std::vector<EngineCall> result;
    for (const EngineCall& call : calls) {
        if (call.kind == EngineCall::Kind::handler)
            result.push_back(call);
    }
    return result;
}

QStringList FakeScriptEngine::compiledSources() const
{
    QStringList result;
    for (const EngineCall& call : calls) {
        if (call.kind == EngineCall::Kind::compile)
            result << call.source;
    }
    return result;
}

std::vector<RunningApplication> FakeRunningApplications::runningApplications() const
{
    std::vector<RunningApplication> result;
    for (const QString& identifier : identifiers)
        result.push_back({identifier, identifier});
    return result;
}

CapturedOutput::CapturedOutput()
{
    setPrintSink([this](const QString& text) { printed << text; });
    setLogSink([this](const QString& text) { logged << text; });
}

CapturedOutput::~CapturedOutput()
{
    setPrintSink({});
    setLogSink({});
}

} // namespace qb::test
