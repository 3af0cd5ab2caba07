// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

namespace qb {

// How a write reaches the images. It lives apart from the queue, so that
// the preferences and the image checks can name a method without pulling
// in the writing machinery.
enum class WriteMethod { direct = 0, xmp = 1, captureOne = 2 };

std::optional<WriteMethod> writeMethodFromRawValue(int raw);
// How the assign action reads the preference: 0 direct, 2 Capture One,
// every other number XMP.
WriteMethod writeMethodFromPreference(int raw);
// "direct", "xmp", "captureOne", as the write's log lines name them.
QString caseName(WriteMethod method);

} // namespace qb
