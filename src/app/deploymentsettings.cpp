// SPDX-License-Identifier: GPL-3.0-or-later
#include "deploymentsettings.h"

namespace qb::deployment {

namespace {

QUrl withPath(const char* base, const QString& path)
{
    QUrl url(QString::fromUtf8(base));
    url.setPath(path);
    return url;
}

} // namespace

QString applicationID()
{
    return QStringLiteral(QB_APPLICATION_ID);
}

QUrl updateFeedBase()
{
    // The feed path is appended as text, so the base must end in a slash.
    QString base = QStringLiteral(QB_UPDATE_FEED_BASE_URL);
    if (!base.endsWith(QLatin1Char('/')))
        base += QLatin1Char('/');
    return QUrl(base);
}

QUrl productWebsite()
{
    return QUrl(QStringLiteral(QB_PRODUCT_WEBSITE_URL));
}

QUrl onlineHelp()
{
    return withPath(QB_PRODUCT_WEBSITE_URL, QStringLiteral("/help/"));
}

QUrl studioWebsite()
{
    return QUrl(QStringLiteral(QB_STUDIO_WEBSITE_URL));
}

QUrl feedbackEndpoint()
{
    return withPath(QB_FEEDBACK_HOST_URL, QStringLiteral("/email/app-feedback"));
}

} // namespace qb::deployment
