#include "driver/monitor.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace {

/**
 * A lock that costs one atomic exchange where nobody waits. The monitor is let go
 * and entered again around every single report of a changed value: with
 * std::mutex that alone took half the time of a report.
 */
class LightLock
{
public:
    LightLock()
        : state(Free)
    {
    }

    void lock()
    {
        int expected = Free;
        if (!state.compare_exchange_strong(expected, Held, std::memory_order_acquire, std::memory_order_relaxed))
            wait();
    }

    void unlock()
    {
        if (state.exchange(Free, std::memory_order_release) == HeldAndAwaited)
            wake();
    }

private:
    enum State { Free, Held, HeldAndAwaited };

    // Marking the lock as awaited and going to sleep happen under one mutex, and
    // waking takes it too: no wake-up falls between the two.
    void wait()
    {
        std::unique_lock<std::mutex> sleepers(mutex);
        while (state.exchange(HeldAndAwaited, std::memory_order_acquire) != Free)
            freed.wait(sleepers);
    }

    void wake()
    {
        std::lock_guard<std::mutex> sleepers(mutex);
        freed.notify_one();
    }

    std::atomic<int> state;
    std::mutex mutex;
    std::condition_variable freed;
};

// Not members of the driver object: the monitor belongs to the loaded library.
LightLock monitorLock;

// Only a thread itself ever stores its own id here, so comparing with the own
// id needs no ordering.
std::atomic<std::thread::id> monitorOwner(std::thread::id{});

void enterMonitor()
{
    monitorLock.lock();
    monitorOwner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

void leaveMonitor()
{
    monitorOwner.store(std::thread::id(), std::memory_order_relaxed);
    monitorLock.unlock();
}

} // namespace

MonitorLock::MonitorLock()
{
    enterMonitor();
}

MonitorLock::~MonitorLock()
{
    leaveMonitor();
}

MonitorRelease::MonitorRelease()
    : released(monitorOwner.load(std::memory_order_relaxed) == std::this_thread::get_id())
{
    if (released)
        leaveMonitor();
}

MonitorRelease::~MonitorRelease()
{
    if (released)
        enterMonitor();
}
