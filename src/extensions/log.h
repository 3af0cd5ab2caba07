// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>

namespace qb {

// The two diagnostic channels. Their wording is part of the design, so the
// texts are passed as they stand: no levels, no prefixes.
//
// qbLog: the system log (document, criteria, update and write events).
// qbPrint: plain standard output (panel, row and queue events).
void qbLog(const QString& text);
void qbPrint(const QString& text);

// Where each channel goes; by default the system log to stderr and the
// standard output lines to stdout. A front end whose stdout carries results
// (the command line) sends them elsewhere. Set once at start-up.
using LogSink = std::function<void(const QString&)>;
void setLogSink(LogSink sink);
void setPrintSink(LogSink sink);

} // namespace qb
