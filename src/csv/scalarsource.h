// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/csverror.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace qb::csvdetail {

// The parser's marker for the end of the input; no Unicode scalar has it.
inline constexpr char32_t endOfInput = 0xFFFF'FFFF;

// Where the parser's scalars come from. It hands them out a run at a time so
// that the parser's inner loop deals with plain arrays, not with encodings.
class ScalarSource {
public:
    virtual ~ScalarSource() = default;

    // The next run of scalars; empty at the end of the input and from then on.
    // Throws CSVError where the input can't be decoded, but only once every
    // scalar before that point has been handed out.
    virtual std::span<const char32_t> next() = 0;
};

// Walks the scalars of a text; unpaired surrogates become U+FFFD.
std::unique_ptr<ScalarSource> makeTextSource(QString text);

struct DecodeStep {
    std::size_t written = 0;
    bool failed = false;
};

// Decodes what a byte buffer delivers with one of the scalar decoders.
// Bytes: next() gives runs of at most maxChunk bytes, empty at the end, and
// failure() tells why the bytes ended early. Decoder: decode() writes at most
// one scalar per byte and stops at an ill-formed sequence, failure() is that
// error, finish() the error of input that stopped inside a scalar.
template <typename Decoder, typename Bytes>
class DecodingSource final : public ScalarSource {
public:
    template <typename... Args>
    explicit DecodingSource(Args&&... args)
        : m_bytes(std::forward<Args>(args)...)
        , m_out(std::make_unique<char32_t[]>(Bytes::maxChunk + 1))
    {
    }

    std::span<const char32_t> next() override
    {
        while (!m_failure && !m_ended) {
            const std::span<const std::uint8_t> bytes = m_bytes.next();
            if (bytes.empty()) {
                m_ended = true;
                m_failure = m_bytes.failure();
                if (!m_failure)
                    m_failure = m_decoder.finish();
                break;
            }
            const DecodeStep step = m_decoder.decode(bytes, m_out.get());
            if (step.failed)
                m_failure = m_decoder.failure();
            if (step.written > 0)
                return {m_out.get(), step.written};
        }
        if (m_failure)
            throw *m_failure;
        return {};
    }

private:
    Bytes m_bytes;
    Decoder m_decoder;
    std::unique_ptr<char32_t[]> m_out;
    std::optional<CSVError> m_failure;
    bool m_ended = false;
};

} // namespace qb::csvdetail
