// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "captureone/applescriptbridge.h"
#include "captureone/captureoneadjustment.h"
#include "captureone/captureonerecords.h"
#include "captureone/captureoneversion.h"
#include "captureone/runningapplications.h"
#include "extensions/error.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <memory>
#include <optional>

namespace qb {

struct CaptureOneEventsError {
    enum class Case { resultWasNil, unexpectedType, captureOneNotRunning };

    static CaptureOneEventsError resultWasNil(const QString& method);
    static CaptureOneEventsError unexpectedType(const QString& method, const QString& expected);
    static CaptureOneEventsError captureOneNotRunning(CaptureOneVersion version);

    static QString domain() { return QStringLiteral("CaptureOne.CaptureOneEvents.Error"); }

    QString errorDescription() const;
    QString failureReason() const;
    QString recoverySuggestion() const;
    Error toError() const;

    Case kind = Case::resultWasNil;
    QString method;
    QString expected;
    CaptureOneVersion version = CaptureOneVersion::v20;
};

// The one way to speak to Capture One. Each operation first checks that the
// chosen version runs, then calls a handler of that version's script or
// runs generated source. No connection is kept between calls; calls block
// until the script has ended. The version is never detected: another
// version that runs counts as not running.
//
// Our own scripts answering in the wrong shape is a programming error and
// stops the process; everything else comes back as an error value.
class CaptureOneEvents {
public:
    CaptureOneEvents(CaptureOneVersion version, AppleScriptBridge bridge,
                     std::shared_ptr<const RunningApplications> running);

    CaptureOneVersion version() const { return m_version; }
    void setVersion(CaptureOneVersion version) { m_version = version; }

    QString bundleIdentifier() const;
    std::optional<RunningApplication> runningApplication() const;
    bool isRunning() const { return runningApplication().has_value(); }

    std::expected<QString, Error> currentDocument() const;
    // Without duplicates, sorted.
    std::expected<QStringList, Error> favoritesList() const;
    std::expected<CaptureOneCollection::Information, Error>
    collectionInfo(const QString& name) const;
    std::expected<QStringList, Error> variantsIn(const QString& name) const;
    std::expected<CaptureOneValidation::Result, Error>
    validate(const CaptureOneValidation::Request& request) const;
    std::expected<QString, Error> setCapture(const QString& name) const;
    std::expected<QString, Error> getCapture() const;
    std::expected<QString, Error> makeDirsAndFaves(const CreateFavorites& favorites) const;
    std::expected<CaptureNaming, Error> getCaptureName() const;
    // An absent part leaves that setting as it is.
    std::expected<CaptureNaming, Error> setCaptureName(const std::optional<QString>& format,
                                                       const std::optional<QString>& name) const;
    // Sets the adjustments on the selected variants, or on the primary one.
    std::expected<void, Error> runAdjustments(const CaptureOneAdjustments& adjustments,
                                              bool primary) const;
    // Sets the adjustments on the first variant of each image at `paths`.
    std::expected<std::optional<AppleEventDescriptor>, Error>
    makeAdjustments(const QStringList& paths, const CaptureOneAdjustments& adjustments) const;

    QString buildAdjustmentScript(const CaptureOneAdjustments& adjustments, bool primary,
                                  bool selected) const;
    QString buildPathScript(const CaptureOneAdjustments& adjustments) const;

    // The name of the version's script resource, without its extension.
    QString scriptResourceName() const;

private:
    std::expected<void, Error> checkRunning() const;
    std::expected<std::optional<AppleEventDescriptor>, Error>
    callHandler(const QString& handler, const AppleEventDescriptor::List& arguments = {}) const;
    std::expected<QString, Error> textResult(const QString& handler,
                                             const AppleEventDescriptor::List& arguments) const;
    std::expected<QStringList, Error>
    textListResult(const QString& handler, const AppleEventDescriptor::List& arguments) const;
    std::expected<CaptureNaming, Error>
    namingResult(const QString& handler, const AppleEventDescriptor::List& arguments) const;

    CaptureOneVersion m_version;
    AppleScriptBridge m_bridge;
    std::shared_ptr<const RunningApplications> m_running;
};

// Whether `text` begins with `prefix` by whole characters: canonically
// equivalent forms match, and a prefix that ends inside a character (a base
// letter without its accent) doesn't. Case matters; the empty prefix matches.
bool hasCharacterPrefix(const QString& text, const QString& prefix);

} // namespace qb
