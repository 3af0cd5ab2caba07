// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <expected>
#include <map>
#include <memory>
#include <optional>
#include <set>

class QSocketNotifier;

namespace qb {

// Tells of each image that lands in a folder, once it is complete, for
// metadata to be written to it during a tethered shoot.
//
// On a local file system it listens to the kernel: a file counts once its
// writer has closed it (or it was moved in) and its size and time then stay
// the same for the settle time. A file that appears without being written
// under its name (a hard link, as Qt's copy makes) counts once it has stayed
// the same for the longer settle time of an open file. Change notices don't cross network mounts
// (NFS, SMB, sshfs), so there, or when asked to, it polls, and a file counts
// once two polls in a row find it the same.
//
// Files already there when it starts are not arrivals. Names that are no
// images, sidecars, hidden files and the temporary files of exiftool and of
// tethering and download programs are passed over. Each arrival is told
// once: until finished() is called for it, nothing about that file counts,
// and its state then (after exiftool has rewritten it) is what a later
// change is measured against. Lives on one thread, which runs an event loop.
class FolderWatcher : public QObject {
    Q_OBJECT

public:
    using Milliseconds = std::chrono::milliseconds;
    static constexpr Milliseconds defaultPollInterval{2000};

    struct Options {
        bool recursive = false;
        // Poll at this interval even where change notices arrive.
        std::optional<Milliseconds> poll;
        // How long a closed file must keep its size and time.
        Milliseconds settle{15};
        // The same for a file no writer has been seen to close.
        Milliseconds openSettle{2000};
    };

    FolderWatcher(QString folder, Options options, QObject* parent = nullptr);
    ~FolderWatcher() override;

    // Takes stock of the folder and starts watching; why not, when it can't.
    std::expected<void, QString> start();
    bool isPolling() const { return m_polling; }
    Milliseconds pollInterval() const { return m_options.poll.value_or(defaultPollInterval); }

    // The arrival at `path` has been dealt with.
    void finished(const QString& path);

    // Whether a file of this name may be an arrival at all.
    static bool isCandidateName(const QString& fileName);
    // NFS, SMB/CIFS, FUSE mounts such as sshfs, and the like.
    static bool isNetworkFileSystem(const QString& path);

signals:
    // A complete new or replaced image; absolute path.
    void arrived(const QString& path);

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
        bool closed = false;
    };

    static std::optional<State> stateOf(const QString& path);
    void takeStock(const QString& folder, bool arrivals);
    void watchFolder(const QString& folder);
    void readNotices();
    void consider(const QString& path, bool closed);
    void checkPending();
    void poll();
    void announce(const QString& path, const State& state);

    QString m_folder;
    Options m_options;
    bool m_polling = false;
    int m_notices = -1;
    std::unique_ptr<QSocketNotifier> m_noticeReader;
    std::map<int, QString> m_watchedFolders;
    // Each file's state when it was last taken stock of or written.
    std::map<QString, State> m_known;
    std::map<QString, Pending> m_pending;
    std::set<QString> m_busy;
    QTimer m_settleTimer;
    QTimer m_pollTimer;
};

} // namespace qb
