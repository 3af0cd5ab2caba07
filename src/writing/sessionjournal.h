// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "writing/writejournal.h"

#include "exif/exifimage.h"
#include "exif/exiftool.h"

#include <QDateTime>
#include <QString>

#include <expected>
#include <map>
#include <mutex>
#include <vector>

namespace qb {

// One file a write is about to change, as its journal needs it: the file
// exiftool writes (the sidecar, for the XMP method), the image a sidecar
// belongs to, and the values the write gives exiftool there.
struct JournalTarget {
    QString path;
    QString image; // empty unless `path` is the image's sidecar
    std::map<QString, nlohmann::ordered_json> values;

    // The target for `image`, whose SourceFile names `path`.
    static JournalTarget of(const ExifImage& image, const QString& imagePath, const QString& path);
};

// Reads what `targets` hold now of the tags the write sets on each, and
// gives each its journal entry, with its identity. A target that isn't
// there is a sidecar the write will make; one exiftool can't read is left
// out, as the write won't change it either. Reads with as many exiftools
// as `parts`.
std::expected<std::vector<JournalFile>, Error>
journalEntries(const ExifTool& exiftool, const std::vector<JournalTarget>& targets, int parts = 1);

// Keeps the journal of one write in a new file in `directory`, named after
// `now`, and answers its path.
std::expected<QString, Error> keepJournal(const ExifTool& exiftool,
                                          const std::vector<JournalTarget>& targets,
                                          const QString& method, const QDateTime& now,
                                          const QString& directory, int parts = 1);

// One journal for a whole session of writes, as watch keeps for a tethered
// shoot, so that one undo reverts the session. Each write adds its files,
// and the journal is saved again before exiftool runs. A file written a
// second time in a session (a capture removed and shot again) is a new
// file, and its entry takes the old one's place. Thread-safe.
class SessionJournal {
public:
    SessionJournal(QString directory, QString method, QDateTime started);

    // The journal's path, also before its first save.
    const QString& path() const { return m_path; }
    std::expected<QString, Error> add(const ExifTool& exiftool,
                                      const std::vector<JournalTarget>& targets, int parts = 1);

private:
    std::mutex m_mutex;
    QString m_path;
    WriteJournal m_journal;
};

} // namespace qb
