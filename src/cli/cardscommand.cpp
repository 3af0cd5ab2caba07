// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli cards: which frames of a session shot with barcode cards go
// to which row, before anything is written.
#include "cardscommand.h"

#include "cardoptions.h"
#include "jsonoutput.h"
#include "sourceoptions.h"
#include "writeoptions.h"

#include "sources/urlimageprovider.h"

namespace qb::cli {

ExitStatus cardsCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Reads the barcode cards among the images and prints which frames go to "
                       "which row: the subjects with their frames, what a missed card may have "
                       "done, the frames left unassigned and the rows without frames. Writes "
                       "nothing; 'assign --cards' writes the plan."));
    const CardOptions options;
    const SourceOptions sourceOptions;
    const QCommandLineOption json{QStringLiteral("json"),
                                  QStringLiteral("Print the plan as JSON.")};
    parser.addOptions(options.all());
    parser.addOption(json);
    parser.addOptions(sourceOptions.all());
    parser.addPositionalArgument(QStringLiteral("PATH..."), QStringLiteral("Images or folders."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("cards"), arguments, streams))
        return *status;
    const auto planOptions = chosenCardPlanOptions(parser, options);
    if (!planOptions) {
        printError(streams, planOptions.error());
        return ExitStatus::usage;
    }
    if (parser.positionalArguments().isEmpty()) {
        printError(streams, QStringLiteral("cards needs at least one image or folder"));
        return ExitStatus::usage;
    }
    if (!allPathsExist(parser.positionalArguments(), streams))
        return ExitStatus::usage;
    const auto source = loadSource(parser, sourceOptions, streams);
    if (!source)
        return source.error();
    const FolderSearch found = searchImages(parser, sourceOptions, streams);
    const auto plan = planCardSession(found.images, *source->dataSource, *planOptions,
                                      exiftoolToRun(parser.value(sourceOptions.exiftool)), streams);
    if (!plan)
        return plan.error();
    if (parser.isSet(json))
        printJson(streams.out, planJson(*plan));
    else
        streams.out << planText(*plan, planTextOptions(source->dataSource));
    streams.out.flush();
    return ExitStatus::success;
}

} // namespace qb::cli
