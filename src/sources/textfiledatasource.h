// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "sources/filenamedatasource.h"

#include "extensions/error.h"

#include <QStringList>
#include <QUrl>

#include <expected>

namespace qb {

// A plain list of names, one a line: rows with keys and no fields. Enough
// for a shot list and for capture folders; an assignment from it writes
// nothing.
class TextFileDataSource final : public FileNameDataSource {
public:
    // One empty row under each name.
    explicit TextFileDataSource(const QStringList& names = {});

    // Adds an empty row for each line of the file, after emptying the table
    // when `clear` is set. A file that can't be read changes nothing.
    std::expected<void, Error> loadText(const QUrl& url, bool clear);

    // The lines of `text`: split at each user-perceived character that is a
    // lone line feed, empty lines dropped, nothing trimmed. CR LF is one
    // character and no line feed, so text with Windows line ends is one
    // line, line ends included.
    static QStringList lines(const QString& text);
};

} // namespace qb
