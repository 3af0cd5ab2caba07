// SPDX-License-Identifier: GPL-3.0-or-later
#include "writerlock.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qb {

namespace {

constexpr int pollMilliseconds = 100;

Error lockError(const QString& path, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.WriterLock");
    error.code = 1;
    error.errorDescription =
        QStringLiteral("The lock that keeps two writes apart could not be taken.");
    error.failureReason = reason;
    error.recoverySuggestion =
        QStringLiteral("Remove \u201c%1\u201d if it isn\u2019t yours.").arg(path);
    error.userInfo.insert(QStringLiteral("path"), path);
    return error;
}

QString systemReason()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

QString WriterLock::defaultPath()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir(runtime).exists())
        return QDir(runtime).filePath(QStringLiteral("quillbrook-write.lock"));
    return QDir(QDir::tempPath())
        .filePath(QStringLiteral("quillbrook-%1-write.lock").arg(::getuid()));
}

WriterLock::WriterLock(QString path)
    : m_path(std::move(path))
{
}

WriterLock::Holding::Holding(Holding&& other) noexcept
    : m_fd(other.m_fd)
{
    other.m_fd = -1;
}

WriterLock::Holding::~Holding()
{
    if (m_fd >= 0)
        ::close(m_fd); // lets the lock go
}

std::expected<int, Error> WriterLock::open() const
{
    // In a shared temporary directory someone else may have put a link or
    // a file of theirs in our place: neither is followed nor used.
    const int fd = ::open(QFile::encodeName(m_path).constData(),
                          O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, 0600);
    if (fd < 0)
        return std::unexpected(lockError(m_path, systemReason()));
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != ::getuid()) {
        ::close(fd);
        return std::unexpected(
            lockError(m_path, QStringLiteral("It is not a file of this user's.")));
    }
    return fd;
}

std::expected<std::optional<WriterLock::Holding>, Error>
WriterLock::acquire(const std::function<void()>& waiting, const std::function<bool()>& stop) const
{
    const auto fd = open();
    if (!fd)
        return std::unexpected(fd.error());
    Holding holding(*fd);
    bool told = false;
    // Polled rather than blocking, so that a stop is heard while waiting.
    while (::flock(*fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return std::unexpected(lockError(m_path, systemReason()));
        if (stop && stop())
            return std::nullopt;
        if (!told && waiting) {
            waiting();
            told = true;
        }
        QThread::msleep(pollMilliseconds);
    }
    return std::optional<Holding>(std::move(holding));
}

} // namespace qb
