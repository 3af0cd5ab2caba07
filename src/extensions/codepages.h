// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>
#include <span>

namespace qb {

// A legacy code page that spreadsheets save CSV in when they don't write
// UTF-8: Excel on Windows writes the code page of the system's language,
// older Excel for Mac writes Mac Roman.
struct CodePage {
    const char* icuName;
    // The name people know it by, as messages show it.
    const char* displayName;
};

// The code pages detection chooses among, in the order messages list them.
std::span<const CodePage> spreadsheetCodePages();
// "Windows-1252, ISO-8859-1, ..., Shift-JIS or GB18030", with that conjunction.
QString spreadsheetCodePageList(const QString& conjunction);

// The code page the bytes are written in, when ICU's charset detector is
// confident that it is one of spreadsheetCodePages(). Nothing for bytes that
// aren't text, or whose code page the detector can't tell with confidence.
// Only meant for bytes that are not valid UTF-8.
std::optional<CodePage> detectSpreadsheetCodePage(QByteArrayView bytes);

// The bytes as text in the encoding ICU knows as `icuName`, or nothing when
// a byte doesn't map to a character in it or ICU has no such converter.
std::optional<QString> decodeStrictly(QByteArrayView bytes, const char* icuName);

} // namespace qb
