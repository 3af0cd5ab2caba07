// SPDX-License-Identifier: GPL-3.0-or-later
#include "privatefolder.h"

#include <QFile>
#include <QRegularExpression>

#include <sys/stat.h>
#include <unistd.h>

#include <mutex>

namespace qb {

namespace {

// When the process started, in clock ticks after boot: with the process id,
// it tells a process from a later one that was given the same id.
QByteArray startTimeOf(const QByteArray& pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(QString::fromLatin1(pid)));
    if (!stat.open(QIODevice::ReadOnly))
        return {};
    const QByteArray line = stat.readAll();
    // The command name, in parentheses, may hold blanks of its own.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    constexpr int startTimeField = 22 - 3;
    return fields.size() > startTimeField ? fields[startTimeField] : QByteArray();
}

} // namespace

QString privateFolderPrefix()
{
    const QByteArray pid = QByteArray::number(::getpid());
    return QStringLiteral("quillbrook-%1-%2-")
        .arg(QString::fromLatin1(pid), QString::fromLatin1(startTimeOf(pid)));
}

std::unique_ptr<QTemporaryDir> makePrivateFolder(const QString& temporary)
{
    static std::once_flag cleaned;
    std::call_once(cleaned, [&temporary] { removeAbandonedFolders(temporary); });
    return std::make_unique<QTemporaryDir>(temporary + QLatin1Char('/') + privateFolderPrefix() +
                                           QStringLiteral("XXXXXX"));
}

int removeAbandonedFolders(const QString& temporary)
{
    static const QRegularExpression name(QStringLiteral("^quillbrook-(\\d+)-(\\d+)-\\w{6}$"));
    int removed = 0;
    const QDir folder(temporary);
    for (const QString& entry : folder.entryList(
             {QStringLiteral("quillbrook-*")}, QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden)) {
        const QRegularExpressionMatch match = name.match(entry);
        if (!match.hasMatch())
            continue;
        const QString path = folder.filePath(entry);
        struct stat info {};
        if (::lstat(QFile::encodeName(path).constData(), &info) != 0 || !S_ISDIR(info.st_mode) ||
            info.st_uid != ::getuid())
            continue;
        if (startTimeOf(match.captured(1).toLatin1()) == match.captured(2).toLatin1())
            continue; // its process still runs
        removed += QDir(path).removeRecursively() ? 1 : 0;
    }
    return removed;
}

} // namespace qb
