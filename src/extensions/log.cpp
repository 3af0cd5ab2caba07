// SPDX-License-Identifier: GPL-3.0-or-later
#include "log.h"

#include <QMutex>

#include <cstdio>

namespace qb {

namespace {

// Lines come from the main thread and from the queues' worker threads.
QMutex sinkMutex;

void writeLine(FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

LogSink& logSink()
{
    static LogSink sink = [](const QString& text) {
        writeLine(stderr, text);
    };
    return sink;
}

LogSink& printSink()
{
    static LogSink sink = [](const QString& text) {
        writeLine(stdout, text);
    };
    return sink;
}

} // namespace

void qbLog(const QString& text)
{
    const QMutexLocker locker(&sinkMutex);
    logSink()(text);
}

void qbPrint(const QString& text)
{
    const QMutexLocker locker(&sinkMutex);
    printSink()(text);
}

void setLogSink(LogSink sink)
{
    const QMutexLocker locker(&sinkMutex);
    logSink() = sink ? std::move(sink) : [](const QString&) {
    };
}

void setPrintSink(LogSink sink)
{
    const QMutexLocker locker(&sinkMutex);
    printSink() = sink ? std::move(sink) : [](const QString&) {
    };
}

} // namespace qb
