// SPDX-License-Identifier: GPL-3.0-or-later
#include "writeprogress.h"

#include <QFile>

#include <condition_variable>
#include <mutex>
#include <vector>

#include <sys/stat.h>

namespace qb {

FileStamp FileStamp::of(const QString& path)
{
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    return {true, info.st_ino, info.st_size, info.st_mtim};
}

bool FileStamp::operator==(const FileStamp& other) const
{
    return exists == other.exists && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

WriteProgress::WriteProgress(const QStringList& paths, std::vector<FileStamp> before, Report report,
                             std::chrono::milliseconds interval)
{
    struct Watched {
        QString path;
        FileStamp before;
        bool done = false;
    };
    std::vector<Watched> files;
    files.reserve(before.size());
    for (std::size_t i = 0; i < before.size() && i < std::size_t(paths.size()); ++i)
        files.push_back({paths[qsizetype(i)], before[i]});
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
                if (!file.done && FileStamp::of(file.path) != file.before) {
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
