// SPDX-License-Identifier: GPL-3.0-or-later
#include "textencoding.h"

#include <array>
#include <utility>

namespace qb {

namespace {

constexpr std::array<std::pair<TextEncoding, const char*>, 16> encodingNames{{
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
    {TextEncoding::windowsCP1250, "cp1250"},
    {TextEncoding::windowsCP1251, "cp1251"},
    {TextEncoding::windowsCP1252, "cp1252"},
    {TextEncoding::macOSRoman, "macroman"},
    {TextEncoding::shiftJIS, "shiftjis"},
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

std::optional<TextEncoding> textEncodingFromName(QStringView name)
{
    for (const auto& [value, text] : encodingNames) {
        if (name.compare(QLatin1StringView(text), Qt::CaseInsensitive) == 0)
            return value;
    }
    return std::nullopt;
}

} // namespace qb
