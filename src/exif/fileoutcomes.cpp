// SPDX-License-Identifier: GPL-3.0-or-later
#include "fileoutcomes.h"

#include <QHash>
#include <QSet>

namespace qb {

namespace {

const QString separator = QStringLiteral(" - ");

std::optional<FileMessage> messageOf(const QString& line, const QSet<QString>& paths)
{
    const bool isError = line.startsWith(QLatin1String("Error: "));
    if (!isError && !line.startsWith(QLatin1String("Warning: ")))
        return std::nullopt;
    const qsizetype textStart = line.indexOf(QLatin1Char(' ')) + 1;
    // The earliest split whose rest is a file of ours: the reason itself
    // may hold " - " as well, but never ends in one of our paths.
    for (qsizetype at = line.indexOf(separator, textStart); at >= 0;
         at = line.indexOf(separator, at + 1)) {
        const QString path = line.mid(at + separator.size());
        if (paths.contains(path))
            return FileMessage{path, isError, line.mid(textStart, at - textStart)};
    }
    return std::nullopt;
}

} // namespace

QString fileOutcomeKindName(FileOutcomeKind kind)
{
    switch (kind) {
    case FileOutcomeKind::written:
        return QStringLiteral("written");
    case FileOutcomeKind::unchanged:
        return QStringLiteral("unchanged");
    case FileOutcomeKind::failed:
        return QStringLiteral("failed");
    }
    return {};
}

std::optional<FileOutcomeKind> fileOutcomeKindNamed(QStringView name)
{
    for (const FileOutcomeKind kind :
         {FileOutcomeKind::written, FileOutcomeKind::unchanged, FileOutcomeKind::failed}) {
        if (name == fileOutcomeKindName(kind))
            return kind;
    }
    return std::nullopt;
}

std::vector<FileMessage> fileMessages(const QString& standardError, const QStringList& paths)
{
    const QSet<QString> known(paths.cbegin(), paths.cend());
    std::vector<FileMessage> messages;
    for (const QString& line : standardError.split(QLatin1Char('\n'))) {
        if (auto message = messageOf(line.trimmed(), known))
            messages.push_back(std::move(*message));
    }
    return messages;
}

FileOutcomes fileOutcomes(const QStringList& paths, const std::vector<FileMessage>& messages,
                          const std::function<bool(const QString& path)>& changed)
{
    QHash<QString, const FileMessage*> errors;
    QHash<QString, QStringList> warnings;
    for (const FileMessage& message : messages) {
        if (message.isError && !errors.contains(message.path))
            errors.insert(message.path, &message);
        else if (!message.isError)
            warnings[message.path] << message.text;
    }
    FileOutcomes outcomes;
    outcomes.reserve(std::size_t(paths.size()));
    for (const QString& path : paths) {
        if (const FileMessage* error = errors.value(path))
            outcomes.push_back({path, FileOutcomeKind::failed, error->text});
        else
            outcomes.push_back(
                {path, changed(path) ? FileOutcomeKind::written : FileOutcomeKind::unchanged,
                 warnings.value(path).join(QLatin1Char('\n'))});
    }
    return outcomes;
}

OutcomeCounts countOutcomes(const FileOutcomes& outcomes)
{
    OutcomeCounts counts;
    for (const FileOutcome& outcome : outcomes) {
        switch (outcome.kind) {
        case FileOutcomeKind::written:
            ++counts.written;
            break;
        case FileOutcomeKind::unchanged:
            ++counts.unchanged;
            break;
        case FileOutcomeKind::failed:
            ++counts.failed;
            break;
        }
    }
    return counts;
}

QString outcomeCountsText(const OutcomeCounts& counts)
{
    return QStringLiteral("%1 written, %2 unchanged, %3 failed")
        .arg(counts.written)
        .arg(counts.unchanged)
        .arg(counts.failed);
}

nlohmann::ordered_json fileOutcomesJson(const FileOutcomes& outcomes)
{
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const FileOutcome& outcome : outcomes) {
        nlohmann::ordered_json entry;
        entry["file"] = outcome.path.toStdString();
        entry["outcome"] = fileOutcomeKindName(outcome.kind).toStdString();
        entry["message"] = outcome.message.toStdString();
        list.push_back(std::move(entry));
    }
    return list;
}

} // namespace qb
