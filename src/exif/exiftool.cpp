// SPDX-License-Identifier: GPL-3.0-or-later
#include "exiftool.h"

#include "extensions/jsondecode.h"
#include "extensions/log.h"
#include "extensions/process.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <cstdio>

namespace qb {

namespace {

const QString configOption = QStringLiteral("-config");
const QString overwriteOption = QStringLiteral("-overwrite_original");
const QString localExiftool = QStringLiteral("/usr/local/bin/exiftool");

// The standard output channel, which a front end may send elsewhere.
void printLine(const QByteArray& bytes)
{
    qbPrint(QString::fromUtf8(bytes));
}

} // namespace

// exiftool takes each line of an argument file as one argument, but strips
// leading blanks, skips lines that are empty or start with '#', and rewrites
// blanks around '=' in options. Its #[CSTR] form is taken as a C string with
// none of that, so every argument, line breaks included, arrives exactly.
QByteArray exiftoolArgumentLine(const QString& argument)
{
    QByteArray line("#[CSTR]");
    for (const char byte : argument.toUtf8()) {
        switch (byte) {
        case '\\':
            line += "\\\\";
            break;
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        default:
            line += byte;
        }
    }
    line += '\n';
    return line;
}

ExiftoolConfig ExiftoolConfig::url(const QUrl& location)
{
    return {Kind::url, location.isLocalFile() ? location.toLocalFile() : location.path()};
}

QStringList ExiftoolConfig::arguments() const
{
    switch (m_kind) {
    case Kind::url:
    case Kind::path:
        return {configOption, m_location};
    case Kind::standard:
        return {configOption};
    case Kind::none:
        break;
    }
    return {};
}

ExiftoolError ExiftoolError::responseNotZero(ExiftoolProcess process, std::optional<QString> stdErr)
{
    return {Case::responseNotZero, std::move(process), std::move(stdErr)};
}

ExiftoolError ExiftoolError::exiftoolNotFound(const QString& at)
{
    return {Case::exiftoolNotFound, ExiftoolProcess{at, {}, 0, false, {}}, std::nullopt};
}

ExiftoolError ExiftoolError::couldNotRun(const QString& at, const QString& reason)
{
    return {Case::couldNotRun, ExiftoolProcess{at, {}, 0, false, {}}, reason};
}

ExiftoolError ExiftoolError::timedOut(const QString& at, const QString& reason)
{
    return {Case::timedOut, ExiftoolProcess{at, {}, 0, false, {}}, reason};
}

QString ExiftoolError::summary() const
{
    if (m_case == Case::timedOut)
        return QStringLiteral("exiftool stopped answering");
    if (m_case != Case::responseNotZero)
        return QStringLiteral("Exiftool could not be launched");
    // A normal exit with a failing status reads "exited normally" too.
    return m_process.endedBySignal ? QStringLiteral("exiftool exited with uncaught signal")
                                   : QStringLiteral("exiftool exited normally");
}

std::optional<QString> ExiftoolError::failureReason() const
{
    if (m_case == Case::exiftoolNotFound)
        return QStringLiteral("exiftool not found at ") + at();
    return m_stdErr;
}

QString cappedLines(const QString& text, int maximumLines)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    if (lines.size() <= maximumLines)
        return text;
    const qsizetype rest = lines.size() - maximumLines;
    lines.resize(maximumLines);
    lines << QStringLiteral("\u2026 (%1 more lines)").arg(rest);
    return lines.join(QLatin1Char('\n'));
}

Error ExiftoolError::toError(ExiftoolTask task) const
{
    Error error;
    error.domain = QStringLiteral("qb.ExiftoolError");
    error.code = int(m_case);
    // A batch of thousands can fail file by file; the user reads a screenful.
    error.failureReason = cappedLines(failureReason().value_or(QString()));
    error.userInfo.insert(QStringLiteral("program"), at());
    switch (m_case) {
    case Case::responseNotZero:
        error.errorDescription = task == ExiftoolTask::read
                                     ? QStringLiteral("exiftool could not read the metadata.")
                                     : QStringLiteral("exiftool could not write the metadata.");
        // Without a word from exiftool, the status is all the user can go by.
        if (error.failureReason.trimmed().isEmpty()) {
            const QString form = m_process.endedBySignal ? QStringLiteral("%1 %2")
                                                         : QStringLiteral("%1 with status %2");
            error.failureReason = form.arg(summary()).arg(m_process.terminationStatus);
        }
        error.userInfo.insert(QStringLiteral("terminationStatus"), m_process.terminationStatus);
        error.userInfo.insert(QStringLiteral("endedBySignal"), m_process.endedBySignal);
        break;
    case Case::exiftoolNotFound:
        error.errorDescription = summary() + QLatin1Char('.');
        error.recoverySuggestion =
            QStringLiteral("Install exiftool, or check that the file at that path is a program.");
        break;
    case Case::couldNotRun:
    case Case::timedOut:
        error.errorDescription = summary() + QLatin1Char('.');
        break;
    }
    return error;
}

Error exiftoolAnswerError(const char* what)
{
    const QString reason = jsonExceptionText(what);
    Error error;
    error.domain = QStringLiteral("qb.ExiftoolAnswer");
    error.code = 1;
    error.errorDescription = QStringLiteral("exiftool's answer could not be read.");
    error.failureReason = reason;
    return error;
}

