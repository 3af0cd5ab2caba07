// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"

#include <QByteArray>
#include <QString>

#include <expected>

namespace qb {

// The JPEG a raw file carries for its own display, read through exiftool,
// so that a raw is never decoded whole. Its images are asked for one at a
// time, the ones that fit a screen first: PreviewImage, JpgFromRaw,
// OtherImage, then the small ThumbnailImage. The first at least `longSide`
// on its long side is taken without asking for the rest, else the largest
// there is; `longSide` 0 takes the first there is. Nothing when the file
// carries none; the error says why exiftool couldn't be asked. `runner`
// may be a long-lived exiftool: each try is one request.
std::expected<QByteArray, QString> readEmbeddedPreview(ProcessRunner& runner,
                                                       const QString& exiftool, const QString& path,
                                                       int longSide = 0);

// Files whose pictures only exiftool's extraction gives us cheaply: the
// raw formats, by extension (any letter case).
bool isRawImagePath(const QString& path);

} // namespace qb
