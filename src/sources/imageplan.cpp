// SPDX-License-Identifier: GPL-3.0-or-later
#include "imageplan.h"

#include "sources/imagevalidator.h"

#include "extensions/filesinuse.h"
#include "extensions/plainorder.h"
#include "extensions/regex.h"

#include <QDir>
#include <QFileInfo>

namespace qb {

bool stateMatchesFilter(ImageState state, ImageFilter filter, bool flagged)
{
    switch (filter) {
    case ImageFilter::all:
        return true;
    case ImageFilter::willBeWritten:
        return state == ImageState::willBeWritten;
    case ImageFilter::problems:
        if (flagged && state == ImageState::willBeWritten)
            return true;
        return state != ImageState::unknown && state != ImageState::willBeWritten &&
               state != ImageState::written && state != ImageState::unchanged &&
               state != ImageState::card;
    case ImageFilter::notYetWritten:
        return state != ImageState::written && state != ImageState::unchanged;
    }
    return true;
}

ImageState stateOfOutcome(FileOutcomeKind kind)
{
    switch (kind) {
    case FileOutcomeKind::written:
        return ImageState::written;
    case FileOutcomeKind::unchanged:
        return ImageState::unchanged;
    case FileOutcomeKind::failed:
        return ImageState::failed;
    case FileOutcomeKind::notWritten:
        return ImageState::notWritten;
    case FileOutcomeKind::leftOut:
        return ImageState::leftOut;
    }
    return ImageState::unknown;
}

QString imageStateText(const ImagePlanEntry& entry)
{
    switch (entry.state) {
    case ImageState::unknown:
        return QStringLiteral("Checking\u2026");
    case ImageState::willBeWritten:
        return QStringLiteral("Will be written, %1 %2")
                   .arg(entry.tagCount)
                   .arg(entry.tagCount == 1 ? QStringLiteral("tag") : QStringLiteral("tags")) +
               (entry.reason.isEmpty() ? QString() : QStringLiteral("; ") + entry.reason);
    case ImageState::noRow:
        return QStringLiteral("No row");
    case ImageState::severalRows:
        return QStringLiteral("Several rows: ") + entry.keys.join(QStringLiteral(", "));
    case ImageState::emptyKeyRow:
        return QStringLiteral("Empty key row");
    case ImageState::cannotBeWritten:
        return QStringLiteral("Can\u2019t be written by this method");
    case ImageState::stillBeingWritten:
        return QStringLiteral("Still being written");
    case ImageState::written:
        return QStringLiteral("Written");
    case ImageState::unchanged:
        return QStringLiteral("Unchanged");
    case ImageState::failed:
        return QStringLiteral("Failed: ") + entry.reason;
    case ImageState::notWritten:
        return QStringLiteral("Not written");
    case ImageState::leftOut:
        return QStringLiteral("Left out: ") + entry.reason;
    case ImageState::card:
        return entry.reason.isEmpty() ? QStringLiteral("Card")
                                      : QStringLiteral("Card, ") + entry.reason;
    case ImageState::unassigned:
        return QStringLiteral("Unassigned: ") + entry.reason;
    }
    return {};
}

namespace {

// The entry of an image the method can write and no one else is writing.
ImagePlanEntry matchedEntry(const ImagePlanInputs& inputs, const std::vector<qsizetype>& positions,
                            std::optional<qsizetype> emptyKey)
{
    ImagePlanEntry entry;
    const KeyedRows& rows = inputs.source->rows();
    MetadataRow merged;
    for (const qsizetype position : positions) {
        mergeRow(merged, rows.row(position));
        if (position != emptyKey)
            entry.keys << rows.key(position).toString();
    }
    sortPlain(entry.keys);
    if (positions.empty())
        entry.state = ImageState::noRow;
    else if (entry.keys.isEmpty())
        entry.state = ImageState::emptyKeyRow;
    else if (entry.keys.size() > 1)
        entry.state = ImageState::severalRows;
    else
        entry.state = ImageState::willBeWritten;
    entry.tagCount = int(applyMappings(merged, inputs.mappings, inputs.emptyCells).size());
    return entry;
}

std::vector<ImagePlanEntry> planBatch(const ImagePlanInputs& inputs, const QList<QUrl>& images)
{
    QStringList paths;
    paths.reserve(images.size());
    for (const QUrl& url : images)
        paths << url.toLocalFile();
    const QSet<QString> inUse =
        inputs.filesInUse ? inputs.filesInUse(paths) : filesOpenForWriting(paths);
    std::vector<std::vector<qsizetype>> matching;
    std::optional<qsizetype> emptyKey;
    if (inputs.source) {
        matching = inputs.source->matchingRows(images);
        emptyKey = inputs.source->rows().find(u"");
    }
    std::vector<ImagePlanEntry> entries(std::size_t(images.size()));
    for (qsizetype i = 0; i < images.size(); ++i) {
        ImagePlanEntry& entry = entries[std::size_t(i)];
        if (inputs.writeMethodValue == 0 && !ImageValidator::hasWritableExtension(images[i]))
            entry.state = ImageState::cannotBeWritten;
        else if (inUse.contains(paths[i]))
            entry.state = ImageState::stillBeingWritten;
        else if (!inputs.source)
            entry.state = ImageState::noRow;
        else
            entry = matchedEntry(inputs, matching[std::size_t(i)], emptyKey);
    }
    return entries;
}

} // namespace

void planImages(const ImagePlanInputs& inputs, qsizetype batchSize,
                const std::function<void(qsizetype first, std::vector<ImagePlanEntry>)>& deliver,
                const std::atomic_bool& cancelled)
{
    // A key pattern that runs out of time is told once for the whole plan.
    const RegexTimeouts run;
    for (qsizetype first = 0; first < inputs.images.size(); first += batchSize) {
        if (cancelled)
            return;
        deliver(first, planBatch(inputs, inputs.images.mid(first, batchSize)));
    }
}

QString commonFolder(const QStringList& paths)
{
    if (paths.isEmpty())
        return {};
    QString common = QFileInfo(paths.front()).absolutePath();
    for (const QString& path : paths) {
        const QString folder = QFileInfo(path).absolutePath();
        while (!common.isEmpty() && folder != common &&
               !folder.startsWith(common.endsWith(QLatin1Char('/')) ? common
                                                                    : common + QLatin1Char('/')))
            common = common == QStringLiteral("/") ? QString() : QFileInfo(common).path();
    }
    return common;
}

} // namespace qb
