// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exifimage.h"
#include "extensions/error.h"

#include <QUrl>

#include <expected>
#include <map>
#include <memory>

namespace qb {

// The third write method: the queued images' values go to the open Capture
// One document. The queue knows only this interface; the Capture One
// library implements it, and the application or command line hands one in.
class CaptureOneWriter {
public:
    virtual ~CaptureOneWriter() = default;

    // Runs on the queue's worker thread and blocks it until every script
    // has ended. Success carries the closing message.
    virtual std::expected<QString, Error>
    applyAdjustments(const std::map<QUrl, std::shared_ptr<ExifImage>>& images) = 0;
};

} // namespace qb
