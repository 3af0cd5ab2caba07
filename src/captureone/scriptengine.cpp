// SPDX-License-Identifier: GPL-3.0-or-later
#include "scriptengine.h"

namespace qb {

namespace {

// -1750 is the number AppleScript gives a script that a component can't run.
constexpr int unavailableNumber = -1750;

ScriptFailure unavailable()
{
    return ScriptFailure{UnavailableScriptEngine::unavailableMessage(), unavailableNumber};
}

} // namespace

Error scriptFailureError(const ScriptFailure& failure)
{
    Error error;
    error.domain = QStringLiteral("CaptureOne.ScriptEngine");
    error.code = failure.number.value_or(0);
    error.errorDescription = failure.message.value_or(QStringLiteral("No error message provided"));
    error.failureReason = error.errorDescription;
    return error;
}

QString UnavailableScriptEngine::unavailableMessage()
{
    return QStringLiteral("AppleScript is not available on this system.");
}

std::expected<std::shared_ptr<Script>, ScriptFailure> UnavailableScriptEngine::load(const QUrl&)
{
    return std::unexpected(unavailable());
}

std::expected<std::shared_ptr<Script>, ScriptFailure>
UnavailableScriptEngine::compile(const QString&)
{
    return std::unexpected(unavailable());
}

qint32 UnavailableScriptEngine::automationPermission(const QString&)
{
    return unavailableNumber;
}

std::shared_ptr<ScriptEngine> systemScriptEngine()
{
    return std::make_shared<UnavailableScriptEngine>();
}

} // namespace qb
