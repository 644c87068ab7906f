#include "plant/motion.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using plant::Motion;

const std::int64_t Lowest = std::numeric_limits<std::int64_t>::min();
const std::int64_t Highest = std::numeric_limits<std::int64_t>::max();

struct Case
{
    const char *what;
    Motion::Shape shape;
    std::int64_t low;
    std::int64_t high;
    std::int64_t step;
    int turns;
    std::uint32_t value;
};

TEST(Motion, StaysDefinedAtTheEndsOfItsNumbers)
{
    const Case cases[] = {
        {"a ramp in the middle", Motion::Ramp, 10, 14, 2, 2, 14},
        {"a ramp that begins again", Motion::Ramp, 10, 14, 2, 3, 10},
        {"a ramp from the lowest number", Motion::Ramp, Lowest, 0, 1, 3, 3},
        {"a ramp over all numbers", Motion::Ramp, Lowest, Highest, 1, 5, 5},
        {"a ramp whose last step leads beyond", Motion::Ramp, Highest - 1, Highest, 4294967295, 1, 0xFFFFFFFE},
        {"a counter past the highest number", Motion::Counter, Highest, 0, 1, 1, 0},
        {"a sine from the lowest number", Motion::Sine, Lowest, Lowest, 1, 0, 0},
        {"a sine between the ends", Motion::Sine, Lowest, Highest, 1, 0, 0},
    };
    for (const Case &entry : cases) {
        Motion motion;
        motion.shape = entry.shape;
        motion.low = entry.low;
        motion.high = entry.high;
        motion.step = entry.step;
        EXPECT_EQ(plant::valueAt(motion, entry.turns * std::chrono::nanoseconds(motion.period)), entry.value)
            << entry.what;
    }
}

} // namespace
