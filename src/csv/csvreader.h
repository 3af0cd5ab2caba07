// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "csv/bytesource.h"
#include "csv/csvconfiguration.h"
#include "csv/csverror.h"
#include "csv/csvfileview.h"
#include "csv/csvreaderstate.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <expected>
#include <memory>
#include <optional>

namespace qb {

namespace csvdetail {
class CSVParser;
}

// Reads one CSV input once, row by row or whole. Every entry form checks the
// configuration first; the byte forms then infer or check the encoding.
class CSVReader {
public:
    using Configuration = CSVReaderConfiguration;
    using Settings = CSVReaderSettings;
    using Error = CSVReaderError;
    using FileView = CSVFileView;
    using Record = CSVRecord;

    using Count = CSVReaderCount;
    using Status = CSVReaderStatus;

    static std::expected<CSVReader, CSVError> make(const QString& text,
                                                   const Configuration& config = {});
    static std::expected<CSVReader, CSVError> make(const QByteArray& data,
                                                   const Configuration& config = {});
    static std::expected<CSVReader, CSVError> make(const QUrl& fileURL,
                                                   const Configuration& config = {});
    // The reader owns the stream and closes it at the end or when dropped.
    static std::expected<CSVReader, CSVError> make(std::unique_ptr<ByteSource> stream,
                                                   const Configuration& config = {});

    // A reader on the input, read to its end. No partial view on failure.
    static std::expected<FileView, CSVError> readFile(const QString& text,
                                                      const Configuration& config = {});
    static std::expected<FileView, CSVError> readFile(const QByteArray& data,
                                                      const Configuration& config = {});
    static std::expected<FileView, CSVError> readFile(const QUrl& fileURL,
                                                      const Configuration& config = {});
    static std::expected<FileView, CSVError> readFile(std::unique_ptr<ByteSource> stream,
                                                      const Configuration& config = {});

    CSVReader(CSVReader&& other) noexcept;
    CSVReader& operator=(CSVReader&& other) noexcept;
    ~CSVReader();

    // The next row, or nothing at the end. After a failure every call gives
    // the same error again; after the end, nothing again.
    std::expected<std::optional<QStringList>, CSVError> nextRow();

    const Configuration& configuration() const;
    const Settings& settings() const;
    // The header row; empty without one.
    const QStringList& headers() const;
    Count count() const;
    const Status& status() const;
    // Data rows read so far, the header not counted.
    qint64 rowCount() const;

private:
    explicit CSVReader(std::unique_ptr<csvdetail::CSVParser> parser);
    template <typename Input>
    static std::expected<CSVReader, CSVError> open(Input&& input, const Configuration& config);
    std::expected<FileView, CSVError> readAll();

    std::unique_ptr<csvdetail::CSVParser> m_parser;
};

} // namespace qb
