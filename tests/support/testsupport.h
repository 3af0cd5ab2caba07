// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <semaphore>

namespace qb::testing {

// Timers and queued completions need an application object.
inline void ensureApplication()
{
    static int argc = 1;
    static char name[] = "qb_kit_tests";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QCoreApplication(argc, argv);
}

// Stands in for exiftool: records each command line, answers with `outcome`,
// and, while `holding`, keeps each run waiting until the test releases it.
class FakeExiftool : public ProcessRunner {
public:
    ProcessRunResult run(const QString&, const QStringList& arguments) override
    {
        {
            const std::lock_guard lock(m_mutex);
            m_calls.push_back(arguments);
        }
        if (holding) {
            started.release();
            proceed.acquire();
        }
        return outcome;
    }
    qint64 commandLineLimit() const override { return 1 << 20; }
    std::vector<QStringList> calls()
    {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }

    ProcessRunResult outcome = ProcessOutcome{};
    std::atomic<bool> holding = false;
    std::binary_semaphore started{0};
    std::binary_semaphore proceed{0};

private:
    std::mutex m_mutex;
    std::vector<QStringList> m_calls;
};

// A real folder tree in a temporary directory, named by relative paths.
class FileTree : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return m_dir.filePath(relative); }
    QUrl url(const QString& relative) const { return QUrl::fromLocalFile(path(relative)); }
    QUrl touch(const QString& relative, const QByteArray& bytes = {}) const
    {
        QDir().mkpath(QFileInfo(path(relative)).absolutePath());
        QFile file(path(relative));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << relative.toStdString();
        file.write(bytes);
        return url(relative);
    }
    QUrl folder(const QString& relative) const
    {
        QDir().mkpath(path(relative));
        return url(relative);
    }
    QList<QUrl> urls(const QStringList& relatives) const
    {
        QList<QUrl> result;
        for (const QString& relative : relatives)
            result << url(relative);
        return result;
    }

    QTemporaryDir m_dir;
};

} // namespace qb::testing
