// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QByteArray>
#include <QString>

#include <expected>

namespace qb {

// Reads a whole text file whose encoding isn't given: a byte order mark
// (UTF-8, UTF-16, UTF-32) decides, else UTF-8, else UTF-16 that plainly
// shows itself by its zero bytes. Anything else is refused with a clear
// error rather than read as garbled text.
std::expected<QString, Error> readTextFile(const QString& path);
std::expected<QString, Error> decodeText(const QByteArray& bytes, const QString& fileName);

// The error for a file that can't be opened or read, in the user's terms.
Error fileReadError(const QString& path, const QString& systemReason, bool missing);

} // namespace qb
