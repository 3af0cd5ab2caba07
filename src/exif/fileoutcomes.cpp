// SPDX-License-Identifier: GPL-3.0-or-later
#include "fileoutcomes.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

namespace qb {

namespace {

const QString separator = QStringLiteral(" - ");
const QString temporarySuffix = QStringLiteral("_exiftool_tmp");
const QString errorPrefix = QStringLiteral("Error: ");
const QString warningPrefix = QStringLiteral("Warning: ");

// exiftool's closing counts, "    3 image files updated".
const QRegularExpression countLine(QStringLiteral("^\\s*\\d+ "));

std::optional<FileMessage> taggedMessage(const QString& line, const QSet<QString>& paths)
{
    const bool isError = line.startsWith(errorPrefix);
    if (!isError && !line.startsWith(warningPrefix))
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

// exiftool's own lines about its temporary file and the rename that ends
// a write ("Error: Temporary file already exists: FILE_exiftool_tmp",
// "Error renaming temporary file to FILE", "Error opening FILE for
// writing") carry no " - FILE". Each names the file after a blank; the
// longest path of ours that the line ends with is the one.
std::optional<FileMessage> plainMessage(const QString& line, const QSet<QString>& paths)
{
    QString rest = line;
    if (rest.endsWith(QLatin1String(" for writing")))
        rest.chop(12);
    for (qsizetype at = rest.indexOf(QLatin1String(" /")); at >= 0;
         at = rest.indexOf(QLatin1String(" /"), at + 1)) {
        QString path = rest.mid(at + 1);
        if (path.endsWith(temporarySuffix) && !paths.contains(path))
            path.chop(temporarySuffix.size());
        if (!paths.contains(path))
            continue;
        const bool isWarning = line.startsWith(warningPrefix) ||
                               line.startsWith(QLatin1String("Couldn't overwrite in place"));
        QString text = line;
        if (text.startsWith(errorPrefix))
            text.remove(0, errorPrefix.size());
        else if (text.startsWith(warningPrefix))
            text.remove(0, warningPrefix.size());
        return FileMessage{path, !isWarning, text};
    }
    return std::nullopt;
}

bool isMinor(const QString& warning)
{
    return warning.startsWith(QLatin1String("[minor]"), Qt::CaseInsensitive);
}

// Why a file that should have changed didn't, from what there is to say.
QString refusalReason(const QStringList& warnings, const RunFacts& facts)
{
    QStringList major;
    for (const QString& warning : warnings) {
        if (!isMinor(warning))
            major << warning;
    }
    if (!major.isEmpty())
        return major.join(QLatin1Char('\n'));
    if (!facts.unattributed.isEmpty())
        return facts.unattributed.join(QLatin1Char('\n'));
    if (!warnings.isEmpty())
        return warnings.join(QLatin1Char('\n'));
    return QStringLiteral("exiftool wrote none of the values: it passes over a value it can\u2019t "
                          "convert, and a tag the file\u2019s format can\u2019t hold");
}

QString earlyEndReason(const RunFacts& facts)
{
    if (!facts.unattributed.isEmpty())
        return facts.unattributed.join(QLatin1Char('\n'));
    if (!facts.failure.isEmpty())
        return facts.failure;
    return QStringLiteral("exiftool ended before it reached this file");
}

} // namespace

QString leftOutReason::stillBeingWritten()
{
    return QStringLiteral("still being written");
}

QString leftOutReason::nameNotUtf8()
{
    return QStringLiteral("its name isn\u2019t UTF-8");
}

QString staleTemporaryFileNote(const QString& temporaryFile)
{
    return QStringLiteral("removed %1, left behind by an exiftool that had ended")
        .arg(temporaryFile);
}

QString fileOutcomeKindName(FileOutcomeKind kind)
{
    switch (kind) {
    case FileOutcomeKind::written:
        return QStringLiteral("written");
    case FileOutcomeKind::unchanged:
        return QStringLiteral("unchanged");
    case FileOutcomeKind::failed:
        return QStringLiteral("failed");
    case FileOutcomeKind::notWritten:
        return QStringLiteral("not written");
    case FileOutcomeKind::leftOut:
        return QStringLiteral("left out");
    }
    return {};
}

std::optional<FileOutcomeKind> fileOutcomeKindNamed(QStringView name)
{
    for (const FileOutcomeKind kind :
         {FileOutcomeKind::written, FileOutcomeKind::unchanged, FileOutcomeKind::failed,
          FileOutcomeKind::notWritten, FileOutcomeKind::leftOut}) {
        if (name == fileOutcomeKindName(kind))
            return kind;
    }
    return std::nullopt;
}

ExiftoolLines exiftoolLines(const QString& standardError, const QStringList& paths)
{
    const QSet<QString> known(paths.cbegin(), paths.cend());
    ExiftoolLines lines;
    for (const QString& raw : standardError.split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (line.isEmpty() || countLine.match(raw).hasMatch())
            continue;
        if (auto message = taggedMessage(line, known))
            lines.messages.push_back(std::move(*message));
        else if (auto plain = plainMessage(line, known))
            lines.messages.push_back(std::move(*plain));
        else
            lines.unattributed << line;
    }
    return lines;
}

std::vector<FileMessage> fileMessages(const QString& standardError, const QStringList& paths)
{
    return exiftoolLines(standardError, paths).messages;
}

FileOutcomes fileOutcomes(const QStringList& paths, const std::vector<FileMessage>& messages,
                          const RunFacts& facts)
{
    QHash<QString, QStringList> errors;
    QHash<QString, QStringList> warnings;
    for (const FileMessage& message : messages)
        (message.isError ? errors : warnings)[message.path] << message.text;
    FileOutcomes outcomes;
    outcomes.reserve(std::size_t(paths.size()));
    for (const QString& path : paths) {
        const QStringList said = warnings.value(path);
        const auto add = [&](FileOutcomeKind kind, const QString& message) {
            outcomes.push_back({path, kind, message});
        };
        if (const auto error = errors.constFind(path); error != errors.cend())
            add(FileOutcomeKind::failed, error->first());
        else if (facts.changed && facts.changed(path))
            add(FileOutcomeKind::written, said.join(QLatin1Char('\n')));
        else if (facts.stopped)
            add(FileOutcomeKind::notWritten, QStringLiteral("the write was stopped first"));
        else if (!facts.finished)
            add(FileOutcomeKind::failed, earlyEndReason(facts));
        else if (facts.countedUnchanged && facts.hadValues && facts.hadValues(path))
            add(FileOutcomeKind::failed, refusalReason(said, facts));
        else
            add(FileOutcomeKind::unchanged, said.join(QLatin1Char('\n')));
    }
    return outcomes;
}

FileOutcomes fileOutcomes(const QStringList& paths, const std::vector<FileMessage>& messages,
                          const std::function<bool(const QString& path)>& changed)
{
    RunFacts facts;
    facts.changed = changed;
    return fileOutcomes(paths, messages, facts);
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
        case FileOutcomeKind::notWritten:
            ++counts.notWritten;
            break;
        case FileOutcomeKind::leftOut:
            ++counts.leftOut;
            break;
        }
    }
    return counts;
}

QString outcomeCountsText(const OutcomeCounts& counts)
{
    QString text = QStringLiteral("%1 written, %2 unchanged, %3 failed")
                       .arg(counts.written)
                       .arg(counts.unchanged)
                       .arg(counts.failed);
    if (counts.notWritten > 0)
        text += QStringLiteral(", %1 not written").arg(counts.notWritten);
    if (counts.leftOut > 0)
        text += QStringLiteral(", %1 left out").arg(counts.leftOut);
    return text;
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
