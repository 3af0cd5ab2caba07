// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadataqueue.h"

#include "sources/shotlistcoordinator.h"
#include "writing/parallelwrite.h"

#include "exif/exiftool.h"
#include "exif/metadatareader.h"
#include "extensions/icustring.h"
#include "extensions/log.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <unicode/datefmt.h>

#include <array>

namespace qb {

namespace {

QString defaultDateText(const QDateTime& date)
{
    return DynamicValue(date).description();
}

QString shortTimeText(const QDateTime& date)
{
    std::unique_ptr<icu::DateFormat> formatter(
        icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, icu::Locale::getDefault()));
    if (!formatter)
        return date.toLocalTime().toString(QStringLiteral("HH:mm"));
    icu::UnicodeString text;
    formatter->format(UDate(date.toMSecsSinceEpoch()), text);
    return fromIcu(text);
}

std::array<std::unique_ptr<MetadataQueue>, 3>& sharedQueues()
{
    static std::array<std::unique_ptr<MetadataQueue>, 3> queues;
    return queues;
}

void releaseSharedQueues()
{
    for (auto& queue : sharedQueues())
        queue.reset();
}

} // namespace

MetadataQueue& MetadataQueue::shared(WriteMethod method)
{
    auto& slot = sharedQueues()[static_cast<std::size_t>(method)];
    if (!slot) {
        static const bool cleanupRegistered = [] {
            // The worker threads must end while Qt is still up.
            qAddPostRoutine(releaseSharedQueues);
            return true;
        }();
        Q_UNUSED(cleanupRegistered);
        slot = std::make_unique<MetadataQueue>(method, 60.0, true);
    }
    return *slot;
}

void MetadataQueue::replaceShared(WriteMethod method, std::unique_ptr<MetadataQueue> queue)
{
    sharedQueues()[static_cast<std::size_t>(method)] = std::move(queue);
}

MetadataQueue::MetadataQueue(WriteMethod method, double timerBuffer, bool useBundle,
                             std::unique_ptr<MetadataManager> writer, Clock clock)
    : m_writeMethod(method)
    , m_timerBuffer(timerBuffer)
    , m_clock(std::move(clock))
    , m_exifWriter(writer ? std::move(writer) : std::make_unique<MetadataReader>())
    , m_exiftoolLocation(m_exifWriter->exiftool().exiftoolLocation())
    , m_parallelThreshold(defaultParallelThreshold)
    , m_worker(new QObject)
{
    m_thread.setObjectName(QStringLiteral("QuillbrookKitMetadata"));
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread.start(QThread::LowPriority);

    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        qbPrint(QStringLiteral("MetadataQueue timer block has been called"));
        write();
    });
    if (useBundle)
        useBundleExifTool();
}

MetadataQueue::~MetadataQueue()
{
    // A write in progress finishes first, unless it is still waiting for
    // another process's; its completion is dropped with us.
    m_stopping = true;
    m_thread.quit();
    m_thread.wait();
}

void MetadataQueue::setPaused(bool paused)
{
    m_isPaused = paused;
    if (paused)
        invalidateTimer();
    else
        createTimer();
}

MetadataQueue::ImageMap MetadataQueue::imageQueue() const
{
    const QMutexLocker locker(&m_imagesMutex);
    return m_imageQueue;
}

int MetadataQueue::imageCount() const
{
    const QMutexLocker locker(&m_imagesMutex);
    return int(m_imageQueue.size());
}

std::optional<QString> MetadataQueue::statusText() const
{
    if (m_waitingForWriter)
        return QStringLiteral("Waiting for another Quillbrook write to finish\u2026");
    if (!m_fireDate)
        return std::nullopt;
    const int count = imageCount();
    QString how;
    switch (m_writeMethod) {
    case WriteMethod::direct:
        how = QStringLiteral("directly");
        break;
    case WriteMethod::xmp:
        how = QStringLiteral("as XMP sidecar files");
        break;
    case WriteMethod::captureOne:
        how = QStringLiteral("using Capture One");
        break;
    }
    return QStringLiteral("Writing %1 %2 %3 at %4.")
        .arg(count)
        .arg(count == 1 ? QStringLiteral("item") : QStringLiteral("items"), how,
             shortTimeText(*m_fireDate));
}

