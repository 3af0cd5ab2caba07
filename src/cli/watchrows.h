// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "command.h"
#include "sourceoptions.h"

#include "mapping/metadatamapping.h"

#include <QByteArray>
#include <QStringList>

#include <expected>
#include <functional>
#include <vector>

namespace qb::cli {

// The rows and rule rows watch writes by, read again when the files they
// come from change on disk: a producer corrects the CSV (or the document)
// during the session.
class WatchRows {
public:
    struct Rows {
        LoadedSource source;
        std::vector<MetadataMapping> mappings;
    };
    // Reads the rows afresh, printing to `streams`; when it can't, the
    // reason, or nothing when what it printed says why.
    using Load = std::function<std::expected<Rows, QString>(Streams& streams)>;

    // `files` are those the rows come from: files, or folders (a document)
    // whose files all count.
    WatchRows(Rows rows, QStringList files, Load load, Streams& streams);

    // Reads the rows again when their files changed since they were read,
    // and says so: "rows reloaded: N", or why the old rows stay. A file
    // still open for writing, or one that changes while it is read, is read
    // at a later call.
    void refresh();

    const Rows& rows() const { return m_rows; }

private:
    QByteArray stamp() const;

    Rows m_rows;
    QStringList m_files;
    Load m_load;
    Streams& m_streams;
    QByteArray m_stamp;
};

} // namespace qb::cli
