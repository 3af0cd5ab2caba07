// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "extensions/log.h"

#include <QStringList>

namespace qb::testing {

// Captures what the library prints and logs while it lives: each channel
// apart, and both in the order they came.
class CapturedOutput {
public:
    CapturedOutput()
    {
        setPrintSink([this](const QString& text) {
            printed << text;
            all << text;
        });
        setLogSink([this](const QString& text) {
            logged << text;
            all << text;
        });
    }
    ~CapturedOutput()
    {
        setPrintSink({});
        setLogSink({});
    }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    QStringList printed;
    QStringList logged;
    QStringList all;
};

} // namespace qb::testing
