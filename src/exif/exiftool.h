// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "exif/processrunner.h"
#include "extensions/error.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <nlohmann/json.hpp>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace qb {

// The -config file that exiftool is told to use.
class ExiftoolConfig {
public:
    enum class Kind { url, path, none, standard };

    static ExiftoolConfig url(const QUrl& location);
    static ExiftoolConfig path(const QString& path) { return {Kind::path, path}; }
    static ExiftoolConfig none() { return {Kind::none, {}}; }
    // The bare option: the caller's first argument becomes its value.
    static ExiftoolConfig standard() { return {Kind::standard, {}}; }

    Kind kind() const { return m_kind; }
    // The config file's path for url and path; empty otherwise.
    const QString& location() const { return m_location; }

    // What goes in front of the caller's arguments.
    QStringList arguments() const;

    friend bool operator==(const ExiftoolConfig&, const ExiftoolConfig&) = default;

private:
    ExiftoolConfig(Kind kind, QString location)
        : m_kind(kind)
        , m_location(std::move(location))
    {
    }
    Kind m_kind;
    QString m_location;
};

// A run that exited with status zero.
struct ProcessResult {
    qint32 terminationStatus = 0;
    QByteArray response; // all of standard output
    // exiftool's warnings: a run that succeeded may still have refused a
    // value or a tag, and the user must hear of it.
    QByteArray standardError;
};

// What identifies a run of exiftool after the fact.
struct ExiftoolProcess {
    QString program;
    QStringList arguments; // as traced: the real ones, also when an argument file carried them
    qint32 terminationStatus = 0;
    bool endedBySignal = false;
    // Its standard output, which still counts the files it got through.
    QByteArray response;
};

// Which way the metadata was going, for the text the user reads.
enum class ExiftoolTask { read, write };

class ExiftoolError {
public:
    enum class Case {
        responseNotZero,  // exiftool ran and ended with a status other than zero
        exiftoolNotFound, // no executable file at the location
        couldNotRun,      // the checks passed, yet the process could not be started
        timedOut,         // a long-lived exiftool stopped answering and was stopped
    };

    static ExiftoolError responseNotZero(ExiftoolProcess process, std::optional<QString> stdErr);
    static ExiftoolError exiftoolNotFound(const QString& at);
    static ExiftoolError couldNotRun(const QString& at, const QString& reason);
    static ExiftoolError timedOut(const QString& at, const QString& reason);

    Case kind() const { return m_case; }
    const ExiftoolProcess& process() const { return m_process; }
    // Absent when exiftool's standard error was not valid UTF-8.
    const std::optional<QString>& stdErr() const { return m_stdErr; }
    // The location of the executable.
    const QString& at() const { return m_process.program; }

    QString summary() const;
    std::optional<QString> failureReason() const;
    // What the user reads; exiftool's standard error at most a screenful.
    Error toError(ExiftoolTask task = ExiftoolTask::write) const;

private:
    ExiftoolError(Case kind, ExiftoolProcess process, std::optional<QString> text)
        : m_case(kind)
        , m_process(std::move(process))
        , m_stdErr(std::move(text))
    {
    }
    Case m_case;
    ExiftoolProcess m_process;
    std::optional<QString> m_stdErr; // the reason, for couldNotRun
};

// Sees each command line before it runs, and whatever else a caller traces.
using Trace = std::function<void(const std::optional<QString>& text,
                                 const std::optional<QByteArray>& buffer)>;

// Prints the text, then the buffer if it is UTF-8, each on a line of its own,
// to standard output.
const Trace& defaultTrace();

// The path exiftool is given for a location: no scheme, nothing escaped.
QString exiftoolPath(const QUrl& url);

// exiftool's standard output as text on a line of its own, for verbose
// writes; an empty line when it is not UTF-8.
void printResponse(const QByteArray& response);

// /usr/local/bin/exiftool when that file exists, else the exiftool on PATH,
// else /usr/local/bin/exiftool again, so that the not-found error names it.
QString installedExiftoolPath();

using ExiftoolCompletion = std::function<void(std::expected<ProcessResult, ExiftoolError>)>;

// One run of exiftool per call; no state is kept between runs. Not
// thread-safe: set it up first, then run from one thread at a time.
class ExifTool {
public:
    // A null runner means the system's.
    ExifTool(QString exiftoolLocation, Trace trace, std::shared_ptr<ProcessRunner> runner = {});

    const QString& exiftoolLocation() const { return m_exiftoolLocation; }
    void setExiftoolLocation(const QString& location) { m_exiftoolLocation = location; }
    const ExiftoolConfig& config() const { return m_config; }
    void setConfig(const ExiftoolConfig& config) { m_config = config; }
    bool overwriteOriginal() const { return m_overwriteOriginal; }
    void setOverwriteOriginal(bool overwrite) { m_overwriteOriginal = overwrite; }
    // Empty when nothing traces.
    const Trace& trace() const { return m_trace; }
    void setTrace(Trace trace) { m_trace = std::move(trace); }
    // Where an argument file goes when a command line is too long; the
    // temporary directory when empty. A write puts it in its private folder.
    const QString& argumentFileFolder() const { return m_argumentFileFolder; }
    void setArgumentFileFolder(const QString& folder) { m_argumentFileFolder = folder; }

    // The arguments exiftool is given for the caller's `arguments`.
    QStringList finalArguments(const QStringList& arguments) const;

    // Runs exiftool to its end on the calling thread and then calls
    // `completion` exactly once, also on the calling thread.
    void run(const QStringList& arguments, const ExiftoolCompletion& completion) const;

    // As run(), with standard output decoded as JSON into a T.
    template <typename T>
    void runDecoding(const QStringList& arguments,
                     const std::function<void(std::expected<T, Error>)>& completion) const;

private:
    std::expected<ProcessRunResult, ExiftoolError> launch(const QStringList& arguments) const;

    QString m_exiftoolLocation;
    ExiftoolConfig m_config = ExiftoolConfig::none();
    bool m_overwriteOriginal = false;
    Trace m_trace;
    QString m_argumentFileFolder;
    std::shared_ptr<ProcessRunner> m_runner;
};

// One argument as a line of an argument file, read back exactly as given.
QByteArray exiftoolArgumentLine(const QString& argument);

// At most `maximumLines` lines of `text`; those beyond are counted in a
// last line "… (N more lines)".
QString cappedLines(const QString& text, int maximumLines = 20);

// exiftool's standard output was not the JSON expected; `what` is the
// parser's message.
Error exiftoolAnswerError(const char* what);

template <typename T>
void ExifTool::runDecoding(const QStringList& arguments,
                           const std::function<void(std::expected<T, Error>)>& completion) const
{
    run(arguments, [&completion](std::expected<ProcessResult, ExiftoolError> result) {
        if (!result) {
            completion(std::unexpected(result.error().toError(ExiftoolTask::read)));
            return;
        }
        const QByteArray& response = result->response;
        std::optional<T> value;
        try {
            value = nlohmann::ordered_json::parse(response.cbegin(), response.cend()).get<T>();
        } catch (const nlohmann::ordered_json::exception& failure) {
            completion(std::unexpected(exiftoolAnswerError(failure.what())));
            return;
        }
        completion(std::move(*value));
    });
}

} // namespace qb
