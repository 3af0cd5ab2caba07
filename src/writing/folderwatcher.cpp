// SPDX-License-Identifier: GPL-3.0-or-later
#include "folderwatcher.h"

#include "extensions/filesinuse.h"
#include "extensions/process.h"
#include "sources/urlimageprovider.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <dirent.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <functional>

namespace qb {

namespace {

constexpr std::uint32_t fileNotices =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_MODIFY | IN_CREATE | IN_DELETE;
constexpr std::uint32_t selfNotices = IN_DELETE_SELF | IN_MOVE_SELF;
// How soon a file still held open for writing is asked about again, where
// no notice will tell when its writer lets go (a file linked in while open).
constexpr int recheckMilliseconds = 100;
// Known files moved away are remembered up to this many.
constexpr std::size_t departedLimit = 10000;

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

std::pair<qint64, qint64> identityOf(const QString& path)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || !S_ISDIR(info.st_mode))
        return {-1, -1};
    return {qint64(info.st_dev), qint64(info.st_ino)};
}

// Calls `file` with the path's bytes of each regular file in `folder` (and
// in its subfolders, hidden ones excepted, when `recursive`), and
// `subfolder` for each subfolder before it is walked. By bytes, since a
// name that isn't UTF-8 has no text of its own.
void walk(const QByteArray& folder, bool recursive,
          const std::function<void(const QByteArray&)>& file,
          const std::function<void(const QByteArray&)>& subfolder)
{
    DIR* dir = ::opendir(folder.constData());
    if (!dir)
        return;
    std::vector<QByteArray> subfolders;
    while (const dirent* entry = ::readdir(dir)) {
        const QByteArray name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        const QByteArray path = folder + '/' + name;
        struct stat info {};
        if (::lstat(path.constData(), &info) != 0)
            continue; // gone while the folder was read
        if (S_ISDIR(info.st_mode)) {
            if (recursive && !name.startsWith('.'))
                subfolders.push_back(path);
        } else if (::stat(path.constData(), &info) == 0 && S_ISREG(info.st_mode)) {
            file(path);
        }
    }
    ::closedir(dir);
    for (const QByteArray& path : subfolders) {
        if (subfolder)
            subfolder(path);
        walk(path, recursive, file, subfolder);
    }
}

} // namespace

FolderWatcher::FolderWatcher(QString folder, Options options, QObject* parent)
    : QObject(parent)
    , m_folder(QDir(folder).absolutePath())
    , m_options(options)
{
    m_recheckTimer.setSingleShot(true);
    connect(&m_recheckTimer, &QTimer::timeout, this, &FolderWatcher::checkPending);
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
    m_folderIdentity = identityOf(m_folder);
    if (m_folderIdentity.first < 0)
        return std::unexpected(QStringLiteral("%1 is not a folder").arg(m_folder));
    m_polling = m_options.poll.has_value() || isNetworkFileSystem(m_folder);
    if (!m_polling) {
        m_notices = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        m_rootWatch = m_notices < 0
                          ? -1
                          : ::inotify_add_watch(m_notices, QFile::encodeName(m_folder).constData(),
                                                fileNotices | selfNotices | IN_ONLYDIR);
        // Without notices (their limit reached), polling still works.
        m_polling = m_rootWatch < 0;
    }
    if (!m_polling) {
        m_watchedFolders[m_rootWatch] = m_folder;
        m_noticeReader = std::make_unique<QSocketNotifier>(m_notices, QSocketNotifier::Read);
        connect(m_noticeReader.get(), &QSocketNotifier::activated, this,
                &FolderWatcher::readNotices);
    }
    takeStock(QFile::encodeName(m_folder), false);
    m_started = true;
    if (m_polling)
        m_pollTimer.start(pollInterval());
    return {};
}

void FolderWatcher::watchFolder(const QString& folder)
{
    const int watch = ::inotify_add_watch(m_notices, QFile::encodeName(folder).constData(),
                                          fileNotices | selfNotices | IN_ONLYDIR);
    if (watch >= 0)
        m_watchedFolders[watch] = folder;
}

void FolderWatcher::walkCandidates(const QByteArray& folder,
                                   const std::function<void(const QString&)>& candidate)
{
    walk(
        folder, m_options.recursive,
        [&](const QByteArray& bytes) {
            const QString path = QFile::decodeName(bytes);
            if (isNamedRightly(bytes) && isCandidateName(QFileInfo(path).fileName()))
                candidate(path);
        },
        [&](const QByteArray& subfolder) {
            if (!m_polling && decodedUtf8(subfolder))
                watchFolder(QFile::decodeName(subfolder));
        });
}

