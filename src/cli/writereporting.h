// SPDX-License-Identifier: GPL-3.0-or-later
// What the write commands tell of a write: its progress, its preview and
// each file's outcome.
#pragma once

#include "command.h"

#include "exif/metadatamanager.h"
#include "mapping/metadataassignment.h"

#include <QList>
#include <QUrl>

namespace qb::cli {

// A bar on stderr, drawn only when stderr is a terminal.
class ProgressBar {
public:
    explicit ProgressBar(Streams& streams);
    void show(qsizetype done, qsizetype total);
    // Ends the bar's line, if one was drawn.
    void finish();

private:
    Streams& m_streams;
    bool m_terminal;
    bool m_drawn = false;
};

// "failed: FILE: REASON" on stderr for each failed file.
void printFailedFiles(const FileOutcomes& outcomes, Streams& streams);

// {"journal": PATH, "counts": {...}, "files": [...]} into the file at `path`.
std::expected<void, Error> saveReport(const WriteReport& report, const QString& path);

// Reads with as many exiftools as a write of the images with `jobs` would.
ExitStatus printPreview(const ExifImages& images, const QList<QUrl>& unmatched,
                        const QString& exiftool, int jobs, bool json, Streams& streams);

} // namespace qb::cli
