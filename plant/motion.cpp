#include "plant/motion.h"

#include <algorithm>
#include <cmath>

namespace plant {

std::uint32_t valueAt(const Motion &motion, std::chrono::nanoseconds elapsed)
{
    const std::int64_t period = std::max<std::int64_t>(1, std::chrono::nanoseconds(motion.period).count());
    const std::int64_t turns = elapsed.count() / period;
    switch (motion.shape) {
    case Motion::Ramp: {
        const std::int64_t step = std::max<std::int64_t>(1, motion.step);
        const std::int64_t positions = std::max<std::int64_t>(0, motion.high - motion.low) / step + 1;
        return static_cast<std::uint32_t>(motion.low + turns % positions * step);
    }
    case Motion::Sine: {
        const double tau = 2 * std::acos(-1.0);
        const double phase = tau * static_cast<double>(elapsed.count() % period) / static_cast<double>(period);
        const double middle = static_cast<double>(motion.low + motion.high) / 2;
        const double swing = static_cast<double>(motion.high - motion.low) / 2;
        return static_cast<std::uint32_t>(std::llround(middle + swing * std::sin(phase)));
    }
    case Motion::Counter:
        return static_cast<std::uint32_t>(motion.low + turns);
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
