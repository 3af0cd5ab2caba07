// SPDX-License-Identifier: GPL-3.0-or-later
#include "interruption.h"

#include <atomic>

namespace qb {

namespace {

std::atomic<int> requestedBy{0};
static_assert(std::atomic<int>::is_always_lock_free, "signal handlers need a lock-free flag");

} // namespace

void requestInterruption(int signal) noexcept
{
    requestedBy.store(signal, std::memory_order_relaxed);
}

int interruptionSignal() noexcept
{
    return requestedBy.load(std::memory_order_relaxed);
}

void clearInterruption() noexcept
{
    requestedBy.store(0, std::memory_order_relaxed);
}

} // namespace qb
