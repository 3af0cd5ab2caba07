// SPDX-License-Identifier: GPL-3.0-or-later
#include "error.h"

#include <QStringList>

namespace qb {

QString Error::message() const
{
    QStringList parts;
    for (const QString& text : {errorDescription, failureReason, recoverySuggestion}) {
        if (!text.isEmpty() && !parts.contains(text))
            parts << text;
    }
    if (parts.isEmpty())
        return QStringLiteral("%1 error %2").arg(domain).arg(code);
    return parts.join(QLatin1Char(' '));
}

} // namespace qb
