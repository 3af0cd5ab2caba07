// SPDX-License-Identifier: GPL-3.0-or-later
// quillbrook-cli shotlist, folders and validate: which rows have images,
// capture folders from the rows, and which images a write method can take.
#include "shotcommands.h"

#include "jsonoutput.h"
#include "sourceoptions.h"

#include "preferences/preferences.h"
#include "sources/imagevalidator.h"
#include "sources/shotlistcoordinator.h"
#include "sources/urlimageprovider.h"

namespace qb::cli {

ExitStatus shotlistCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Lists the shots (the rows) and the images taken for each."));
    const SourceOptions sourceOptions;
    const QCommandLineOption requireFolder(
        QStringLiteral("require-matching-folder"),
        QStringLiteral("An image counts only in a folder named after its shot."));
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON."));
    parser.addOptions(sourceOptions.all());
    parser.addOptions({requireFolder, json});
    parser.addPositionalArgument(QStringLiteral("PATH..."), QStringLiteral("Images or folders."));
    if (const auto status =
            parseCommandLine(parser, QStringLiteral("shotlist"), arguments, streams))
        return *status;
    if (!allPathsExist(parser.positionalArguments(), streams))
        return ExitStatus::usage;
    auto source = loadSource(parser, sourceOptions, streams);
    if (!source)
        return source.error();

    auto provider = std::make_shared<URLImageProvider>(fileUrls(parser.positionalArguments()),
                                                       !parser.isSet(sourceOptions.noRecursive));
    if (auto keyed = readImageKeys(*source->dataSource, provider->images(),
                                   parser.value(sourceOptions.exiftool), streams);
        !keyed)
        return keyed.error();
    ShotlistCoordinator coordinator(provider, source->dataSource);
    coordinator.setRequireMatchingFolder(parser.isSet(requireFolder));
    std::vector<ShotRequest> shots = coordinator.shotRequests();
    sortShotRequests(shots);

    if (parser.isSet(json)) {
        Json array = Json::array();
        for (const ShotRequest& shot : shots) {
            QStringList paths;
            for (const QUrl& url : shot.images)
                paths << url.toLocalFile();
            array.push_back({{"name", shot.name.toStdString()}, {"images", jsonStrings(paths)}});
        }
        printJson(streams.out, array);
        return ExitStatus::success;
    }
    const auto withImages = std::count_if(shots.begin(), shots.end(),
                                          [](const ShotRequest& shot) { return shot.hasImages(); });
    for (const ShotRequest& shot : shots)
        streams.out << shot.description() << '\n';
    streams.out << shots.size() << " shots, " << withImages << " with images\n";
    streams.out.flush();
    return ExitStatus::success;
}

ExitStatus foldersCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Creates one capture folder per row below DEST and prints each path."));
    const SourceOptions sourceOptions;
    parser.addOptions(sourceOptions.all());
    parser.addPositionalArgument(QStringLiteral("DEST"), QStringLiteral("The parent folder."));
    if (const auto status = parseCommandLine(parser, QStringLiteral("folders"), arguments, streams))
        return *status;
    if (parser.positionalArguments().size() != 1) {
        printError(streams, QStringLiteral("folders takes exactly one DEST; see 'folders --help'"));
        return ExitStatus::usage;
    }
    auto source = loadSource(parser, sourceOptions, streams);
    if (!source)
        return source.error();
    ShotlistCoordinator coordinator(std::make_shared<URLListProvider>(QList<QUrl>()),
                                    source->dataSource);
    const auto created = coordinator.createFolders(fileUrls(parser.positionalArguments()).first());
    if (!created) {
        printError(streams, created.error());
        return ExitStatus::failure;
    }
    for (const QUrl& folder : *created)
        streams.out << folder.toLocalFile() << '\n';
    streams.out.flush();
    return ExitStatus::success;
}

ExitStatus validateCommand(const QStringList& arguments, Streams& streams)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints the warning for images the current write method can't write, "
                       "if any, then the images it can."));
    const QCommandLineOption noRecursive(QStringLiteral("no-recursive"),
                                         QStringLiteral("Search folders only one level deep."));
    parser.addOption(noRecursive);
    parser.addPositionalArgument(QStringLiteral("PATH..."), QStringLiteral("Images or folders."));
    if (const auto status =
            parseCommandLine(parser, QStringLiteral("validate"), arguments, streams))
        return *status;
    if (parser.positionalArguments().isEmpty()) {
        printError(streams, QStringLiteral("validate needs at least one image or folder"));
        return ExitStatus::usage;
    }
    if (!allPathsExist(parser.positionalArguments(), streams))
        return ExitStatus::usage;
    Preferences preferences;
    preferences.registerDefaults();
    const QList<QUrl> images = ImageValidator::expandDroppedURLs(
        fileUrls(parser.positionalArguments()), !parser.isSet(noRecursive));
    const auto validated = ImageValidator::validate(images, preferences);
    if (validated.message)
        streams.out << *validated.message << '\n';
    for (const QUrl& url : validated.validImages)
        streams.out << url.toLocalFile() << '\n';
    streams.out.flush();
    return ExitStatus::success;
}

} // namespace qb::cli
