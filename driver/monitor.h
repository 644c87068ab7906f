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

#include <pthread.h>

/**
 * The lock, which knows whether it is held.
 *
 * The lock is a POSIX mutex with priority inheritance: while the poll thread
 * waits for it, the screen thread that holds it runs at the poll thread's
 * priority. Otherwise whatever has a priority between the two would keep the
 * screen thread from running, and thereby the poll thread, for as long as it
 * likes; neither std::mutex nor QMutex prevents that. Where the system refuses
 * such mutexes (kernels without support, some emulators) it is a plain one.
 *
 * It is never destroyed, and holds nothing that would need to be: a thread that
 * still polls while the process ends finds a lock.
 */
class Monitor
{
public:
    Monitor();

    void enter()
    {
        pthread_mutex_lock(&mutex);
        held = true;
    }

    void leave()
    {
        held = false;
        pthread_mutex_unlock(&mutex);
    }

    /** For operations of the driver object: they run either under the monitor or in a test with one thread. */
    bool isHeld() const { return held; }

private:
    Monitor(const Monitor &);
    Monitor &operator=(const Monitor &);

    pthread_mutex_t mutex;
    bool held; ///< guarded by the mutex
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
 * Lets the monitor go for the life of the object, where it is held. Operations
 * that a test calls outside the entry points hold no monitor: then nothing happens.
 */
class MonitorRelease
{
public:
    MonitorRelease() : released(monitor.isHeld())
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
