// SPDX-License-Identifier: GPL-3.0-or-later
#include "interruptionlistener.h"

#include "extensions/interruption.h"

#include <QSocketNotifier>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace qb {

namespace {

// Where the handler writes: a signal handler may only touch what is safe
// there, an atomic and write(2).
std::atomic<int> wakeUpFd{-1};

void onSignal(int signal)
{
    requestInterruption(signal);
    const int fd = wakeUpFd.load();
    if (fd >= 0) {
        const unsigned char byte = static_cast<unsigned char>(signal);
        [[maybe_unused]] const ssize_t written = ::write(fd, &byte, 1);
    }
}

void handle(int signal, void (*handler)(int))
{
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART | (handler == SIG_DFL ? 0 : SA_RESETHAND);
    sigaction(signal, &action, nullptr);
}

} // namespace

InterruptionListener::InterruptionListener(QObject* parent)
    : QObject(parent)
{
    if (::pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(m_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &InterruptionListener::takeSignal);
    wakeUpFd.store(m_pipe[1]);
    rearm();
}

void InterruptionListener::rearm()
{
    handle(SIGINT, onSignal);
    handle(SIGTERM, onSignal);
}

InterruptionListener::~InterruptionListener()
{
    handle(SIGINT, SIG_DFL);
    handle(SIGTERM, SIG_DFL);
    wakeUpFd.store(-1);
    for (const int fd : m_pipe)
        if (fd >= 0)
            ::close(fd);
}

void InterruptionListener::takeSignal()
{
    unsigned char byte = 0;
    while (::read(m_pipe[0], &byte, 1) == 1)
        emit interrupted(byte);
}

} // namespace qb
