// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/exiftool.h"
#include "extensions/error.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <expected>
#include <optional>
#include <vector>

namespace qb {

// When a frame was taken, as the camera wrote it: DateTimeOriginal, its
// sub-seconds (SubSecTimeOriginal) and, where the camera knows it, its
// offset from UTC (OffsetTimeOriginal).
struct CaptureTime {
    // Whole seconds, as a wall-clock time in UTC terms when there is no
    // offset, so that frames of one camera order by their clock alone.
    QDateTime dateTime;
    QString subSeconds; // the digits as written: "05" is 50 ms, "5" is 500 ms
    std::optional<int> offsetSeconds;

    // Microseconds since the epoch, for ordering bursts within a second.
    qint64 orderKey() const;
    // "2024-05-01 10:00:00.05" (and " +02:00" with an offset).
    QString text() const;

    // From exiftool's texts; nothing when the date is missing or malformed.
    // Malformed sub-seconds or offsets are left out rather than failing the
    // whole time.
    static std::optional<CaptureTime> fromExif(const QString& dateTimeOriginal,
                                               const QString& subSeconds = {},
                                               const QString& offset = {});

    friend bool operator==(const CaptureTime&, const CaptureTime&) = default;
};

// The capture times of `paths` in one run of exiftool, one entry per path
// in that order; nothing for a file without a time or one exiftool couldn't
// read. An error only when exiftool couldn't be run or answered nonsense.
std::expected<std::vector<std::optional<CaptureTime>>, Error>
readCaptureTimes(const ExifTool& exiftool, const QStringList& paths);

} // namespace qb