const Trace& defaultTrace()
{
    static const Trace trace = [](const std::optional<QString>& text,
                                  const std::optional<QByteArray>& buffer) {
        if (text)
            printLine(text->toUtf8());
        if (buffer) {
            if (const std::optional<QString> decoded = decodedUtf8(*buffer))
                printLine(decoded->toUtf8());
        }
    };
    return trace;
}

QString exiftoolPath(const QUrl& url)
{
    return url.isLocalFile() ? url.toLocalFile() : url.path(QUrl::FullyDecoded);
}

void printResponse(const QByteArray& response)
{
    printLine(decodedUtf8(response).value_or(QString()).toUtf8());
}

QString installedExiftoolPath()
{
    if (QFileInfo::exists(localExiftool))
        return localExiftool;
    const QString onPath = QStandardPaths::findExecutable(QStringLiteral("exiftool"));
    return onPath.isEmpty() ? localExiftool : onPath;
}

ExifTool::ExifTool(QString exiftoolLocation, Trace trace, std::shared_ptr<ProcessRunner> runner)
    : m_exiftoolLocation(std::move(exiftoolLocation))
    , m_trace(std::move(trace))
    , m_runner(runner ? std::move(runner) : std::make_shared<SystemProcessRunner>())
{
}

QStringList ExifTool::finalArguments(const QStringList& arguments) const
{
    QStringList result = m_config.arguments() + arguments;
    if (m_overwriteOriginal)
        result << overwriteOption;
    return result;
}

void ExifTool::run(const QStringList& arguments, const ExiftoolCompletion& completion) const
{
    const QFileInfo info(m_exiftoolLocation);
    const bool executable = info.isExecutable();
    const bool exists = info.exists();
    if (!executable || !exists) {
        completion(std::unexpected(ExiftoolError::exiftoolNotFound(m_exiftoolLocation)));
        return;
    }
    const QStringList final = finalArguments(arguments);
    if (m_trace)
        m_trace(m_exiftoolLocation + QLatin1Char(' ') + final.join(QLatin1Char(' ')), std::nullopt);

    const std::expected<ProcessRunResult, ExiftoolError> launched = launch(final);
    if (!launched) {
        completion(std::unexpected(launched.error()));
        return;
    }
    const ProcessRunResult& ran = *launched;
    if (!ran) {
        const ProcessFailure& failure = ran.error();
        completion(std::unexpected(
            failure.timedOut ? ExiftoolError::timedOut(m_exiftoolLocation, failure.reason)
                             : ExiftoolError::couldNotRun(m_exiftoolLocation, failure.reason)));
        return;
    }
    if (ran->endedBySignal || ran->exitStatus != 0) {
        ExiftoolProcess process{m_exiftoolLocation, final, ran->exitStatus, ran->endedBySignal,
                                ran->standardOutput};
        completion(std::unexpected(
            ExiftoolError::responseNotZero(std::move(process), decodedUtf8(ran->standardError))));
        return;
    }
    completion(ProcessResult{ran->exitStatus, ran->standardOutput, ran->standardError});
}

std::expected<ProcessRunResult, ExiftoolError> ExifTool::launch(const QStringList& arguments) const
{
    for (const QString& argument : arguments) {
        if (argument.contains(QChar(0)))
            return std::unexpected(ExiftoolError::couldNotRun(
                m_exiftoolLocation,
                QStringLiteral("The argument “%1” holds a NUL character, which no command line "
                               "can carry.")
                    .arg(QString(argument).replace(QChar(0), QChar(0xFFFD)))));
    }
    if (m_runner->fitsCommandLine(m_exiftoolLocation, arguments))
        return m_runner->run(m_exiftoolLocation, arguments);

    // exiftool only honours -config as the very first argument of its real
    // command line, so the option and its value stay there.
    qsizetype kept = m_config.arguments().size();
    if (m_config.kind() == ExiftoolConfig::Kind::standard)
        ++kept;
    kept = std::min(kept, arguments.size());

    const QString folder = m_argumentFileFolder.isEmpty() ? QDir::tempPath() : m_argumentFileFolder;
    QTemporaryFile file(folder + QStringLiteral("/quillbrook-exiftool-XXXXXX.args"));
    if (!file.open())
        return std::unexpected(ExiftoolError::couldNotRun(
            m_exiftoolLocation,
            QStringLiteral("The argument file for exiftool could not be created: %1")
                .arg(file.errorString())));
    QByteArray contents;
    for (qsizetype i = kept; i < arguments.size(); ++i)
        contents += exiftoolArgumentLine(arguments[i]);
    const bool written = file.write(contents) == contents.size() && file.flush();
    if (!written)
        return std::unexpected(ExiftoolError::couldNotRun(
            m_exiftoolLocation, QStringLiteral("The argument file “%1” could not be written: %2")
                                    .arg(file.fileName(), file.errorString())));
    // The file is removed when `file` goes, after exiftool has ended.
    const QStringList commandLine = arguments.mid(0, kept) + QStringList{"-@", file.fileName()};
    return m_runner->run(m_exiftoolLocation, commandLine);
}

} // namespace qb
