/**
 * @file
 * How long characters, frames and silences last on the line.
 */
#ifndef KIT_LINE_LINE_TIMING_H
#define KIT_LINE_LINE_TIMING_H

#include <modbus_rtu_host/line.h>
#include <modbus_rtu_host/line_parameters.h>

#include <cstdint>
#include <string>

namespace rtu {

/** "19200 baud 8E1" */
std::string lineName(const LineParameters &parameters);

class LineTiming
{
public:
    LineTiming() = default;
    explicit LineTiming(const LineParameters &parameters);

    /** Time that so many characters take. */
    Duration characters(std::size_t count) const;

    /**
     * Quiet time before a frame: 3.5 characters, above 19200 baud always 1.75 ms,
     * because timers of fast lines cannot be expected to resolve less.
     */
    Duration silence() const { return m_silence; }
    void setSilence(Duration silence) { m_silence = silence; }

    /**
     * Quiet time that ends a reply of other than the expected length. Far above
     * the silence: USB adapters hand over what they received every 16 ms, so a
     * shorter pause says nothing about the line.
     */
    Duration replyGap() const { return m_replyGap; }
    void setReplyGap(Duration gap) { m_replyGap = gap; }

private:
    std::chrono::nanoseconds m_character{0};
    Duration m_silence{0};
    Duration m_replyGap{std::chrono::milliseconds(50)};
};

} // namespace rtu

#endif
