// SPDX-License-Identifier: GPL-3.0-or-later
#include "folderclaim.h"

#include "writing/writerlock.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace qb {

std::expected<FolderClaim, QString> FolderClaim::take(const QString& folder)
{
    struct stat watched {};
    if (::stat(QFile::encodeName(folder).constData(), &watched) != 0)
        return std::unexpected(
            QStringLiteral("%1: %2").arg(folder, QString::fromLocal8Bit(std::strerror(errno))));
    const QString path = QFileInfo(WriterLock::defaultPath()).absolutePath() +
                         QStringLiteral("/quillbrook-watch-%1-%2-%3.lock")
                             .arg(::getuid())
                             .arg(quint64(watched.st_dev))
                             .arg(quint64(watched.st_ino));
    // As for the writer lock: no link or file of someone else's is used.
    const int fd = ::open(QFile::encodeName(path).constData(),
                          O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, 0600);
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != ::getuid()) {
        const QString reason = QString::fromLocal8Bit(std::strerror(fd < 0 ? errno : EPERM));
        if (fd >= 0)
            ::close(fd);
        return std::unexpected(
            QStringLiteral("the claim on the folder, %1, can't be used: %2").arg(path, reason));
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        char pid[32] = {};
        const ssize_t got = ::pread(fd, pid, sizeof pid - 1, 0);
        ::close(fd);
        return std::unexpected(QStringLiteral("another watch is writing this folder (pid %1)")
                                   .arg(QString::fromLatin1(pid, got > 0 ? got : 0).trimmed()));
    }
    const QByteArray self = QByteArray::number(::getpid()) + '\n';
    // The process id is only for the message; the lock is what counts.
    [[maybe_unused]] const bool noted =
        ::ftruncate(fd, 0) == 0 && ::pwrite(fd, self.constData(), size_t(self.size()), 0) > 0;
    return FolderClaim(fd);
}

FolderClaim::FolderClaim(FolderClaim&& other) noexcept
    : m_fd(other.m_fd)
{
    other.m_fd = -1;
}

FolderClaim::~FolderClaim()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

} // namespace qb
