// With it, the C library would have bodies of its own for what is replaced here.
#undef _FORTIFY_SOURCE

#include "kit/system_waits.h"

#include <poll.h>

namespace test_line {

SystemWaits systemWaits;

} // namespace test_line

using test_line::systemWaits;

// Both in the place of the C library's.

extern "C" int ppoll(pollfd *descriptors, nfds_t count, const timespec *time, const sigset_t *)
{
    systemWaits.awaits.push_back({*time, static_cast<std::size_t>(count), rtu::SteadyClock::now()});
    return ::poll(descriptors, count, 0);
}

extern "C" int clock_nanosleep(clockid_t, int, const timespec *time, timespec *)
{
    systemWaits.sleeps.push_back({*time, 0, rtu::SteadyClock::now()});
    if (systemWaits.sleeping)
        systemWaits.sleeping();
    return 0;
}
