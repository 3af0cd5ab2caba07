// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/error.h"

#include <QString>

#include <expected>
#include <functional>

namespace qb {

// Keeps the writes of every Quillbrook process of one user, windows and
// command lines alike, to one at a time: two exiftools rewriting one folder
// at once lose files. It is an flock() on a file of the user's, so the
// system lets it go with the process that held it, however that ended.
class WriterLock {
public:
    // $XDG_RUNTIME_DIR/quillbrook-write.lock, else a file named after the
    // user in the temporary directory.
    static QString defaultPath();

    explicit WriterLock(QString path = defaultPath());

    // The lock while it lives.
    class Holding {
    public:
        explicit Holding(int fd)
            : m_fd(fd)
        {
        }
        Holding(Holding&& other) noexcept;
        Holding& operator=(Holding&&) = delete;
        ~Holding();

    private:
        int m_fd;
    };

    // Waits while another process writes: `waiting` is told once when it
    // must, and the wait ends without the lock, answering nothing, as soon
    // as `stop` says so. An error when the lock file can't be used, as when
    // another user owns it.
    std::expected<std::optional<Holding>, Error> acquire(const std::function<void()>& waiting,
                                                         const std::function<bool()>& stop) const;

    const QString& path() const { return m_path; }

private:
    std::expected<int, Error> open() const;

    QString m_path;
};

} // namespace qb
