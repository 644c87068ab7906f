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

/** Holds the monitor for the life of an entry point. Not recursive. */
class MonitorLock
{
public:
    MonitorLock();
    ~MonitorLock();

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
    MonitorRelease();
    ~MonitorRelease();

private:
    MonitorRelease(const MonitorRelease &);
    MonitorRelease &operator=(const MonitorRelease &);

    bool released;
};

#endif
