#include "kit/port_requests.h"

#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdarg>

namespace test_line {

PortAnswers portAnswers;

} // namespace test_line

// In the place of the C library's.
extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    const auto answer = test_line::portAnswers.find(request);
    if (answer != test_line::portAnswers.end())
        return answer->second(argument);
    return static_cast<int>(::syscall(SYS_ioctl, descriptor, request, argument));
}
