/**
 * @file
 * Waiting that another thread can end.
 */
#ifndef KIT_LINE_WAKE_UP_H
#define KIT_LINE_WAKE_UP_H

#include "kit/line/descriptor.h"

#include <modbus_rtu_host/line.h>

#include <atomic>

namespace rtu {

/** One thread waits; interrupt() and interrupted() are for all. */
class WakeUp
{
public:
    /** @throws std::runtime_error when the process has no descriptor left */
    WakeUp();

    /**
     * Waits for one of poll()'s events on a descriptor, hang-ups included.
     *
     * @return false: the deadline passed, or interrupt() was called
     */
    bool await(int descriptor, short events, TimePoint deadline) const;

    /** Returns at that time, or within a fifth of a second of interrupt(). */
    void sleepUntil(TimePoint when) const;

    /** Ends the waits from now on, until clear(). */
    void interrupt();
    void clear();
    bool interrupted() const { return m_interrupted; }

    /** Readable while interrupted. */
    int descriptor() const { return m_event.number(); }

private:
    Descriptor m_event;
    std::atomic<bool> m_interrupted{false};
};

} // namespace rtu

#endif
