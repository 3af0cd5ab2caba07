// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"
#include "csvcommand.h"

#include "mapping/metadatamapping.h"
#include "sources/filenamedatasource.h"

#include <QUrl>

#include <expected>
#include <memory>
#include <optional>
#include <vector>

namespace qb::cli {

// The options that say where rows come from, shared by assign, shotlist,
// folders and watch: a CSV file or a spreadsheet's sheet keyed by a column,
// the metadata of other images, or the saved settings of a mappings
// document.
struct SourceOptions {
    QCommandLineOption csv{QStringLiteral("csv"),
                           QStringLiteral("The data file: CSV, or a spreadsheet (.xlsx, .ods)."),
                           QStringLiteral("FILE")};
    QCommandLineOption sheet = sheetOption();
    QCommandLineOption key{QStringLiteral("key"),
                           QStringLiteral("The column matched against the images."),
                           QStringLiteral("COLUMN")};
    QCommandLineOption match{QStringLiteral("match"),
                             QStringLiteral("contains, equals, prefix (default), regex or suffix "
                                            "of the image's name (or key tag); path: the key is "
                                            "the image's path, absolute or from the data file's "
                                            "folder."),
                             QStringLiteral("STYLE")};
    QCommandLineOption keyTag{QStringLiteral("key-tag"),
                              QStringLiteral("Match the key column against this tag's value in "
                                             "each image (e.g. EXIF:SerialNumber) instead of "
                                             "its name."),
                              QStringLiteral("TAG")};
    QCommandLineOption document{QStringLiteral("document"),
                                QStringLiteral("A mappings document (.qbmap): its rows and its "
                                               "saved CSV settings, which the options above "
                                               "override."),
                                QStringLiteral("DIR")};
    QCommandLineOption imageSource{QStringLiteral("image-source"),
                                   QStringLiteral("Use the metadata of these images (files or "
                                                  "folders; repeatable) as the rows, keyed by "
                                                  "image name."),
                                   QStringLiteral("PATH")};
    QCommandLineOption noRecursive{QStringLiteral("no-recursive"),
                                   QStringLiteral("Search folders only one level deep.")};
    QCommandLineOption exiftool{QStringLiteral("exiftool"),
                                QStringLiteral("The exiftool executable to run."),
                                QStringLiteral("PATH")};
    // How the CSV file is read; --encoding takes the names of `csv`'s.
    QCommandLineOption delimiter = delimiterOption();
    QCommandLineOption encoding{QStringLiteral("encoding"),
                                encodingHelp() + QStringLiteral(" Detected when not given."),
                                QStringLiteral("NAME")};

    QList<QCommandLineOption> all() const
    {
        return {csv,         sheet,       key,      match,     keyTag,  document,
                imageSource, noRecursive, exiftool, delimiter, encoding};
    }
};

struct LoadedSource {
    std::shared_ptr<FileNameDataSource> dataSource;
    // The document's rule rows, when a document was given.
    std::optional<std::vector<MetadataMapping>> documentRows;
    // The files the rows were read from, for a command that reads them
    // again when they change.
    QStringList files;
};

// Opens the document, reads the CSV file or the source images, and keys the
// rows; prints the reason and answers the exit status when it can't.
std::expected<LoadedSource, ExitStatus> loadSource(const QCommandLineParser& parser,
                                                   const SourceOptions& options, Streams& streams);

// The exiftool that --exiftool names, else the one a write would run.
QString exiftoolFor(const QString& given);
// When the rows are keyed by a tag, reads its value from each image, with
// one exiftool per core; prints why it can't.
std::expected<void, ExitStatus> readImageKeys(FileNameDataSource& source, const QList<QUrl>& images,
                                              const QString& exiftool, Streams& streams);

std::optional<FileNameDataSource::MatchingStyle> matchingStyleNamed(const QString& name);
// Absolute file URLs of the paths as given on the command line.
QList<QUrl> fileUrls(const QStringList& paths);
QString absolutePath(const QString& path);

} // namespace qb::cli
