// SPDX-License-Identifier: GPL-3.0-or-later
// The body of a write, on the queue's worker thread, and its return to the
// main thread.
#include "metadataqueue.h"

#include "writing/iptcrecoding.h"
#include "writing/parallelwrite.h"
#include "writing/privatefolder.h"
#include "writing/sessionjournal.h"
#include "writing/writechecks.h"
#include "writing/writefiles.h"
#include "writing/writepreview.h"
#include "writing/writeprogress.h"

#include "exif/metadatareader.h"

#include "extensions/interruption.h"
#include "extensions/log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

namespace qb {

namespace {

const QString writeErrorDomain = QStringLiteral("QuillbrookKit.MetadataQueue.WriteError");

Error captureOneUnavailable()
{
    Error error;
    error.domain = writeErrorDomain;
    error.code = 0;
    error.errorDescription = QStringLiteral("Writing to Capture One is not available yet.");
    error.failureReason =
        QStringLiteral("This build of Quillbrook can't send values to Capture One.");
    error.recoverySuggestion = QStringLiteral("Choose direct or XMP sidecar writing instead.");
    return error;
}

Error interruptedError(qsizetype written, qsizetype total)
{
    Error error;
    error.domain = writeErrorDomain;
    error.code = 1;
    error.errorDescription =
        QStringLiteral("Interrupted: %1 of %2 images written").arg(written).arg(total);
    error.userInfo.insert(QStringLiteral("written"), written);
    error.userInfo.insert(QStringLiteral("total"), total);
    return error;
}

Error privateFolderError(const QString& reason)
{
    Error error;
    error.domain = writeErrorDomain;
    error.code = 2;
    error.errorDescription =
        QStringLiteral("The private folder for the values to write could not be made.");
    error.failureReason = reason;
    error.recoverySuggestion = QStringLiteral("Check that %1 is writable.").arg(QDir::tempPath());
    return error;
}

Error someFilesFailed(const OutcomeCounts& counts, const FileOutcomes& outcomes)
{
    Error error;
    error.domain = writeErrorDomain;
    error.code = 3;
    const int total = counts.written + counts.unchanged + counts.failed + counts.notWritten;
    error.errorDescription = QStringLiteral("%1 of %2 files failed.").arg(counts.failed).arg(total);
    QStringList reasons;
    for (const FileOutcome& outcome : outcomes) {
        if (outcome.kind == FileOutcomeKind::failed)
            reasons << QStringLiteral("%1: %2").arg(QFileInfo(outcome.path).fileName(),
                                                    outcome.message);
    }
    error.failureReason = cappedLines(reasons.join(QLatin1Char('\n')), 5);
    error.userInfo.insert(QStringLiteral("failed"), counts.failed);
    error.userInfo.insert(QStringLiteral("total"), total);
    return error;
}

ExifImages imagesOf(const MetadataQueue::ImageMap& batch)
{
    ExifImages images;
    images.reserve(batch.size());
    for (const auto& entry : batch)
        images.push_back(entry.second);
    return images;
}

ExifImages imagesOf(const std::vector<WriteFile*>& files)
{
    ExifImages images;
    images.reserve(files.size());
    for (const WriteFile* file : files)
        images.push_back(file->image);
    return images;
}

QStringList targetsOf(const std::vector<WriteFile>& files)
{
    QStringList paths;
    for (const WriteFile& file : files)
        paths << file.target;
    return paths;
}

qsizetype changedCount(const std::vector<WriteFile>& files)
{
    return std::ranges::count_if(
        files, [](const WriteFile& file) { return FileStamp::of(file.target) != file.before; });
}

// The runs of exiftool a plan makes: its files that can be replaced, in as
// many chunks as the jobs allow, and those written in place apart, since
// exiftool takes that choice for a whole run.
struct WriteRuns {
    std::vector<std::vector<WriteFile*>> files;
    std::vector<bool> inPlace;

