// SPDX-License-Identifier: GPL-3.0-or-later
#include "updater.h"

namespace qb {

QUrl updateFeedURL(const QUrl& base, const QString& bundleID, bool includeBetaReleases)
{
    if (bundleID.isEmpty())
        return {};
    const QString channel =
        includeBetaReleases ? QStringLiteral("betas") : QStringLiteral("releases");
    return QUrl(base.toString() + QStringLiteral("applications/") + bundleID + QLatin1Char('/') +
                    channel + QStringLiteral("/appcast.xml"),
                QUrl::StrictMode);
}

} // namespace qb
