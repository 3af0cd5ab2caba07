// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli csv FILE: shows a CSV file as Quillbrook reads it.
#include "csvcommand.h"

#include "jsonoutput.h"

#include "sources/csvdatasource.h"
#include "spreadsheet/spreadsheet.h"

#include <QFileInfo>

namespace qb::cli {

namespace {

Json tableJson(const CSVDataSource& source)
{
    Json metadata = Json::object();
    const QStringList headers = source.keyNames();
    for (const QString& key : source.keys()) {
        const MetadataRow row = source.row(key).value_or(MetadataRow());
        Json fields = Json::object();
        for (const QString& header : headers) {
            if (const auto it = row.find(header); it != row.end())
                fields[header.toStdString()] = it->second.toString().toStdString();
        }
        metadata[key.toStdString()] = fields;
    }
    Json json = Json::object();
    json["keyNames"] = jsonStrings(headers);
    json["keys"] = jsonStrings(source.keys());
    json["metadata"] = metadata;
    return json;
}

// `json` as printJson prints it, nested `depth` levels deep.
std::string nestedJson(const Json& json, int depth)
{
    const std::string text = json.dump(2, ' ', false, Json::error_handler_t::replace);
    std::string nested;
    nested.reserve(text.size() + text.size() / 4);
    for (const char c : text) {
        nested += c;
        if (c == '\n')
            nested.append(std::size_t(depth) * 2, ' ');
    }
    return nested;
}

// {"headers": [...], "rows": [[...], ...]} as printJson prints it, a row at
// a time, so that the JSON of a file of millions of rows is never held whole.
void printFileJson(QTextStream& out, const CSVReader::FileView& view)
{
    out << "{\n  \"headers\": "
        << QString::fromStdString(nestedJson(jsonStrings(view.headers()), 1)) << ",\n  \"rows\": ";
    if (view.rowCount() == 0) {
        out << "[]\n}\n";
        out.flush();
        return;
    }
    out << "[\n";
    for (qsizetype i = 0; i < view.rowCount(); ++i) {
        std::string row = "    " + nestedJson(jsonStrings(view.row(i)), 2);
        row += i + 1 < view.rowCount() ? ",\n" : "\n";
        out << QString::fromStdString(row);
    }
    out << "  ]\n}\n";
    out.flush();
}

} // namespace

QString unescapeDelimiter(QString text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\\') && i + 1 < text.size()) {
            const QChar next = text[i + 1];
            if (next == QLatin1Char('n') || next == QLatin1Char('r') || next == QLatin1Char('t')) {
                result += next == QLatin1Char('n')   ? u'\n'
                          : next == QLatin1Char('r') ? u'\r'
                                                     : u'\t';
                ++i;
                continue;
            }
        }
        result += text[i];
    }
    return result;
}

std::expected<CSVReader::Configuration, QString>
readerConfiguration(const QCommandLineParser& parser, const ReaderOptions& names)
{
    CSVReader::Configuration configuration;
    configuration.headerStrategy =
        parser.isSet(names.noHeader) ? Strategy::Header::none : Strategy::Header::firstLine;
    if (parser.isSet(names.fieldDelimiter))
        configuration.delimiters.field =
            Delimiter::Field(unescapeDelimiter(parser.value(names.fieldDelimiter)));
    if (parser.isSet(names.rowDelimiter))
        configuration.delimiters.row =
            Delimiter::Row(unescapeDelimiter(parser.value(names.rowDelimiter)));
    if (parser.isSet(names.noEscaping))
        configuration.escapingStrategy = Strategy::Escaping::none();
    if (parser.isSet(names.trim))
        configuration.trimStrategy = unicodeScalarSet(parser.value(names.trim));
    if (parser.isSet(names.encoding)) {
        const QString name = parser.value(names.encoding);
        const auto encoding = textEncodingFromName(name);
        if (!encoding)
            return std::unexpected(QStringLiteral("unknown encoding '%1'").arg(name));
        configuration.encoding = *encoding;
    }
    configuration.presample = parser.isSet(names.presample);
    return configuration;
}

QString encodingHelp()
{
    return QStringLiteral("The file's encoding: %1.").arg(textEncodingNames().join(u", "));
}

ExitStatus printCsvLoadError(Streams& streams, const CSVLoadError& error, bool canForceEncoding)
{
    if (const auto* csv = std::get_if<CSVError>(&error)) {
        streams.err << csv->longDescription() << '\n';
        streams.err.flush();
        return ExitStatus::usage;
    }
    Error plain = std::get<Error>(error);
    if (canForceEncoding && plain.code == undeterminedEncodingCode)
        plain.recoverySuggestion += QStringLiteral(" Or name its encoding with --encoding NAME.");
    printError(streams, plain);
    return ExitStatus::usage;
}

std::expected<CSVDataSource::FieldDelimiter, QString> delimiterNamed(const QString& name)
{
    if (const auto delimiter = CSVDataSource::fieldDelimiterNamed(name))
        return *delimiter;
    return std::unexpected(
        QStringLiteral("unknown delimiter '%1'; use comma, semicolon, tab or auto").arg(name));
}

