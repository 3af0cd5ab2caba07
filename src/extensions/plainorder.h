// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

namespace qb {

// Canonically equivalent texts compare equal: file systems and CSV editors
// disagree on composed and decomposed accents, and a photographer can't see
// the difference.
inline QString canonical(const QString& text)
{
    return text.normalized(QString::NormalizationForm_C);
}

// The plain string ordering: Unicode scalar values of the canonical forms,
// with no locale, no case folding and no numeric reading.
bool plainLess(const QString& a, const QString& b);
void sortPlain(QStringList& texts);

} // namespace qb
