// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"

#include <chrono>
#include <memory>
#include <mutex>

namespace qb {

// One exiftool kept running (-stay_open True -@ -) and fed each run as a
// request, so that a small write doesn't pay exiftool's start-up again.
// It stands behind the runner interface: a request answers what a fresh run
// of the same command line would, its exit status included.
//
// The process starts on the first run and is reused. It is started afresh
// when it has ended (a crash, a kill), when a request gets no complete
// answer within the time limit (it is killed first), and when the program,
// the file at its path, or a leading -config changes. It is told to leave,
// and waited for, by shutDown() and when the runner goes.
//
// Built on plain POSIX calls rather than QProcess, so that no thread owns it:
// a queue may use it on its worker thread and drop it on the main one. Runs
// are serialised by a mutex. The child is prepared as every exiftool we
// start (see prepareChildProcess): it has a process group of its own, and
// is told to leave when the thread that started it ends, since exiftool
// doesn't leave when its input closes and must not outlive a crash of ours.
class StayOpenExiftool : public ProcessRunner {
public:
    using Milliseconds = std::chrono::milliseconds;
    // Long enough for a small batch of raw files on a slow share.
    static constexpr Milliseconds defaultTimeLimit{120000};

    explicit StayOpenExiftool(Milliseconds timeLimit = defaultTimeLimit);
    ~StayOpenExiftool() override;
    StayOpenExiftool(const StayOpenExiftool&) = delete;
    StayOpenExiftool& operator=(const StayOpenExiftool&) = delete;

    ProcessRunResult run(const QString& program, const QStringList& arguments) override;
    // Requests travel through a pipe, which has no length limit.
    qint64 commandLineLimit() const override;

    // Asks the process to leave and waits for it; the next run starts another.
    void shutDown();
    // The running exiftool's process id; 0 when none runs.
    qint64 processId() const;

    struct Child;

private:
    ProcessRunResult request(const QString& program, const QStringList& arguments);

    Milliseconds m_timeLimit;
    mutable std::mutex m_mutex;
    std::unique_ptr<Child> m_child;
    int m_requestNumber = 0;
};

} // namespace qb
