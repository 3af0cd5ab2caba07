// SPDX-License-Identifier: GPL-3.0-or-later
#include "regularfile.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qb {

namespace {

QString kindOf(mode_t mode)
{
    if (S_ISDIR(mode))
        return QStringLiteral("It is a folder, not a file.");
    if (S_ISFIFO(mode))
        return QStringLiteral("It is a named pipe (FIFO), not a regular file.");
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return QStringLiteral("It is a device, not a regular file.");
    if (S_ISSOCK(mode))
        return QStringLiteral("It is a socket, not a regular file.");
    return QStringLiteral("It is not a regular file.");
}

} // namespace

Error fileReadError(const QString& path, const QString& systemReason, bool missing)
{
    Error error;
    error.domain = QStringLiteral("QuillbrookKit.FileReadError");
    error.code = missing ? 260 : 257;
    const QString name = QFileInfo(path).fileName();
    error.errorDescription =
        missing ? QStringLiteral("The file \u201c%1\u201d couldn\u2019t be opened because there "
                                 "is no such file.")
                      .arg(name)
                : QStringLiteral("The file \u201c%1\u201d couldn\u2019t be opened.").arg(name);
    error.failureReason = systemReason;
    error.userInfo.insert(QStringLiteral("path"), path);
    return error;
}

std::expected<void, Error> openRegularFile(QFile& file)
{
    const QString path = file.fileName();
    // Without O_NONBLOCK, opening a FIFO waits for a writer; the check on
    // the open descriptor then can't be raced by swapping the name.
    const int fd =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        const int code = errno;
        return std::unexpected(
            fileReadError(path, QString::fromLocal8Bit(std::strerror(code)), code == ENOENT));
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return std::unexpected(fileReadError(path, kindOf(info.st_mode), false));
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return std::unexpected(fileReadError(path, file.errorString(), false));
    }
    return {};
}

} // namespace qb