// Records what is there, or with `arrivals` takes each file it doesn't know
// as a possible capture; watches the subfolders when recursive.
void FolderWatcher::takeStock(const QByteArray& folder, bool arrivals)
{
    walkCandidates(folder, [&](const QString& path) {
        if (arrivals) {
            if (!m_known.contains(path))
                consider(path);
        } else if (const auto state = stateOf(path)) {
            m_known[path] = *state;
        }
    });
}

// Whether a file's path is UTF-8. A capture of another name is told of
// once as left out; one that was there before watching began is not.
bool FolderWatcher::isNamedRightly(const QByteArray& path)
{
    if (decodedUtf8(path))
        return true;
    const QString readable = readableFileName(path);
    if (isCandidateName(QFileInfo(readable).fileName()) && m_leftOut.insert(path).second &&
        m_started)
        emit leftOut(readable);
    return false;
}

void FolderWatcher::readNotices()
{
    alignas(inotify_event) char buffer[16384];
    for (;;) {
        const ssize_t got = ::read(m_notices, buffer, sizeof buffer);
        if (got <= 0)
            break;
        for (ssize_t at = 0; at < got && !m_gone;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            at += ssize_t(sizeof(inotify_event) + event->len);
            notice(event->wd, event->mask, event->len > 0 ? QByteArray(event->name) : QByteArray());
        }
    }
    checkPending();
}

void FolderWatcher::notice(int watch, quint32 mask, const QByteArray& name)
{
    if (mask & IN_Q_OVERFLOW) {
        // Notices were lost: whatever isn't known may have arrived.
        takeStock(QFile::encodeName(m_folder), true);
        return;
    }
    const auto folder = m_watchedFolders.find(watch);
    if (folder == m_watchedFolders.end())
        return;
    if (mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT)) {
        if (watch == m_rootWatch)
            gone(mask & IN_MOVE_SELF ? QStringLiteral("was moved or renamed")
                 : mask & IN_UNMOUNT ? QStringLiteral("was unmounted")
                                     : QStringLiteral("was removed"));
        else if (mask & IN_IGNORED)
            m_watchedFolders.erase(folder);
        return;
    }
    if (name.isEmpty())
        return;
    const QByteArray bytes = QFile::encodeName(folder->second) + '/' + name;
    const QString path = QFile::decodeName(bytes);
    if (mask & IN_ISDIR) {
        if (!m_options.recursive || name.startsWith('.'))
            return;
        if (mask & (IN_CREATE | IN_MOVED_TO)) {
            // A folder made or moved in: whatever it holds may be new.
            if (decodedUtf8(bytes))
                watchFolder(path);
            takeStock(bytes, true);
        } else if (mask & (IN_MOVED_FROM | IN_DELETE)) {
            forgetUnder(path, mask & IN_MOVED_FROM);
        }
        return;
    }
    if (!decodedUtf8(bytes)) {
        if (mask & (IN_DELETE | IN_MOVED_FROM))
            m_leftOut.erase(bytes); // told of again should it come back
        else
            isNamedRightly(bytes);
        return;
    }
    if (isCandidateName(QFile::decodeName(name)))
        fileNotice(path, mask);
}

void FolderWatcher::fileNotice(const QString& path, quint32 mask)
{
    const auto known = m_known.find(path);
    if (mask & (IN_DELETE | IN_MOVED_FROM)) {
        // Removed: a file that arrives under this name again is new. Moved
        // away: it stays known under any name it turns up with.
        if (known != m_known.end() && (mask & IN_MOVED_FROM)) {
            if (m_departed.size() >= departedLimit)
                m_departed.clear();
            m_departed[known->second.inode] = known->second;
        }
        if (known != m_known.end())
            m_known.erase(known);
        m_pending.erase(path);
        return;
    }
    if (m_busy.contains(path))
        return;
    if (known != m_known.end()) {
        // A rewrite, by anyone: no capture, but its state follows, so that
        // the file is still known should it move.
        if (mask & (IN_CLOSE_WRITE | IN_MOVED_TO))
            known->second = stateOf(path).value_or(known->second);
        return;
    }
    consider(path);
}

void FolderWatcher::consider(const QString& path)
{
    const auto state = stateOf(path);
    if (!state) {
        m_pending.erase(path);
        return;
    }
    if (const auto departed = m_departed.find(state->inode);
        departed != m_departed.end() && departed->second == *state) {
        m_known[path] = *state; // a known file, moved or renamed
        m_departed.erase(departed);
        m_pending.erase(path);
        return;
    }
    auto [pending, added] = m_pending.try_emplace(path);
    if (added || pending->second.state != *state) {
        pending->second.state = *state;
        pending->second.unchanged.start();
    }
}

