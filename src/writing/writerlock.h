// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>

#include <expected>
#include <functional>

namespace qb {

// Keeps the writes of every Quillbrook process of one user, windows and
// command lines alike, to one at a time: two exiftools rewriting one folder
// at once lose files. It is an flock() on a file of the user's, taken on
// one open file that each process keeps for its whole life and hands down
// to every exiftool it starts (see inheritInChildProcesses). Such a lock
// belongs to the open file, not to a process: a process killed in the
// middle of a write keeps it until the last of its exiftools has ended too,
// so the next write can't race them. Within a process, writes take turns
// on a flag of the file's, since flock() on the one open file would let
// them all through.
class WriterLock {
public:
    // $XDG_RUNTIME_DIR/quillbrook-write.lock, else a file named after the
    // user in the temporary directory.
    static QString defaultPath();

    explicit WriterLock(QString path = defaultPath());

    struct LockFile;

    // The lock while it lives.
    class Holding {
    public:
        explicit Holding(LockFile* file)
            : m_file(file)
        {
        }
        Holding(Holding&& other) noexcept;
        Holding& operator=(Holding&&) = delete;
        ~Holding();

    private:
        LockFile* m_file;
    };

    // Opens this process's file for the lock now and hands it down to the
    // exiftools started from now on, such as a long-lived one that starts
    // before the first write. acquire() does the same.
    std::expected<void, Error> handDown() const;

    // Waits while another process writes: `waiting` is told once when it
    // must, and the wait ends without the lock, answering nothing, as soon
    // as `stop` says so. An error when the lock file can't be used, as when
    // another user owns it.
    std::expected<std::optional<Holding>, Error> acquire(const std::function<void()>& waiting,
                                                         const std::function<bool()>& stop) const;

    const QString& path() const { return m_path; }

private:
    std::expected<LockFile*, Error> lockFile() const;

    QString m_path;
};

} // namespace qb
