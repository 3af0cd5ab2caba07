// SPDX-License-Identifier: GPL-3.0-or-later
// What the write commands tell of a write: its progress, its preview and
// each file's outcome.
#pragma once

#include "command.h"

#include "exif/metadatamanager.h"
#include "mapping/metadataassignment.h"
#include "writing/writepreview.h"

#include <QList>
#include <QUrl>

namespace qb::cli {

// A bar on stderr, drawn only when stderr is a terminal.
class ProgressBar {
public:
    explicit ProgressBar(Streams& streams);
    void show(qsizetype done, qsizetype total);
    // Ends the bar's line, if one was drawn, at its total: every file has
    // come to its end by then, written or not.
    void finish();

private:
    Streams& m_streams;
    bool m_terminal;
    bool m_drawn = false;
    qsizetype m_total = 0;
};

// "failed: FILE: REASON" on stderr for each failed file.
void printFailedFiles(const FileOutcomes& outcomes, Streams& streams);

// Why a report can't go to `path`, checked before anything is written: it
// must name a file we can create or replace, not a folder, and none of
// `batch`, the files the write would change. Nothing when it can.
std::optional<QString> reportPathProblem(const QString& path, const QList<QUrl>& batch);

// {"journal": PATH, "counts": {...}, "files": [...]} into the file at
// `path`; a `note` says why nothing was written.
std::expected<void, Error> saveReport(const WriteReport& report, const QString& path,
                                      const QString& note = {});
// What a dry run or a preview would do, `plan` ("dry run" or "preview")
// with its JSON, and the files left out, into the file at `path`.
std::expected<void, Error> savePlanReport(const QString& plan, const nlohmann::ordered_json& json,
                                          const FileOutcomes& leftOut, const QString& path);

// Reads with as many exiftools as a write of the images with `jobs` would;
// with sidecars, the current values are the sidecars'. Answers the preview
// as JSON for a report, or the exit status when it failed.
std::expected<nlohmann::ordered_json, ExitStatus>
printPreview(const ExifImages& images, const QList<QUrl>& unmatched, const QString& exiftool,
             int jobs, const PreviewSource& source, bool json, Streams& streams);

} // namespace qb::cli
