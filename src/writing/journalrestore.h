// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "writing/writejournal.h"
#include "writing/writerlock.h"

#include "exif/fileoutcomes.h"
#include "exif/writabletags.h"
#include "extensions/error.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <expected>
#include <functional>
#include <optional>

namespace qb {

struct UndoOptions {
    QString exiftool; // the executable
    // Restores a tag whose value changed since the write too.
    bool force = false;
    // Where the undo keeps a journal of its own, so that it can be undone
    // in turn; none is kept without one.
    std::optional<QString> journalDirectory;
    QString writerLockPath = WriterLock::defaultPath();
    // Where the journal's tags are checked as exiftool's writable tags;
    // without one they are judged by their form alone.
    WritableTagsCache* writableTags = &WritableTagsCache::shared();
    // Told once when another write must end first.
    std::function<void()> waiting;
    // Ends a wait for another write, with nothing done.
    std::function<bool()> stop;
    QDateTime now = QDateTime::currentDateTimeUtc();
};

struct UndoResult {
    FileOutcomes outcomes;
    // One line for each tag that changed since the write: "A1.jpg
    // XMP-dc:Title changed since the write; left as it is".
    QStringList notes;
    // The undo's own journal; empty when none was kept.
    QString journalPath;
};

// Undoes the write whose journal is at `journalPath`, as a write like any
// other: the whole journal is checked first, then the writer lock is taken,
// a journal of the undo is kept, and exiftool puts back, in one run, the
// value each tag had before the write, but only where the file still holds
// the value the write set. A tag that changed since is left as it is and
// named, unless `force`; a tag the write didn't set is never touched. A
// sidecar the write made is removed while it holds nothing else, and else
// loses only the written tags. Each file gets its outcome.
std::expected<UndoResult, Error> undoWrite(const QString& journalPath, const UndoOptions& options);

// Whether `error` refused a journal that is damaged or out of shape, before
// anything was done.
bool isRefusedJournal(const Error& error);

} // namespace qb