    WriteRuns(std::vector<WriteFile>& planned, int jobs, int threshold)
    {
        for (const bool inPlaceGroup : {false, true}) {
            std::vector<WriteFile*> group;
            for (WriteFile& file : planned) {
                if (file.inPlace == inPlaceGroup)
                    group.push_back(&file);
            }
            if (group.empty())
                continue;
            const int chunks = chunkCount(qsizetype(group.size()), jobs, threshold);
            const auto size = qsizetype(group.size());
            auto from = group.begin();
            for (int i = 0; i < chunks; ++i) {
                // The first `size % chunks` runs take one file more, as
                // splitIntoChunks deals them.
                const auto to = from + size / chunks + (i < size % chunks ? 1 : 0);
                files.emplace_back(from, to);
                inPlace.push_back(inPlaceGroup);
                from = to;
            }
        }
    }

    std::vector<ExifImages> images() const
    {
        std::vector<ExifImages> result;
        for (const auto& run : files)
            result.push_back(imagesOf(run));
        return result;
    }
};

// The outcomes of every file in batch order, those left out included.
FileOutcomes batchOrder(const MetadataQueue::ImageMap& batch, FileOutcomes outcomes)
{
    QHash<QString, qsizetype> index;
    for (const auto& entry : batch)
        index.insert(entry.first.toLocalFile(), index.size());
    std::ranges::stable_sort(
        outcomes, {}, [&index](const FileOutcome& outcome) { return index.value(outcome.path); });
    return outcomes;
}

} // namespace

void MetadataQueue::writeBody(const Completion& completion)
{
    const QDateTime start = m_clock();
    qbLog(QStringLiteral("Writing metadata via %1 at %2")
              .arg(caseName(m_writeMethod), DynamicValue(start).description()));
    // The batch is the queue as it stands now; later arrivals wait.
    const ImageMap batch = imageQueue();
    const auto continuation = [this, start, batch, completion](const WriteResult& result,
                                                               const WriteReport& report) {
        finishWrite(result, report, start, batch, completion);
    };
    switch (m_writeMethod) {
    case WriteMethod::direct:
        writeWithExifTool(false, batch, continuation);
        break;
    case WriteMethod::xmp:
        writeWithExifTool(true, batch, continuation);
        break;
    case WriteMethod::captureOne: {
        std::shared_ptr<CaptureOneWriter> writer;
        {
            const QMutexLocker locker(&m_settingsMutex);
            writer = m_captureOneWriter;
        }
        continuation(writer ? writer->applyAdjustments(batch)
                            : std::unexpected(captureOneUnavailable()),
                     {});
        break;
    }
    }
}

void MetadataQueue::writeWithExifTool(bool sidecars, const ImageMap& batch,
                                      const Continuation& continuation)
{
    // exiftool refuses a run without files, which would reach the user as a
    // failure they can do nothing about: nothing to write is written.
    if (batch.empty()) {
        continuation(QStringLiteral("No images to write."), {});
        return;
    }
    const auto interrupted = std::unexpected(interruptedError(0, qsizetype(batch.size())));
    if (isInterrupted()) {
        continuation(interrupted, {});
        return;
    }
    if (auto checked = checkBeforeWriting(batch, sidecars); !checked) {
        continuation(std::unexpected(checked.error()), {});
        return;
    }
    QString lockPath;
    {
        const QMutexLocker locker(&m_settingsMutex);
        lockPath = m_writerLockPath;
    }
    const auto lock = WriterLock(lockPath).acquire(
        [this] { announceWaiting(); }, [this] { return m_stopping || isInterrupted(); });
    m_waitingForWriter = false;
    if (!lock) {
        continuation(std::unexpected(lock.error()), {});
        return;
    }
    if (!*lock) {
        continuation(interrupted, {});
        return;
    }
    // The values are the client's and don't stay behind: the folder goes
    // when the write ends, or at the next start after a kill.
    const auto folder = makePrivateFolder();
    if (!folder->isValid()) {
        continuation(std::unexpected(privateFolderError(folder->errorString())), {});
        return;
    }
    runExiftool(sidecars, batch, folder->path(), continuation);
}

std::shared_ptr<const WritableTags> MetadataQueue::writableTags() const
{
    WritableTagsCache* cache = nullptr;
    {
        const QMutexLocker locker(&m_settingsMutex);
        cache = m_writableTags;
    }
    return cache ? cache->tagsOf(exiftoolLocation(), m_exifWriter->exiftool().config()) : nullptr;
}

std::expected<void, Error> MetadataQueue::checkBeforeWriting(const ImageMap& batch,
                                                             bool sidecars) const
{
    // The command line has checked already; this holds for every front end.
    return checkBatch(imagesOf(batch), writableTags().get(), sidecars);
}

void MetadataQueue::runExiftool(bool sidecars, const ImageMap& batch, const QString& folder,
                                const Continuation& continuation)
{
    ExifTool& exiftool = m_exifWriter->exiftool();
    // The executable as chosen now; a later choice applies to the next write.
    exiftool.setExiftoolLocation(exiftoolLocation());
    exiftool.setArgumentFileFolder(folder);
    m_exifWriter->setSidecarNaming(sidecarNaming());
    // The file system's own clock, which stamps the temporary files.
    WritePlan plan = planWrite(batch, sidecars, sidecarNaming(), QDateTime::currentDateTime());
    WriteReport report;
    for (const WriteFile& file : plan.files) {
        if (!file.note.isEmpty())
            report.notes << file.note;
    }
    if (plan.files.empty()) {
        report.outcomes = batchOrder(batch, plan.leftOut);
        continuation(QStringLiteral("Nothing was written."), report);
        return;
    }
    std::vector<WriteFile*> all;
    for (WriteFile& file : plan.files)
        all.push_back(&file);
    const auto tags = writableTags();
    if (!sidecars) {
        if (auto recoded = recodeLatinIptc(exiftool, all, tags.get()); !recoded) {
            continuation(std::unexpected(isInterrupted()
                                             ? interruptedError(0, qsizetype(batch.size()))
                                             : recoded.error()),
                         report);
            return;
        }
    }
    WriteRuns runs(plan.files, writeJobs(), parallelThreshold());
    std::optional<ParallelWrite> parallel;
    std::unique_ptr<MetadataManager> longLived;
    const QString file = folder + QStringLiteral("/QuillbrookMetadata.json");
    if (runs.files.size() > 1) {
        parallel.emplace(exiftool, m_exifWriter->verbose(), sidecarNaming());
        parallel->setWritableTags(tags);
        if (auto prepared = parallel->prepare(runs.images(), sidecars, folder, runs.inPlace);
            !prepared) {
            continuation(std::unexpected(prepared.error()), report);
            return;
        }
    } else {
        longLived = longLivedWriter(*m_exifWriter);
        MetadataManager& writer = longLived ? *longLived : *m_exifWriter;
        writer.clear();
        writer.setWriteInPlace(runs.inPlace.front());
        writer.setWritableTags(tags);
        writer.addImages(imagesOf(all));
        if (auto written = writer.writeJSON(file, sidecars); !written) {
            continuation(std::unexpected(written.error()), report);
            return;
        }
    }
    // One journal for the whole batch, however many exiftools share it,
    // read through the long-lived exiftool where there is one. Files left
    // out of the write are left out of it too.
    QString journal;
    const auto session = sessionJournal();
    if (const auto directory = journalDirectoryChoice(); directory || session) {
        std::vector<JournalTarget> files;
        for (const WriteFile& planned : plan.files)
            files.push_back(JournalTarget::of(*planned.image, planned.imagePath, planned.target));
        const ExifTool& reader = longLived ? longLived->exiftool() : exiftool;
        const int parts = int(runs.files.size());
        const auto kept = session ? session->add(reader, files, parts)
                                  : keepJournal(reader, files, caseName(m_writeMethod), m_clock(),
                                                *directory, parts);
        if (!kept) {
            continuation(std::unexpected(isInterrupted()
                                             ? interruptedError(0, qsizetype(batch.size()))
                                             : kept.error()),
                         report);
            return;
        }
        journal = *kept;
    }
    std::vector<FileStamp> before;
    for (const WriteFile& planned : plan.files)
        before.push_back(planned.before);
    std::optional<WriteProgress> progress;
    progress.emplace(targetsOf(plan.files), std::move(before),
                     [this](qsizetype done, qsizetype total) {
                         QMetaObject::invokeMethod(
                             this, [this, done, total] { emit writeProgress(done, total); },
                             Qt::QueuedConnection);
                     });
    WriteResult result = std::unexpected(Error{});
    FileOutcomes outcomes = plan.leftOut;
    const auto add = [&outcomes](const FileOutcomes& more) {
        outcomes.insert(outcomes.end(), more.begin(), more.end());
    };
    if (parallel) {
        result = parallel->run(sidecars);
        progress.reset();
        const QStringList notes = report.notes;
        report = parallel->report();
        report.notes = notes;
        const auto chunkRuns = parallel->chunkRuns();
        for (std::size_t i = 0; i < chunkRuns.size(); ++i) {
            const std::vector<WriteFile*>& files = runs.files[i];
            add(runOutcomes({files.begin(), files.end()}, chunkRuns[i].report, chunkRuns[i].result,
                            sidecars, isInterrupted()));
        }
    } else {
        MetadataManager& writer = longLived ? *longLived : *m_exifWriter;
        const MetadataCompletion done = [&result](std::expected<QString, Error> outcome) {
            result = std::move(outcome);
        };
        if (sidecars)
            writer.writeSidecars(file, done);
        else
            writer.writeImages(file, done);
        progress.reset();
        const QStringList notes = report.notes;
        report = writer.lastWriteReport();
        report.notes = notes;
        add(runOutcomes({all.begin(), all.end()}, report, result, sidecars, isInterrupted()));
    }
    report.outcomes = batchOrder(batch, std::move(outcomes));
    report.journalPath = journal;
    const OutcomeCounts counts = countOutcomes(report.outcomes);
    if (!result && isInterrupted())
        result =
            std::unexpected(interruptedError(changedCount(plan.files), qsizetype(batch.size())));
    else if (result && counts.failed > 0)
        result = std::unexpected(someFilesFailed(counts, report.outcomes));
    continuation(result, report);
}

std::unique_ptr<MetadataManager> MetadataQueue::longLivedWriter(const MetadataManager& base) const
{
    std::shared_ptr<ProcessRunner> runner;
    {
        const QMutexLocker locker(&m_settingsMutex);
        runner = m_longLivedExiftool;
    }
    if (!runner)
        return nullptr;
    // The same exiftool, options and trace; only what runs it differs.
    const ExifTool& model = base.exiftool();
    ExifTool exiftool(model.exiftoolLocation(), model.trace(), std::move(runner));
    exiftool.setConfig(model.config());
    exiftool.setOverwriteOriginal(model.overwriteOriginal());
    exiftool.setArgumentFileFolder(model.argumentFileFolder());
    auto writer = std::make_unique<MetadataReader>();
    writer->setVerbose(base.verbose());
    writer->setWriteInPlace(base.writeInPlace());
    writer->setExiftool(std::move(exiftool));
    writer->setSidecarNaming(base.sidecarNaming());
    return writer;
}

void MetadataQueue::announceWaiting()
{
    m_waitingForWriter = true;
    QMetaObject::invokeMethod(
        this, [this] { emit waitingForWriter(); }, Qt::QueuedConnection);
}

void MetadataQueue::finishWrite(const WriteResult& result, const WriteReport& report,
                                const QDateTime& start, const ImageMap& batch,
                                const Completion& completion)
{
    QMetaObject::invokeMethod(
        this,
        [this, result, report, start, batch, completion] {
            if (result)
                takeWritten(batch);
            const double seconds = double(start.msecsTo(m_clock())) / 1000.0;
            qbLog(QStringLiteral("Write finished after %1 seconds").arg(seconds));
            emit writeReported(report);
            completion(result);
        },
        Qt::QueuedConnection);
}

void MetadataQueue::takeWritten(const ImageMap& batch)
{
    // Only what the write took leaves the queue: an image that arrived, or
    // arrived again, while exiftool ran stays.
    int taken = 0;
    {
        const QMutexLocker locker(&m_imagesMutex);
        for (const auto& [url, image] : batch) {
            const auto it = m_imageQueue.find(url);
            if (it != m_imageQueue.end() && it->second == image) {
                m_imageQueue.erase(it);
                ++taken;
            }
        }
    }
    qbPrint(QStringLiteral("Clearing queue with %1 items").arg(taken));
    if (imageCount() > 0)
        createTimer();
    else
        invalidateTimer();
}

} // namespace qb
