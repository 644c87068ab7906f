#include "plant/plant.h"

namespace plant {

namespace {

using std::chrono::nanoseconds;

// Above this rate the silence no longer shrinks with the characters.
const int FastestScaledBaud = 19200;

} // namespace

nanoseconds characterTime(const Line &line)
{
    if (line.baud <= 0)
        return nanoseconds(0);
    return nanoseconds(line.characterBits * INT64_C(1000000000) / line.baud);
}

nanoseconds silenceOf(const Line &line)
{
    if (line.silence.count() >= 0)
        return line.silence;
    if (line.baud <= 0)
        return nanoseconds(0);
    if (line.baud > FastestScaledBaud)
        return std::chrono::microseconds(1750);
    return characterTime(line) * 7 / 2;
}

} // namespace plant
