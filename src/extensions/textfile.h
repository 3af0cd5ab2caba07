// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/codepages.h"
#include "extensions/error.h"
#include "extensions/regularfile.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <expected>
#include <optional>

namespace qb {

// Reads a whole text file whose encoding isn't given: a byte order mark
// (UTF-8, UTF-16, UTF-32) decides, else UTF-8, else UTF-16 that plainly
// shows itself by its zero bytes. Anything else is refused with a clear
// error rather than read as garbled text.
std::expected<QString, Error> readTextFile(const QString& path);
std::expected<QString, Error> decodeText(const QByteArray& bytes, const QString& fileName);

// The code of the error for text whose encoding can't be told.
inline constexpr int undeterminedEncodingCode = 264;

// A file's text, and the code page it was read in when it wasn't Unicode.
struct DecodedText {
    QString text;
    std::optional<CodePage> codePage;
};

// As decodeText(), and text that a spreadsheet saved in one of its code pages
// is read in it, when ICU's detector is confident which one that is.
std::expected<DecodedText, Error> decodeSpreadsheetText(const QByteArray& bytes,
                                                        const QString& fileName);

// Whether `bytes` are UTF-8 throughout (a UTF-8 byte order mark included),
// checked a piece at a time, so that a large file isn't decoded whole for it.
bool isValidUtf8(QByteArrayView bytes);

// The whole contents of a regular file.
std::expected<QByteArray, Error> readFileBytes(const QString& path);

} // namespace qb
