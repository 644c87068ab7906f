/**
 * @file
 * How long characters, frames and silences last on the line.
 */
#ifndef RTU_HOST_LINE_TIMING_H
#define RTU_HOST_LINE_TIMING_H

#include "line.h"

#include <cstdint>
#include <string>

namespace rtu {

/** The line parameters of a port. */
struct LineParameters
{
    int baud = 19200; ///< 0: no pace at all (pipes, pseudo-terminals) and no silences
    int dataBits = 8;
    char parity = 'E'; ///< 'N', 'E', 'O'
    int stopBits = 1;

    /** Start bit, data bits, parity and stop bits. */
    int bitsPerCharacter() const { return 1 + dataBits + (parity == 'N' ? 0 : 1) + stopBits; }
};

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
