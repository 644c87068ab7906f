/**
 * @file
 * In a file of its own: the kernel's header of rates without a name cannot be
 * included beside the C library's <termios.h>.
 */
#include <asm/ioctls.h>
#include <asm/termbits.h>

#include <sys/ioctl.h>

namespace rtu {

namespace {

// Where a machine's first settings have speeds of any value, there are no second ones.
#ifdef TCGETS2
using Settings = termios2;
const unsigned long ReadSettings = TCGETS2;
const unsigned long WriteSettings = TCSETS2;
#else
using Settings = termios;
const unsigned long ReadSettings = TCGETS;
const unsigned long WriteSettings = TCSETS;
#endif

} // namespace

namespace port_control {

int setBaudRate(int descriptor, int baud)
{
    Settings settings;
    if (::ioctl(descriptor, ReadSettings, &settings) != 0)
        return -1;
    settings.c_cflag &= ~static_cast<tcflag_t>(CBAUD);
    settings.c_cflag |= BOTHER;
    // Looked at only where another program has set a rate of its own for receiving.
    settings.c_ispeed = static_cast<speed_t>(baud);
    settings.c_ospeed = static_cast<speed_t>(baud);
    const bool set =
        ::ioctl(descriptor, WriteSettings, &settings) == 0 && ::ioctl(descriptor, ReadSettings, &settings) == 0;
    return set ? static_cast<int>(settings.c_ospeed) : -1;
}

} // namespace port_control

} // namespace rtu
