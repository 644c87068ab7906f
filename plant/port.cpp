#include "plant/port.h"

#include "kit/line/port_control.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace plant {

namespace {

bool fail(std::string *error, const std::string &what)
{
    if (error)
        *error = what + ": " + std::strerror(errno);
    return false;
}

bool makeRaw(int descriptor)
{
    termios terminal;
    if (!rtu::port_control::readSettings(descriptor, &terminal))
        return false;
    cfmakeraw(&terminal);
    return rtu::port_control::writeSettings(descriptor, terminal);
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

} // namespace

bool Port::openPair(const std::string &link, std::string *error)
{
    m_far.reset(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    char name[128];
    const int far = m_far.number();
    if (far < 0 || grantpt(far) != 0 || unlockpt(far) != 0 || ptsname_r(far, name, sizeof name) != 0) {
        fail(error, "no pseudo-terminal");
        close();
        return false;
    }
    m_masterEnd.reset(::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!m_masterEnd.isOpen() || !makeRaw(m_masterEnd.number())) {
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

bool Port::openExisting(const std::string &path, const rtu::LineParameters &parameters, std::string *error)
{
    try {
        m_existing.open(path, parameters);
    } catch (const std::runtime_error &failure) {
        if (error)
            *error = failure.what();
        return false;
    }
    m_pacesItself = hasModemLines(m_existing.descriptor());
    m_masterPath = path;
    return true;
}

void Port::close()
{
    if (!m_link.empty())
        ::unlink(m_link.c_str());
    m_link.clear();
    m_masterEnd.reset();
    m_far.reset();
    m_existing.close();
}

} // namespace plant
