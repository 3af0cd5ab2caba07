// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"

#include <QByteArray>
#include <QString>

#include <expected>

namespace qb {

// The JPEG a raw file carries for its own display, read through exiftool
// (best fit for a screen first: PreviewImage, then JpgFromRaw, then the
// small ThumbnailImage), so that a raw is never decoded whole. Nothing when
// the file carries none; the error says why exiftool couldn't be asked.
// `runner` may be a long-lived exiftool: each try is one request.
std::expected<QByteArray, QString>
readEmbeddedPreview(ProcessRunner& runner, const QString& exiftool, const QString& path);

// Files whose pictures only exiftool's extraction gives us cheaply: the
// raw formats, by extension (any letter case).
bool isRawImagePath(const QString& path);

} // namespace qb
