// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sourceoptions.h"

#include "exif/metadatamanager.h"
#include "sources/urlimageprovider.h"

#include <QCommandLineOption>
#include <QCommandLineParser>

#include <expected>
#include <vector>

namespace qb::cli {

// What the commands that write (assign, watch) read from their command line
// alike: the rule rows and how sidecars are named.
struct WriteOptions {
    QCommandLineOption mappings{QStringLiteral("mappings"),
                                QStringLiteral("JSON array of mapping objects (the rule rows); "
                                               "overrides the rows of --document."),
                                QStringLiteral("FILE")};
    QCommandLineOption sidecarName{QStringLiteral("sidecar-name"),
                                   QStringLiteral("How xmp names sidecars: name (A1.xmp) or "
                                                  "name.ext (A1.CR3.xmp, as darktable and "
                                                  "digiKam read them); default: the "
                                                  "preferences."),
                                   QStringLiteral("FORM")};
};

// The rows of --mappings when given, else the document's, else none.
std::expected<std::vector<MetadataMapping>, Error> chosenRows(const QCommandLineParser& parser,
                                                              const WriteOptions& options,
                                                              const LoadedSource& source);

// The naming --sidecar-name asks for, else `fallback`; the message to print
// for a form it doesn't know.
std::expected<SidecarNaming, QString> chosenSidecarNaming(const QCommandLineParser& parser,
                                                          const WriteOptions& options,
                                                          SidecarNaming fallback);

// The exiftool a write would run: the one given, else the bundled one, else
// the one installed.
QString exiftoolToRun(const QString& given);

// The images in the command's paths, searched once so that all that looks at
// them sees the same ones; lists those left out.
FolderSearch searchImages(const QCommandLineParser& parser, const SourceOptions& sourceOptions,
                          Streams& streams);

} // namespace qb::cli
