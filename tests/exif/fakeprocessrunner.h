// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"

#include <QFile>
#include <QTemporaryDir>

#include <limits>
#include <vector>

namespace qb::testing {

// Records each command line instead of starting a process, and answers every
// run with `result`.
class FakeProcessRunner : public ProcessRunner {
public:
    struct Run {
        QString program;
        QStringList arguments;
        QByteArray argumentFile; // the contents behind -@, read while the run lasts
    };

    ProcessRunResult run(const QString& program, const QStringList& arguments) override
    {
        Run run{program, arguments, {}};
        if (const qsizetype at = arguments.indexOf(QStringLiteral("-@"));
            at >= 0 && at + 1 < arguments.size()) {
            QFile file(arguments[at + 1]);
            if (file.open(QIODevice::ReadOnly))
                run.argumentFile = file.readAll();
        }
        runs.push_back(std::move(run));
        return result;
    }
    qint64 commandLineLimit() const override { return limit; }

    std::vector<Run> runs;
    ProcessRunResult result = ProcessOutcome{};
    qint64 limit = std::numeric_limits<qint64>::max();
};

// An executable file that passes the checks made before a run; the fake
// runner never starts it.
class ExecutableFile {
public:
    ExecutableFile()
    {
        QFile file(path());
        if (file.open(QIODevice::WriteOnly))
            file.write("#!/bin/sh\nexit 0\n");
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QString path() const { return m_dir.filePath(QStringLiteral("exiftool")); }

private:
    QTemporaryDir m_dir;
};

} // namespace qb::testing
