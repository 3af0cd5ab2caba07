// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "captureone/captureoneadjustment.h"
#include "captureone/captureoneversion.h"
#include "captureone/runningapplications.h"
#include "captureone/scriptengine.h"
#include "exif/exifimage.h"
#include "extensions/dynamicvalue.h"
#include "extensions/error.h"
#include "writing/captureonewriter.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace qb {

using CaptureOneImageMap = std::map<QUrl, std::shared_ptr<ExifImage>>;

// The adjustment that a tag's value sets. Only "GROUP:Name" forms have one,
// and only the name decides: EXIF:Rating and XMP:Rating both give rating.
std::optional<CaptureOneAdjustment> adjustmentForTag(const QString& tagName);

// A text as an AppleScript string literal: between double quotes, with its
// backslashes and double quotes escaped, so that a value from a CSV cell
// can't end the string and run script of its own.
QString appleScriptString(const QString& text);

// A value as it goes into a script: a text as a string literal, anything
// else in its default text form (numbers in decimal). Texts inside lists and
// dictionaries are escaped the same way; a value without a double quote or
// backslash comes out exactly as its default form.
QString appleScriptValue(const DynamicValue& value);

// The adjustments that an image's values make.
CaptureOneAdjustments adjustmentsForImage(const ExifImage& image);

// Images with exactly the same adjustments, sent with one script call.
struct CaptureOneAdjustmentGroup {
    CaptureOneAdjustments adjustments;
    std::vector<QUrl> files;
};

// The groups in the order they are sent; files in the order of `images`.
// Images without adjustable values form a group of their own, which is
// still sent.
std::vector<CaptureOneAdjustmentGroup> groupAdjustments(const CaptureOneImageMap& images);

// The paths that the script's handler is given for `files`.
QStringList scriptPaths(const std::vector<QUrl>& files);

// One group as it would be sent: its files and the whole script.
struct CaptureOneScriptPreview {
    std::vector<QUrl> files;
    QString script;
};

// What a write to Capture One would send, without sending anything and
// without asking whether Capture One runs.
std::vector<CaptureOneScriptPreview>
captureOneDryRun(const CaptureOneImageMap& images,
                 CaptureOneVersion version = CaptureOneVersion::v20);

// The previews as text for a terminal: for each group a comment line
// "-- Group 1 of 2: 2 files", a comment line "-- " and the path of each
// file, then the script; an empty line between groups. Ends in a line break;
// empty when there are no groups.
QString captureOneDryRunText(const std::vector<CaptureOneScriptPreview>& previews);

// The metadata queue's Capture One write: Capture One 20, one generated
// script per group of like values. Groups already sent stay applied when a
// later one fails. It keeps no state between writes; the queue calls it on
// its worker thread, which each script blocks until it has ended.
class CaptureOneAdjustmentWriter : public CaptureOneWriter {
public:
    // The defaults are this system's: on Linux no Capture One is found.
    // An empty `resourceBundle` means the installed one.
    explicit CaptureOneAdjustmentWriter(std::shared_ptr<ScriptEngine> engine = systemScriptEngine(),
                                        std::shared_ptr<const RunningApplications> running =
                                            std::make_shared<SystemRunningApplications>(),
                                        QString resourceBundle = {});

    static QString finishedMessage() { return QStringLiteral("Finished applying adjustments"); }

    std::expected<QString, Error> applyAdjustments(const CaptureOneImageMap& images) override;

private:
    std::shared_ptr<ScriptEngine> m_engine;
    std::shared_ptr<const RunningApplications> m_running;
    QString m_resourceBundle;
};

} // namespace qb
