// SPDX-License-Identifier: GPL-3.0-or-later
#include "csvdatasource.h"

#include "csv/csvfailures.h"
#include "spreadsheet/spreadsheet.h"

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <utility>

namespace qb {

namespace {

using FieldDelimiter = CSVDataSource::FieldDelimiter;

struct DelimiterEntry {
    FieldDelimiter delimiter;
    const char* name;
    char16_t character;
};

constexpr std::array<DelimiterEntry, 4> delimiters{{
    {FieldDelimiter::comma, "comma", u','},
    {FieldDelimiter::semicolon, "semicolon", u';'},
    {FieldDelimiter::tab, "tab", u'\t'},
    {FieldDelimiter::automatic, "auto", 0},
}};

Error undecodableAs(const QString& fileName, TextEncoding encoding)
{
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.FileReadError");
    error.code = 261;
    error.errorDescription = QStringLiteral("The file \u201c%1\u201d couldn\u2019t be read as %2.")
                                 .arg(fileName, textEncodingName(encoding));
    error.failureReason = QStringLiteral("Some of its bytes are not characters in that encoding.");
    error.recoverySuggestion =
        QStringLiteral("Name the encoding the file was saved in, or leave it out to have it "
                       "detected.");
    return error;
}

// The start of UTF-8 text, enough to hold its header line.
QString utf8Head(const QByteArray& bytes)
{
    constexpr qsizetype headSize = qsizetype(1) << 20;
    qsizetype size = std::min(bytes.size(), headSize);
    while (size > 0 && size < bytes.size() && (static_cast<uchar>(bytes[size]) & 0xC0) == 0x80)
        --size;
    return QString::fromUtf8(bytes.constData(), size);
}

char16_t unitOf(QChar c)
{
    return c.unicode();
}

char16_t unitOf(char c)
{
    return static_cast<uchar>(c);
}

// LF only where CR LF and lone CR don't fit: a lone CR counts only in a
// text that has no LF outside double quotes, which may hold line breaks.
template <typename Text>
CSVDataSource::RowEnding endingOf(Text text, Text crlf)
{
    using RowEnding = CSVDataSource::RowEnding;
    if (text.contains(crlf))
        return RowEnding::crlf;
    if (!text.contains(crlf.first(1)))
        return RowEnding::lf;
    bool quoted = false;
    for (const auto c : text) {
        const char16_t unit = unitOf(c);
        if (unit == u'"')
            quoted = !quoted;
        else if (unit == u'\n' && !quoted)
            return RowEnding::lf;
    }
    return RowEnding::cr;
}

// A zip container or an old binary workbook, whatever the file's name says:
// the spreadsheet reader reads it or says why it can't.
bool looksLikeSpreadsheet(QByteArrayView bytes)
{
    return bytes.startsWith("PK\x03\x04") || bytes.startsWith("\xD0\xCF\x11\xE0");
}

} // namespace

struct CSVDataSource::Loaded {
    CSVReader::FileView view;
    std::optional<CodePage> codePage = {};
    QStringList sheetNames = {};
    QString sheet = {};
    QStringList notes = {};
};

CSVDataSource::RowEnding CSVDataSource::rowEndingOf(QStringView text)
{
    return endingOf(text, QStringView(u"\r\n"));
}

CSVDataSource::RowEnding CSVDataSource::rowEndingOf(QByteArrayView bytes)
{
    return endingOf(bytes, QByteArrayView("\r\n"));
}

QString CSVDataSource::fieldDelimiterName(FieldDelimiter delimiter)
{
    for (const DelimiterEntry& entry : delimiters) {
        if (entry.delimiter == delimiter)
            return QString::fromLatin1(entry.name);
    }
    return {};
}

std::optional<FieldDelimiter> CSVDataSource::fieldDelimiterNamed(QStringView name)
{
    for (const DelimiterEntry& entry : delimiters) {
        if (name == QLatin1StringView(entry.name))
            return entry.delimiter;
    }
    return std::nullopt;
}

char16_t CSVDataSource::detectFieldDelimiter(QStringView text)
{
    std::array<int, 3> counts{};
    bool quoted = false;
    for (const QChar c : text) {
        if (c == u'"')
            quoted = !quoted;
        else if (c == u'\n' && !quoted)
            break;
        for (std::size_t i = 0; i < counts.size() && !quoted; ++i)
            counts[i] += c == delimiters[i].character;
    }
    std::size_t best = 0;
    for (std::size_t i = 1; i < counts.size(); ++i) {
        if (counts[i] > counts[best])
            best = i;
    }
    return delimiters[best].character;
}

Error toError(const CSVLoadError& error)
{
    if (const auto* csv = std::get_if<CSVError>(&error))
        return csv->toError();
    return std::get<Error>(error);
}

CSVReader::Configuration CSVDataSource::configurationFor(const QString& text,
                                                         FieldDelimiter delimiter)
{
    return configurationFor(text, rowEndingOf(text), delimiter);
}

CSVReader::Configuration CSVDataSource::configurationFor(QStringView head, RowEnding ending,
                                                         FieldDelimiter delimiter)
{
    CSVReader::Configuration configuration;
    configuration.headerStrategy = Strategy::Header::firstLine;
    const char16_t field = delimiter == FieldDelimiter::automatic
                               ? detectFieldDelimiter(head)
                               : delimiters[std::size_t(delimiter)].character;
    configuration.delimiters.field = Delimiter::Field(QStringView(&field, 1));
    if (ending == RowEnding::crlf)
        configuration.delimiters.row = Delimiter::Row(u"\r\n");
    else if (ending == RowEnding::cr)
        configuration.delimiters.row = Delimiter::Row(u"\r");
    return configuration;
}

std::expected<DecodedText, Error> CSVDataSource::decode(const QByteArray& bytes,
                                                        const QString& fileName) const
{
    if (!m_encoding)
        return decodeSpreadsheetText(bytes, fileName);
    auto text = decodeStrictly(bytes, icuConverterName(*m_encoding));
    if (!text)
        return std::unexpected(undecodableAs(fileName, *m_encoding));
    // Given UTF-8 (or UTF-16, UTF-32), a byte order mark is still no text.
    if (text->startsWith(QChar(0xFEFF)))
        text->remove(0, 1);
    return DecodedText{std::move(*text), std::nullopt};
}

std::expected<void, CSVLoadError> CSVDataSource::loadCSV(const QUrl& url)
{
    const QString path = url.toLocalFile();
    auto loaded = isSpreadsheetPath(path) ? readSpreadsheet(path) : readBytes(path);
    if (!loaded)
        return std::unexpected(loaded.error());
    m_csvData = std::move(loaded->view);
    m_detectedCodePage = loaded->codePage;
    m_sheetNames = std::move(loaded->sheetNames);
    m_loadedSheet = std::move(loaded->sheet);
    m_notes = std::move(loaded->notes);
    setKeyFolder(QFileInfo(path).absolutePath());
    return {};
}

std::expected<CSVDataSource::Loaded, CSVLoadError>
CSVDataSource::readSpreadsheet(const QString& path) const
{
    auto names = qb::sheetNames(path);
    if (!names)
        return std::unexpected(CSVLoadError(names.error()));
    auto sheet = readSheet(path, m_sheetName);
    if (!sheet)
        return std::unexpected(CSVLoadError(sheet.error()));
    auto view = CSVReader::FileView::fromTable(std::move(sheet->headers), sheet->rows);
    if (!view)
        return std::unexpected(CSVLoadError(csvfailure::duplicateHeaders()));
    return Loaded{std::move(*view), std::nullopt, std::move(*names), std::move(sheet->sheetName),
                  std::move(sheet->notes)};
}

std::expected<CSVDataSource::Loaded, CSVLoadError>
CSVDataSource::readBytes(const QString& path) const
{
    std::expected<QByteArray, Error> bytes = readFileBytes(path);
    if (!bytes)
        return std::unexpected(CSVLoadError(bytes.error()));
    if (looksLikeSpreadsheet(*bytes))
        return readSpreadsheet(path);
    // UTF-8, by far the most common, is parsed from the bytes themselves:
    // a large file then never sits in memory as bytes and as text at once.
    if (!m_encoding && isValidUtf8(*bytes)) {
        CSVReader::Configuration configuration =
            configurationFor(utf8Head(*bytes), rowEndingOf(*bytes), m_fieldDelimiter);
        configuration.encoding = TextEncoding::utf8;
        auto view = CSVReader::readFile(std::exchange(*bytes, {}), configuration);
        if (!view)
            return std::unexpected(CSVLoadError(view.error()));
        return Loaded{std::move(*view)};
    }
    auto decoded = decode(*bytes, QFileInfo(path).fileName());
    if (!decoded)
        return std::unexpected(CSVLoadError(decoded.error()));
    *bytes = QByteArray();
    auto view =
        CSVReader::readFile(decoded->text, configurationFor(decoded->text, m_fieldDelimiter));
    if (!view)
        return std::unexpected(CSVLoadError(view.error()));
    return Loaded{std::move(*view), decoded->codePage};
}

void CSVDataSource::buildMetadata(const QString& keyColumn)
{
    if (!m_csvData)
        return;
    const std::optional<qsizetype> column = m_csvData->columnIndex(keyColumn);
    if (!column) {
        setMetadata({});
        setDuplicateKeys({});
        return;
    }
    auto rows = std::make_shared<CSVRows>(*m_csvData, *column);
    // A later record replaces an earlier one, and is told.
    setDuplicateKeys(rows->duplicateKeys());
    setRows(std::move(rows));
}

QStringList CSVDataSource::keyNames() const
{
    return m_csvData ? m_csvData->headers() : QStringList();
}

} // namespace qb
