// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QProcess>
#include <QString>

#include <gtest/gtest.h>

namespace qb::testing {

// A process of its own that holds `path` open for writing, as a copy or a
// tether program does, until it is stopped.
class FileWriter {
public:
    explicit FileWriter(const QString& path)
    {
        m_process.start("/bin/sh", {"-c", "exec 3>>\"$0\"; echo ready; exec sleep 120", path});
        EXPECT_TRUE(m_process.waitForReadyRead(10000));
    }
    ~FileWriter()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

private:
    QProcess m_process;
};

} // namespace qb::testing
