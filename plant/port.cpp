#include "plant/port.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace plant {

namespace {

bool fail(std::string *error, const std::string &what)
{
    if (error)
        *error = what + ": " + std::strerror(errno);
    return false;
}

struct BaudRate
{
    int baud;
    speed_t speed;
};

const BaudRate BaudRates[] = {
    {300, B300},       {600, B600},       {1200, B1200},     {2400, B2400},     {4800, B4800},
    {9600, B9600},     {19200, B19200},   {38400, B38400},   {57600, B57600},   {115200, B115200},
    {230400, B230400}, {460800, B460800}, {500000, B500000}, {921600, B921600}, {1000000, B1000000},
};

bool setSpeed(termios &terminal, int baud)
{
    for (const BaudRate &rate : BaudRates) {
        if (rate.baud == baud)
            return cfsetispeed(&terminal, rate.speed) == 0 && cfsetospeed(&terminal, rate.speed) == 0;
    }
    errno = EINVAL;
    return false;
}

bool makeRaw(int descriptor)
{
    termios terminal;
    if (tcgetattr(descriptor, &terminal) != 0)
        return false;
    cfmakeraw(&terminal);
    return tcsetattr(descriptor, TCSANOW, &terminal) == 0;
}

bool isLink(const std::string &path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool hasModemLines(int descriptor)
{
    int lines = 0;
    return ioctl(descriptor, TIOCMGET, &lines) == 0;
}

void setCharacterFormat(termios &terminal, const PortSettings &settings)
{
    cfmakeraw(&terminal);
    terminal.c_cflag |= CLOCAL | CREAD;
    terminal.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
    terminal.c_cflag |= settings.dataBits == 7 ? CS7 : CS8;
    if (settings.parity != 'N')
        terminal.c_cflag |= PARENB;
    if (settings.parity == 'O')
        terminal.c_cflag |= PARODD;
    if (settings.stopBits == 2)
        terminal.c_cflag |= CSTOPB;
}

} // namespace

bool Port::openPair(const std::string &link, std::string *error)
{
    m_descriptor = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    char name[128];
    if (m_descriptor < 0 || grantpt(m_descriptor) != 0 || unlockpt(m_descriptor) != 0
        || ptsname_r(m_descriptor, name, sizeof name) != 0) {
        fail(error, "no pseudo-terminal");
        close();
        return false;
    }
    m_masterEnd = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_masterEnd < 0 || !makeRaw(m_masterEnd)) {
        fail(error, name);
        close();
        return false;
    }
    m_pacesItself = false;
    m_masterPath = name;
    if (link.empty())
        return true;
    if (isLink(link))
        ::unlink(link.c_str());
    if (::symlink(name, link.c_str()) != 0) {
        fail(error, link);
        close();
        return false;
    }
    m_link = link;
    m_masterPath = link;
    return true;
}

bool Port::openExisting(const std::string &path, const PortSettings &settings, std::string *error)
{
    m_descriptor = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    termios terminal;
    if (m_descriptor < 0 || tcgetattr(m_descriptor, &terminal) != 0) {
        fail(error, path);
        close();
        return false;
    }
    m_pacesItself = hasModemLines(m_descriptor);
    setCharacterFormat(terminal, settings);
    const bool ready = m_pacesItself
                           ? setSpeed(terminal, settings.baud) && tcsetattr(m_descriptor, TCSANOW, &terminal) == 0
                           : makeRaw(m_descriptor);
    if (!ready) {
        fail(error, path + " at " + std::to_string(settings.baud) + " baud");
        close();
        return false;
    }
    tcflush(m_descriptor, TCIOFLUSH);
    m_masterPath = path;
    return true;
}

void Port::close()
{
    if (!m_link.empty())
        ::unlink(m_link.c_str());
    m_link.clear();
    if (m_masterEnd >= 0)
        ::close(m_masterEnd);
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_masterEnd = -1;
    m_descriptor = -1;
}

} // namespace plant
