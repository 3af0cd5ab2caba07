// SPDX-License-Identifier: GPL-3.0-or-later
#include "thumbnailloader.h"

#include <QMimeDatabase>

#include <algorithm>

namespace qb {

ThumbnailLoader::ThumbnailLoader(ThumbnailCache cache, std::shared_ptr<const ThumbnailMaker> maker,
                                 int keptInMemory, QObject* parent)
    : QObject(parent)
    , m_cache(std::move(cache))
    , m_maker(std::move(maker))
    , m_images(keptInMemory)
{
    m_pool.setMaxThreadCount(std::max(1, QThread::idealThreadCount()));
}

ThumbnailLoader::~ThumbnailLoader()
{
    cancelAll();
    m_pool.waitForDone();
}

std::optional<QImage> ThumbnailLoader::thumbnail(const QString& path) const
{
    if (const QImage* image = m_images.object(path))
        return *image;
    return std::nullopt;
}

std::optional<QString> ThumbnailLoader::failure(const QString& path) const
{
    const auto it = m_failures.constFind(path);
    if (it == m_failures.constEnd())
        return std::nullopt;
    return *it;
}

void ThumbnailLoader::request(const QString& path)
{
    if (m_images.contains(path) || m_failures.contains(path) || m_inFlight.contains(path))
        return;
    m_inFlight.insert(path);
    const QMutexLocker locker(&m_mutex);
    m_pending.push_back(path);
    m_queued.insert(path);
    if (m_workers < m_pool.maxThreadCount()) {
        ++m_workers;
        m_pool.start([this] { work(); });
    }
}

void ThumbnailLoader::cancel(const QString& path)
{
    m_inFlight.remove(path);
    const QMutexLocker locker(&m_mutex);
    if (m_queued.remove(path))
        std::erase(m_pending, path);
}

void ThumbnailLoader::cancelAll()
{
    m_inFlight.clear();
    const QMutexLocker locker(&m_mutex);
    m_pending.clear();
    m_queued.clear();
}

void ThumbnailLoader::waitForDone()
{
    m_pool.waitForDone();
}

std::optional<QString> ThumbnailLoader::takeNext()
{
    const QMutexLocker locker(&m_mutex);
    if (m_pending.empty()) {
        --m_workers;
        return std::nullopt;
    }
    // The newest request first: what has just come into view.
    QString path = std::move(m_pending.back());
    m_pending.pop_back();
    m_queued.remove(path);
    return path;
}

void ThumbnailLoader::work()
{
    static const QMimeDatabase types;
    while (const std::optional<QString> path = takeNext()) {
        std::expected<QImage, QString> made = std::unexpected(QString());
        if (std::optional<QImage> cached = m_cache.find(*path, flavour)) {
            made = std::move(*cached);
        } else if (std::optional<QString> reason = m_cache.failure(*path)) {
            made = std::unexpected(*reason);
        } else {
            made = m_maker->make(*path, int(flavour));
            if (made)
                (void)m_cache.store(*path, *made, flavour, types.mimeTypeForFile(*path).name());
            else
                m_cache.storeFailure(*path, made.error());
        }
        QMetaObject::invokeMethod(
            this, [this, path = *path, made] { deliver(path, made); }, Qt::QueuedConnection);
    }
}

void ThumbnailLoader::deliver(const QString& path, const std::expected<QImage, QString>& made)
{
    m_inFlight.remove(path);
    if (made) {
        m_images.insert(path, new QImage(*made));
        emit ready(path);
    } else {
        m_failures.insert(path, made.error());
        emit failed(path, made.error());
    }
}

} // namespace qb
