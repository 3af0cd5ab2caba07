// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "thumbnails/thumbnailcache.h"
#include "thumbnails/thumbnailmaker.h"

#include <QCache>
#include <QHash>
#include <QImage>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QThreadPool>

#include <deque>
#include <memory>
#include <optional>

namespace qb {

// Thumbnails for a view of many images, made off the main thread, one
// worker per core. The desktop's cache is asked first and what is made is
// stored there. The last asked is made first, so the rows that just came
// into view win over those scrolled past; a request that is cancelled (its
// row left the model) is dropped before it starts. Made thumbnails are kept
// in memory up to a fixed number, the least recently used leaving first.
class ThumbnailLoader : public QObject {
    Q_OBJECT

public:
    ThumbnailLoader(ThumbnailCache cache, std::shared_ptr<const ThumbnailMaker> maker,
                    int keptInMemory = 2000, QObject* parent = nullptr);
    ~ThumbnailLoader() override;

    // The thumbnail when it is in memory; nothing otherwise (ask for it).
    std::optional<QImage> thumbnail(const QString& path) const;
    // Why there is none, once making it failed.
    std::optional<QString> failure(const QString& path) const;
    // Asks for the thumbnail; ready() or failed() answers on the main thread.
    void request(const QString& path);
    void cancel(const QString& path);
    void cancelAll();
    // Blocks until no work is left; for tests and for closing.
    void waitForDone();

    static constexpr auto flavour = ThumbnailCache::Flavour::normal;

signals:
    void ready(const QString& path);
    void failed(const QString& path, const QString& reason);

private:
    void work();
    std::optional<QString> takeNext();
    void deliver(const QString& path, const std::expected<QImage, QString>& made);

    ThumbnailCache m_cache;
    std::shared_ptr<const ThumbnailMaker> m_maker;
    QThreadPool m_pool;

    // Guards the pending work, which the workers take from.
    mutable QMutex m_mutex;
    std::deque<QString> m_pending;
    QSet<QString> m_queued;
    int m_workers = 0;

    // Main thread only.
    mutable QCache<QString, QImage> m_images;
    QHash<QString, QString> m_failures;
    QSet<QString> m_inFlight;
};

} // namespace qb
