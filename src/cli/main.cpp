// SPDX-License-Identifier: GPL-3.0-or-later
#include "command.h"

#include "extensions/interruption.h"
#include "extensions/log.h"
#include "extensions/regex.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
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

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quillbrook-cli"));
    QCoreApplication::setOrganizationName(QStringLiteral("Quillbrook"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QB_VERSION));

    // stdout carries each command's result; the libraries' diagnostics are
    // progress, shown only to a person watching a terminal.
    const bool terminal = isatty(STDERR_FILENO) == 1;
    const qb::LogSink toStderr = [](const QString& text) {
        std::fputs(qPrintable(text + QLatin1Char('\n')), stderr);
    };
    qb::setPrintSink(terminal ? toStderr : qb::LogSink());
    qb::setLogSink(terminal ? toStderr : qb::LogSink());

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
    const qb::cli::ExitStatus status = qb::cli::run(QCoreApplication::arguments(), streams);
    if (const int signal = qb::interruptionSignal()) {
        if (status != qb::cli::ExitStatus::interrupted)
            qb::cli::printError(streams, QStringLiteral("Interrupted"));
        return 128 + signal;
    }
    return static_cast<int>(status);
}
