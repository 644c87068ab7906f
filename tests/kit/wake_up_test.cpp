// Waits that end by themselves, by an event, by an interruption.

#include "kit/line/wake_up.h"

#include "kit/event_descriptors.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <signal.h>

#include <thread>

namespace {

using rtu::SteadyClock;
using rtu::TimePoint;
using rtu::WakeUp;
using test_line::Never;

class Pipe
{
public:
    Pipe() { EXPECT_EQ(0, ::pipe(m_ends)); }
    ~Pipe()
    {
        ::close(m_ends[0]);
        ::close(m_ends[1]);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    int out() const { return m_ends[0]; }
    void send() { EXPECT_EQ(1, ::write(m_ends[1], "x", 1)); }

private:
    int m_ends[2];
};

TEST(WakeUp, EndsAtTheDeadline)
{
    const WakeUp wakeUp;
    Pipe pipe;
    EXPECT_FALSE(wakeUp.await(pipe.out(), POLLIN, SteadyClock::now()));
    EXPECT_FALSE(wakeUp.await(pipe.out(), POLLIN, TimePoint::min()));
}

TEST(WakeUp, EndsWithAnEvent)
{
    const WakeUp wakeUp;
    Pipe pipe;
    pipe.send();
    EXPECT_TRUE(wakeUp.await(pipe.out(), POLLIN, SteadyClock::now() + Never));
}

TEST(WakeUp, EndsWithAnInterruptionUntilThatIsCleared)
{
    WakeUp wakeUp;
    Pipe pipe;
    pipe.send();
    wakeUp.interrupt();
    wakeUp.interrupt();
    EXPECT_TRUE(wakeUp.interrupted());
    EXPECT_FALSE(wakeUp.await(pipe.out(), POLLIN, SteadyClock::now() + Never));
    wakeUp.sleepUntil(SteadyClock::now() + Never);
    wakeUp.clear();
    EXPECT_FALSE(wakeUp.interrupted());
    EXPECT_TRUE(wakeUp.await(pipe.out(), POLLIN, SteadyClock::now() + Never));
}

TEST(WakeUp, IsInterruptedFromAnotherThread)
{
    WakeUp wakeUp;
    Pipe pipe;
    std::thread waiting([&] { EXPECT_FALSE(wakeUp.await(pipe.out(), POLLIN, SteadyClock::now() + Never)); });
    std::thread sleeping([&] { wakeUp.sleepUntil(SteadyClock::now() + Never); });
    wakeUp.interrupt();
    waiting.join();
    sleeping.join();
}

TEST(WakeUp, SleepsUntilItsTime)
{
    const WakeUp wakeUp;
    const TimePoint end = SteadyClock::now() + std::chrono::milliseconds(2);
    wakeUp.sleepUntil(end);
    EXPECT_GE(SteadyClock::now(), end);
}

TEST(WakeUp, WaitsOnAfterASignal)
{
    struct sigaction act;
    struct sigaction before;
    sigemptyset(&act.sa_mask);
    act.sa_flags = 0;
    act.sa_handler = [](int) {};
    ASSERT_EQ(0, ::sigaction(SIGUSR1, &act, &before));
    const WakeUp wakeUp;
    Pipe pipe;
    const pthread_t waiting = ::pthread_self();
    std::thread signaller([&] {
        for (int i = 0; i < 50; ++i) {
            ::pthread_kill(waiting, SIGUSR1);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        pipe.send();
    });
    EXPECT_TRUE(wakeUp.await(pipe.out(), POLLIN, SteadyClock::now() + Never));
    signaller.join();
    ASSERT_EQ(0, ::sigaction(SIGUSR1, &before, nullptr));
}

TEST(WakeUp, SaysWhenTheProcessHasNoDescriptorLeft)
{
    const test_line::NoEventDescriptor none;
    EXPECT_EQ("cannot create an event descriptor", test_line::failureOf([] { WakeUp(); }));
}

} // namespace
