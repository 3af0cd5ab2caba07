// SPDX-License-Identifier: GPL-3.0-or-later
#include "filewrapper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qb {

namespace {

enum class FileWrapperErrorCode { unreadable = 1, unwritable = 2 };

Error fileWrapperError(FileWrapperErrorCode code, const QString& path, const QString& reason)
{
    Error error;
    error.domain = QStringLiteral("qb.FileWrapper");
    error.code = static_cast<int>(code);
    error.errorDescription = code == FileWrapperErrorCode::unreadable
                                 ? QStringLiteral("“%1” could not be read.").arg(path)
                                 : QStringLiteral("“%1” could not be written.").arg(path);
    error.failureReason = reason;
    error.userInfo.insert(QStringLiteral("path"), path);
    return error;
}

std::expected<FileWrapper, Error> unreadable(const QString& path, const QString& reason)
{
    return std::unexpected(fileWrapperError(FileWrapperErrorCode::unreadable, path, reason));
}

QString systemReason()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

QString tooLarge(qint64 maximumSize)
{
    return QStringLiteral("It is larger than %1.")
        .arg(QLocale::c().formattedDataSize(maximumSize, 0));
}

std::expected<void, Error> writeRegularFile(const QByteArray& bytes, const QString& path)
{
    QFile file(path);
    // NewOnly: a member never silently replaces something already there.
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return std::unexpected(
            fileWrapperError(FileWrapperErrorCode::unwritable, path, file.errorString()));
    const qint64 written = file.write(bytes);
    // A full disk may only show when the data is flushed.
    file.close();
    if (written != bytes.size() || file.error() != QFileDevice::NoError)
        return std::unexpected(
            fileWrapperError(FileWrapperErrorCode::unwritable, path, file.errorString()));
    return {};
}

std::expected<void, Error> makeFolder(const QString& path)
{
    const QFileInfo info(path);
    if (info.isDir() &&
        QDir(path).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        return {};
    if (info.exists() || info.isSymLink())
        return std::unexpected(fileWrapperError(FileWrapperErrorCode::unwritable, path,
                                                QStringLiteral("Something is already there.")));
    if (!QDir().mkdir(path))
        return std::unexpected(
            fileWrapperError(FileWrapperErrorCode::unwritable, path,
                             QStringLiteral("The folder could not be created; is its parent "
                                            "writable?")));
    return {};
}

} // namespace

FileWrapper FileWrapper::regularFile(QByteArray contents, QString preferredFilename)
{
    FileWrapper wrapper;
    wrapper.m_contents = std::move(contents);
    wrapper.preferredFilename = std::move(preferredFilename);
    return wrapper;
}

FileWrapper FileWrapper::directory(Members members, QString preferredFilename)
{
    FileWrapper wrapper;
    wrapper.m_members = std::move(members);
    wrapper.preferredFilename = std::move(preferredFilename);
    return wrapper;
}

const FileWrapper* FileWrapper::member(const QString& name) const
{
    const auto it = m_members.find(name);
    return it == m_members.end() ? nullptr : &it->second;
}

std::expected<FileWrapper, Error> FileWrapper::readRegularFile(const QString& path,
                                                               qint64 maximumSize)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status {};
    if (::stat(name.constData(), &status) != 0)
        return unreadable(path, systemReason());
    if (!S_ISREG(status.st_mode))
        return unreadable(path, QStringLiteral("It is not a regular file."));
    if (status.st_size > maximumSize)
        return unreadable(path, tooLarge(maximumSize));
    // Checked again on what was opened, in case the name now means something
    // else; without blocking, so that a FIFO put there can't hold us.
    const int descriptor = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return unreadable(path, systemReason());
    QFile file;
    if (!file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(descriptor);
        return unreadable(path, file.errorString());
    }
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return unreadable(path, QStringLiteral("It is not a regular file."));
    // One byte more than allowed tells a file that grew since it was looked at.
    QByteArray bytes = file.read(maximumSize + 1);
    if (file.error() != QFileDevice::NoError)
        return unreadable(path, file.errorString());
    if (bytes.size() > maximumSize)
        return unreadable(path, tooLarge(maximumSize));
    return regularFile(std::move(bytes), QFileInfo(path).fileName());
}

std::expected<void, Error> FileWrapper::write(const QString& path) const
{
    if (m_contents)
        return writeRegularFile(*m_contents, path);
    if (auto made = makeFolder(path); !made)
        return made;
    for (const auto& [name, member] : m_members) {
        // A name with a slash or "..", however it got here, must not reach
        // outside the folder being written.
        if (!isValidMemberName(name))
            return std::unexpected(fileWrapperError(
                FileWrapperErrorCode::unwritable, path,
                QStringLiteral("“%1” can't be the name of a file in a folder.").arg(name)));
        if (auto written = member.write(path + QLatin1Char('/') + name); !written)
            return written;
    }
    return {};
}

bool isValidMemberName(const QString& name)
{
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains(QLatin1Char('/')) && !name.contains(QChar(0));
}

} // namespace qb
