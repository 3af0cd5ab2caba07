// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <vector>

namespace qb {

// What became of one file of a write. `notWritten` is a file a stop kept
// exiftool from reaching; `leftOut` one that never went to exiftool, such
// as a file another program is still writing.
enum class FileOutcomeKind { written, unchanged, failed, notWritten, leftOut };

// "written", "unchanged", "failed", "not written", "left out".
QString fileOutcomeKindName(FileOutcomeKind kind);
std::optional<FileOutcomeKind> fileOutcomeKindNamed(QStringView name);

struct FileOutcome {
    QString path;
    FileOutcomeKind kind = FileOutcomeKind::unchanged;
    // exiftool's error for a failed file, or why it was left out; its
    // warnings and our notes, one a line, for the others; empty when there
    // is nothing to say of the file.
    QString message;

    friend bool operator==(const FileOutcome&, const FileOutcome&) = default;
};

// A report is a plain list, so that the reports of several exiftool runs
// over parts of one batch add up by concatenation.
using FileOutcomes = std::vector<FileOutcome>;

// Why a file is left out of a write, as every writer names it.
namespace leftOutReason {
// Another process holds it open for writing: rewriting it would send the
// rest of that writer's bytes to the old, unlinked file.
QString stillBeingWritten();
// Its name has bytes that aren't UTF-8, so it has no text of its own.
QString nameNotUtf8();
} // namespace leftOutReason

// The note on a file whose stale exiftool temporary file was removed.
QString staleTemporaryFileNote(const QString& temporaryFile);

// One line exiftool printed about one file: "Error: REASON - FILE",
// "Warning: REASON - FILE", or one of the lines of its own that end in the
// file or its temporary file ("Error renaming temporary file to FILE").
struct FileMessage {
    QString path;
    bool isError = false;
    QString text; // REASON, without the "Error: " and the file
};

// exiftool's standard error, sorted: the lines that name one of the paths,
// and the other errors and warnings, which speak of the whole run.
struct ExiftoolLines {
    std::vector<FileMessage> messages;
    QStringList unattributed;
};

// A file name may itself hold " - ", so a line is only taken for a file it
// ends with.
ExiftoolLines exiftoolLines(const QString& standardError, const QStringList& paths);
std::vector<FileMessage> fileMessages(const QString& standardError, const QStringList& paths);

// What decides a file's outcome besides exiftool's lines about it.
struct RunFacts {
    // Whether the file was replaced on disk.
    std::function<bool(const QString& path)> changed;
    // Whether the write gave exiftool a value to set in the file, not only
    // tags to clear. exiftool replaces a file it sets any value in, even an
    // equal one, so such a file that stays as it was was refused. Null: none.
    std::function<bool(const QString& path)> hadValues;
    // exiftool got to its end; it wasn't killed or stopped.
    bool finished = true;
    // exiftool counted files unchanged itself, which bears out what the
    // files' stamps say.
    bool countedUnchanged = false;
    // A stop asked for by the user ended the run.
    bool stopped = false;
    // Why the run failed as a whole; empty when it didn't.
    QString failure;
    // Its errors and warnings that name none of its files.
    QStringList unattributed;
};

// An outcome for each of `paths`, in order: failed where exiftool gave an
// error for it; written where it changed on disk; not written where a stop
// ended the run first; failed where the run ended early, or where values
// were to be set and exiftool set none (a refusal at warning level, a
// format that can't hold the tags), with the best reason there is;
// unchanged otherwise.
FileOutcomes fileOutcomes(const QStringList& paths, const std::vector<FileMessage>& messages,
                          const RunFacts& facts);
// The same for a run that finished and set no values: failed, written or
// unchanged.
FileOutcomes fileOutcomes(const QStringList& paths, const std::vector<FileMessage>& messages,
                          const std::function<bool(const QString& path)>& changed);

struct OutcomeCounts {
    int written = 0;
    int unchanged = 0;
    int failed = 0;
    int notWritten = 0;
    int leftOut = 0;
};
OutcomeCounts countOutcomes(const FileOutcomes& outcomes);
// "3 written, 1 unchanged, 0 failed", then ", 2 not written" and
// ", 1 left out" where there are such files.
QString outcomeCountsText(const OutcomeCounts& counts);

// [{"file": PATH, "outcome": "failed", "message": TEXT}, ...]
nlohmann::ordered_json fileOutcomesJson(const FileOutcomes& outcomes);

} // namespace qb
