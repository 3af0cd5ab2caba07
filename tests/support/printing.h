// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <ostream>

// Readable test output for texts.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
