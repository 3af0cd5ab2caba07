// SPDX-License-Identifier: GPL-3.0-or-later
#include "command.h"

#include "extensions/interruption.h"
#include "extensions/log.h"
#include "extensions/regex.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <syslog.h>
#include <unistd.h>

namespace {

// SIGINT and SIGTERM ask the work in hand to stop cleanly: the exiftool we
// started is stopped and waited for, and the private folder goes. A second
// signal of the kind ends the process at once.
void installInterruptionHandlers()
{
    struct sigaction action {};
    action.sa_handler = [](int signal) {
        qb::requestInterruption(signal);
    };
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART | SA_RESETHAND;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

// Takes --verbose out of the arguments, wherever it stands before a "--",
// so that every command has it.
bool takeVerbose(QStringList& arguments)
{
    const qsizetype end = arguments.indexOf(QStringLiteral("--"));
    const qsizetype before = arguments.size();
    for (qsizetype i = (end < 0 ? arguments.size() : end) - 1; i >= 1; --i) {
        if (arguments[i] == QLatin1String("--verbose"))
            arguments.removeAt(i);
    }
    return arguments.size() != before;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillbrook-cli"));
    QCoreApplication::setOrganizationName(QStringLiteral("Quillbrook"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QB_VERSION));

    // stdout carries each command's result. The libraries' diagnostics
    // ("register() [...]", the queue's timer) go to the system log, and to
    // stderr only for a user who asks for them with --verbose.
    QStringList arguments = QCoreApplication::arguments();
    const bool verbose = takeVerbose(arguments);
    const bool terminal = isatty(STDERR_FILENO) == 1;
    ::openlog("quillbrook-cli", LOG_PID, LOG_USER);
    const qb::LogSink sink = [verbose](const QString& text) {
        ::syslog(LOG_INFO, "%s", text.toUtf8().constData());
        if (verbose)
            std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stderr);
    };
    qb::setPrintSink(sink);
    qb::setLogSink(sink);

    QTextStream out(stdout);
    QTextStream err(stderr);
    qb::cli::Streams streams{out, err};
    // A pattern from the user that ran out of time changes the result, so
    // stderr hears of it even when the log isn't shown there.
    const qb::RegexTimeouts timeouts(
        terminal ? qb::RegexTimeouts::Report() : [&streams](const QString& pattern) {
            qb::cli::printError(streams, qb::RegexTimeouts::message(pattern));
        });
    installInterruptionHandlers();
    const qb::cli::ExitStatus status = qb::cli::run(arguments, streams);
    if (const int signal = qb::interruptionSignal()) {
        if (status != qb::cli::ExitStatus::interrupted)
            qb::cli::printError(streams, QStringLiteral("Interrupted"));
        return 128 + signal;
    }
    return static_cast<int>(status);
}
