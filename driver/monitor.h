/**
 * @file
 * The monitor over the run-time entry points.
 *
 * One lock serialises every exported call that touches the driver object. It is
 * held by entry points only and let go around each callback and around the
 * host's mutex, so that callbacks run outside every driver lock, may call the
 * driver again, and no lock order with the host's own locks can deadlock.
 */
#ifndef MODBUS_RTU_MONITOR_H
#define MODBUS_RTU_MONITOR_H

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

/**
 * A lock that costs one atomic exchange and one store where nobody waits. The
 * monitor is let go and entered again around every single report of a changed
 * value, which makes it the dearest part of a report; with std::mutex it took
 * half the time.
 *
 * A second exchange on leaving would be needed to learn for certain whether
 * somebody waits. unlock() looks without: who begins to wait between its look and
 * its store is not woken up, and therefore never waits longer than a millisecond
 * before trying again.
 */
class LightLock
{
public:
    LightLock() : state(Free) {}

    void lock()
    {
        int expected = Free;
        if (!state.compare_exchange_strong(expected, Held, std::memory_order_acquire, std::memory_order_relaxed))
            wait();
    }

    void unlock()
    {
        const bool awaited = state.load(std::memory_order_relaxed) == HeldAndAwaited;
        state.store(Free, std::memory_order_release);
        if (awaited)
            wake();
    }

private:
    LightLock(const LightLock &);
    LightLock &operator=(const LightLock &);

    enum State { Free, Held, HeldAndAwaited };

    void wait();
    void wake();

    std::atomic<int> state;
    std::mutex mutex; ///< over going to sleep and waking up
    std::condition_variable freed;
};

/** The lock together with the thread that holds it. */
class Monitor
{
public:
    Monitor() : owner(std::thread::id()) {}

    void enter()
    {
        lock.lock();
        owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    }

    void leave()
    {
        owner.store(std::thread::id(), std::memory_order_relaxed);
        lock.unlock();
    }

    /** Only a thread itself ever stores its own id, so comparing with the own id needs no ordering. */
    bool heldHere() const { return owner.load(std::memory_order_relaxed) == std::this_thread::get_id(); }

private:
    LightLock lock;
    std::atomic<std::thread::id> owner;
};

/** The monitor of the loaded library; not a member of the driver object. */
extern Monitor monitor;

/** Holds the monitor for the life of an entry point. Not recursive. */
class MonitorLock
{
public:
    MonitorLock() { monitor.enter(); }
    ~MonitorLock() { monitor.leave(); }

private:
    MonitorLock(const MonitorLock &);
    MonitorLock &operator=(const MonitorLock &);
};

/**
 * Lets the monitor go for the life of the object, where this thread holds it.
 * Operations that a test calls on its own object, outside the entry points,
 * hold no monitor: then nothing happens.
 */
class MonitorRelease
{
public:
    MonitorRelease() : released(monitor.heldHere())
    {
        if (released)
            monitor.leave();
    }

    ~MonitorRelease()
    {
        if (released)
            monitor.enter();
    }

private:
    MonitorRelease(const MonitorRelease &);
    MonitorRelease &operator=(const MonitorRelease &);

    const bool released;
};

#endif
