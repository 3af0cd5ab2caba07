// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/csvreader.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <expected>
#include <memory>
#include <optional>
#include <ostream>

#include "../support/printing.h"

namespace qb::csvtest {

// Checks kind, reason and help text of a failure against the reader's
// catalogue of texts, and the fields every failure shares.
void expectFailure(const CSVError& error, const QString& reason);

// The default configuration with the given shape.
inline CSVReader::Configuration configuration(Delimiter::Field field, Delimiter::Row row,
                                              Strategy::Header header = Strategy::Header::none,
                                              std::set<char32_t> trim = {},
                                              Strategy::Escaping escaping = {})
{
    CSVReader::Configuration config;
    config.delimiters = {std::move(field), std::move(row)};
    config.headerStrategy = header;
    config.trimStrategy = std::move(trim);
    config.escapingStrategy = escaping;
    return config;
}

// The default configuration reading the given encoding.
inline CSVReader::Configuration encoded(std::optional<TextEncoding> encoding,
                                        bool presample = false)
{
    CSVReader::Configuration config;
    config.encoding = encoding;
    config.presample = presample;
    return config;
}

// "a|b/c|d" as the rows {a, b} and {c, d}; the empty text as no rows.
QList<QStringList> table(const char* rows);

// The next row of a reader that is expected not to fail.
std::optional<QStringList> nextRowOf(CSVReader& reader);

// Text in one of the Unicode encodings, with or without its byte order mark.
QByteArray encodeText(const QString& text, TextEncoding encoding, bool withMark);

// A stream over fixed bytes. It answers the first read in full, as a file
// does, and later ones with at most `chunk` bytes; it fails (-1) once
// `failAfter` bytes went out, if that is set.
class FakeByteSource : public ByteSource {
public:
    struct Log {
        int closes = 0;
        Status lastStatus = Status::notOpen;
    };

    FakeByteSource(QByteArray bytes, qsizetype chunk, std::shared_ptr<Log> log,
                   std::optional<qsizetype> failAfter = std::nullopt)
        : m_bytes(std::move(bytes))
        , m_chunk(chunk)
        , m_log(std::move(log))
        , m_failAfter(failAfter)
    {
    }

    void open() override { setStatus(Status::open); }
    void close() override
    {
        ++m_log->closes;
        setStatus(Status::closed);
    }
    qint64 read(std::uint8_t* buffer, qint64 maxLength) override
    {
        if (m_status != Status::open)
            return m_status == Status::atEnd ? 0 : -1;
        if (m_failAfter && m_position >= *m_failAfter) {
            setStatus(Status::error);
            return -1;
        }
        qsizetype count = std::min(maxLength, m_bytes.size() - m_position);
        if (m_position > 0)
            count = std::min(count, m_chunk);
        if (m_failAfter)
            count = std::min(count, *m_failAfter - m_position);
        std::copy_n(m_bytes.constData() + m_position, count, reinterpret_cast<char*>(buffer));
        m_position += count;
        if (count == 0)
            setStatus(Status::atEnd);
        return count;
    }
    Status status() const override { return m_status; }
    std::optional<Error> error() const override
    {
        if (m_status != Status::error)
            return std::nullopt;
        Error error;
        error.errorDescription = QStringLiteral("the cable came loose");
        return error;
    }
    QString name() const override { return QStringLiteral("fake"); }

private:
    void setStatus(Status status) { m_status = m_log->lastStatus = status; }

    QByteArray m_bytes;
    qsizetype m_chunk;
    std::shared_ptr<Log> m_log;
    std::optional<qsizetype> m_failAfter;
    qsizetype m_position = 0;
    Status m_status = Status::notOpen;
};

} // namespace qb::csvtest
