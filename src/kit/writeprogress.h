// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

#include <chrono>
#include <functional>
#include <thread>

namespace qb {

// Counts the files of a running write that exiftool has already replaced,
// by watching them change on disk, and reports the count as it grows. It
// works the same whether one exiftool writes them or several do in parts.
// A file that ends unchanged is only counted when the write ends.
class WriteProgress {
public:
    // Called on the watching thread, only when the count has grown.
    using Report = std::function<void(qsizetype done, qsizetype total)>;

    WriteProgress(const QStringList& paths, Report report,
                  std::chrono::milliseconds interval = std::chrono::milliseconds(250));
    // Stops watching; the last report may have counted fewer than all.
    ~WriteProgress();
    WriteProgress(const WriteProgress&) = delete;
    WriteProgress& operator=(const WriteProgress&) = delete;

private:
    std::jthread m_thread;
};

} // namespace qb
