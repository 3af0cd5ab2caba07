// SPDX-License-Identifier: GPL-3.0-or-later
#include "filewrapper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace qb {

namespace {

// Deeper than any package we write; reaching it means a link loop or a tree
// that isn't ours.
constexpr int maximumDepth = 32;

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

std::expected<FileWrapper, Error> readRegularFile(const QString& path, const QString& name)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(
            fileWrapperError(FileWrapperErrorCode::unreadable, path, file.errorString()));
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::unexpected(
            fileWrapperError(FileWrapperErrorCode::unreadable, path, file.errorString()));
    return FileWrapper::regularFile(std::move(bytes), name);
}

std::expected<FileWrapper, Error> readTree(const QString& path, int depth)
{
    const QFileInfo info(path);
    if (!info.exists())
        return std::unexpected(
            fileWrapperError(FileWrapperErrorCode::unreadable, path,
                             QStringLiteral("There is no such file or folder.")));
    if (!info.isDir())
        return readRegularFile(path, info.fileName());
    if (depth >= maximumDepth)
        return std::unexpected(
            fileWrapperError(FileWrapperErrorCode::unreadable, path,
                             QStringLiteral("The folders are nested too deeply.")));
    const QDir dir(path);
    if (!dir.isReadable())
        return std::unexpected(fileWrapperError(FileWrapperErrorCode::unreadable, path,
                                                QStringLiteral("The folder can't be listed.")));
    FileWrapper::Members members;
    const QStringList names =
        dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& name : names) {
        auto member = readTree(dir.filePath(name), depth + 1);
        if (!member)
            return std::unexpected(member.error());
        members.emplace(name, std::move(*member));
    }
    return FileWrapper::directory(std::move(members), info.fileName());
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

std::expected<FileWrapper, Error> FileWrapper::read(const QString& path)
{
    return readTree(path, 0);
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
