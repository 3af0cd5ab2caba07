// SPDX-License-Identifier: GPL-3.0-or-later
#include "folderwatcher.h"

#include "sources/urlimageprovider.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace qb {

namespace {

constexpr std::uint32_t fileNotices = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MODIFY | IN_CREATE;

// What programs write under a name of their own before the file gets its
// real one: exiftool, browsers and download tools, editors, tethering and
// copying programs.
const std::array temporarySuffixes = {
    QLatin1String("_exiftool_tmp"), QLatin1String(".tmp"),
    QLatin1String(".temp"),         QLatin1String(".part"),
    QLatin1String(".partial"),      QLatin1String(".crdownload"),
    QLatin1String(".download"),     QLatin1String(".filepart"),
    QLatin1String(".swp"),          QLatin1String("~"),
    QLatin1String(".xmp"),          QLatin1String(".lock"),
};

// statfs f_type of file systems whose changes the kernel may not see.
constexpr std::array<unsigned long, 10> networkFileSystems = {
    0x6969,     // NFS
    0x517B,     // SMB
    0xFF534D42, // CIFS
    0xFE534D42, // SMB2
    0x65735546, // FUSE (sshfs, rclone, gvfs ...)
    0x5346414F, // AFS
    0x00C36400, // Ceph
    0x01021997, // 9p
    0x47504653, // GPFS
    0x013111A8, // IBRIX
};

} // namespace

FolderWatcher::FolderWatcher(QString folder, Options options, QObject* parent)
    : QObject(parent)
    , m_folder(QDir(folder).absolutePath())
    , m_options(options)
{
    m_settleTimer.setSingleShot(true);
    connect(&m_settleTimer, &QTimer::timeout, this, &FolderWatcher::checkPending);
    connect(&m_pollTimer, &QTimer::timeout, this, &FolderWatcher::poll);
}

FolderWatcher::~FolderWatcher()
{
    m_noticeReader.reset();
    if (m_notices >= 0)
        ::close(m_notices);
}

bool FolderWatcher::isCandidateName(const QString& fileName)
{
    if (fileName.startsWith(QLatin1Char('.')) || fileName.startsWith(QLatin1Char('~')))
        return false;
    for (const QLatin1String suffix : temporarySuffixes) {
        if (fileName.endsWith(suffix, Qt::CaseInsensitive))
            return false;
    }
    return isImageOrAudiovisual(QFileInfo(fileName));
}

bool FolderWatcher::isNetworkFileSystem(const QString& path)
{
    struct statfs info {};
    if (::statfs(QFile::encodeName(path).constData(), &info) != 0)
        return false;
    return std::ranges::find(networkFileSystems, static_cast<unsigned long>(info.f_type)) !=
           networkFileSystems.end();
}

std::optional<FolderWatcher::State> FolderWatcher::stateOf(const QString& path)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return std::nullopt;
    return State{qint64(info.st_size),
                 qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec,
                 qint64(info.st_ino)};
}

std::expected<void, QString> FolderWatcher::start()
{
    if (!QFileInfo(m_folder).isDir())
        return std::unexpected(QStringLiteral("%1 is not a folder").arg(m_folder));
    m_polling = m_options.poll.has_value() || isNetworkFileSystem(m_folder);
    if (!m_polling) {
        m_notices = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        // Without notices (their limit reached), polling still works.
        m_polling = m_notices < 0;
    }
    if (!m_polling) {
        m_noticeReader = std::make_unique<QSocketNotifier>(m_notices, QSocketNotifier::Read);
        connect(m_noticeReader.get(), &QSocketNotifier::activated, this,
                &FolderWatcher::readNotices);
        watchFolder(m_folder);
    }
    takeStock(m_folder, false);
    if (m_polling)
        m_pollTimer.start(pollInterval());
    return {};
}

void FolderWatcher::watchFolder(const QString& folder)
{
    const int watch = ::inotify_add_watch(m_notices, QFile::encodeName(folder).constData(),
                                          fileNotices | IN_ONLYDIR);
    if (watch >= 0)
        m_watchedFolders[watch] = folder;
}

// Records what is there, or with `arrivals` takes every file as new; watches
// the subfolders when recursive.
void FolderWatcher::takeStock(const QString& folder, bool arrivals)
{
    QDirIterator entries(folder, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        const QFileInfo entry(entries.next());
        if (entry.isDir() && !entry.isSymLink()) {
            if (!m_options.recursive || entry.fileName().startsWith(QLatin1Char('.')))
                continue;
            if (!m_polling)
                watchFolder(entry.filePath());
            takeStock(entry.filePath(), arrivals);
        } else if (isCandidateName(entry.fileName())) {
            if (arrivals)
                consider(entry.filePath(), true);
            else if (const auto state = stateOf(entry.filePath()))
                m_known[entry.filePath()] = *state;
        }
    }
}

