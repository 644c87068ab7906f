/**
 * @file
 * The driver's lock: one mutex that serialises every exported call which touches
 * the driver object.
 *
 * It is taken by entry points only and let go around each callback and around the
 * host's mutex, so that callbacks run outside every lock of the driver, may call
 * the driver again, and no lock order with the host's own locks can deadlock.
 */
#ifndef MODBUS_RTU_DRIVER_LOCK_H
#define MODBUS_RTU_DRIVER_LOCK_H

#include <pthread.h>

/**
 * The mutex, which knows whether it is held.
 *
 * It is a POSIX mutex with priority inheritance: while the poll thread
 * waits for it, the screen thread that holds it runs at the poll thread's
 * priority. Otherwise whatever has a priority between the two would keep the
 * screen thread from running, and thereby the poll thread, for as long as it
 * likes; neither std::mutex nor QMutex prevents that. Where the system refuses
 * such mutexes (kernels without support, some emulators) it is a plain one.
 *
 * It is never destroyed, and holds nothing that would need to be. The driver object
 * is: hosts end their polling before the process ends or the library is unloaded.
 */
class DriverMutex
{
public:
    DriverMutex();

    void lock()
    {
        pthread_mutex_lock(&mutex);
        held = true;
    }

    void unlock()
    {
        held = false;
        pthread_mutex_unlock(&mutex);
    }

    /** For operations of the driver object: they run either under the lock or in a test with one thread. */
    bool isHeld() const { return held; }

private:
    DriverMutex(const DriverMutex &);
    DriverMutex &operator=(const DriverMutex &);

    pthread_mutex_t mutex;
    bool held; ///< guarded by the mutex
};

/** The mutex of the loaded library; not a member of the driver object. */
extern DriverMutex driverMutex;

/** Holds the lock for the life of an entry point. Not recursive. */
class DriverLock
{
public:
    DriverLock() { driverMutex.lock(); }
    ~DriverLock() { driverMutex.unlock(); }

private:
    DriverLock(const DriverLock &);
    DriverLock &operator=(const DriverLock &);
};

/**
 * Lets the lock go for the life of the object, where it is held. Operations that a
 * test calls outside the entry points run without it: then nothing happens.
 */
class DriverRelease
{
public:
    DriverRelease() : released(driverMutex.isHeld())
    {
        if (released)
            driverMutex.unlock();
    }

    ~DriverRelease()
    {
        if (released)
            driverMutex.lock();
    }

private:
    DriverRelease(const DriverRelease &);
    DriverRelease &operator=(const DriverRelease &);

    const bool released;
};

#endif
