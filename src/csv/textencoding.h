// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>
#include <string_view>

namespace qb {

// The text encodings a CSV reader can be told about. The reader decodes the
// Unicode ones itself; the others only work when the whole input is presampled.
// `utf16`, `utf32` and `unicode` leave the byte order to a byte order mark.
enum class TextEncoding {
    ascii,
    utf8,
    utf16,
    utf16BigEndian,
    utf16LittleEndian,
    utf32,
    utf32BigEndian,
    utf32LittleEndian,
    unicode,
    isoLatin1,
    isoLatin2,
    isoLatin9,
    windowsCP1250,
    windowsCP1251,
    windowsCP1252,
    macOSRoman,
    shiftJIS,
    gb18030,
};

// Short names, as typed on a command line: "ascii", "utf8", "utf16", "utf16le",
// "utf16be", "utf32", "utf32le", "utf32be", "unicode", "latin1", "latin2",
// "latin9", "cp1250", "cp1251", "cp1252", "macroman", "shiftjis", "gb18030".
QString textEncodingName(TextEncoding encoding);
// The encoding with that short name, in any letter case.
std::optional<TextEncoding> textEncodingFromName(QStringView name);
// Every short name, in the order above, for help texts and messages.
QStringList textEncodingNames();
// The name ICU's converters know the encoding by.
const char* icuConverterName(TextEncoding encoding);

// The text of Unicode scalars, each kept, a leading U+FEFF too.
QString textFromScalars(std::u32string_view scalars);

} // namespace qb
