// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "../support/jpeg.h"
#include "../support/printing.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

namespace qb::test {

struct CliResult {
    int status = -1;
    QString out;
    QString err;
};

// Sets up the built quillbrook-cli with the arguments and NAME=value
// additions to the environment.
inline void prepareCli(QProcess& process, const QStringList& arguments,
                       const QStringList& environment = {})
{
    if (!environment.isEmpty()) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const QString& entry : environment)
            env.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
        process.setProcessEnvironment(env);
    }
    process.setProgram(QStringLiteral(QB_CLI_PATH));
    process.setArguments(arguments);
}

// Runs the built quillbrook-cli with the arguments, as a script would.
inline CliResult runCli(const QStringList& arguments, const QString& workingDirectory = {},
                        const QByteArray& input = {}, int timeoutMs = 120000,
                        const QStringList& environment = {})
{
    QProcess process;
    prepareCli(process, arguments, environment);
    if (!workingDirectory.isEmpty())
        process.setWorkingDirectory(workingDirectory);
    process.start();
    if (!process.waitForStarted(10000))
        return {};
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished();
        ADD_FAILURE() << "quillbrook-cli did not finish";
    }
    CliResult result;
    result.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

// Writes `bytes` to `path`, making its folder first; returns the path.
inline QString writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(bytes);
    return path;
}

// A small real JPEG, made with its folder; returns the path.
using qb::testing::makeJpeg;

} // namespace qb::test
