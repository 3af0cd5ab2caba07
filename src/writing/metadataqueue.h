// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mapping/imageprovider.h"
#include "mapping/metadataassignment.h"
#include "mapping/metadatasource.h"
#include "mapping/valuemappers.h"
#include "writing/captureonewriter.h"
#include "writing/writerlock.h"

#include "preferences/writemethod.h"

#include "exif/metadatamanager.h"
#include "exif/writabletags.h"
#include "extensions/error.h"

#include <QDateTime>
#include <QMutex>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace qb {

class SessionJournal;
class ShotlistCoordinator;

// Collects mapped images keyed by file location and writes them in one
// batch: one exiftool run for the direct and XMP methods.
//
// Threads: the queue lives on the main thread, which enqueues, owns the
// timer and receives completions. Each queue has one serial worker thread
// on which write bodies run, one at a time, in order of request. The
// pending images and the choice of writers are the state both touch; each
// has its own mutex, and neither is held while exiftool runs.
//
// An exiftool write also holds the writer lock, which keeps the writes of
// every Quillbrook process of the user apart, and keeps its exchange file
// in a private folder of its own that goes when the write ends.
class MetadataQueue : public QObject {
    Q_OBJECT

public:
    using WriteMethod = qb::WriteMethod;

    using WriteResult = std::expected<QString, Error>;
    using Completion = std::function<void(const WriteResult&)>;
    using ImageMap = std::map<QUrl, std::shared_ptr<ExifImage>>;

    // One queue per method, made on first use with a 60 s timer and the
    // bundled exiftool, alive until the application object goes.
    static MetadataQueue& shared(WriteMethod method);
    // For tests: puts another queue in the method's place.
    static void replaceShared(WriteMethod method, std::unique_ptr<MetadataQueue> queue);

    MetadataQueue(WriteMethod method, double timerBuffer, bool useBundle,
                  std::unique_ptr<MetadataManager> writer = {}, Clock clock = systemClock());
    ~MetadataQueue() override;

    WriteMethod writeMethod() const { return m_writeMethod; }
    double timerBuffer() const { return m_timerBuffer; }
    void setTimerBuffer(double seconds) { m_timerBuffer = seconds; }
    bool isPaused() const { return m_isPaused; }
    // Pausing only stops the timer; a paused queue still takes images and
    // writes when told to.
    void setPaused(bool paused);

    ImageMap imageQueue() const;
    int imageCount() const;
    bool hasTimer() const { return m_fireDate.has_value(); }
    std::optional<QDateTime> timerFireDate() const { return m_fireDate; }
    // While a write waits for another process's, says so.
    std::optional<QString> statusText() const;
    // Whether a write waits for another process's to end.
    bool isWaitingForWriter() const;

    // Where the bundled exiftool is: $QUILLBROOK_EXIFTOOL, then beside the
    // executable, then in ../libexec/quillbrook/. The variable, when set,
    // is taken even where no program is.
    static std::optional<QString> bundleExifToolPath();
    // Why $QUILLBROOK_EXIFTOOL can't be used, when it names no program.
    static std::optional<Error> exiftoolVariableError();
    void useBundleExifTool();
    void useInstalledExifTool();
    void setExiftoolLocation(const QString& path);
    // What the Capture One method writes through; without one, that method
    // reports that it isn't available.
    void setCaptureOneWriter(std::shared_ptr<CaptureOneWriter> writer);
    QString exiftoolLocation() const;
    // How the XMP method names sidecars; a later choice applies to the next write.
    void setSidecarNaming(SidecarNaming naming);
    SidecarNaming sidecarNaming() const;
    // The file whose lock keeps writes apart; for tests.
    void setWriterLockPath(const QString& path);
    // Where a write learns which tags exiftool can write; null lets every
    // tag through. The process-wide cache unless set.
    void setWritableTags(WritableTagsCache* cache);
    // Where each write first keeps a journal of the values it replaces;
    // none is kept when there is no folder, as for a new queue.
    void setJournalDirectory(std::optional<QString> directory);
    // One journal that every write adds its files to, in place of a journal
    // per write, as watch keeps for a session; null, the default, for none.
    void setSessionJournal(std::shared_ptr<SessionJournal> journal);
    // How many exiftool processes a batch at or above the threshold is split
    // across, one chunk each; 0, the default, means one per core.
    void setWriteJobs(int jobs);
    int writeJobs() const;
    // Smaller batches run as one exiftool with today's argument list.
    void setParallelThreshold(int count);
    int parallelThreshold() const;
    // What runs the batches below the threshold, such as a StayOpenExiftool
    // kept running so that a small write doesn't wait for exiftool's
    // start-up; null (the default) starts a fresh exiftool for each. It goes
    // with the queue.
    void setLongLivedExiftool(std::shared_ptr<ProcessRunner> runner);

