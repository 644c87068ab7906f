#include "kit/line/line_timing.h"

namespace rtu {

namespace {

const int FastBaud = 19200;
const std::chrono::microseconds FastSilence(1750);

} // namespace

std::string lineName(const LineParameters &parameters)
{
    if (parameters.baud == 0)
        return "no pace";
    return std::to_string(parameters.baud) + " baud " + std::to_string(parameters.dataBits) + parameters.parity
           + std::to_string(parameters.stopBits);
}

LineTiming::LineTiming(const LineParameters &parameters)
{
    if (parameters.baud <= 0)
        return;
    const std::int64_t nanosecondsPerSecond = 1000000000;
    m_character = std::chrono::nanoseconds(nanosecondsPerSecond * parameters.bitsPerCharacter() / parameters.baud);
    m_silence = parameters.baud > FastBaud ? Duration(FastSilence) : Duration(m_character * 7 / 2);
    // A pause of many characters is needed at the lowest speeds, where 50 ms are hardly one.
    if (m_replyGap < m_character * 10)
        m_replyGap = m_character * 10;
}

Duration LineTiming::characters(std::size_t count) const
{
    return m_character * static_cast<std::int64_t>(count);
}

} // namespace rtu
