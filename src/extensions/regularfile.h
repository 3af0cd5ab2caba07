// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QFile>

#include <expected>

namespace qb {

// The error for a file that can't be opened or read, in the user's terms.
Error fileReadError(const QString& path, const QString& systemReason, bool missing);

// Opens `file` (its name set, not yet open) for reading when the name leads,
// through any links, to a regular file. A FIFO, a device, a socket or a
// folder is refused at once with an error that says what it is: reading
// one would block until a writer comes, or never reach an end.
std::expected<void, Error> openRegularFile(QFile& file);

} // namespace qb
