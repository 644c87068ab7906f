#include "kit/line/port_control.h"

#include <fcntl.h>
#include <linux/major.h>
#include <linux/serial.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace rtu {

namespace port_control {

int open(const char *device)
{
    // O_NONBLOCK: without it a port with modem lines waits for a carrier.
    return ::open(device, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

bool isPseudoTerminal(int descriptor)
{
    struct stat info;
    if (::fstat(descriptor, &info) != 0)
        return false;
    // Smaller numbers wrap round to great ones.
    return S_ISCHR(info.st_mode) && major(info.st_rdev) - UNIX98_PTY_SLAVE_MAJOR < UNIX98_PTY_MAJOR_COUNT;
}

bool lock(int descriptor)
{
    return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

bool setExclusive(int descriptor, bool exclusive)
{
    return ::ioctl(descriptor, exclusive ? TIOCEXCL : TIOCNXCL) == 0;
}

bool readSettings(int descriptor, termios *settings)
{
    return ::tcgetattr(descriptor, settings) == 0;
}

bool writeSettings(int descriptor, const termios &settings)
{
    return ::tcsetattr(descriptor, TCSANOW, &settings) == 0;
}

bool switchDirection(int descriptor, bool inverted)
{
    const decltype(serial_rs485::flags) whenSending = SER_RS485_RTS_ON_SEND;
    const decltype(serial_rs485::flags) afterSending = SER_RS485_RTS_AFTER_SEND;
    serial_rs485 settings = serial_rs485();
    // Delays that the system's description of the board has set are kept.
    (void)::ioctl(descriptor, TIOCGRS485, &settings);
    settings.flags &= ~(whenSending | afterSending);
    settings.flags |= SER_RS485_ENABLED | (inverted ? afterSending : whenSending);
    return ::ioctl(descriptor, TIOCSRS485, &settings) == 0;
}

bool countErrors(int descriptor, int *framing, int *parity)
{
    serial_icounter_struct counts = serial_icounter_struct();
    const bool known = ::ioctl(descriptor, TIOCGICOUNT, &counts) == 0;
    *framing = counts.frame;
    *parity = counts.parity;
    return known;
}

void askForLowLatency(int descriptor)
{
    serial_struct settings;
    if (::ioctl(descriptor, TIOCGSERIAL, &settings) != 0)
        return;
    settings.flags |= static_cast<int>(ASYNC_LOW_LATENCY);
    (void)::ioctl(descriptor, TIOCSSERIAL, &settings);
}

} // namespace port_control

} // namespace rtu