    void addImages(const ImageProvider& provider, const MetadataSource& source,
                   std::vector<MetadataMapping> mappings, EmptyCells emptyCells = EmptyCells::keep);
    // The same with the coordinator's data source and image provider.
    void addImages(const ShotlistCoordinator& coordinator, std::vector<MetadataMapping> mappings);
    void enqueue(const ExifImages& images);
    void clearQueue();

    // Returns at once; `completion` is called exactly once, on the main thread.
    // A write stopped by an interruption (see interruption.h) fails with
    // how many of its images had been written.
    void write();
    void write(Completion completion);

signals:
    // On the main thread, once for a write that must wait for another
    // process's to end.
    void waitingForWriter();
    // On the main thread, just before the completion of each write: what
    // exiftool said of it.
    void writeReported(const qb::WriteReport& report);
    // On the main thread, while exiftool runs: how many of the batch's
    // files have been written so far.
    void writeProgress(qsizetype done, qsizetype total);

private:
    using Continuation = std::function<void(const WriteResult&, const WriteReport&)>;

    void createTimer();
    void invalidateTimer();
    void writeBody(const Completion& completion);
    void writeWithExifTool(bool sidecars, const ImageMap& batch, const Continuation& continuation);
    void runExiftool(bool sidecars, const ImageMap& batch, const QString& folder,
                     const Continuation& continuation);
    void finishWrite(const WriteResult& result, const WriteReport& report, const QDateTime& start,
                     const ImageMap& batch, const Completion& completion);
    std::expected<void, Error> checkBeforeWriting(const ImageMap& batch, bool sidecars) const;
    std::shared_ptr<const WritableTags> writableTags() const;
    // A writer over the long-lived exiftool, set up as `base`; null without one.
    std::unique_ptr<MetadataManager> longLivedWriter(const MetadataManager& base) const;
    void takeWritten(const ImageMap& batch);
    void announceWaiting();
    std::optional<QString> journalDirectoryChoice() const;
    std::shared_ptr<SessionJournal> sessionJournal() const;

    WriteMethod m_writeMethod;
    double m_timerBuffer;
    bool m_isPaused = false;
    Clock m_clock;

    mutable QMutex m_imagesMutex;
    ImageMap m_imageQueue;

    // Used on the worker thread only, so that nothing the main thread does
    // waits for exiftool.
    std::unique_ptr<MetadataManager> m_exifWriter;
    // The choices a write picks up when it starts; the lock is held for a
    // copy, never across a write.
    mutable QMutex m_settingsMutex;
    QString m_exiftoolLocation;
    std::shared_ptr<CaptureOneWriter> m_captureOneWriter;
    SidecarNaming m_sidecarNaming = SidecarNaming::name;
    QString m_writerLockPath = WriterLock::defaultPath();
    WritableTagsCache* m_writableTags = &WritableTagsCache::shared();
    std::optional<QString> m_journalDirectory;
    std::shared_ptr<SessionJournal> m_sessionJournal;
    int m_writeJobs = 0;
    int m_parallelThreshold;
    std::shared_ptr<ProcessRunner> m_longLivedExiftool;
    // Set when the queue goes, so that a write waiting for the lock gives up.
    std::atomic<bool> m_stopping = false;
    std::atomic<bool> m_waitingForWriter = false;

    QTimer m_timer;
    std::optional<QDateTime> m_fireDate;

    QThread m_thread;
    QObject* m_worker; // lives on m_thread
};

} // namespace qb
