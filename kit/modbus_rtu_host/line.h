/**
 * @file
 * A line as a link sees it: bytes out, bytes in, and time.
 *
 * Time belongs to the line so that a test can put a line on virtual time under
 * the very same code that polls real ones.
 */
#ifndef MODBUS_RTU_HOST_LINE_H
#define MODBUS_RTU_HOST_LINE_H

#include <modbus_rtu_host/export.h>

#include <chrono>
#include <cstddef>

namespace rtu {

using SteadyClock = std::chrono::steady_clock;
using TimePoint = SteadyClock::time_point;
using Duration = SteadyClock::duration;

/** Results of Line::read() other than a number of bytes. */
enum LineResult {
    DeadlinePassed = 0,
    LineLost = -1,   ///< the port is gone; ensureOpen() may bring it back
    Interrupted = -2 ///< interrupt() was called; every wait ends at once until clearInterrupt()
};

/**
 * Derive from it to put a link on a transport of your own.
 *
 * One thread uses a line, except for interrupt() and now(), which may be called from any.
 * No function may throw.
 */
class MODBUS_RTU_HOST_EXPORT Line
{
public:
    Line() = default;
    virtual ~Line();
    Line(const Line &) = delete;
    Line &operator=(const Line &) = delete;

    /** The time by this line's clock, which never jumps and never runs backwards. */
    virtual TimePoint now() = 0;

    /** Returns at @p when by that clock, or soon after interrupt(). Bytes that arrive do not end it. */
    virtual void sleepUntil(TimePoint when) = 0;

    /** Opens the port when it is not open. False: not there (yet). Does not wait. */
    virtual bool ensureOpen() = 0;

    /**
     * Hands all bytes to the port; they may still be on their way when it returns.
     *
     * @return false: the port is gone, some of the bytes may have been sent
     */
    virtual bool write(const unsigned char *bytes, std::size_t size) = 0;

    /**
     * Takes what has been received. Waits only while there is nothing at all, up
     * to the deadline; a deadline in the past never waits.
     *
     * @param out receives up to @p room bytes
     * @return number of bytes, or a LineResult
     */
    virtual int read(unsigned char *out, std::size_t room, TimePoint deadline) = 0;

    /** Drops everything received so far; result: how many bytes that were. */
    virtual std::size_t discardInput() = 0;

    /** Ends the waits of the thread that uses this line, now and until clearInterrupt(). */
    virtual void interrupt() = 0;
    virtual void clearInterrupt() = 0;
};

} // namespace rtu

#endif
