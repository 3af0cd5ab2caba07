// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace qb {

// A stop asked for from outside the program, by a signal such as SIGTERM.
// What can take long (a run of exiftool, the wait for the writer lock)
// looks at it, and ends early and cleanly: the child is stopped and waited
// for, temporary files go. What the process does then is up to the front
// end that installed the handler.
//
// Process-wide, as signals are; kept in a lock-free atomic, the one kind of
// state a signal handler may touch.
void requestInterruption(int signal) noexcept;
// The signal that asked for the stop; 0 while none has.
int interruptionSignal() noexcept;
inline bool isInterrupted() noexcept
{
    return interruptionSignal() != 0;
}
// For tests, which ask for a stop and then go on.
void clearInterruption() noexcept;

} // namespace qb
