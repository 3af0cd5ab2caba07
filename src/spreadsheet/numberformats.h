// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "cellvalues.h"

#include <QStringView>

namespace qb {

// How Excel's built-in number format `id` shows a number. Only the formats
// every locale shows as dates and times count: 14-22 and 45-47.
DateKind builtInDateKind(int id);

// How a number format code ("yyyy-mm-dd", "h:mm", "0.00") shows a number.
// Date and time letters count only outside quoted text, escapes and
// brackets; "m" is minutes after an hour or before seconds, else a month.
DateKind dateKindOfFormat(QStringView code);

} // namespace qb
