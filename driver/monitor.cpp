#include "driver/monitor.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace {

// Not a member of the driver object: the object may be rebuilt or copied aside
// by tests, the monitor belongs to the loaded library.
std::mutex monitorMutex;

// Only a thread itself ever stores its own id here, so comparing with the own
// id needs no ordering.
std::atomic<std::thread::id> monitorOwner(std::thread::id{});

void enterMonitor()
{
    monitorMutex.lock();
    monitorOwner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

void leaveMonitor()
{
    monitorOwner.store(std::thread::id(), std::memory_order_relaxed);
    monitorMutex.unlock();
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