std::optional<QString> MetadataQueue::bundleExifToolPath()
{
    QStringList candidates;
    // Named, it is used whatever lies there: a write through it then fails
    // naming it, rather than quietly writing with another exiftool.
    const QString fromEnvironment = qEnvironmentVariable("QUILLBROOK_EXIFTOOL");
    if (!fromEnvironment.isEmpty())
        return QFileInfo(fromEnvironment).absoluteFilePath();
    if (QCoreApplication::instance()) {
        const QString dir = QCoreApplication::applicationDirPath();
        candidates << dir + QStringLiteral("/exiftool")
                   << QDir::cleanPath(dir + QStringLiteral("/../libexec/quillbrook/exiftool"));
    }
    for (const QString& candidate : candidates) {
        const QFileInfo info(candidate);
        if (info.isFile() && info.isExecutable())
            return info.absoluteFilePath();
    }
    return std::nullopt;
}

std::optional<Error> MetadataQueue::exiftoolVariableError()
{
    const QString named = qEnvironmentVariable("QUILLBROOK_EXIFTOOL");
    const QFileInfo info(named);
    if (named.isEmpty() || (info.isFile() && info.isExecutable()))
        return std::nullopt;
    Error error;
    error.domain = QStringLiteral("qb.MetadataQueue");
    error.code = 1;
    error.errorDescription = QStringLiteral("QUILLBROOK_EXIFTOOL names no exiftool.");
    error.failureReason =
        QStringLiteral("There is no program at \u201c%1\u201d.").arg(info.absoluteFilePath());
    error.recoverySuggestion = QStringLiteral("Set QUILLBROOK_EXIFTOOL to the exiftool program, "
                                              "or unset it to use the installed exiftool.");
    return error;
}

bool MetadataQueue::isWaitingForWriter() const
{
    return m_waitingForWriter;
}

void MetadataQueue::useBundleExifTool()
{
    if (const auto bundled = bundleExifToolPath()) {
        setExiftoolLocation(*bundled);
        return;
    }
    const QString installed = installedExiftoolPath();
    qbPrint(QStringLiteral("Could not locate ExifTool in main bundle. Defaulting to '%1'")
                .arg(installed));
    setExiftoolLocation(installed);
}

void MetadataQueue::useInstalledExifTool()
{
    setExiftoolLocation(installedExiftoolPath());
}

void MetadataQueue::setExiftoolLocation(const QString& path)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_exiftoolLocation = path;
}

void MetadataQueue::setCaptureOneWriter(std::shared_ptr<CaptureOneWriter> writer)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_captureOneWriter = std::move(writer);
}

QString MetadataQueue::exiftoolLocation() const
{
    const QMutexLocker locker(&m_settingsMutex);
    return m_exiftoolLocation;
}

void MetadataQueue::setSidecarNaming(SidecarNaming naming)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_sidecarNaming = naming;
}

SidecarNaming MetadataQueue::sidecarNaming() const
{
    const QMutexLocker locker(&m_settingsMutex);
    return m_sidecarNaming;
}

void MetadataQueue::setWriterLockPath(const QString& path)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_writerLockPath = path;
}

void MetadataQueue::setWritableTags(WritableTagsCache* cache)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_writableTags = cache;
}

void MetadataQueue::setWriteJobs(int jobs)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_writeJobs = std::max(jobs, 0);
}

int MetadataQueue::writeJobs() const
{
    const QMutexLocker locker(&m_settingsMutex);
    return m_writeJobs;
}

