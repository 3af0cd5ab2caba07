// SPDX-License-Identifier: GPL-3.0-or-later
#include "bytebuffers.h"

#include "csv/csvfailures.h"

#include <algorithm>

namespace qb::csvdetail {

IteratorBuffer::IteratorBuffer(QByteArray blob, qsizetype start)
    : m_blob(std::move(blob))
    , m_position(start)
{
}

std::span<const std::uint8_t> IteratorBuffer::next()
{
    const qsizetype count = std::min(maxChunk, m_blob.size() - m_position);
    if (count <= 0)
        return {};
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(m_blob.constData()) + m_position;
    m_position += count;
    return {bytes, static_cast<std::size_t>(count)};
}

StreamBuffer::StreamBuffer(std::unique_ptr<ByteSource> stream,
                           std::span<const std::uint8_t> leftover)
    : m_stream(std::move(stream))
    , m_pointer(std::make_unique<std::uint8_t[]>(maxChunk))
    , m_endIndex(static_cast<qsizetype>(leftover.size()))
{
    std::copy(leftover.begin(), leftover.end(), m_pointer.get());
}

StreamBuffer::~StreamBuffer()
{
    cleanUp();
}

std::span<const std::uint8_t> StreamBuffer::next()
{
    if (m_index < m_endIndex) {
        const std::span<const std::uint8_t> bytes(m_pointer.get() + m_index,
                                                  static_cast<std::size_t>(m_endIndex - m_index));
        m_index = m_endIndex;
        return bytes;
    }
    if (m_status != Status::active)
        return {};
    const qint64 count = m_stream->read(m_pointer.get(), maxChunk);
    if (count > 0) {
        m_index = count;
        m_endIndex = count;
        return {m_pointer.get(), static_cast<std::size_t>(count)};
    }
    // Taken before the clean-up, which closes the stream and so changes both.
    const int streamStatus = static_cast<int>(m_stream->status());
    const std::optional<Error> streamError = m_stream->error();
    cleanUp();
    if (count == 0) {
        m_status = Status::finished;
    } else {
        m_status = Status::error;
        m_error = csvfailure::streamInputBytes(streamStatus, streamError);
    }
    return {};
}

void StreamBuffer::cleanUp()
{
    if (m_stream && m_stream->status() != ByteSource::Status::notOpen &&
        m_stream->status() != ByteSource::Status::closed)
        m_stream->close();
    m_pointer.reset();
    m_index = 0;
    m_endIndex = 0;
}

} // namespace qb::csvdetail
