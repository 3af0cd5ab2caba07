// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

class QSocketNotifier;

namespace qb {

// Hears SIGINT and SIGTERM (a Ctrl-C, a logout, a shutdown) for the desktop
// application. The handler only sets the interruption flag, which the write
// in hand sees and stops its exiftool cleanly by, and wakes the main thread,
// which then hears `interrupted`. A second signal of the kind ends the
// process at once, as it does for the command line. One listener at a
// time; the default handling comes back when it goes.
class InterruptionListener final : public QObject {
    Q_OBJECT

public:
    explicit InterruptionListener(QObject* parent = nullptr);
    ~InterruptionListener() override;
    InterruptionListener(const InterruptionListener&) = delete;
    InterruptionListener& operator=(const InterruptionListener&) = delete;

    // Catches the next signal again, for an application that carries on
    // after one, as when the user kept a document open.
    void rearm();

signals:
    // On the main thread, once per signal caught.
    void interrupted(int signal);

private:
    void takeSignal();

    int m_pipe[2] = {-1, -1};
    QSocketNotifier* m_notifier = nullptr;
};

} // namespace qb
