// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QFile>

#include <expected>

namespace qb {

// Opens `file` (its name set, not yet open) for reading when the name leads,
// through any links, to a regular file. A FIFO, a device, a socket or a
// folder is refused at once with an error that says what it is: reading
// one would block until a writer comes, or never reach an end.
std::expected<void, Error> openRegularFile(QFile& file);

} // namespace qb
