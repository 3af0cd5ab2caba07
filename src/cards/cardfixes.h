// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>

#include <expected>
#include <optional>
#include <vector>

namespace qb {

// A card set by hand, for a card that didn't decode or a frame read as one
// by mistake. Several fixes that mark one frame make it a group card.
struct CardFix {
    // A file name, or the end of a path ("B/IMG_0001.JPG") where two
    // cameras' names collide.
    QString frame;
    // The row's key; nothing for "-", which says the frame is not a card.
    std::optional<QString> key;
    int line = 0; // where it was written, for the messages

    friend bool operator==(const CardFix&, const CardFix&) = default;
};

// The fixes in a CSV text of `frame,key` and `frame,-` lines. Fields may be
// quoted; blank lines, lines starting with '#' and a first line
// `frame,key` are skipped. Any bad line fails the whole text, each named
// with its number, so that no fix is half applied.
std::expected<std::vector<CardFix>, Error> parseCardFixes(const QString& text);
// The same from a UTF-8 file.
std::expected<std::vector<CardFix>, Error> readCardFixes(const QString& path);

} // namespace qb
