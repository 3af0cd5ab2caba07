// SPDX-License-Identifier: GPL-3.0-or-later
#include "captureoneevents.h"

#include "extensions/icustring.h"
#include "extensions/log.h"
#include "extensions/plainorder.h"

#include <QSet>
#include <QtGlobal>

#include <unicode/brkiter.h>

#include <memory>

namespace qb {

namespace {

const QString scriptExtension = QStringLiteral("applescript");

Error bridgeError(const AppleScriptBridgeError& error)
{
    return error.toError();
}

// Our scripts are shipped with us; an answer of the wrong shape means the
// script and this code disagree, which no user can mend.
[[noreturn]] void wrongShape(const QString& handler,
                             const std::optional<AppleEventDescriptor>& result)
{
    const QString shown = result ? result->debugText() : QStringLiteral("nothing");
    qFatal("Script \"%s\" returned a result of the wrong shape: %s", qPrintable(handler),
           qPrintable(shown));
}

} // namespace

CaptureOneEventsError CaptureOneEventsError::resultWasNil(const QString& method)
{
    CaptureOneEventsError error;
    error.kind = Case::resultWasNil;
    error.method = method;
    return error;
}

CaptureOneEventsError CaptureOneEventsError::unexpectedType(const QString& method,
                                                            const QString& expected)
{
    CaptureOneEventsError error;
    error.kind = Case::unexpectedType;
    error.method = method;
    error.expected = expected;
    return error;
}

CaptureOneEventsError CaptureOneEventsError::captureOneNotRunning(CaptureOneVersion version)
{
    CaptureOneEventsError error;
    error.kind = Case::captureOneNotRunning;
    error.version = version;
    return error;
}

QString CaptureOneEventsError::errorDescription() const
{
    if (kind == Case::captureOneNotRunning)
        return QStringLiteral("Capture One %1 is not running").arg(displayNumber(version));
    return QStringLiteral("Unexpected Type");
}

QString CaptureOneEventsError::failureReason() const
{
    switch (kind) {
    case Case::resultWasNil:
        return QStringLiteral("Result of script \"%1\" was unexpectedly nil.").arg(method);
    case Case::unexpectedType:
        return QStringLiteral("Script \"%1\" did not return a %2 as expected.")
            .arg(method, expected);
    case Case::captureOneNotRunning:
        return QStringLiteral("Capture One %1 is not running.").arg(displayNumber(version));
    }
    return {};
}

QString CaptureOneEventsError::recoverySuggestion() const
{
    if (kind == Case::captureOneNotRunning)
        return QStringLiteral("Launch Capture One %1").arg(displayNumber(version));
    return QStringLiteral("Please report this error to the developer");
}

Error CaptureOneEventsError::toError() const
{
    Error error;
    error.domain = domain();
    error.code = int(kind);
    error.errorDescription = errorDescription();
    error.failureReason = failureReason();
    error.recoverySuggestion = recoverySuggestion();
    if (kind == Case::captureOneNotRunning)
        error.userInfo.insert(QStringLiteral("version"), rawValue(version));
    else
        error.userInfo.insert(QStringLiteral("method"), method);
    return error;
}

CaptureOneEvents::CaptureOneEvents(CaptureOneVersion version, AppleScriptBridge bridge,
                                   std::shared_ptr<const RunningApplications> running)
    : m_version(version)
    , m_bridge(std::move(bridge))
    , m_running(std::move(running))
{
}

QString CaptureOneEvents::bundleIdentifier() const
{
    return qb::bundleIdentifier(m_version);
}

std::optional<RunningApplication> CaptureOneEvents::runningApplication() const
{
    const QString wanted = bundleIdentifier();
    for (const RunningApplication& application : m_running->runningApplications()) {
        if (application.bundleIdentifier == wanted)
            return application;
    }
    return std::nullopt;
}

QString CaptureOneEvents::scriptResourceName() const
{
    return QStringLiteral("CaptureOne%1Actions").arg(displayNumber(m_version));
}

std::expected<void, Error> CaptureOneEvents::checkRunning() const
{
    if (!isRunning())
        return std::unexpected(CaptureOneEventsError::captureOneNotRunning(m_version).toError());
    return {};
}

std::expected<std::optional<AppleEventDescriptor>, Error>
CaptureOneEvents::callHandler(const QString& handler,
                              const AppleEventDescriptor::List& arguments) const
{
    if (auto running = checkRunning(); !running)
        return std::unexpected(running.error());
    const QString name = scriptResourceName();
    qbPrint(QStringLiteral("Finding source ") + name + QLatin1Char('.') + scriptExtension);
    const std::optional<QUrl> script = m_bridge.urlForResource(name, scriptExtension);
    if (!script)
        qFatal("Missing script resource %s.applescript in %s", qPrintable(name),
               qPrintable(m_bridge.resourceBundle()));
    ScriptResult result = m_bridge.runHandler(*script, handler, arguments);
    if (!result)
        return std::unexpected(bridgeError(result.error()));
    return *result;
}

std::expected<QString, Error>
CaptureOneEvents::textResult(const QString& handler,
                             const AppleEventDescriptor::List& arguments) const
{
    const auto result = callHandler(handler, arguments);
    if (!result)
        return std::unexpected(result.error());
    const std::optional<QString> text = *result ? (*result)->stringValue() : std::nullopt;
    if (!text)
        return std::unexpected(CaptureOneEventsError::resultWasNil(handler).toError());
    return *text;
}

std::expected<QStringList, Error>
CaptureOneEvents::textListResult(const QString& handler,
                                 const AppleEventDescriptor::List& arguments) const
{
    const auto result = callHandler(handler, arguments);
    if (!result)
        return std::unexpected(result.error());
    if (!*result)
        return std::unexpected(CaptureOneEventsError::resultWasNil(handler).toError());
    return (*result)->texts();
}

std::expected<CaptureNaming, Error>
CaptureOneEvents::namingResult(const QString& handler,
                               const AppleEventDescriptor::List& arguments) const
{
    const auto result = callHandler(handler, arguments);
    if (!result)
        return std::unexpected(result.error());
    const std::optional<CaptureNaming> naming =
        *result ? CaptureNaming::fromDescriptor(**result) : std::nullopt;
    if (!naming)
        wrongShape(handler, *result);
    return *naming;
}

std::expected<QString, Error> CaptureOneEvents::currentDocument() const
{
    return textResult(QStringLiteral("currentDocument"), {});
}

std::expected<QStringList, Error> CaptureOneEvents::favoritesList() const
{
    auto names = textListResult(QStringLiteral("favoritesList"), {});
    if (!names)
        return names;
    QStringList unique;
    QSet<QString> seen;
    for (const QString& name : *names) {
        if (!seen.contains(canonical(name))) {
            seen.insert(canonical(name));
            unique << name;
        }
    }
    sortPlain(unique);
    return unique;
}

std::expected<CaptureOneCollection::Information, Error>
CaptureOneEvents::collectionInfo(const QString& name) const
{
    const QString handler = QStringLiteral("collectionInfo");
    const auto result = callHandler(handler, {AppleEventDescriptor::text(name)});
    if (!result)
        return std::unexpected(result.error());
    const auto information =
        *result ? CaptureOneCollection::Information::fromDescriptor(**result) : std::nullopt;
    if (!information)
        wrongShape(handler, *result);
    return *information;
}

std::expected<QStringList, Error> CaptureOneEvents::variantsIn(const QString& name) const
{
    // The handler's name is misspelt in every shipped script; it must stay so.
    return textListResult(QStringLiteral("variatsIn"), {AppleEventDescriptor::text(name)});
}

std::expected<CaptureOneValidation::Result, Error>
CaptureOneEvents::validate(const CaptureOneValidation::Request& request) const
{
    if (auto running = checkRunning(); !running)
        return std::unexpected(running.error());
    const auto compared = variantsIn(request.comparitorCollection);
    if (!compared)
        return std::unexpected(compared.error());
    QStringList collections = request.collections;
    if (request.includeFavorites) {
        const auto favorites = favoritesList();
        if (!favorites)
            return std::unexpected(favorites.error());
        collections << *favorites;
    }
    CaptureOneValidation::Result result{request.comparitorCollection, {}};
    for (const QString& collection : collections) {
        qint64 count = 0;
        for (const QString& name : *compared) {
            if (hasCharacterPrefix(name, collection))
                ++count;
        }
        result.result[collection] = count;
    }
    return result;
}

std::expected<QString, Error> CaptureOneEvents::setCapture(const QString& name) const
{
    return textResult(QStringLiteral("setCapture"), {AppleEventDescriptor::text(name)});
}

std::expected<QString, Error> CaptureOneEvents::getCapture() const
{
    return textResult(QStringLiteral("getCapture"), {});
}

std::expected<QString, Error>
CaptureOneEvents::makeDirsAndFaves(const CreateFavorites& favorites) const
{
    const QString handler = QStringLiteral("makeDirsAndFaves");
    const auto result = callHandler(handler, favorites.arguments());
    if (!result)
        return std::unexpected(result.error());
    const std::optional<QString> text = *result ? (*result)->stringValue() : std::nullopt;
    if (!text)
        return std::unexpected(
            CaptureOneEventsError::unexpectedType(handler, QStringLiteral("String")).toError());
    return *text;
}

std::expected<CaptureNaming, Error> CaptureOneEvents::getCaptureName() const
{
    return namingResult(QStringLiteral("getCaptureName"), {});
}

std::expected<CaptureNaming, Error>
CaptureOneEvents::setCaptureName(const std::optional<QString>& format,
                                 const std::optional<QString>& name) const
{
    return namingResult(QStringLiteral("setCaptureName"),
                        CaptureNaming::Request{format, name}.arguments());
}

std::expected<void, Error>
CaptureOneEvents::runAdjustments(const CaptureOneAdjustments& adjustments, bool primary) const
{
    if (auto running = checkRunning(); !running)
        return running;
    const QString source = buildAdjustmentScript(adjustments, primary, false);
    const auto script = m_bridge.compile(source);
    if (!script)
        return std::unexpected(bridgeError(script.error()));
    const ScriptOutcome outcome = (*script)->execute();
    if (!outcome) {
        const ScriptFailure& failure = outcome.error();
        return std::unexpected(
            AppleScriptBridgeError::executionError(
                failure.message.value_or(QStringLiteral("No error message given")), failure.number,
                source)
                .toError());
    }
    return {};
}

std::expected<std::optional<AppleEventDescriptor>, Error>
CaptureOneEvents::makeAdjustments(const QStringList& paths,
                                  const CaptureOneAdjustments& adjustments) const
{
    if (auto running = checkRunning(); !running)
        return std::unexpected(running.error());
    const QString source = buildPathScript(adjustments);
    const auto script = m_bridge.compile(source);
    if (!script)
        return std::unexpected(bridgeError(script.error()));
    ScriptResult result = AppleScriptBridge::runHandler(**script, QStringLiteral("makeAdjustments"),
                                                        {AppleEventDescriptor::textList(paths)});
    if (!result)
        return std::unexpected(bridgeError(result.error()));
    return *result;
}

QString CaptureOneEvents::buildAdjustmentScript(const CaptureOneAdjustments& adjustments,
                                                bool primary, bool selected) const
{
    return qb::buildAdjustmentScript(adjustments, bundleIdentifier(), primary, selected);
}

QString CaptureOneEvents::buildPathScript(const CaptureOneAdjustments& adjustments) const
{
    return qb::buildPathScript(adjustments, bundleIdentifier());
}

bool hasCharacterPrefix(const QString& text, const QString& prefix)
{
    const QString whole = canonical(text);
    const QString start = canonical(prefix);
    if (!whole.startsWith(start))
        return false;
    if (start.isEmpty() || whole.size() == start.size())
        return true;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    // Without ICU's break data, code units are the best we can compare.
    if (U_FAILURE(status) || !characters)
        return true;
    const icu::UnicodeString icuText = toIcu(whole); // setText keeps a reference
    characters->setText(icuText);
    return characters->isBoundary(int32_t(start.size()));
}

} // namespace qb
