// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/log.h"
#include "mapping/metadatamapping.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <vector>

namespace qb::test {

// Collects the system log while alive; the lines go back to stderr after.
class LogCapture {
public:
    LogCapture()
    {
        setLogSink([this](const QString& line) { m_lines << line; });
    }
    ~LogCapture()
    {
        setLogSink([](const QString& line) { std::fprintf(stderr, "%s\n", qPrintable(line)); });
    }
    const QStringList& lines() const { return m_lines; }

private:
    QStringList m_lines;
};

inline void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << qPrintable(path);
    ASSERT_EQ(file.write(bytes), bytes.size());
}

inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("<unreadable>");
}

// Every file and folder under `root`, by relative path, with the bytes of
// each file; a folder maps to "<dir>". Compares two states of a tree.
inline std::map<QString, QByteArray> snapshot(const QString& root)
{
    std::map<QString, QByteArray> tree;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        tree[QDir(root).relativeFilePath(path)] =
            QFileInfo(path).isDir() ? QByteArrayLiteral("<dir>") : readFile(path);
    }
    return tree;
}

// Three rows using a chain of none, one and two mappers.
inline std::vector<MetadataMapping> sampleRows()
{
    return {
        MetadataMapping("Title", "XMP-dc:Title"),
        MetadataMapping("Keywords", "XMP-dc:Subject", {std::make_shared<ArrayMapper>(";")}),
        MetadataMapping(
            "Approved", "XMP-xmp:Label",
            {std::make_shared<BooleanMapper>(), std::make_shared<BooleanValueMapper>("Yes", "No")}),
    };
}

} // namespace qb::test
