#include "kit/scripted_port.h"

#include "kit/line/port_control.h"

#include <fcntl.h>

#include <cerrno>

namespace test_line {

ScriptedPort scriptedPort;

namespace {

bool fail(int error)
{
    errno = error;
    return false;
}

} // namespace

} // namespace test_line

// In the place of the kit's own functions of these names.
namespace rtu {

namespace port_control {

using test_line::fail;
using test_line::ScriptedPort;
using test_line::scriptedPort;

int open(const char *device)
{
    errno = scriptedPort.exclusive ? EBUSY : scriptedPort.openError;
    return errno == 0 ? ::open(device, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC) : -1;
}

bool isPseudoTerminal(int)
{
    return scriptedPort.pseudoTerminal;
}

bool lock(int)
{
    return scriptedPort.lockError == 0 || fail(scriptedPort.lockError);
}

bool setExclusive(int, bool exclusive)
{
    scriptedPort.exclusive = exclusive;
    return true;
}

bool readSettings(int, termios *settings)
{
    if (scriptedPort.readsOnce && ++scriptedPort.reads > 1)
        return fail(EIO);
    *settings = scriptedPort.settings;
    return true;
}

bool writeSettings(int, const termios &settings)
{
    if (scriptedPort.refusesSettings)
        return fail(EIO);
    scriptedPort.settings = settings;
    scriptedPort.settings.c_cflag &= ~scriptedPort.missingFlags;
    return true;
}

int setBaudRate(int, int baud)
{
    scriptedPort.askedBaud = baud;
    if (scriptedPort.baudRate < 0)
        errno = EINVAL;
    return scriptedPort.baudRate == ScriptedPort::AsAsked ? baud : scriptedPort.baudRate;
}

bool switchDirection(int, bool inverted)
{
    scriptedPort.sendsDirection = scriptedPort.hasDirectionControl;
    scriptedPort.invertsDirection = inverted;
    return scriptedPort.hasDirectionControl || fail(ENOTTY);
}

bool countErrors(int, int *framing, int *parity)
{
    *framing = scriptedPort.framingErrors;
    *parity = scriptedPort.parityErrors;
    return scriptedPort.countsErrors;
}

void askForLowLatency(int)
{
    scriptedPort.lowLatency = true;
}

} // namespace port_control

} // namespace rtu
