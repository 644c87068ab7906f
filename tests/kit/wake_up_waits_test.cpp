// What the system is asked to wait for. It may be asked any time after the test looked at the
// clock, so the bounds are two looks, one before and one when it was asked.

#include "kit/line/wake_up.h"
#include "kit/system_waits.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>

namespace {

using namespace test_line;
using rtu::Duration;
using rtu::SteadyClock;
using rtu::TimePoint;

class WakeUpWaits : public testing::Test
{
protected:
    WakeUpWaits() { systemWaits = SystemWaits(); }

    static Duration durationOf(const timespec &time)
    {
        EXPECT_LE(0, time.tv_nsec);
        EXPECT_GT(1000000000, time.tv_nsec);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    /** Of an event that does not come; until the deadline, as the system was asked. */
    Duration awaited(TimePoint deadline)
    {
        systemWaits.awaits.clear();
        EXPECT_FALSE(wakeUp.await(wakeUp.descriptor(), POLLIN, deadline));
        EXPECT_EQ(1u, systemWaits.awaits.size());
        EXPECT_EQ(2u, systemWaits.awaits[0].descriptors) << "what is awaited, and the interruption";
        return durationOf(systemWaits.awaits[0].time);
    }

    rtu::WakeUp wakeUp;
};

TEST_F(WakeUpWaits, LastUntilTheDeadline)
{
    const std::chrono::seconds years68(std::numeric_limits<std::int32_t>::max());
    const Duration longest = sizeof(time_t) == 4 ? Duration(years68) : Duration::max();
    for (const TimePoint deadline : {SteadyClock::now() + Never, TimePoint::max()}) {
        const TimePoint before = SteadyClock::now();
        const Duration time = awaited(deadline);
        EXPECT_GE(deadline - before, time);
        EXPECT_LE(std::min(longest, deadline - systemWaits.awaits[0].asked), time);
    }
    EXPECT_EQ(Duration(0), awaited(TimePoint::min()));
}

TEST_F(WakeUpWaits, AreNotBegunAgainForASignalOfEarlier)
{
    errno = EINTR;
    EXPECT_EQ(Duration(0), awaited(TimePoint::min()));
}

TEST_F(WakeUpWaits, SleepInSlicesOfAFifthOfASecond)
{
    const TimePoint before = SteadyClock::now();
    systemWaits.sleeping = [this] {
        if (systemWaits.sleeps.size() == 2)
            wakeUp.interrupt();
    };
    wakeUp.sleepUntil(before + Never);
    ASSERT_EQ(2u, systemWaits.sleeps.size());
    for (const SystemWait &sleep : systemWaits.sleeps) {
        const Duration until = durationOf(sleep.time);
        EXPECT_LE((before + std::chrono::milliseconds(200)).time_since_epoch(), until);
        EXPECT_GE((sleep.asked + std::chrono::milliseconds(200)).time_since_epoch(), until);
    }
}

TEST_F(WakeUpWaits, HaveADescriptorThatNeverBlocksAndStaysInThisProgram)
{
    EXPECT_EQ(O_NONBLOCK, ::fcntl(wakeUp.descriptor(), F_GETFL) & O_NONBLOCK);
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(wakeUp.descriptor(), F_GETFD));
    wakeUp.clear(); // though nobody interrupted
    EXPECT_FALSE(wakeUp.interrupted());
}

} // namespace
