// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/currentvalues.h"
#include "exif/exiftool.h"
#include "exif/fileoutcomes.h"
#include "extensions/dynamicvalue.h"
#include "extensions/error.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <expected>
#include <vector>

namespace qb {

// The values one file held before a write, of every tag the write set.
struct JournalFile {
    QString path;
    // A sidecar that a write would create did not exist before it.
    bool existed = true;
    // Tag to raw value; a tag absent from the file is absent here too.
    DynamicValue::Dictionary values;
};

// What a write replaced, kept so that the write can be undone. It is saved
// and flushed to disk before exiftool runs, so that even a write that
// crashes midway leaves the way back.
struct WriteJournal {
    QDateTime created;
    QString method;
    QStringList tags;
    std::vector<JournalFile> files;

    nlohmann::ordered_json toJson() const;
    static std::expected<WriteJournal, Error> fromJson(const nlohmann::ordered_json& json,
                                                       const QString& path);
    static std::expected<WriteJournal, Error> load(const QString& path);
    // Writes and syncs the file at `path`.
    std::expected<void, Error> save(const QString& path) const;
};

// $XDG_STATE_HOME/quillbrook/journal (~/.local/state when it is unset).
QString journalDirectory();
// The journals in `directory`, newest first.
QStringList journalPaths(const QString& directory = journalDirectory());

// The tags a write of `tags` changes: those, and the IPTC record's own tags
// that exiftool adds beside any IPTC tag.
QStringList journalTags(const QStringList& tags);

// Reads the current values of `tags` in `paths` and saves them as a new
// journal, named after `now`, in `directory`, reading with as many
// exiftools as `parts`. Answers its path.
std::expected<QString, Error> keepJournal(const ExifTool& exiftool, const QStringList& paths,
                                          const QStringList& tags, const QString& method,
                                          const QDateTime& now,
                                          const QString& directory = journalDirectory(),
                                          int parts = 1);

// Puts the journal's values back: tags that were absent are deleted, a
// sidecar that didn't exist is removed. A file that has gone since fails
// on its own; the others are restored in one run of exiftool.
std::expected<FileOutcomes, Error> restoreJournal(const WriteJournal& journal,
                                                  const ExifTool& exiftool);

} // namespace qb
