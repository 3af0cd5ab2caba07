// SPDX-License-Identifier: GPL-3.0-or-later
#include "documenttesthelpers.h"

#include "extensions/log.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <cstdio>

namespace qb::test {

LogCapture::LogCapture()
{
    setLogSink([this](const QString& line) { m_lines << line; });
}

LogCapture::~LogCapture()
{
    setLogSink([](const QString& line) { std::fprintf(stderr, "%s\n", qPrintable(line)); });
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << qPrintable(path);
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArrayLiteral("<unreadable>");
    return file.readAll();
}

std::map<QString, QByteArray> snapshot(const QString& root)
{
    std::map<QString, QByteArray> tree;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    const QDir base(root);
    while (it.hasNext()) {
        const QString path = it.next();
        tree[base.relativeFilePath(path)] =
            QFileInfo(path).isDir() ? QByteArrayLiteral("<dir>") : readFile(path);
    }
    return tree;
}

std::vector<MetadataMapping> sampleRows()
{
    return {
        MetadataMapping(QStringLiteral("Title"), QStringLiteral("XMP-dc:Title")),
        MetadataMapping(QStringLiteral("Keywords"), QStringLiteral("XMP-dc:Subject"),
                        {std::make_shared<ArrayMapper>(QStringLiteral(";"))}),
        MetadataMapping(
            QStringLiteral("Approved"), QStringLiteral("XMP-xmp:Label"),
            {std::make_shared<BooleanMapper>(),
             std::make_shared<BooleanValueMapper>(QStringLiteral("Yes"), QStringLiteral("No"))}),
    };
}

} // namespace qb::test
