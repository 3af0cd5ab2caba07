// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <expected>

namespace qb {

// Keeps a second watch off a folder that a watch of this user already
// writes: two would take each other's rewrites for captures. It is an
// flock() on a file in the runtime folder named after the folder's device
// and inode (so any path to the folder finds it), holding the process id of
// the watch that has it; the system lets it go with that process.
class FolderClaim {
public:
    // The claim on `folder`, or why not: "another watch is writing this
    // folder (pid N)".
    static std::expected<FolderClaim, QString> take(const QString& folder);

    FolderClaim(FolderClaim&& other) noexcept;
    FolderClaim& operator=(FolderClaim&&) = delete;
    ~FolderClaim();

private:
    explicit FolderClaim(int fd)
        : m_fd(fd)
    {
    }
    int m_fd;
};

} // namespace qb
