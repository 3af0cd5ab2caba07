// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/filenamedatasource.h"

#include "csv/csvreader.h"
#include "csv/textencoding.h"
#include "extensions/codepages.h"
#include "extensions/error.h"
#include "extensions/textfile.h"

#include <QUrl>

#include <expected>
#include <optional>
#include <variant>

namespace qb {

// Why a CSV file could not be loaded: the file couldn't be read as text, or
// the text isn't CSV the reader accepts.
using CSVLoadError = std::variant<Error, CSVError>;
Error toError(const CSVLoadError& error);

// A CSV file with a header line, one column of which keys the rows, or a
// sheet of a spreadsheet (.xlsx, .ods) read the same way, its first row the
// header. The parsed file is kept, so that the key column can change
// without a new read.
class CSVDataSource final : public FileNameDataSource {
public:
    // How the rows of a text end. A lone CR is how Excel for Mac's "CSV
    // (Macintosh)" ends them.
    enum class RowEnding { lf, crlf, cr };
    // CR LF if the text has any; else CR if it has lone CRs and no LF
    // outside double quotes; else LF. A file that mixes endings is read by
    // the first rule that fits, as it always was.
    static RowEnding rowEndingOf(QStringView text);
    static RowEnding rowEndingOf(QByteArrayView bytes);

    // What separates the fields. Comma is what every file was read with
    // before there was a choice, and stays the default. Automatic picks by
    // the header line.
    enum class FieldDelimiter { comma, semicolon, tab, automatic };
    // "comma", "semicolon", "tab", "auto": as documents store them and the
    // command line takes them.
    static QString fieldDelimiterName(FieldDelimiter delimiter);
    static std::optional<FieldDelimiter> fieldDelimiterNamed(QStringView name);
    // Of comma, semicolon and tab, the one that splits the text's first line
    // into the most fields, counting only those outside double quotes. Comma
    // wins a tie, so a header without any of them reads as before.
    static char16_t detectFieldDelimiter(QStringView text);

    CSVDataSource() = default;

    FieldDelimiter fieldDelimiter() const { return m_fieldDelimiter; }
    void setFieldDelimiter(FieldDelimiter delimiter) { m_fieldDelimiter = delimiter; }
    // The encoding files are read in; without one a byte order mark, UTF-8
    // or a spreadsheet's code page is detected.
    const std::optional<TextEncoding>& encoding() const { return m_encoding; }
    void setEncoding(std::optional<TextEncoding> encoding) { m_encoding = encoding; }
    // The code page the loaded file was found to be in; nothing for Unicode
    // text and for an encoding that was given.
    const std::optional<CodePage>& detectedCodePage() const { return m_detectedCodePage; }

    // The sheet a spreadsheet is read from; nothing for its first sheet.
    // A CSV file has no sheets and ignores it.
    const std::optional<QString>& sheetName() const { return m_sheetName; }
    void setSheetName(std::optional<QString> name) { m_sheetName = std::move(name); }
    // Of the loaded file, if it is a spreadsheet: its sheets, the one read,
    // and what the user should know about cells that didn't read as shown.
    bool isSpreadsheet() const { return !m_sheetNames.isEmpty(); }
    const QStringList& sheetNames() const { return m_sheetNames; }
    const QString& loadedSheet() const { return m_loadedSheet; }
    const QStringList& notes() const { return m_notes; }

    const std::optional<CSVReader::FileView>& csvData() const { return m_csvData; }
    void setCsvData(std::optional<CSVReader::FileView> data) { m_csvData = std::move(data); }

    // Reads and parses the file, or the sheet of a spreadsheet; leaves the
    // table alone. On failure the previous file stays. Relative path keys
    // start from the file's folder.
    std::expected<void, CSVLoadError> loadCSV(const QUrl& url);
    // Rebuilds the table keyed by that header's column; an unknown column
    // leaves it empty. Without a file nothing changes.
    void buildMetadata(const QString& keyColumn);

    // The headers in file order.
    QStringList keyNames() const override;

    // The configuration a file's text is read with: a header line, the
    // delimiter, and the text's row ending.
    static CSVReader::Configuration
    configurationFor(const QString& text, FieldDelimiter delimiter = FieldDelimiter::comma);
    // The same from the start of the text, which holds its first line,
    // and the whole text's row ending.
    static CSVReader::Configuration configurationFor(QStringView head, RowEnding ending,
                                                     FieldDelimiter delimiter);

private:
    struct Loaded;
    std::expected<Loaded, CSVLoadError> readBytes(const QString& path) const;
    std::expected<Loaded, CSVLoadError> readSpreadsheet(const QString& path) const;
    std::expected<DecodedText, Error> decode(const QByteArray& bytes,
                                             const QString& fileName) const;

    std::optional<CSVReader::FileView> m_csvData;
    FieldDelimiter m_fieldDelimiter = FieldDelimiter::comma;
    std::optional<TextEncoding> m_encoding;
    std::optional<CodePage> m_detectedCodePage;
    std::optional<QString> m_sheetName;
    QStringList m_sheetNames;
    QString m_loadedSheet;
    QStringList m_notes;
};

} // namespace qb
