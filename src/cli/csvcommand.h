// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"

#include "kit/csvdatasource.h"

#include <expected>

namespace qb::cli {

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
    QCommandLineOption encoding{QStringLiteral("encoding"),
                                QStringLiteral("ascii, utf8, utf16, utf16le, utf16be, utf32, "
                                               "utf32le, utf32be or unicode."),
                                QStringLiteral("NAME")};
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
// Both are bad input: status 2.
ExitStatus printCsvLoadError(Streams& streams, const CSVLoadError& error);

ExitStatus csvCommand(const QStringList& arguments, Streams& streams);

} // namespace qb::cli
