// SPDX-License-Identifier: GPL-3.0-or-later
#include "watchrows.h"

#include "extensions/filesinuse.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextStream>

#include <sys/stat.h>

namespace qb::cli {

namespace {

// The regular files among `paths`, and in those that are folders.
QStringList filesOf(const QStringList& paths)
{
    QStringList files;
    for (const QString& path : paths) {
        if (!QFileInfo(path).isDir()) {
            files << path;
            continue;
        }
        QDirIterator entries(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (entries.hasNext())
            files << entries.next();
    }
    files.sort();
    return files;
}

// What printError printed, as one line without the program's name.
QString said(const QString& text)
{
    QStringList lines = text.trimmed().split(QLatin1Char('\n'));
    for (QString& line : lines)
        line.remove(QRegularExpression(QStringLiteral("^quillbrook-cli: ")));
    return lines.join(QStringLiteral("; "));
}

} // namespace

WatchRows::WatchRows(Rows rows, QStringList files, Load load, Streams& streams)
    : m_rows(std::move(rows))
    , m_files(std::move(files))
    , m_load(std::move(load))
    , m_streams(streams)
    , m_stamp(stamp())
{
}

QByteArray WatchRows::stamp() const
{
    QByteArray stamp;
    for (const QString& file : filesOf(m_files)) {
        struct stat info {};
        stamp += QFile::encodeName(file) + '\0';
        if (::stat(QFile::encodeName(file).constData(), &info) == 0)
            stamp += QByteArray::number(qint64(info.st_ino)) + ' ' +
                     QByteArray::number(qint64(info.st_size)) + ' ' +
                     QByteArray::number(qint64(info.st_mtim.tv_sec)) + '.' +
                     QByteArray::number(qint64(info.st_mtim.tv_nsec));
        stamp += '\n';
    }
    return stamp;
}

void WatchRows::refresh()
{
    const QByteArray before = stamp();
    if (before == m_stamp || !filesOpenForWriting(filesOf(m_files)).isEmpty())
        return;
    QString out;
    QString err;
    QTextStream outStream(&out);
    QTextStream errStream(&err);
    Streams quiet{outStream, errStream};
    auto loaded = m_load(quiet);
    errStream.flush();
    // Half of a file being saved is no correction: read it again later.
    if (stamp() != before)
        return;
    m_stamp = before;
    if (!loaded) {
        const QString reason = loaded.error().isEmpty() ? said(err) : loaded.error();
        printError(m_streams,
                   QStringLiteral("rows not reloaded: %1; the old rows stay").arg(reason));
        return;
    }
    if (!err.trimmed().isEmpty())
        printError(m_streams, said(err));
    m_rows = std::move(*loaded);
    printError(m_streams,
               QStringLiteral("rows reloaded: %1").arg(m_rows.source.dataSource->keys().size()));
}

} // namespace qb::cli
