/**
 * @file
 * Values that move by themselves.
 */
#ifndef RTU_PLANT_MOTION_H
#define RTU_PLANT_MOTION_H

#include "plant/plant.h"

namespace plant {

/** The value of a motion so long after its start, cut to 32 bits. */
std::uint32_t valueAt(const Motion &motion, std::chrono::nanoseconds elapsed);

/** A clock that can be held. */
class MotionClock
{
public:
    using Clock = std::chrono::steady_clock;

    std::chrono::nanoseconds elapsed() const;
    void hold(bool held);

private:
    Clock::time_point m_start = Clock::now();
    bool m_held = false;
    std::chrono::nanoseconds m_heldAt{0};
};

} // namespace plant

#endif
