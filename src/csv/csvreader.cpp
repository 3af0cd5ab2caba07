// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvreader.h"

#include "csv/csvinput.h"
#include "csv/csvparser.h"

namespace qb {

namespace {

std::unique_ptr<csvdetail::ScalarSource> openInput(const QString& text,
                                                   const CSVReaderConfiguration&)
{
    return csvdetail::openText(text);
}

std::unique_ptr<csvdetail::ScalarSource> openInput(const QByteArray& data,
                                                   const CSVReaderConfiguration& config)
{
    return csvdetail::openData(data, config);
}

std::unique_ptr<csvdetail::ScalarSource> openInput(const QUrl& fileURL,
                                                   const CSVReaderConfiguration& config)
{
    return csvdetail::openFile(fileURL, config);
}

std::unique_ptr<csvdetail::ScalarSource> openInput(std::unique_ptr<ByteSource>&& stream,
                                                   const CSVReaderConfiguration& config)
{
    return csvdetail::openStream(std::move(stream), config);
}

} // namespace

CSVReader::CSVReader(std::unique_ptr<csvdetail::CSVParser> parser)
    : m_parser(std::move(parser))
{
}

CSVReader::CSVReader(CSVReader&& other) noexcept = default;
CSVReader& CSVReader::operator=(CSVReader&& other) noexcept = default;
CSVReader::~CSVReader() = default;

template <typename Input>
std::expected<CSVReader, CSVError> CSVReader::open(Input&& input, const Configuration& config)
{
    auto settings = Settings::make(config);
    if (!settings)
        return std::unexpected(settings.error());
    try {
        auto source = openInput(std::forward<Input>(input), config);
        return CSVReader(std::make_unique<csvdetail::CSVParser>(config, *std::move(settings),
                                                                std::move(source)));
    } catch (const CSVError& error) {
        return std::unexpected(error);
    }
}

std::expected<CSVReader, CSVError> CSVReader::make(const QString& text, const Configuration& config)
{
    return open(text, config);
}

std::expected<CSVReader, CSVError> CSVReader::make(const QByteArray& data,
                                                   const Configuration& config)
{
    return open(data, config);
}

std::expected<CSVReader, CSVError> CSVReader::make(const QUrl& fileURL, const Configuration& config)
{
    return open(fileURL, config);
}

std::expected<CSVReader, CSVError> CSVReader::make(std::unique_ptr<ByteSource> stream,
                                                   const Configuration& config)
{
    return open(std::move(stream), config);
}

std::expected<CSVFileView, CSVError> CSVReader::readAll()
{
    try {
        return m_parser->readFile();
    } catch (const CSVError& error) {
        return std::unexpected(error);
    }
}

std::expected<CSVFileView, CSVError> CSVReader::readFile(const QString& text,
                                                         const Configuration& config)
{
    auto reader = make(text, config);
    return reader ? reader->readAll() : std::unexpected(reader.error());
}

std::expected<CSVFileView, CSVError> CSVReader::readFile(const QByteArray& data,
                                                         const Configuration& config)
{
    auto reader = make(data, config);
    return reader ? reader->readAll() : std::unexpected(reader.error());
}

std::expected<CSVFileView, CSVError> CSVReader::readFile(const QUrl& fileURL,
                                                         const Configuration& config)
{
    auto reader = make(fileURL, config);
    return reader ? reader->readAll() : std::unexpected(reader.error());
}

std::expected<CSVFileView, CSVError> CSVReader::readFile(std::unique_ptr<ByteSource> stream,
                                                         const Configuration& config)
{
    auto reader = make(std::move(stream), config);
    return reader ? reader->readAll() : std::unexpected(reader.error());
}

std::expected<std::optional<QStringList>, CSVError> CSVReader::nextRow()
{
    try {
        return m_parser->nextRow();
    } catch (const CSVError& error) {
        return std::unexpected(error);
    }
}

const CSVReader::Configuration& CSVReader::configuration() const
{
    return m_parser->configuration();
}

const CSVReader::Settings& CSVReader::settings() const
{
    return m_parser->settings();
}

const QStringList& CSVReader::headers() const
{
    return m_parser->headers();
}

CSVReader::Count CSVReader::count() const
{
    return m_parser->count();
}

const CSVReader::Status& CSVReader::status() const
{
    return m_parser->status();
}

qint64 CSVReader::rowCount() const
{
    const Count counted = count();
    return headers().isEmpty() ? counted.rows : counted.rows - 1;
}

} // namespace qb
