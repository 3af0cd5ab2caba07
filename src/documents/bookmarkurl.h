// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"
#include "extensions/jsondecode.h"

#include <QString>
#include <QUrl>

#include <expected>

namespace qb {

// A file URL kept in a document as opaque text that resolves back to the
// file, and fails to resolve once the file is gone.
//
// The text is base64 of a small JSON object:
//   {"path": "/Users/ana/shoot.csv", "device": 2049, "inode": 1835013}
// `path` is what resolution goes by. `device` and `inode` record which file
// it was when the bookmark was made; a different file found at the path still
// resolves, but is reported stale. Spreadsheet programs save by writing a new
// file over the old one, and refusing those would drop every setting of the
// panel along with the bookmark.
//
// A relative `path` (no leading slash) is resolved against the folder that
// holds the document package, which is how a document and its CSV file can
// travel together, as in a repository. Without such a folder a relative
// bookmark doesn't resolve. Bookmarks made here always hold absolute paths.
class BookmarkURL {
public:
    explicit BookmarkURL(QUrl url)
        : url(std::move(url))
    {
    }

    struct Resolution {
        QUrl url;
        bool isStale = false;
    };

    // Fails when the URL isn't a local file or no file is there.
    std::expected<QString, Error> bookmarkData() const;
    static std::expected<Resolution, Error> resolve(const QString& bookmarkData,
                                                    const QString& relativeTo = {});

    // The JSON form is the bookmark text alone, as a string.
    std::expected<Json, Error> toJson() const;
    // Throws JsonDecodeFailure at `path` when the text can't be resolved.
    // Staleness is ignored: the bookmark is made afresh at the next save.
    static BookmarkURL fromJson(const Json& json, const QString& path,
                                const QString& relativeTo = {});

    friend bool operator==(const BookmarkURL&, const BookmarkURL&) = default;

    QUrl url;
};

} // namespace qb
