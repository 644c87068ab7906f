#include "driver/monitor.h"

Monitor monitor;

// Marking the lock as awaited and going to sleep happen under one mutex, and
// waking takes it too: no wake-up falls between the two.

void LightLock::wait()
{
    std::unique_lock<std::mutex> sleepers(mutex);
    while (state.exchange(HeldAndAwaited, std::memory_order_acquire) != Free)
        freed.wait(sleepers);
}

void LightLock::wake()
{
    std::lock_guard<std::mutex> sleepers(mutex);
    freed.notify_one();
}
