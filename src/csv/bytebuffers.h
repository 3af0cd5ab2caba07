// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/bytesource.h"
#include "csv/csverror.h"

#include <QByteArray>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace qb::csvdetail {

// The bytes of a blob, from a start offset that skips a byte order mark.
class IteratorBuffer {
public:
    static constexpr qsizetype maxChunk = 64 * 1024;

    IteratorBuffer(QByteArray blob, qsizetype start);

    std::span<const std::uint8_t> next();
    std::optional<CSVError> failure() const { return std::nullopt; }

private:
    QByteArray m_blob;
    qsizetype m_position;
};

// The bytes of a stream, read through a fixed buffer. It owns the stream and
// closes it at the end, on a read error, and when dropped early.
class StreamBuffer {
public:
    static constexpr qsizetype maxChunk = 1024;

    // `leftover`: bytes already read from the stream (those of the encoding
    // inference that were no byte order mark); they come first.
    StreamBuffer(std::unique_ptr<ByteSource> stream, std::span<const std::uint8_t> leftover);
    ~StreamBuffer();
    StreamBuffer(const StreamBuffer&) = delete;
    StreamBuffer& operator=(const StreamBuffer&) = delete;

    std::span<const std::uint8_t> next();
    // The read error that ended the bytes early, if that is how they ended.
    std::optional<CSVError> failure() const { return m_error; }

private:
    enum class Status { active, finished, error };

    void cleanUp();

    std::unique_ptr<ByteSource> m_stream;
    std::unique_ptr<std::uint8_t[]> m_pointer;
    qsizetype m_index = 0;
    qsizetype m_endIndex = 0;
    Status m_status = Status::active;
    std::optional<CSVError> m_error;
};

} // namespace qb::csvdetail
