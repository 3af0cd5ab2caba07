// SPDX-License-Identifier: GPL-3.0-or-later
#include "appinfo.h"

#include "deploymentsettings.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>

namespace qb {

AppInfo AppInfo::fromApplication()
{
    const QString version = QCoreApplication::applicationVersion();
    return {QCoreApplication::applicationName(), version, version, deployment::applicationID()};
}

QString AppInfo::versionString() const
{
    return name + QLatin1Char(' ') + shortVersion + QStringLiteral(" (") + version +
           QLatin1Char(')');
}

QString AppInfo::fallbackSender() const
{
    QStringList pieces = bundleID.split(QLatin1Char('.'), Qt::SkipEmptyParts);
    if (!pieces.isEmpty())
        pieces.removeLast();
    std::reverse(pieces.begin(), pieces.end());
    return name.toLower() + QStringLiteral("@feedback.") + pieces.join(QLatin1Char('.'));
}

} // namespace qb
