// SPDX-License-Identifier: GPL-3.0-or-later
#include "filesinuse.h"

#include <QByteArray>
#include <QFile>
#include <QHash>

#include <cerrno>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qb {

namespace {

enum class LeaseAnswer { free, inUse, cannotTell };

LeaseAnswer askWithLease(const QString& path)
{
    const int fd =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return LeaseAnswer::cannotTell;
    // Held for no longer than the two calls: a writer that opens the file
    // meanwhile waits only that long.
    LeaseAnswer answer = LeaseAnswer::free;
    if (::fcntl(fd, F_SETLEASE, F_RDLCK) != 0)
        answer = errno == EAGAIN ? LeaseAnswer::inUse : LeaseAnswer::cannotTell;
    else
        ::fcntl(fd, F_SETLEASE, F_UNLCK);
    ::close(fd);
    return answer;
}

struct FileId {
    dev_t device;
    ino_t inode;
    friend bool operator==(const FileId&, const FileId&) = default;
};

size_t qHash(const FileId& id, size_t seed = 0)
{
    return ::qHash(quint64(id.inode), seed) ^ ::qHash(quint64(id.device));
}

// The access mode an open file description was opened with, from the
// "flags:" line of its fdinfo (octal).
bool openForWriting(const QString& fdinfo)
{
    QFile file(fdinfo);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (!line.startsWith("flags:"))
            continue;
        bool ok = false;
        const int flags = line.mid(6).trimmed().toInt(&ok, 8);
        return ok && (flags & O_ACCMODE) != O_RDONLY;
    }
    return false;
}

// The names in a folder of /proc, without "." and ".."; nothing for a
// process that has ended or isn't ours to see.
QList<QByteArray> namesIn(const QByteArray& folder)
{
    QList<QByteArray> names;
    DIR* dir = ::opendir(folder.constData());
    if (!dir)
        return names;
    while (const dirent* entry = ::readdir(dir)) {
        if (entry->d_name[0] != '.')
            names << QByteArray(entry->d_name);
    }
    ::closedir(dir);
    return names;
}

} // namespace

QSet<QString> filesinuse::writersInProc(const QStringList& paths)
{
    QHash<FileId, QString> wanted;
    for (const QString& path : paths) {
        struct stat info {};
        if (::stat(QFile::encodeName(path).constData(), &info) == 0)
            wanted.insert({info.st_dev, info.st_ino}, path);
    }
    QSet<QString> busy;
    if (wanted.isEmpty())
        return busy;
    const QByteArray self = QByteArray::number(::getpid());
    for (const QByteArray& pid : namesIn("/proc")) {
        if (pid.isEmpty() || pid.front() < '0' || pid.front() > '9' || pid == self)
            continue;
        const QByteArray fds = "/proc/" + pid + "/fd/";
        for (const QByteArray& fd : namesIn(fds)) {
            struct stat info {};
            if (::stat((fds + fd).constData(), &info) != 0)
                continue;
            const auto it = wanted.constFind({info.st_dev, info.st_ino});
            if (it == wanted.constEnd() || busy.contains(*it))
                continue;
            if (openForWriting(QString::fromLatin1("/proc/" + pid + "/fdinfo/" + fd)))
                busy.insert(*it);
        }
    }
    return busy;
}

QSet<QString> filesOpenForWriting(const QStringList& paths)
{
    QSet<QString> busy;
    QStringList unanswered;
    for (const QString& path : paths) {
        switch (askWithLease(path)) {
        case LeaseAnswer::inUse:
            busy.insert(path);
            break;
        case LeaseAnswer::cannotTell:
            unanswered << path;
            break;
        case LeaseAnswer::free:
            break;
        }
    }
    if (!unanswered.isEmpty())
        busy.unite(filesinuse::writersInProc(unanswered));
    return busy;
}

} // namespace qb
