// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "kit/captureonewriter.h"
#include "kit/imageprovider.h"
#include "kit/metadataassignment.h"
#include "kit/metadatasource.h"
#include "kit/valuemappers.h"

#include "exif/metadatamanager.h"
#include "extensions/error.h"

#include <QDateTime>
#include <QMutex>
#include <QObject>
#include <QThread>
#include <QTimer>

#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace qb {

class ShotlistCoordinator;

// Collects mapped images keyed by file location and writes them in one
// batch: one exiftool run for the direct and XMP methods.
//
// Threads: the queue lives on the main thread, which enqueues, owns the
// timer and receives completions. Each queue has one serial worker thread
// on which write bodies run, one at a time, in order of request. The
// pending images and the choice of writers are the state both touch; each
// has its own mutex, and neither is held while exiftool runs.
class MetadataQueue : public QObject {
    Q_OBJECT

public:
    enum class WriteMethod { direct = 0, xmp = 1, captureOne = 2 };
    static std::optional<WriteMethod> writeMethodFromRawValue(int raw);
    // How the assign action reads the preference: 0 direct, 2 Capture One,
    // every other number XMP.
    static WriteMethod writeMethodFromPreference(int raw);
    static QString caseName(WriteMethod method);

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
    std::optional<QString> statusText() const;

    // Where the bundled exiftool is: $QUILLBROOK_EXIFTOOL, then beside the
    // executable, then in ../libexec/quillbrook/.
    static std::optional<QString> bundleExifToolPath();
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

    void addImages(const ImageProvider& provider, const MetadataSource& source,
                   std::vector<MetadataMapping> mappings);
    // The same with the coordinator's data source and image provider.
    void addImages(const ShotlistCoordinator& coordinator, std::vector<MetadataMapping> mappings);
    void enqueue(const ExifImages& images);
    void clearQueue();

    // Returns at once; `completion` is called exactly once, on the main thread.
    void write();
    void write(Completion completion);

private:
    void createTimer();
    void invalidateTimer();
    void writeBody(const Completion& completion);
    void writeWithExifTool(bool sidecars, const ImageMap& batch,
                           const std::function<void(const WriteResult&)>& continuation);
    void finishWrite(const WriteResult& result, const QDateTime& start, const ImageMap& batch,
                     const Completion& completion);
    // Holds the exchange file; removed when the queue goes. One left by a
    // process that no longer runs is removed when a queue of its method starts.
    QString privateFolderPath() const;
    QString exchangeFilePath() const;

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

    QTimer m_timer;
    std::optional<QDateTime> m_fireDate;

    QThread m_thread;
    QObject* m_worker; // lives on m_thread
};

} // namespace qb
