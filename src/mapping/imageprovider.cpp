// SPDX-License-Identifier: GPL-3.0-or-later
#include "imageprovider.h"

namespace qb {

QString imageName(const QUrl& url)
{
    QString path = url.path(QUrl::FullyDecoded);
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    const QString component = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    // A leading dot starts a hidden name, not an extension.
    const qsizetype dot = component.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? component.left(dot) : component;
}

QStringList ImageProvider::imageNames() const
{
    QStringList names;
    const QList<QUrl> urls = images();
    names.reserve(urls.size());
    for (const QUrl& url : urls)
        names << imageName(url);
    return names;
}

} // namespace qb
