// SPDX-License-Identifier: GPL-3.0-or-later
#include "extensions/filesinuse.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qb;

namespace {

// A process that opens `path` with the shell redirection `redirection`
// (such as ">>" or "<") and holds it until it is stopped.
class Holder {
public:
    Holder(const QString& redirection, const QString& path)
    {
        m_process.start(
            QStringLiteral("sh"),
            {QStringLiteral("-c"),
             QStringLiteral("exec 3%1\"$1\"; echo ready; exec sleep 60").arg(redirection),
             QStringLiteral("holder"), path});
        m_ready = m_process.waitForReadyRead(10000);
    }
    ~Holder()
    {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
    bool ready() const { return m_ready; }

private:
    QProcess m_process;
    bool m_ready = false;
};

struct Case {
    const char* redirection; // empty: nobody holds the file
    bool busy;
};

TEST(FilesInUse, OnlyAFileHeldForWritingIsInUseAskedEitherWay)
{
    const Case cases[] = {{"", false}, {"<", false}, {">>", true}, {"<>", true}};
    QTemporaryDir dir;
    for (const Case& row : cases) {
        SCOPED_TRACE(row.redirection);
        const QString path = dir.filePath(QStringLiteral("capture.jpg"));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("jpeg") == 4);
        file.close();
        const QString other = dir.filePath(QStringLiteral("other.jpg"));
        ASSERT_TRUE(QFile::copy(path, other));
        std::optional<Holder> holder;
        if (*row.redirection) {
            holder.emplace(QString::fromLatin1(row.redirection), path);
            ASSERT_TRUE(holder->ready());
        }
        const QSet<QString> expected = row.busy ? QSet<QString>{path} : QSet<QString>{};
        EXPECT_EQ(filesOpenForWriting({path, other}), expected);
        EXPECT_EQ(filesinuse::writersInProc({path, other}), expected);
        holder.reset();
        EXPECT_TRUE(filesOpenForWriting({path}).isEmpty());
        QFile::remove(path);
        QFile::remove(other);
    }
}

TEST(FilesInUse, WhatIsNoFileIsNotInUse)
{
    QTemporaryDir dir;
    EXPECT_TRUE(
        filesOpenForWriting({dir.filePath(QStringLiteral("gone.jpg")), dir.path()}).isEmpty());
}

} // namespace
