/**
 * @file
 * A serial line as the poll loop sees it: bytes out, bytes in, and time.
 *
 * Time belongs to the line so that a test can put a line on virtual time under
 * the very same poll loop.
 */
#ifndef RTU_HOST_LINE_H
#define RTU_HOST_LINE_H

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

class Line
{
public:
    virtual ~Line() = default;

    virtual TimePoint now() = 0;
    virtual void sleepUntil(TimePoint when) = 0;

    /** Opens the port when it is not open. False: not there (yet). Does not wait. */
    virtual bool ensureOpen() = 0;

    /** Hands all bytes to the port. False: the port is gone. */
    virtual bool write(const unsigned char *bytes, std::size_t size) = 0;

    /**
     * Takes what has been received. Waits only while there is nothing at all, up
     * to the deadline; a deadline in the past never waits.
     *
     * @return number of bytes, or a LineResult
     */
    virtual int read(unsigned char *out, std::size_t room, TimePoint deadline) = 0;

    /** Drops everything received so far; result: how many bytes that were. */
    virtual std::size_t discardInput() = 0;

    /** Ends the waits of another thread in this line. */
    virtual void interrupt() = 0;
    virtual void clearInterrupt() = 0;
};

} // namespace rtu

#endif
