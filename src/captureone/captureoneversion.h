// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace qb {

// The raw value of v20 is "13" and its number 20: Capture One 20 kept the
// application identifier of version 13. Both are needed and differ on purpose.
enum class CaptureOneVersion { v11, v12, v20 };

QString rawValue(CaptureOneVersion version);
// Nothing for any text but "11", "12" and "13".
std::optional<CaptureOneVersion> captureOneVersionFromRawValue(const QString& raw);
// The number a user knows: 11, 12, 20.
int displayNumber(CaptureOneVersion version);
QString bundleIdentifier(CaptureOneVersion version);
// "Capture One 20".
QString description(CaptureOneVersion version);

} // namespace qb
