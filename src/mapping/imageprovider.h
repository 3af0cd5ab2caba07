// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QStringList>
#include <QUrl>

namespace qb {

// The name of an image, which every matching works on: the last path
// component less its path extension. The folders and the extension play no part.
QString imageName(const QUrl& url);

// Supplies the image URLs of a run.
class ImageProvider {
public:
    virtual ~ImageProvider() = default;
    virtual QList<QUrl> images() const = 0;
    // The name of each element of images(), in order.
    virtual QStringList imageNames() const;
};

// A plain list of URLs, taken as it is: no expansion, no de-duplication.
class URLListProvider final : public ImageProvider {
public:
    explicit URLListProvider(QList<QUrl> urls)
        : m_urls(std::move(urls))
    {
    }
    QList<QUrl> images() const override { return m_urls; }

private:
    QList<QUrl> m_urls;
};

} // namespace qb
