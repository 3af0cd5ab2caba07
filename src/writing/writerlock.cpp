// SPDX-License-Identifier: GPL-3.0-or-later
#include "writerlock.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include "exif/processrunner.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

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

struct WriterLock::LockFile {
    int fd = -1;
    // Set while a write of this process holds the lock.
    std::atomic<bool> taken = false;
};

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
    : m_file(other.m_file)
{
    other.m_file = nullptr;
}

WriterLock::Holding::~Holding()
{
    if (!m_file)
        return;
    // Let go explicitly: the exiftools still hold the open file, and would
    // otherwise keep the lock for as long as they live.
    ::flock(m_file->fd, LOCK_UN);
    m_file->taken = false;
}

std::expected<WriterLock::LockFile*, Error> WriterLock::lockFile() const
{
    // One open file per path for the process's life; never closed, since
    // exiftools started later must still be handed it.
    static std::mutex mutex;
    static std::map<QString, std::unique_ptr<LockFile>> files;
    const std::lock_guard locker(mutex);
    if (const auto it = files.find(m_path); it != files.end())
        return it->second.get();
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
    auto file = std::make_unique<LockFile>();
    file->fd = fd;
    inheritInChildProcesses(fd);
    return files.emplace(m_path, std::move(file)).first->second.get();
}

std::expected<void, Error> WriterLock::handDown() const
{
    const auto file = lockFile();
    if (!file)
        return std::unexpected(file.error());
    return {};
}

std::expected<std::optional<WriterLock::Holding>, Error>
WriterLock::acquire(const std::function<void()>& waiting, const std::function<bool()>& stop) const
{
    const auto file = lockFile();
    if (!file)
        return std::unexpected(file.error());
    LockFile& lock = **file;
    bool told = false;
    const auto wait = [&] {
        if (stop && stop())
            return false;
        if (!told && waiting) {
            waiting();
            told = true;
        }
        QThread::msleep(pollMilliseconds);
        return true;
    };
    // Polled rather than blocking, so that a stop is heard while waiting.
    for (bool free = false; !lock.taken.compare_exchange_strong(free, true); free = false) {
        if (!wait())
            return std::nullopt;
    }
    Holding holding(&lock);
    while (::flock(lock.fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return std::unexpected(lockError(m_path, systemReason()));
        if (!wait())
            return std::nullopt;
    }
    return std::optional<Holding>(std::move(holding));
}

} // namespace qb
