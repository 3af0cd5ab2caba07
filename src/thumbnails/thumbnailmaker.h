// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"

#include <QImage>
#include <QString>

#include <expected>
#include <memory>

namespace qb {

// Makes the picture of one image file at a small size. JPEG, PNG, TIFF and
// WebP are decoded straight at that size (a JPEG decoder skips most of the
// work then); a raw file gives the preview it carries, read through
// exiftool, and is never decoded whole.
class ThumbnailMaker {
public:
    // `runner` runs `exiftool` for the raw files; a long-lived one saves the
    // start-up per file. Runs may come from several threads at once.
    ThumbnailMaker(std::shared_ptr<ProcessRunner> runner, QString exiftool);

    // At most `size` pixels on the long side, turned as the file says.
    // The error is the reason to show a user.
    std::expected<QImage, QString> make(const QString& path, int size) const;

private:
    std::shared_ptr<ProcessRunner> m_runner;
    QString m_exiftool;
};

} // namespace qb
