// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/csvreader.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <expected>
#include <memory>
#include <optional>

#include <ostream>

// Readable test output for texts.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace qb::csvtest {

// Checks kind, reason and help text of a failure against the reader's
// catalogue of texts, and the fields every failure shares.
void expectFailure(const CSVError& error, const QString& reason);

struct Table {
    QStringList headers;
    QList<QStringList> rows;
};

// The whole of a text through readFile, as plain lists.
std::expected<Table, CSVError> readTable(const QString& text,
                                         const CSVReader::Configuration& config = {});

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
        int opens = 0;
        int closes = 0;
        Status lastStatus = Status::notOpen;
    };

    FakeByteSource(QByteArray bytes, qsizetype chunk, std::shared_ptr<Log> log,
                   std::optional<qsizetype> failAfter = std::nullopt);

    void open() override;
    void close() override;
    qint64 read(std::uint8_t* buffer, qint64 maxLength) override;
    Status status() const override { return m_status; }
    std::optional<Error> error() const override;
    QString name() const override { return QStringLiteral("fake"); }

private:
    void setStatus(Status status);

    QByteArray m_bytes;
    qsizetype m_chunk;
    std::shared_ptr<Log> m_log;
    std::optional<qsizetype> m_failAfter;
    qsizetype m_position = 0;
    bool m_firstRead = true;
    Status m_status = Status::notOpen;
};

} // namespace qb::csvtest
