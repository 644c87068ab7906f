#include "kit/line/wake_up.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace rtu {

namespace {

const Duration SleepSlice = std::chrono::milliseconds(200);

/** Where time_t has 32 bits, 68 years stand for all that is longer: cut off, it could be any time, also none. */
timespec toTimespec(Duration duration)
{
    const long long longest = std::numeric_limits<time_t>::max();
    const long long time = std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
    timespec result;
    result.tv_sec = static_cast<time_t>(std::min(time / 1000000000, longest));
    result.tv_nsec = static_cast<long>(time % 1000000000);
    return result;
}

/** Compared first: the distance to the far ends of time cannot be expressed. */
Duration timeLeft(TimePoint deadline)
{
    const TimePoint now = SteadyClock::now();
    return deadline > now ? deadline - now : Duration(0);
}

} // namespace

WakeUp::WakeUp() : m_event(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (!m_event.isOpen())
        throw std::runtime_error("cannot create an event descriptor");
}

bool WakeUp::await(int descriptor, short events, TimePoint deadline) const
{
    for (;;) {
        pollfd watched[2] = {{descriptor, events, 0}, {m_event.number(), POLLIN, 0}};
        const timespec time = toTimespec(timeLeft(deadline));
        const int ready = ::ppoll(watched, 2, &time, nullptr);
        if (ready < 0 && errno == EINTR)
            continue;
        return ready > 0 && watched[0].revents != 0 && watched[1].revents == 0;
    }
}

void WakeUp::sleepUntil(TimePoint when) const
{
    // steady_clock is CLOCK_MONOTONIC, so its times serve as absolute deadlines, which
    // are kept more exactly than a waiting time of poll(). Long sleeps go in slices: an
    // interruption must not wait for a slow line.
    while (SteadyClock::now() < when && !m_interrupted) {
        const TimePoint next = std::min(when, SteadyClock::now() + SleepSlice);
        const timespec target = toTimespec(next.time_since_epoch());
        ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &target, nullptr);
    }
}

void WakeUp::interrupt()
{
    m_interrupted = true;
    const std::uint64_t one = 1;
    (void)!::write(m_event.number(), &one, sizeof(one));
}

void WakeUp::clear()
{
    std::uint64_t count = 0;
    (void)!::read(m_event.number(), &count, sizeof(count));
    m_interrupted = false;
}

} // namespace rtu
