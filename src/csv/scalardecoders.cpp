// SPDX-License-Identifier: GPL-3.0-or-later
#include "scalardecoders.h"

#include <algorithm>
#include <cstring>

namespace qb::csvdetail {

DecodeStep AsciiDecoder::decode(std::span<const std::uint8_t> bytes, char32_t* out)
{
    std::size_t written = 0;
    for (const std::uint8_t byte : bytes) {
        if (byte >= 0x80) {
            m_badByte = byte;
            return {written, true};
        }
        out[written++] = byte;
    }
    return {written, false};
}

namespace {

// The length of the sequence that a lead byte starts; 0 where none can start.
int sequenceLength(std::uint8_t lead)
{
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2)
        return 0;
    if (lead < 0xE0)
        return 2;
    if (lead < 0xF0)
        return 3;
    if (lead < 0xF5)
        return 4;
    return 0;
}

// Only well-formed sequences pass: the narrowed second-byte ranges rule out
// overlong forms, surrogates and values beyond U+10FFFF.
bool decodeSequence(const std::uint8_t* bytes, int length, char32_t& scalar)
{
    const std::uint8_t lead = bytes[0];
    std::uint8_t low = 0x80;
    std::uint8_t high = 0xBF;
    if (lead == 0xE0)
        low = 0xA0;
    else if (lead == 0xED)
        high = 0x9F;
    else if (lead == 0xF0)
        low = 0x90;
    else if (lead == 0xF4)
        high = 0x8F;
    if (bytes[1] < low || bytes[1] > high)
        return false;
    char32_t value = lead & (0x7F >> length);
    for (int i = 1; i < length; ++i) {
        if ((bytes[i] & 0xC0) != 0x80)
            return false;
        value = value << 6 | (bytes[i] & 0x3F);
    }
    scalar = value;
    return true;
}

bool isAsciiWord(const std::uint8_t* bytes)
{
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return (word & 0x8080'8080'8080'8080ULL) == 0;
}

} // namespace

DecodeStep Utf8Decoder::decode(std::span<const std::uint8_t> bytes, char32_t* out)
{
    const std::uint8_t* p = bytes.data();
    const std::uint8_t* end = p + bytes.size();
    char32_t* o = out;
    if (m_pendingLength > 0) {
        while (m_pendingLength < m_needed && p != end)
            m_pending[m_pendingLength++] = *p++;
        if (m_pendingLength < m_needed)
            return {0, false};
        m_pendingLength = 0;
        if (!decodeSequence(m_pending.data(), m_needed, *o))
            return {0, true};
        ++o;
    }
    while (p != end) {
        if (end - p >= 8 && isAsciiWord(p)) {
            o = std::copy(p, p + 8, o);
            p += 8;
            continue;
        }
        if (*p < 0x80) {
            *o++ = *p++;
            continue;
        }
        const int length = sequenceLength(*p);
        if (length == 0)
            return {static_cast<std::size_t>(o - out), true};
        if (end - p < length) {
            m_needed = length;
            m_pendingLength = static_cast<int>(end - p);
            std::copy(p, end, m_pending.begin());
            break;
        }
        if (!decodeSequence(p, length, *o))
            return {static_cast<std::size_t>(o - out), true};
        ++o;
        p += length;
    }
    return {static_cast<std::size_t>(o - out), false};
}

std::optional<CSVError> Utf8Decoder::finish() const
{
    if (m_pendingLength > 0)
        return csvfailure::invalidUTF8();
    return std::nullopt;
}

} // namespace qb::csvdetail
