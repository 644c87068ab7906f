#include "driver/monitor.h"

#include <chrono>

Monitor monitor;

namespace {

/** Longest wait that no wake-up ended. */
const std::chrono::milliseconds patience(1);

} // namespace

// Marking the lock as awaited and going to sleep happen under one mutex, and
// waking takes it too: no wake-up that is given falls between the two.

void LightLock::wait()
{
    std::unique_lock<std::mutex> sleepers(mutex);
    while (state.exchange(HeldAndAwaited, std::memory_order_acquire) != Free)
        freed.wait_for(sleepers, patience);
}

void LightLock::wake()
{
    std::lock_guard<std::mutex> sleepers(mutex);
    freed.notify_one();
}