void FolderWatcher::forgetUnder(const QString& folder, bool departed)
{
    const QString prefix = folder + QLatin1Char('/');
    std::erase_if(m_known, [&](const auto& entry) {
        if (!entry.first.startsWith(prefix))
            return false;
        if (departed && m_departed.size() < departedLimit)
            m_departed[entry.second.inode] = entry.second;
        return true;
    });
    std::erase_if(m_pending, [&](const auto& entry) { return entry.first.startsWith(prefix); });
    std::erase_if(m_watchedFolders, [&](const auto& entry) {
        if (entry.second != folder && !entry.second.startsWith(prefix))
            return false;
        ::inotify_rm_watch(m_notices, entry.first);
        return true;
    });
}

void FolderWatcher::checkPending()
{
    if (m_gone)
        return;
    QStringList candidates;
    qint64 nextLook = -1;
    for (auto it = m_pending.begin(); it != m_pending.end();) {
        const auto state = stateOf(it->first);
        if (!state) {
            it = m_pending.erase(it);
            continue;
        }
        Pending& pending = it->second;
        if (*state != pending.state) {
            pending.state = *state;
            pending.unchanged.restart();
        }
        // An empty file is no capture yet, whoever closed it.
        const qint64 left = m_polling ? m_options.settle.count() - pending.unchanged.elapsed() : 0;
        if (state->size > 0 && left <= 0)
            candidates << it->first;
        else if (state->size > 0 && (nextLook < 0 || left < nextLook))
            nextLook = left;
        ++it;
    }
    const QSet<QString> busy = filesOpenForWriting(candidates);
    for (const QString& path : candidates) {
        if (busy.contains(path))
            continue;
        const State state = m_pending[path].state;
        m_pending.erase(path);
        announce(path, state);
    }
    // Where no notice will come, look again: a file still held open is
    // asked again soon when notices arrive, else at the next poll.
    if (!m_polling && !m_pending.empty())
        m_recheckTimer.start(recheckMilliseconds);
    else if (m_polling && nextLook >= 0)
        m_recheckTimer.start(int(std::max<qint64>(nextLook, 1)));
}

void FolderWatcher::poll()
{
    if (!folderStillThere())
        return;
    std::map<QString, State> unseen = m_known;
    std::set<QString> seen;
    walkCandidates(QFile::encodeName(m_folder), [&](const QString& path) {
        seen.insert(path);
        unseen.erase(path);
        if (const auto known = m_known.find(path); known != m_known.end()) {
            if (!m_busy.contains(path))
                known->second = stateOf(path).value_or(known->second);
        }
    });
    // What went since the last poll may have been renamed: it stays known.
    for (const auto& [path, state] : unseen) {
        if (m_busy.contains(path))
            continue;
        m_known.erase(path);
        if (m_departed.size() < departedLimit)
            m_departed[state.inode] = state;
    }
    std::erase_if(m_pending, [&seen](const auto& entry) { return !seen.contains(entry.first); });
    for (const QString& path : seen) {
        if (!m_known.contains(path) && !m_busy.contains(path))
            consider(path);
    }
    checkPending();
}

bool FolderWatcher::folderStillThere()
{
    if (identityOf(m_folder) == m_folderIdentity)
        return true;
    gone(QStringLiteral("was removed, moved or renamed"));
    return false;
}

void FolderWatcher::gone(const QString& reason)
{
    if (m_gone)
        return;
    m_gone = true;
    m_pollTimer.stop();
    m_recheckTimer.stop();
    if (m_noticeReader)
        m_noticeReader->setEnabled(false);
    emit folderGone(QStringLiteral("the watched folder %1 %2").arg(m_folder, reason));
}

void FolderWatcher::announce(const QString& path, const State& state)
{
    m_known[path] = state;
    m_busy.insert(path);
    emit arrived(path);
}

void FolderWatcher::notWholeYet(const QString& path)
{
    m_busy.erase(path);
    m_known.erase(path);
    consider(path);
    m_recheckTimer.start(m_polling ? int(m_options.settle.count()) : recheckMilliseconds);
}

void FolderWatcher::finished(const QString& path)
{
    m_busy.erase(path);
    m_pending.erase(path);
    if (const auto state = stateOf(path))
        m_known[path] = *state;
    else
        m_known.erase(path);
}

} // namespace qb
