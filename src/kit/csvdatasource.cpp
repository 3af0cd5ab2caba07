// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvdatasource.h"

#include "extensions/textfile.h"

namespace qb {

Error toError(const CSVLoadError& error)
{
    if (const auto* csv = std::get_if<CSVError>(&error))
        return csv->toError();
    return std::get<Error>(error);
}

CSVReader::Configuration CSVDataSource::configurationFor(const QString& text)
{
    CSVReader::Configuration configuration;
    configuration.headerStrategy = Strategy::Header::firstLine;
    if (text.contains(QStringLiteral("\r\n"))) {
        configuration.delimiters.field = Delimiter::Field(u",");
        configuration.delimiters.row = Delimiter::Row(u"\r\n");
    }
    return configuration;
}

std::expected<void, CSVLoadError> CSVDataSource::loadCSV(const QUrl& url)
{
    const auto text = readTextFile(url.toLocalFile());
    if (!text)
        return std::unexpected(CSVLoadError(text.error()));
    auto view = CSVReader::readFile(*text, configurationFor(*text));
    if (!view)
        return std::unexpected(CSVLoadError(view.error()));
    m_csvData = std::move(*view);
    return {};
}

void CSVDataSource::buildMetadata(const QString& keyColumn)
{
    if (!m_csvData)
        return;
    MetadataTable table;
    const QStringList& headers = m_csvData->headers();
    for (const CSVReader::Record record : m_csvData->records()) {
        if (record.isEmpty())
            continue;
        const std::optional<QString> key = record.value(keyColumn);
        if (!key)
            continue;
        MetadataRow row;
        for (const QString& header : headers) {
            if (std::optional<QString> field = record.value(header))
                row.insert_or_assign(header, DynamicValue(*field));
        }
        table.insert_or_assign(*key, std::move(row)); // a later record replaces an earlier one
    }
    setMetadata(std::move(table));
}

QStringList CSVDataSource::keyNames() const
{
    return m_csvData ? m_csvData->headers() : QStringList();
}

} // namespace qb
