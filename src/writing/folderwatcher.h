// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

class QSocketNotifier;

namespace qb {

// Tells of each capture that lands in a folder, once it is whole, for
// metadata to be written to it during a tethered shoot.
//
// A capture counts only once no process holds it open for writing (see
// filesOpenForWriting), and never while it is empty. On a local file system
// the kernel's notices say when to look: a writer closed the file, or it
// was moved or linked in; a file linked in while still open (as Qt's copy
// does) is looked at again until its writer lets go. Change notices don't
// cross network mounts (NFS, SMB, sshfs), so there, or when asked to, it
// polls, and a file counts once its size and time have stayed the same for
// the settle time and, as far as this machine can see, no one writes it. A
// writer on another machine that pauses longer than that can't be seen.
//
// A rewrite is no capture. The captures it has told of, and the files there
// when it started, are known by name and by identity: nothing done to a
// known name counts again (exiftool's rename, another program's write, a
// second watcher's), nor does a known file that is moved or renamed. Only
// a file that was removed and then arrives again counts. Names that are no
// images, sidecars, hidden files and the temporary files of exiftool and of
// tethering and download programs are passed over; a capture whose name
// isn't UTF-8 is told of as left out. Lives on one thread, which runs an
// event loop.
class FolderWatcher : public QObject {
    Q_OBJECT

public:
    using Milliseconds = std::chrono::milliseconds;
    static constexpr Milliseconds defaultPollInterval{2000};
    static constexpr Milliseconds defaultSettle{3000};

    struct Options {
        bool recursive = false;
        // Poll at this interval even where change notices arrive.
        std::optional<Milliseconds> poll;
        // When polling, how long a file must keep its size and time.
        Milliseconds settle = defaultSettle;
    };

    FolderWatcher(QString folder, Options options, QObject* parent = nullptr);
    ~FolderWatcher() override;

    // Takes stock of the folder and starts watching; why not, when it can't.
    std::expected<void, QString> start();
    bool isPolling() const { return m_polling; }
    Milliseconds pollInterval() const { return m_options.poll.value_or(defaultPollInterval); }

    // The arrival at `path` has been dealt with: its state now (after
    // exiftool has rewritten it) is its known state.
    void finished(const QString& path);
    // The arrival at `path` turned out not to be whole (its writer took it
    // up again before it was written): it waits again.
    void notWholeYet(const QString& path);

    // Whether a file of this name may be an arrival at all.
    static bool isCandidateName(const QString& fileName);
    // NFS, SMB/CIFS, FUSE mounts such as sshfs, and the like.
    static bool isNetworkFileSystem(const QString& path);

signals:
    // A whole new capture; absolute path.
    void arrived(const QString& path);
    // A capture whose name isn't UTF-8, with each such byte as \xHH; told
    // once for each name.
    void leftOut(const QString& readablePath);
    // The watched folder was removed or moved away; nothing arrives after.
    void folderGone(const QString& reason);

private:
    struct State {
        qint64 size = 0;
        qint64 modified = 0;
        qint64 inode = 0;
        bool operator==(const State&) const = default;
    };
    struct Pending {
        State state;
        QElapsedTimer unchanged;
    };

    static std::optional<State> stateOf(const QString& path);
    // Each file under `folder` that may be a capture, by path; subfolders
    // are watched on the way when notices arrive.
    void walkCandidates(const QByteArray& folder,
                        const std::function<void(const QString&)>& candidate);
    void takeStock(const QByteArray& folder, bool arrivals);
    void watchFolder(const QString& folder);
    void readNotices();
    void notice(int watch, quint32 mask, const QByteArray& name);
    void fileNotice(const QString& path, quint32 mask);
    // A file that may be a capture: its name and state are looked at, and it
    // waits until it is whole.
    void consider(const QString& path);
    void forgetUnder(const QString& folder, bool departed);
    bool isNamedRightly(const QByteArray& path);
    void checkPending();
    void poll();
    bool folderStillThere();
    void gone(const QString& reason);
    void announce(const QString& path, const State& state);

    QString m_folder;
    Options m_options;
    bool m_polling = false;
    bool m_started = false; // stock is taken
    bool m_gone = false;
    int m_notices = -1;
    int m_rootWatch = -1;
    std::pair<qint64, qint64> m_folderIdentity; // device and inode
    std::unique_ptr<QSocketNotifier> m_noticeReader;
    std::map<int, QString> m_watchedFolders;
    // Each known file's state when it was last seen or written.
    std::map<QString, State> m_known;
    // Known files moved away, by inode, so that one that comes back under
    // another name is still known.
    std::map<qint64, State> m_departed;
    std::map<QString, Pending> m_pending;
    std::set<QString> m_busy;
    std::set<QByteArray> m_leftOut;
    // Looks at the waiting files again: those still held open for writing,
    // and, when polling, those whose settle time is up.
    QTimer m_recheckTimer;
    QTimer m_pollTimer;
};

} // namespace qb
