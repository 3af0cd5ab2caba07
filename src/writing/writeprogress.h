// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <chrono>
#include <ctime>
#include <functional>
#include <thread>
#include <vector>

#include <sys/types.h>

namespace qb {

// What tells that a write got to a file: exiftool puts a new file in the
// place of each one it writes, so the inode, the size or the time differs.
struct FileStamp {
    bool exists = false;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};

    static FileStamp of(const QString& path);
    bool operator==(const FileStamp& other) const;
};

// Counts the files of a running write that exiftool has already replaced,
// by watching them change on disk, and reports the count as it grows. It
// works the same whether one exiftool writes them or several do in parts.
// A file that ends unchanged is only counted when the write ends.
class WriteProgress {
public:
    // Called on the watching thread, only when the count has grown.
    using Report = std::function<void(qsizetype done, qsizetype total)>;

    // `before` holds each path's stamp from before the write, in order.
    WriteProgress(const QStringList& paths, std::vector<FileStamp> before, Report report,
                  std::chrono::milliseconds interval = std::chrono::milliseconds(250));
    // Stops watching; the last report may have counted fewer than all.
    ~WriteProgress();
    WriteProgress(const WriteProgress&) = delete;
    WriteProgress& operator=(const WriteProgress&) = delete;

private:
    std::jthread m_thread;
};

} // namespace qb
