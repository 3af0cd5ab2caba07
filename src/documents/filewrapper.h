// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QByteArray>
#include <QString>

#include <expected>
#include <map>
#include <optional>

namespace qb {

// The in-memory picture of a file or a folder tree: a regular member holds
// bytes, a directory member holds named members. A document is turned into
// one of these and back, so that reading and writing the disk stay apart
// from what the package means.
class FileWrapper {
public:
    using Members = std::map<QString, FileWrapper>;

    static FileWrapper regularFile(QByteArray contents, QString preferredFilename = {});
    static FileWrapper directory(Members members = {}, QString preferredFilename = {});

    bool isRegularFile() const { return m_contents.has_value(); }
    bool isDirectory() const { return !m_contents.has_value(); }

    // Nothing for a directory: it has no contents of its own.
    const std::optional<QByteArray>& regularFileContents() const { return m_contents; }
    // Empty for a regular file.
    const Members& fileWrappers() const { return m_members; }
    // The member of exactly this name (case and all), or null.
    const FileWrapper* member(const QString& name) const;

    // The name the wrapper asks to be stored under when it joins a directory.
    QString preferredFilename;

    // The regular file at `path`, holding at most `maximumSize` bytes. A
    // FIFO, a device, a folder or a larger file is refused without reading
    // from it: reading one could wait for ever or fill the memory. Links are
    // followed; keeping them inside a package is the caller's affair.
    static std::expected<FileWrapper, Error> readRegularFile(const QString& path,
                                                             qint64 maximumSize);
    // Writes the tree to `path`, which must not exist yet, or be an empty
    // folder when this is a directory. Stops at the first failure and leaves
    // whatever it has written for the caller to remove.
    std::expected<void, Error> write(const QString& path) const;

    friend bool operator==(const FileWrapper&, const FileWrapper&) = default;

private:
    std::optional<QByteArray> m_contents;
    Members m_members;
};

// Names that can be a member of a folder on disk: not empty, not "." or
// "..", and without a slash or a NUL.
bool isValidMemberName(const QString& name);

} // namespace qb
