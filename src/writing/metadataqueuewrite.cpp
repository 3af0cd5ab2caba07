// SPDX-License-Identifier: GPL-3.0-or-later
// The body of a write, on the queue's worker thread, and its return to the
// main thread.
#include "metadataqueue.h"

#include "writing/parallelwrite.h"
#include "writing/privatefolder.h"
#include "writing/sessionjournal.h"
#include "writing/writechecks.h"
#include "writing/writepreview.h"
#include "writing/writeprogress.h"

#include "exif/metadatareader.h"

#include "extensions/interruption.h"
#include "extensions/log.h"

#include <QDir>
#include <QFile>
#include <QHash>

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

// The files a write is about to change, as they stand before it, so that
// after an interrupted run those it got to can be counted: exiftool puts a
// new file in the place of each one it writes.
class WriteTargets {
public:
    explicit WriteTargets(const MetadataQueue::ImageMap& batch)
    {
        for (const auto& entry : batch) {
            const QString path = entry.second->url().value_or(entry.first).toLocalFile();
            m_files.push_back({path, FileStamp::of(path)});
        }
    }

    // The path of each file, and whether it has changed, in batch order.
    const QString& path(std::size_t index) const { return m_files[index].path; }
    bool changed(std::size_t index) const
    {
        return FileStamp::of(m_files[index].path) != m_files[index].before;
    }
    QStringList paths() const
    {
        QStringList result;
        for (const File& file : m_files)
            result << file.path;
        return result;
    }

    qsizetype changedCount() const
    {
        return std::ranges::count_if(
            m_files, [](const File& file) { return FileStamp::of(file.path) != file.before; });
    }

    // Each file's stamp from before the write, in batch order.
    std::vector<FileStamp> stampsBefore() const
    {
        std::vector<FileStamp> stamps;
        stamps.reserve(m_files.size());
        for (const File& file : m_files)
            stamps.push_back(file.before);
        return stamps;
    }

private:
    struct File {
        QString path;
        FileStamp before;
    };

    std::vector<File> m_files;
};

ExifImages imagesOf(const MetadataQueue::ImageMap& batch)
{
    ExifImages images;
    images.reserve(batch.size());
    for (const auto& entry : batch)
        images.push_back(entry.second);
    return images;
}

// Each image's outcome, from exiftool's lines about it or its file (the
// sidecar for XMP) and whether that changed on disk.
FileOutcomes outcomesOf(const MetadataQueue::ImageMap& batch, const WriteTargets& targets,
                        const QString& standardError)
{
    QStringList images;
    QHash<QString, QString> imageOfTarget;
    std::size_t index = 0;
    for (const auto& entry : batch) {
        images << entry.first.toLocalFile();
        imageOfTarget.insert(targets.path(index++), images.last());
    }
    std::vector<FileMessage> messages = fileMessages(standardError, images + targets.paths());
    for (FileMessage& message : messages)
        message.path = imageOfTarget.value(message.path, message.path);
    QHash<QString, std::size_t> indexOf;
    for (std::size_t i = 0; i < std::size_t(images.size()); ++i)
        indexOf.insert(images[qsizetype(i)], i);
    return fileOutcomes(images, messages,
                        [&](const QString& path) { return targets.changed(indexOf.value(path)); });
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
    if (auto checked = checkBeforeWriting(batch); !checked) {
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

std::expected<void, Error> MetadataQueue::checkBeforeWriting(const ImageMap& batch) const
{
    WritableTagsCache* writableTags = nullptr;
    {
        const QMutexLocker locker(&m_settingsMutex);
        writableTags = m_writableTags;
    }
    // The command line has checked already; this holds for every front end.
    const auto writable =
        writableTags ? writableTags->tagsOf(exiftoolLocation(), m_exifWriter->exiftool().config())
                     : nullptr;
    return checkBatch(imagesOf(batch), writable.get());
}

void MetadataQueue::runExiftool(bool sidecars, const ImageMap& batch, const QString& folder,
                                const Continuation& continuation)
{
    ExifTool& exiftool = m_exifWriter->exiftool();
    // The executable as chosen now; a later choice applies to the next write.
    exiftool.setExiftoolLocation(exiftoolLocation());
    exiftool.setArgumentFileFolder(folder);
    m_exifWriter->setSidecarNaming(sidecarNaming());
    const int chunks = chunkCount(qsizetype(batch.size()), writeJobs(), parallelThreshold());
    std::optional<ParallelWrite> parallel;
    std::unique_ptr<MetadataManager> longLived;
    const QString file = folder + QStringLiteral("/QuillbrookMetadata.json");
    if (chunks > 1) {
        parallel.emplace(exiftool, m_exifWriter->verbose(), sidecarNaming());
        if (auto prepared =
                parallel->prepare(splitIntoChunks(imagesOf(batch), chunks), sidecars, folder);
            !prepared) {
            continuation(std::unexpected(prepared.error()), {});
            return;
        }
    } else {
        longLived = longLivedWriter(*m_exifWriter);
        MetadataManager& writer = longLived ? *longLived : *m_exifWriter;
        writer.clear();
        writer.addImages(imagesOf(batch));
        if (auto written = writer.writeJSON(file, sidecars); !written) {
            continuation(std::unexpected(written.error()), {});
            return;
        }
    }
    // Taken now, when each image's SourceFile names the file to be written.
    const WriteTargets targets(batch);
    // One journal for the whole batch, however many exiftools share it,
    // read through the long-lived exiftool where there is one.
    QString journal;
    const auto session = sessionJournal();
    if (const auto directory = journalDirectoryChoice(); directory || session) {
        std::vector<JournalTarget> files;
        std::size_t index = 0;
        for (const auto& [url, image] : batch)
            files.push_back(JournalTarget::of(*image, url.toLocalFile(), targets.path(index++)));
        const ExifTool& reader = longLived ? longLived->exiftool() : exiftool;
        const auto kept = session ? session->add(reader, files, chunks)
                                  : keepJournal(reader, files, caseName(m_writeMethod), m_clock(),
                                                *directory, chunks);
        if (!kept) {
            continuation(std::unexpected(kept.error()), {});
            return;
        }
        journal = *kept;
    }
    std::optional<WriteProgress> progress;
    progress.emplace(targets.paths(), targets.stampsBefore(),
                     [this](qsizetype done, qsizetype total) {
                         QMetaObject::invokeMethod(
                             this, [this, done, total] { emit writeProgress(done, total); },
                             Qt::QueuedConnection);
                     });
    WriteResult result = std::unexpected(Error{});
    WriteReport report;
    if (parallel) {
        result = parallel->run(sidecars);
        report = parallel->report();
    } else {
        MetadataManager& writer = longLived ? *longLived : *m_exifWriter;
        const MetadataCompletion done = [&result](std::expected<QString, Error> outcome) {
            result = std::move(outcome);
        };
        if (sidecars)
            writer.writeSidecars(file, done);
        else
            writer.writeImages(file, done);
        report = writer.lastWriteReport();
    }
    progress.reset();
    if (!result && isInterrupted())
        result = std::unexpected(interruptedError(targets.changedCount(), qsizetype(batch.size())));
    report.outcomes = outcomesOf(batch, targets, report.standardError);
    report.journalPath = journal;
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