void FolderWatcher::readNotices()
{
    alignas(inotify_event) char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(m_notices, buffer, sizeof buffer);
        if (got <= 0)
            break;
        for (ssize_t at = 0; at < got;) {
            const auto* notice = reinterpret_cast<const inotify_event*>(buffer + at);
            at += ssize_t(sizeof(inotify_event) + notice->len);
            const auto folder = m_watchedFolders.find(notice->wd);
            if (folder == m_watchedFolders.end() || notice->len == 0)
                continue;
            const QString path =
                folder->second + QLatin1Char('/') + QFile::decodeName(notice->name);
            if (notice->mask & IN_ISDIR) {
                // A folder created or moved in: whatever it holds is new.
                if (m_options.recursive && (notice->mask & (IN_CREATE | IN_MOVED_TO)) &&
                    !QFileInfo(path).fileName().startsWith(QLatin1Char('.'))) {
                    watchFolder(path);
                    takeStock(path, true);
                }
            } else if (notice->mask & IN_MODIFY) {
                // Still being written: the settle time starts again.
                if (const auto pending = m_pending.find(path); pending != m_pending.end()) {
                    pending->second.unchanged.restart();
                    pending->second.closed = false;
                }
            } else if (notice->mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) {
                consider(path, true);
            } else if (notice->mask & IN_CREATE) {
                consider(path, false);
            }
        }
    }
}

void FolderWatcher::consider(const QString& path, bool closed)
{
    if (m_busy.contains(path) || !isCandidateName(QFileInfo(path).fileName()))
        return;
    const auto state = stateOf(path);
    if (!state)
        return;
    if (const auto known = m_known.find(path); known != m_known.end() && known->second == *state)
        return;
    Pending& pending = m_pending[path];
    pending.closed = pending.closed || closed;
    pending.state = *state;
    pending.unchanged.start();
    if (!m_settleTimer.isActive())
        m_settleTimer.start(m_options.settle);
}

void FolderWatcher::checkPending()
{
    std::vector<std::pair<QString, State>> ready;
    for (auto it = m_pending.begin(); it != m_pending.end();) {
        const auto state = stateOf(it->first);
        if (!state) {
            it = m_pending.erase(it);
            continue;
        }
        if (*state != it->second.state) {
            it->second.state = *state;
            it->second.unchanged.restart();
        } else if (it->second.unchanged.hasExpired(
                       (it->second.closed ? m_options.settle : m_options.openSettle).count())) {
            ready.emplace_back(it->first, *state);
            it = m_pending.erase(it);
            continue;
        }
        ++it;
    }
    if (!m_pending.empty())
        m_settleTimer.start(m_options.settle);
    for (const auto& [path, state] : ready)
        announce(path, state);
}

void FolderWatcher::poll()
{
    QDirIterator::IteratorFlags flags =
        m_options.recursive ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags;
    QDirIterator files(m_folder, QDir::Files, flags);
    std::vector<std::pair<QString, State>> ready;
    std::map<QString, Pending> seen;
    while (files.hasNext()) {
        const QString path = files.next();
        if (m_busy.contains(path) || !isCandidateName(files.fileName()) ||
            path.mid(m_folder.size()).contains(QStringLiteral("/.")))
            continue;
        const auto state = stateOf(path);
        if (!state)
            continue;
        if (const auto known = m_known.find(path);
            known != m_known.end() && known->second == *state)
            continue;
        // Found the same by the poll before: it has stopped growing.
        if (const auto before = m_pending.find(path);
            before != m_pending.end() && before->second.state == *state)
            ready.emplace_back(path, *state);
        else
            seen[path].state = *state;
    }
    m_pending = std::move(seen);
    for (const auto& [path, state] : ready)
        announce(path, state);
}

void FolderWatcher::announce(const QString& path, const State& state)
{
    m_known[path] = state;
    m_busy.insert(path);
    emit arrived(path);
}

void FolderWatcher::finished(const QString& path)
{
    m_busy.erase(path);
    m_pending.erase(path);
    if (const auto state = stateOf(path))
        m_known[path] = *state;
}

} // namespace qb
