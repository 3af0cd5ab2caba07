// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/csvfailures.h"
#include "csv/scalarsource.h"

#include <QChar>

#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <span>

// The scalar decoders. Each takes bytes a run at a time and keeps the bytes of
// a scalar that a run boundary cut through, so the runs may be of any length.
namespace qb::csvdetail {

class AsciiDecoder {
public:
    DecodeStep decode(std::span<const std::uint8_t> bytes, char32_t* out);
    std::optional<CSVError> finish() const { return std::nullopt; }
    CSVError failure() const { return csvfailure::notASCII(m_badByte); }

private:
    std::uint8_t m_badByte = 0;
};

class Utf8Decoder {
public:
    DecodeStep decode(std::span<const std::uint8_t> bytes, char32_t* out);
    std::optional<CSVError> finish() const;
    CSVError failure() const { return csvfailure::invalidUTF8(); }

private:
    std::array<std::uint8_t, 4> m_pending{};
    int m_pendingLength = 0;
    int m_needed = 0;
};

template <std::endian Order>
class Utf16Decoder {
public:
    DecodeStep decode(std::span<const std::uint8_t> bytes, char32_t* out)
    {
        const std::uint8_t* p = bytes.data();
        const std::uint8_t* end = p + bytes.size();
        char32_t* o = out;
        if (m_hasOddByte && p != end) {
            m_hasOddByte = false;
            if (!accept(compose(m_oddByte, *p++), o))
                return {0, true};
        }
        for (; end - p >= 2; p += 2) {
            if (!accept(compose(p[0], p[1]), o))
                return {static_cast<std::size_t>(o - out), true};
        }
        if (p != end) {
            m_oddByte = *p;
            m_hasOddByte = true;
        }
        return {static_cast<std::size_t>(o - out), false};
    }

    // A pair cut short by the end is ill-formed; a unit cut short is incomplete.
    std::optional<CSVError> finish() const
    {
        if (m_highSurrogate != 0)
            return csvfailure::invalidUTF16();
        if (m_hasOddByte)
            return csvfailure::incompleteUTF16();
        return std::nullopt;
    }
    CSVError failure() const { return csvfailure::invalidUTF16(); }

private:
    static char16_t compose(std::uint8_t first, std::uint8_t second)
    {
        if constexpr (Order == std::endian::big)
            return static_cast<char16_t>(first << 8 | second);
        else
            return static_cast<char16_t>(second << 8 | first);
    }

    bool accept(char16_t unit, char32_t*& out)
    {
        if (m_highSurrogate != 0) {
            if (!QChar::isLowSurrogate(unit))
                return false;
            *out++ = QChar::surrogateToUcs4(m_highSurrogate, unit);
            m_highSurrogate = 0;
        } else if (QChar::isHighSurrogate(unit)) {
            m_highSurrogate = unit;
        } else if (QChar::isLowSurrogate(unit)) {
            return false;
        } else {
            *out++ = unit;
        }
        return true;
    }

    char16_t m_highSurrogate = 0;
    std::uint8_t m_oddByte = 0;
    bool m_hasOddByte = false;
};

template <std::endian Order>
class Utf32Decoder {
public:
    DecodeStep decode(std::span<const std::uint8_t> bytes, char32_t* out)
    {
        const std::uint8_t* p = bytes.data();
        const std::uint8_t* end = p + bytes.size();
        char32_t* o = out;
        if (m_pendingLength > 0) {
            while (m_pendingLength < 4 && p != end)
                m_pending[m_pendingLength++] = *p++;
            if (m_pendingLength < 4)
                return {0, false};
            m_pendingLength = 0;
            if (!accept(compose(m_pending.data()), o))
                return {0, true};
        }
        for (; end - p >= 4; p += 4) {
            if (!accept(compose(p), o))
                return {static_cast<std::size_t>(o - out), true};
        }
        while (p != end)
            m_pending[m_pendingLength++] = *p++;
        return {static_cast<std::size_t>(o - out), false};
    }

    std::optional<CSVError> finish() const
    {
        if (m_pendingLength > 0)
            return csvfailure::incompleteUTF32();
        return std::nullopt;
    }
    CSVError failure() const { return csvfailure::invalidUTF32(); }

private:
    static char32_t compose(const std::uint8_t* b)
    {
        if constexpr (Order == std::endian::big)
            return char32_t(b[0]) << 24 | char32_t(b[1]) << 16 | char32_t(b[2]) << 8 | b[3];
        else
            return char32_t(b[3]) << 24 | char32_t(b[2]) << 16 | char32_t(b[1]) << 8 | b[0];
    }

    static bool accept(char32_t value, char32_t*& out)
    {
        const bool surrogate = (value >> 11) == 27;
        const bool beyondUnicode = (value >> 16) >= 17;
        if (surrogate || beyondUnicode)
            return false;
        *out++ = value;
        return true;
    }

    std::array<std::uint8_t, 4> m_pending{};
    int m_pendingLength = 0;
};

} // namespace qb::csvdetail
