// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli read PATH...: the metadata exiftool gives for the images.
#include "readcommand.h"

#include "jsonoutput.h"

#include "exif/metadatareader.h"
#include "sources/urlimageprovider.h"

#include <QFileInfo>

namespace qb::cli {

ExitStatus readCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints the metadata of images as exiftool reads it, as a JSON array. "
                       "Folders are searched for images, recursively."));
    const QCommandLineOption exiftoolOption(QStringLiteral("exiftool"),
                                            QStringLiteral("The exiftool executable to run."),
                                            QStringLiteral("PATH"));
    parser.addOption(exiftoolOption);
    parser.addPositionalArgument(QStringLiteral("PATH..."), QStringLiteral("Images or folders."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("read"), arguments, streams))
        return *status;
    if (parser.positionalArguments().isEmpty()) {
        printError(streams, QStringLiteral("read needs at least one image or folder"));
        return ExitStatus::usage;
    }
    if (!allPathsExist(parser.positionalArguments(), streams))
        return ExitStatus::usage;

    QList<QUrl> given;
    for (const QString& path : parser.positionalArguments())
        given << QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    MetadataReader reader;
    if (parser.isSet(exiftoolOption))
        reader.exiftool().setExiftoolLocation(
            QFileInfo(parser.value(exiftoolOption)).absoluteFilePath());
    // The command line shows results only; exiftool's command goes nowhere.
    reader.exiftool().setTrace({});

    std::optional<std::expected<QString, Error>> outcome;
    reader.read({}, URLImageProvider(given, true).images(),
                [&](std::expected<QString, Error> result) { outcome = std::move(result); });
    if (!outcome || !*outcome) {
        printError(streams, outcome ? outcome->error() : Error{});
        return ExitStatus::failure;
    }
    Json images = Json::array();
    for (const auto& image : reader.images())
        images.push_back(image->exiftoolJson());
    printJson(streams.out, images);
    return ExitStatus::success;
}

} // namespace qb::cli
