// SPDX-License-Identifier: GPL-3.0-or-later
#include "writeprogress.h"

#include <QFile>

#include <condition_variable>
#include <mutex>
#include <vector>

#include <sys/stat.h>

namespace qb {

namespace {

struct Stamp {
    ino_t inode = 0;
    timespec modified{};
    bool operator==(const Stamp& other) const
    {
        return inode == other.inode && modified.tv_sec == other.modified.tv_sec &&
               modified.tv_nsec == other.modified.tv_nsec;
    }
};

Stamp stampOf(const QByteArray& path)
{
    struct stat info {};
    if (::stat(path.constData(), &info) != 0)
        return {};
    return {info.st_ino, info.st_mtim};
}

} // namespace

WriteProgress::WriteProgress(const QStringList& paths, Report report,
                             std::chrono::milliseconds interval)
{
    struct Watched {
        QByteArray path;
        Stamp before;
        bool done = false;
    };
    std::vector<Watched> files;
    files.reserve(std::size_t(paths.size()));
    for (const QString& path : paths) {
        const QByteArray encoded = QFile::encodeName(path);
        files.push_back({encoded, stampOf(encoded)});
    }
    m_thread = std::jthread([files = std::move(files), report = std::move(report),
                             interval](std::stop_token stop) mutable {
        std::mutex mutex;
        std::condition_variable_any wake;
        qsizetype done = 0;
        const auto total = qsizetype(files.size());
        while (!stop.stop_requested() && done < total) {
            {
                std::unique_lock lock(mutex);
                wake.wait_for(lock, stop, interval, [] { return false; });
            }
            qsizetype now = done;
            for (Watched& file : files) {
                if (!file.done && !(stampOf(file.path) == file.before)) {
                    file.done = true;
                    ++now;
                }
            }
            if (now > done && !stop.stop_requested()) {
                done = now;
                report(done, total);
            }
        }
    });
}

WriteProgress::~WriteProgress() = default;

} // namespace qb
