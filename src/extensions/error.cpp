// SPDX-License-Identifier: GPL-3.0-or-later
#include "error.h"

#include <QStringList>

namespace qb {

QString Error::message() const
{
    // Texts often repeat one another ("X is not running" / "X is not
    // running."): say each thing once.
    const auto stem = [](const QString& text) {
        QString trimmed = text.trimmed();
        while (trimmed.endsWith(QLatin1Char('.')))
            trimmed.chop(1);
        return trimmed;
    };
    QStringList parts;
    QStringList stems;
    for (const QString& text : {errorDescription, failureReason, recoverySuggestion}) {
        if (text.isEmpty())
            continue;
        const qsizetype same = stems.indexOf(stem(text));
        if (same < 0) {
            parts << text;
            stems << stem(text);
        } else if (text.size() > parts[same].size()) {
            parts[same] = text; // the full sentence, with its stop
        }
    }
    if (parts.isEmpty())
        return QStringLiteral("%1 error %2").arg(domain).arg(code);
    return parts.join(QLatin1Char(' '));
}

} // namespace qb
