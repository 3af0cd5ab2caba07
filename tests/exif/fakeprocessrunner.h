// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"

#include <QFile>

#include <limits>
#include <vector>

namespace qb::testing {

// Passes the checks made before a run; the fake runner never starts it.
inline const QString anyProgram = QStringLiteral("/bin/sh");

// "a|b c" as the argument list {"a", "b c"}.
inline QStringList arguments(const char* joined)
{
    return *joined ? QString::fromUtf8(joined).split('|') : QStringList();
}

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
        if (const qsizetype at = arguments.indexOf(QStringLiteral("-@")); at >= 0) {
            QFile file(arguments.value(at + 1));
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

} // namespace qb::testing
