// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <expected>
#include <optional>
#include <utility>
#include <vector>

namespace qb {

// The desktop's shared thumbnail cache ($XDG_CACHE_HOME/thumbnails), read
// and written as file managers do, so that what Nautilus or Dolphin made is
// reused here and what we make is reused there. A thumbnail is a PNG named
// by the MD5 of the file's URI; it counts only while its Thumb::URI names
// the file and its Thumb::MTime is the file's modification time.
class ThumbnailCache {
public:
    // The largest side of each flavour, in pixels.
    enum class Flavour { normal = 128, large = 256 };

    // `root` is the cache's folder; by default the user's.
    explicit ThumbnailCache(QString root = defaultRoot());
    static QString defaultRoot();

    // The file:// URI as GLib writes it, escaped byte for byte, which is
    // what the cache's names are made from.
    static QByteArray uriOf(const QString& path);
    QString pathFor(const QString& file, Flavour flavour) const;
    // Where our own failures to make a thumbnail are remembered, so that an
    // undecodable file isn't tried on every run.
    QString failurePathFor(const QString& file) const;

    // The cached thumbnail of `file`, when one is there and still current.
    std::optional<QImage> find(const QString& file, Flavour flavour) const;
    // Stores `image` (already at most the flavour's size) for `file` whose
    // type is `mimeType`: written to a temporary name beside it, readable
    // by the user alone, and renamed into place.
    std::expected<void, Error> store(const QString& file, const QImage& image, Flavour flavour,
                                     const QString& mimeType) const;
    // Why a thumbnail of `file`, as it is now, couldn't be made, when a
    // failure is remembered.
    std::optional<QString> failure(const QString& file) const;
    void storeFailure(const QString& file, const QString& reason) const;

private:
    // Whether a cached picture's texts name `file` as it is now.
    static bool describes(const QImage& image, const QString& file);
    std::expected<void, Error> write(const QString& file, QImage image, const QString& destination,
                                     const std::vector<std::pair<QString, QString>>& texts) const;

    QString m_root;
};

} // namespace qb
