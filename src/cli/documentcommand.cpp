// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli document DIR: a mappings document's rows as they would be
// saved now, whatever version the package was written in.
#include "documentcommand.h"

#include "jsonoutput.h"
#include "sourceoptions.h"

#include "documents/mappingsdoc.h"

namespace qb::cli {

ExitStatus documentCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints the document's mapping.json as it would be saved now."));
    parser.addPositionalArgument(QStringLiteral("DIR"),
                                 QStringLiteral("The .qbmap package, or its mapping.json."));
    if (const auto status =
            parseCommandLine(parser, QStringLiteral("document"), arguments, streams))
        return *status;
    if (parser.positionalArguments().size() != 1) {
        printError(streams, QStringLiteral("document takes exactly one DIR"));
        return ExitStatus::usage;
    }
    const auto document = MappingsDoc::open(absolutePath(parser.positionalArguments().first()));
    if (!document) {
        printError(streams, document.error());
        return ExitStatus::usage;
    }
    printJson(streams.out, (*document)->mappingJson());
    return ExitStatus::success;
}

} // namespace qb::cli
