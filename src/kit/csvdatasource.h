// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "kit/filenamedatasource.h"

#include "csv/csvreader.h"
#include "extensions/error.h"

#include <QUrl>

#include <expected>
#include <optional>
#include <variant>

namespace qb {

// Why a CSV file could not be loaded: the file couldn't be read as text, or
// the text isn't CSV the reader accepts.
using CSVLoadError = std::variant<Error, CSVError>;
Error toError(const CSVLoadError& error);

// A CSV file with a header line, one column of which keys the rows. The
// parsed file is kept, so that the key column can change without a new read.
class CSVDataSource final : public FileNameDataSource {
public:
    CSVDataSource() = default;

    const std::optional<CSVReader::FileView>& csvData() const { return m_csvData; }
    void setCsvData(std::optional<CSVReader::FileView> data) { m_csvData = std::move(data); }

    // Reads and parses the file; leaves the table alone. On failure the
    // previous file stays.
    std::expected<void, CSVLoadError> loadCSV(const QUrl& url);
    // Rebuilds the table keyed by that header's column; an unknown column
    // leaves it empty. Without a file nothing changes.
    void buildMetadata(const QString& keyColumn);

    // The headers in file order.
    QStringList keyNames() const override;

    // The configuration a file's text is read with: a header line, commas,
    // and CR LF rows when the text has any CR LF at all.
    static CSVReader::Configuration configurationFor(const QString& text);

private:
    std::optional<CSVReader::FileView> m_csvData;
};

} // namespace qb