std::expected<TextEncoding, QString> encodingNamed(const QString& name)
{
    if (const auto encoding = textEncodingFromName(name))
        return *encoding;
    return std::unexpected(
        QStringLiteral("unknown encoding '%1'; use %2").arg(name, textEncodingNames().join(u", ")));
}

std::expected<void, ExitStatus> loadCsvFile(CSVDataSource& source, const QUrl& url,
                                            Streams& streams, bool canForceEncoding)
{
    if (auto loaded = source.loadCSV(url); !loaded)
        return std::unexpected(printCsvLoadError(streams, loaded.error(), canForceEncoding));
    const QString fileName = QFileInfo(url.toLocalFile()).fileName();
    if (const auto& page = source.detectedCodePage())
        printError(streams, QStringLiteral("%1 is not UTF-8; read it as %2")
                                .arg(fileName, QString::fromLatin1(page->displayName)));
    // A sheet full of #N/A would bury everything else.
    constexpr qsizetype shownNotes = 5;
    const QStringList& notes = source.notes();
    for (qsizetype i = 0; i < std::min(notes.size(), shownNotes); ++i)
        printError(streams, QStringLiteral("%1, sheet \u201c%2\u201d: %3")
                                .arg(fileName, source.loadedSheet(), notes[i]));
    if (notes.size() > shownNotes)
        printError(streams, QStringLiteral("\u2026 and %1 more cells of %2 read as empty or not "
                                           "as shown")
                                .arg(notes.size() - shownNotes)
                                .arg(fileName));
    return {};
}

ExitStatus csvCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows a CSV file, or a sheet of a spreadsheet (.xlsx, .ods), as "
                       "Quillbrook reads it, as JSON."));
    const ReaderOptions options;
    const QCommandLineOption keyOption(QStringLiteral("key"),
                                       QStringLiteral("Show the table keyed by this column."),
                                       QStringLiteral("COLUMN"));
    const QCommandLineOption delimiter = delimiterOption();
    const QCommandLineOption sheet = sheetOption();
    parser.addOptions({keyOption, delimiter, sheet});
    parser.addOptions(options.readerOptions());
    parser.addPositionalArgument(QStringLiteral("FILE"),
                                 QStringLiteral("The CSV file or spreadsheet."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("csv"), arguments, streams))
        return *status;
    if (parser.positionalArguments().size() != 1) {
        printError(streams, QStringLiteral("csv takes exactly one FILE; see 'csv --help'"));
        return ExitStatus::usage;
    }
    const QUrl url =
        QUrl::fromLocalFile(QFileInfo(parser.positionalArguments().first()).absoluteFilePath());

    CSVDataSource source;
    bool readerOptionSet = false;
    for (const QCommandLineOption& option : options.readerOptions())
        readerOptionSet = readerOptionSet || parser.isSet(option);
    if (readerOptionSet && parser.isSet(delimiter)) {
        printError(streams, QStringLiteral("--delimiter reads as the data source does; give it "
                                           "or reader options, not both"));
        return ExitStatus::usage;
    }
    const bool spreadsheet = isSpreadsheetPath(url.toLocalFile());
    if ((readerOptionSet || parser.isSet(delimiter)) && spreadsheet) {
        printError(streams, QStringLiteral("--delimiter and the reader options are for CSV "
                                           "files; a spreadsheet's cells need none of them"));
        return ExitStatus::usage;
    }
    if (readerOptionSet) {
        const auto configuration = readerConfiguration(parser, options);
        if (!configuration) {
            printError(streams, configuration.error());
            return ExitStatus::usage;
        }
        auto view = CSVReader::readFile(url, *configuration);
        if (!view)
            return printCsvLoadError(streams, view.error());
        source.setCsvData(std::move(*view));
    } else {
        const auto named = delimiterNamed(
            parser.value(delimiter).isEmpty() ? QStringLiteral("comma") : parser.value(delimiter));
        if (!named) {
            printError(streams, named.error());
            return ExitStatus::usage;
        }
        source.setFieldDelimiter(*named);
        if (parser.isSet(sheet))
            source.setSheetName(parser.value(sheet));
        if (auto loaded = loadCsvFile(source, url, streams, false); !loaded)
            return loaded.error();
    }
    if (parser.isSet(sheet) && !source.isSpreadsheet()) {
        printError(streams, QStringLiteral("--sheet is for spreadsheets (.xlsx, .ods); %1 is "
                                           "read as CSV")
                                .arg(QFileInfo(url.toLocalFile()).fileName()));
        return ExitStatus::usage;
    }

    if (!parser.isSet(keyOption)) {
        printFileJson(streams.out, *source.csvData());
        return ExitStatus::success;
    }
    const QString key = parser.value(keyOption);
    if (!source.keyNames().contains(key)) {
        printError(streams, QStringLiteral("the file has no column named '%1'").arg(key));
        return ExitStatus::usage;
    }
    source.buildMetadata(key);
    printJson(streams.out, tableJson(source));
    return ExitStatus::success;
}

} // namespace qb::cli