void MetadataQueue::setParallelThreshold(int count)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_parallelThreshold = count;
}

int MetadataQueue::parallelThreshold() const
{
    const QMutexLocker locker(&m_settingsMutex);
    return m_parallelThreshold;
}

void MetadataQueue::setLongLivedExiftool(std::shared_ptr<ProcessRunner> runner)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_longLivedExiftool = std::move(runner);
}

void MetadataQueue::invalidateTimer()
{
    qbPrint(QStringLiteral("Invalidating timer with %1 queued items").arg(imageCount()));
    m_timer.stop();
    m_fireDate.reset();
}

void MetadataQueue::createTimer()
{
    invalidateTimer();
    const int count = imageCount();
    if (count == 0) {
        qbPrint(QStringLiteral("Queue is empty, no need to create a timer"));
        return;
    }
    qbPrint(QStringLiteral("Creating timer for %1 queued items").arg(count));
    const qint64 msecs = qint64(m_timerBuffer * 1000.0);
    m_fireDate = m_clock().addMSecs(msecs);
    m_timer.start(std::chrono::milliseconds(msecs));
}

void MetadataQueue::addImages(const ImageProvider& provider, const MetadataSource& source,
                              std::vector<MetadataMapping> mappings, EmptyCells emptyCells)
{
    enqueue(mapImages(provider, source, mappings, emptyCells));
}

void MetadataQueue::addImages(const ShotlistCoordinator& coordinator,
                              std::vector<MetadataMapping> mappings)
{
    addImages(*coordinator.imageProvider(), *coordinator.datasource(), std::move(mappings));
}

void MetadataQueue::enqueue(const ExifImages& images)
{
    {
        const QMutexLocker locker(&m_imagesMutex);
        for (const auto& image : images) {
            if (const std::optional<QUrl> url = image->url())
                m_imageQueue.insert_or_assign(*url, image);
        }
    }
    createTimer();
    qbPrint(QStringLiteral("Enqueueing %1 new image(s)\nQueue now contains %2 images")
                .arg(images.size())
                .arg(imageCount()));
    if (m_fireDate)
        qbPrint(QStringLiteral("Timer will fire at %1").arg(defaultDateText(*m_fireDate)));
}

void MetadataQueue::clearQueue()
{
    {
        const QMutexLocker locker(&m_imagesMutex);
        qbPrint(QStringLiteral("Clearing queue with %1 items").arg(m_imageQueue.size()));
        m_imageQueue.clear();
    }
    invalidateTimer();
}

void MetadataQueue::write()
{
    // A timed write has no one else to tell why it failed: give every text,
    // and the program when they don't name it.
    write([](const WriteResult& result) {
        if (result) {
            qbPrint(QStringLiteral("Write was a success"));
            return;
        }
        QString text = result.error().message();
        const QString program = result.error().userInfo.value(QStringLiteral("program")).toString();
        if (!program.isEmpty() && !text.contains(program))
            text += QStringLiteral(" (") + program + QLatin1Char(')');
        qbPrint(text);
    });
}

void MetadataQueue::write(Completion completion)
{
    QMetaObject::invokeMethod(
        m_worker, [this, completion = std::move(completion)] { writeBody(completion); },
        Qt::QueuedConnection);
}

void MetadataQueue::setJournalDirectory(std::optional<QString> directory)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_journalDirectory = std::move(directory);
}

std::optional<QString> MetadataQueue::journalDirectoryChoice() const
{
    const QMutexLocker locker(&m_settingsMutex);
    return m_journalDirectory;
}

void MetadataQueue::setSessionJournal(std::shared_ptr<SessionJournal> journal)
{
    const QMutexLocker locker(&m_settingsMutex);
    m_sessionJournal = std::move(journal);
}

std::shared_ptr<SessionJournal> MetadataQueue::sessionJournal() const
{
    const QMutexLocker locker(&m_settingsMutex);
    return m_sessionJournal;
}

} // namespace qb
