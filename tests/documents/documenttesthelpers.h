// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "kit/metadatamapping.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <map>
#include <vector>

namespace qb::test {

// Collects the system log while alive; the lines go back to stderr after.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const QStringList& lines() const { return m_lines; }

private:
    QStringList m_lines;
};

void writeFile(const QString& path, const QByteArray& bytes);
QByteArray readFile(const QString& path);

// Every file and folder under `root`, by relative path, with the bytes of
// each file; a folder maps to "<dir>". Compares two states of a tree.
std::map<QString, QByteArray> snapshot(const QString& root);

// Three rows using a chain of none, one and two mappers.
std::vector<MetadataMapping> sampleRows();

} // namespace qb::test
