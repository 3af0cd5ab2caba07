// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <vector>

namespace qb {

// What became of one file of a write.
enum class FileOutcomeKind { written, unchanged, failed };

// "written", "unchanged", "failed".
QString fileOutcomeKindName(FileOutcomeKind kind);
std::optional<FileOutcomeKind> fileOutcomeKindNamed(QStringView name);

struct FileOutcome {
    QString path;
    FileOutcomeKind kind = FileOutcomeKind::unchanged;
    // exiftool's error for a failed file; its warnings, one a line, for
    // the others; empty when it said nothing of the file.
    QString message;

    friend bool operator==(const FileOutcome&, const FileOutcome&) = default;
};

// A report is a plain list, so that the reports of several exiftool runs
// over parts of one batch add up by concatenation.
using FileOutcomes = std::vector<FileOutcome>;

// One line exiftool printed about one file: "Error: REASON - FILE" or
// "Warning: REASON - FILE".
struct FileMessage {
    QString path;
    bool isError = false;
    QString text; // REASON, without the "Error: " and the file
};

// The lines of exiftool's standard error that name one of `paths`. A file
// name may itself hold " - ", so a line is only taken for a file it ends
// with.
std::vector<FileMessage> fileMessages(const QString& standardError, const QStringList& paths);

// An outcome for each of `paths`: failed where exiftool gave an error for
// it, else written where `changed` says the file was replaced, else
// unchanged.
FileOutcomes fileOutcomes(const QStringList& paths, const std::vector<FileMessage>& messages,
                          const std::function<bool(const QString& path)>& changed);

struct OutcomeCounts {
    int written = 0;
    int unchanged = 0;
    int failed = 0;
};
OutcomeCounts countOutcomes(const FileOutcomes& outcomes);
// "3 written, 1 unchanged, 0 failed"
QString outcomeCountsText(const OutcomeCounts& counts);

// [{"file": PATH, "outcome": "failed", "message": TEXT}, ...]
nlohmann::ordered_json fileOutcomesJson(const FileOutcomes& outcomes);

} // namespace qb
