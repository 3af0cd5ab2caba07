// SPDX-License-Identifier: GPL-3.0-or-later
#include "textencoding.h"

#include <array>
#include <utility>

namespace qb {

namespace {

constexpr std::array<std::pair<TextEncoding, const char*>, 18> encodingNames{{
    {TextEncoding::ascii, "ascii"},
    {TextEncoding::utf8, "utf8"},
    {TextEncoding::utf16, "utf16"},
    {TextEncoding::utf16BigEndian, "utf16be"},
    {TextEncoding::utf16LittleEndian, "utf16le"},
    {TextEncoding::utf32, "utf32"},
    {TextEncoding::utf32BigEndian, "utf32be"},
    {TextEncoding::utf32LittleEndian, "utf32le"},
    {TextEncoding::unicode, "unicode"},
    {TextEncoding::isoLatin1, "latin1"},
    {TextEncoding::isoLatin2, "latin2"},
    {TextEncoding::isoLatin9, "latin9"},
    {TextEncoding::windowsCP1250, "cp1250"},
    {TextEncoding::windowsCP1251, "cp1251"},
    {TextEncoding::windowsCP1252, "cp1252"},
    {TextEncoding::macOSRoman, "macroman"},
    {TextEncoding::shiftJIS, "shiftjis"},
    {TextEncoding::gb18030, "gb18030"},
}};

} // namespace

QString textEncodingName(TextEncoding encoding)
{
    for (const auto& [value, name] : encodingNames) {
        if (value == encoding)
            return QString::fromLatin1(name);
    }
    return {};
}

QStringList textEncodingNames()
{
    QStringList names;
    for (const auto& entry : encodingNames)
        names << QString::fromLatin1(entry.second);
    return names;
}

const char* icuConverterName(TextEncoding encoding)
{
    switch (encoding) {
    case TextEncoding::ascii:
        return "US-ASCII";
    case TextEncoding::utf8:
        return "UTF-8";
    case TextEncoding::utf16:
    case TextEncoding::unicode:
        return "UTF-16";
    case TextEncoding::utf16BigEndian:
        return "UTF-16BE";
    case TextEncoding::utf16LittleEndian:
        return "UTF-16LE";
    case TextEncoding::utf32:
        return "UTF-32";
    case TextEncoding::utf32BigEndian:
        return "UTF-32BE";
    case TextEncoding::utf32LittleEndian:
        return "UTF-32LE";
    case TextEncoding::isoLatin1:
        return "ISO-8859-1";
    case TextEncoding::isoLatin2:
        return "ISO-8859-2";
    case TextEncoding::isoLatin9:
        return "ISO-8859-15";
    case TextEncoding::windowsCP1250:
        return "windows-1250";
    case TextEncoding::windowsCP1251:
        return "windows-1251";
    case TextEncoding::windowsCP1252:
        return "windows-1252";
    case TextEncoding::macOSRoman:
        return "macintosh";
    case TextEncoding::shiftJIS:
        return "Shift_JIS";
    case TextEncoding::gb18030:
        return "GB18030";
    }
    return "";
}

std::optional<TextEncoding> textEncodingFromName(QStringView name)
{
    for (const auto& [value, text] : encodingNames) {
        if (name.compare(QLatin1StringView(text), Qt::CaseInsensitive) == 0)
            return value;
    }
    return std::nullopt;
}

// By hand, as QString::fromUcs4 would take a leading U+FEFF for a byte order
// mark and drop it.
QString textFromScalars(std::u32string_view scalars)
{
    QString text;
    text.reserve(static_cast<qsizetype>(scalars.size()));
    for (const char32_t scalar : scalars) {
        if (QChar::requiresSurrogates(scalar)) {
            text += QChar(QChar::highSurrogate(scalar));
            text += QChar(QChar::lowSurrogate(scalar));
        } else {
            text += QChar(static_cast<char16_t>(scalar));
        }
    }
    return text;
}

} // namespace qb
