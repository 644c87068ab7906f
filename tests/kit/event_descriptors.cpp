#include "kit/event_descriptors.h"

#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

static std::atomic<bool> refused(false);

// In the place of the C library's.
extern "C" int eventfd(unsigned int initial, int flags) noexcept
{
    if (!refused)
        return static_cast<int>(::syscall(SYS_eventfd2, initial, flags));
    errno = EMFILE;
    return -1;
}

namespace test_line {

NoEventDescriptor::NoEventDescriptor()
{
    refused = true;
}

NoEventDescriptor::~NoEventDescriptor()
{
    refused = false;
}

} // namespace test_line
