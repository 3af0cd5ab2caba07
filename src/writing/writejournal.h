// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <nlohmann/json.hpp>

#include <expected>
#include <map>
#include <optional>
#include <vector>

namespace qb {

// A file's size and time of change, which tell whether a write reached it.
struct FileIdentity {
    qint64 size = 0;
    qint64 modified = 0; // nanoseconds since the epoch

    // Nothing for a path that isn't there.
    static std::optional<FileIdentity> of(const QString& path);
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// One tag of one file: the value before the write and the value the write
// set, each null where the file has no such tag. Values are JSON as
// exiftool reads and imports them, so that a text that isn't UTF-8 (a
// camera's Latin-1 Artist) is kept as "base64:..." and goes back byte for
// byte.
struct JournalTag {
    nlohmann::ordered_json before;
    nlohmann::ordered_json written;
};

struct JournalFile {
    QString path;
    // The image a sidecar belongs to; empty for an image.
    QString image;
    // The write made the file: a sidecar that wasn't there.
    bool created = false;
    // The write took the file away: an undo that removed a sidecar its
    // write had made.
    bool removed = false;
    // Before the write; nothing for a file that wasn't there.
    std::optional<FileIdentity> identity;
    // Only the tags the write set on this file.
    std::map<QString, JournalTag> tags;
};

// What a write changed, kept so that it can be undone: for each file the
// tags it set, with the values before and after. It is saved and flushed
// to disk before exiftool runs, so that even a write that crashes midway
// leaves the way back.
struct WriteJournal {
    static constexpr int version = 2;

    QDateTime created;
    QString method; // "direct", "xmp", or "undo"
    std::vector<JournalFile> files;

    nlohmann::ordered_json toJson() const;
    // A journal is a file from outside: the whole of it is checked, and an
    // entry out of shape refuses all of it with an error that names it.
    static std::expected<WriteJournal, Error> fromJson(const nlohmann::ordered_json& json,
                                                       const QString& path);
    static std::expected<WriteJournal, Error> load(const QString& path);
    // Replaces the file at `path` whole and syncs it: a crash leaves the
    // old journal or the new one, never half of one.
    std::expected<void, Error> save(const QString& path) const;
};

// Whether `tag` names one tag, as a journal may: "Name" or "GROUP:Name",
// never "all", a whole group or block (such as "XMP" or "XMP-dc:"), a
// wildcard, or an option.
bool isSingleTagName(const QString& tag);

// Whether `path` names an XMP sidecar.
bool isSidecarPath(const QString& path);

// What the journal's files are now, checked before anything is done: a
// path that is there must be a regular file, and a sidecar must be one the
// journal's write could have touched; one it says it made must be the
// sidecar of its image, and no older than the journal. An error that names
// the entry, else nothing.
std::expected<void, Error> checkJournalFiles(const WriteJournal& journal,
                                             const QString& journalPath);

// The error for a journal out of shape: `entry` says where ("files[2]").
Error damagedJournalError(const QString& journalPath, const QString& entry, const QString& reason);

// $XDG_STATE_HOME/quillbrook/journal (~/.local/state when it is unset).
QString journalDirectory();
// The journals in `directory`, newest first.
QStringList journalPaths(const QString& directory = journalDirectory());
// A new name for a journal made at `now` in `directory`.
QString newJournalPath(const QString& directory, const QDateTime& now);

// The tags a write of `tags` changes: those, and the IPTC record's own tags
// that exiftool adds beside any IPTC tag.
QStringList journalTags(const QStringList& tags);

} // namespace qb
