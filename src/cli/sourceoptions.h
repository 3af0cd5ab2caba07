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

// The options that say where rows come from, shared by assign, shotlist and
// folders: a CSV file keyed by a column, the metadata of other images, or
// the saved settings of a mappings document.
struct SourceOptions {
    QCommandLineOption csv{QStringLiteral("csv"), QStringLiteral("The CSV data file."),
                           QStringLiteral("FILE")};
    QCommandLineOption key{QStringLiteral("key"),
                           QStringLiteral("The CSV column matched against image names."),
                           QStringLiteral("COLUMN")};
    QCommandLineOption match{QStringLiteral("match"),
                             QStringLiteral("contains, equals, prefix (default), regex or suffix."),
                             QStringLiteral("STYLE")};
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
        return {csv, key, match, document, imageSource, noRecursive, exiftool, delimiter, encoding};
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

std::optional<FileNameDataSource::MatchingStyle> matchingStyleNamed(const QString& name);
// Absolute file URLs of the paths as given on the command line.
QList<QUrl> fileUrls(const QStringList& paths);
QString absolutePath(const QString& path);

} // namespace qb::cli
