#include "plant/motion.h"

#include <algorithm>
#include <cmath>

namespace plant {

namespace {

// Unsigned, so that they wrap at their ends as the values on the line do.
std::uint64_t rampAt(const Motion &motion, std::uint64_t turns)
{
    const std::uint64_t low = static_cast<std::uint64_t>(motion.low);
    const std::uint64_t span = motion.high > motion.low ? static_cast<std::uint64_t>(motion.high) - low : 0;
    const std::uint64_t step = static_cast<std::uint64_t>(std::max<std::int64_t>(1, motion.step));
    const std::uint64_t last = span / step;
    return low + (turns <= last ? turns : turns % (last + 1)) * step;
}

std::int64_t sineAt(const Motion &motion, double turn)
{
    const double tau = 2 * std::acos(-1.0);
    const double low = static_cast<double>(motion.low);
    const double high = static_cast<double>(motion.high);
    return std::llround((low + high) / 2 + (high - low) / 2 * std::sin(tau * turn));
}

} // namespace

std::uint32_t valueAt(const Motion &motion, std::chrono::nanoseconds elapsed)
{
    const std::int64_t period = std::max<std::int64_t>(1, std::chrono::nanoseconds(motion.period).count());
    const std::uint64_t turns = static_cast<std::uint64_t>(elapsed.count() / period);
    switch (motion.shape) {
    case Motion::Ramp:
        return static_cast<std::uint32_t>(rampAt(motion, turns));
    case Motion::Sine:
        return static_cast<std::uint32_t>(
            sineAt(motion, static_cast<double>(elapsed.count() % period) / static_cast<double>(period)));
    case Motion::Counter:
        return static_cast<std::uint32_t>(static_cast<std::uint64_t>(motion.low) + turns);
    case Motion::Toggle:
        return static_cast<std::uint32_t>(turns % 2);
    }
    return 0;
}

std::chrono::nanoseconds MotionClock::elapsed() const
{
    return m_held ? m_heldAt : std::chrono::nanoseconds(Clock::now() - m_start);
}

void MotionClock::hold(bool held)
{
    if (held == m_held)
        return;
    if (held)
        m_heldAt = elapsed();
    else
        m_start = Clock::now() - std::chrono::duration_cast<Clock::duration>(m_heldAt);
    m_held = held;
}

} // namespace plant
