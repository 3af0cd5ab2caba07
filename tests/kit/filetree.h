// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

namespace qb::testing {

// A real folder tree in a temporary directory, named by relative paths.
class FileTree : public ::testing::Test {
protected:
    QString path(const QString& relative) const { return m_dir.filePath(relative); }
    QUrl url(const QString& relative) const { return QUrl::fromLocalFile(path(relative)); }

    QUrl touch(const QString& relative) const
    {
        QDir().mkpath(QFileInfo(path(relative)).absolutePath());
        QFile file(path(relative));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << relative.toStdString();
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
