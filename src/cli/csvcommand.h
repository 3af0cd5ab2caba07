// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"

#include "sources/csvdatasource.h"

#include <expected>

namespace qb::cli {

// The help of every --encoding option: the names it takes.
QString encodingHelp();

// How the CSV data source splits fields: comma unless told otherwise.
inline QCommandLineOption delimiterOption()
{
    return {QStringLiteral("delimiter"),
            QStringLiteral("comma (default), semicolon, tab or auto (by the header line)."),
            QStringLiteral("NAME")};
}

// Which sheet of a spreadsheet the rows come from.
inline QCommandLineOption sheetOption()
{
    return {QStringLiteral("sheet"),
            QStringLiteral("The sheet of a spreadsheet to read (default: the first)."),
            QStringLiteral("NAME")};
}

// The options that configure the CSV reader, shared by the commands that read CSV.
struct ReaderOptions {
    QCommandLineOption fieldDelimiter{QStringLiteral("field-delimiter"),
                                      QStringLiteral("Field delimiter (default \",\")."),
                                      QStringLiteral("S")};
    QCommandLineOption rowDelimiter{QStringLiteral("row-delimiter"),
                                    QStringLiteral("Row delimiter; \\n, \\r and \\t are "
                                                   "understood (default \"\\n\")."),
                                    QStringLiteral("S")};
    QCommandLineOption noHeader{QStringLiteral("no-header"),
                                QStringLiteral("The first line is data, not headers.")};
    QCommandLineOption noEscaping{QStringLiteral("no-escaping"),
                                  QStringLiteral("Double quotes are plain text.")};
    QCommandLineOption trim{QStringLiteral("trim"),
                            QStringLiteral("Characters to strip around fields."),
                            QStringLiteral("CHARS")};
    QCommandLineOption encoding{QStringLiteral("encoding"), encodingHelp(), QStringLiteral("NAME")};
    QCommandLineOption presample{QStringLiteral("presample"),
                                 QStringLiteral("Read the whole file before parsing.")};
    QList<QCommandLineOption> readerOptions() const
    {
        return {fieldDelimiter, rowDelimiter, noHeader, noEscaping, trim, encoding, presample};
    }
};

// "\n", "\r" and "\t" as typed on a command line become the characters.
QString unescapeDelimiter(QString text);
std::expected<CSVReader::Configuration, QString>
readerConfiguration(const QCommandLineParser& parser, const ReaderOptions& names);

// A CSV error prints its long form; any other read failure its one line.
// Both are bad input: status 2. `canForceEncoding` adds how to name the
// encoding of a file whose code page couldn't be told.
ExitStatus printCsvLoadError(Streams& streams, const CSVLoadError& error,
                             bool canForceEncoding = false);

// The field delimiter and the encoding named by --delimiter and --encoding;
// the usage error's text for a name that isn't one.
std::expected<CSVDataSource::FieldDelimiter, QString> delimiterNamed(const QString& name);
std::expected<TextEncoding, QString> encodingNamed(const QString& name);
// Loads the file into the data source, and says on stderr which code page a
// file that isn't Unicode was read in, or which cells of a spreadsheet
// didn't read as shown.
std::expected<void, ExitStatus> loadCsvFile(CSVDataSource& source, const QUrl& url,
                                            Streams& streams, bool canForceEncoding);

ExitStatus csvCommand(const QStringList& arguments, Streams& streams);

} // namespace qb::cli
