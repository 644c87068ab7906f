#include "kit/line/serial_port.h"

#include "kit/line/port_control.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace rtu {

namespace {

const tcflag_t CharacterFlags = CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS;

std::string characterText(const LineParameters &parameters)
{
    return std::to_string(parameters.dataBits) + parameters.parity + std::to_string(parameters.stopBits);
}

tcflag_t characterFlags(const LineParameters &parameters)
{
    tcflag_t flags = parameters.dataBits == 7 ? CS7 : CS8;
    if (parameters.parity != 'N')
        flags |= PARENB;
    if (parameters.parity == 'O')
        flags |= PARODD;
    if (parameters.stopBits == 2)
        flags |= CSTOPB;
    return flags;
}

/** Receivers stand a difference of about four per cent between the two ends; the other end wants its share. */
bool farOff(int wanted, int used)
{
    return std::abs(used - wanted) > wanted / 50;
}

} // namespace

void SerialPort::open(const std::string &device, const LineParameters &parameters)
{
    close();
    m_device = device;
    m_parameters = parameters;
    m_notice.clear();
    m_descriptor.reset(port_control::open(device.c_str()));
    if (!isOpen() && errno == EBUSY)
        throw PortInUse(device);
    if (!isOpen())
        throw std::runtime_error("cannot open " + device + ": " + std::strerror(errno));
    try {
        m_pseudoTerminal = port_control::isPseudoTerminal(descriptor());
        claim();
        configure();
    } catch (...) {
        close();
        throw;
    }
    ::tcflush(descriptor(), TCIFLUSH);
}

void SerialPort::close()
{
    if (!isOpen())
        return;
    if (!m_pseudoTerminal) {
        // Closing would wait up to half a minute for bytes that cannot be sent. At the far
        // end of a pseudo-terminal, sent bytes wait in the same place until they are read.
        ::tcflush(descriptor(), TCOFLUSH);
        (void)port_control::setExclusive(descriptor(), false);
    }
    m_descriptor.reset();
}

void SerialPort::refuse(const std::string &what) const
{
    throw std::runtime_error(m_device + " does not take " + what + ": " + std::strerror(errno));
}

/**
 * Two masters on one line garble each other's replies. A pseudo-terminal is locked
 * only: it would stay exclusive when this program is killed, for as long as its far
 * end lives.
 */
void SerialPort::claim()
{
    if (!port_control::lock(descriptor()) && errno == EWOULDBLOCK) {
        m_descriptor.reset(); // close() would drop what the other program sends, and let others in beside it
        throw PortInUse(m_device);
    }
    if (!m_pseudoTerminal)
        (void)port_control::setExclusive(descriptor(), true);
}

void SerialPort::configure()
{
    if (m_pseudoTerminal)
        adaptToPseudoTerminal();
    setCharacters();
    if (m_pseudoTerminal)
        return;
    if (m_parameters.baud > 0)
        setBaudRate();
    if (m_parameters.rs485 && !port_control::switchDirection(descriptor(), m_parameters.rtsInverted))
        refuse("the direction control of RS-485");
    port_control::askForLowLatency(descriptor());
}

/** A pseudo-terminal carries bytes, not characters, so anything but eight plain bits is refused there. */
void SerialPort::adaptToPseudoTerminal()
{
    if (m_parameters.dataBits == 8 && m_parameters.parity == 'N')
        return;
    m_notice = m_device + " is a pseudo-terminal and has no " + characterText(m_parameters) + ": using 8N2";
    m_parameters.dataBits = 8;
    m_parameters.parity = 'N';
    m_parameters.stopBits = 2;
}

void SerialPort::setCharacters()
{
    termios settings;
    if (!port_control::readSettings(descriptor(), &settings))
        throw std::runtime_error(m_device + " is not a serial port: " + std::strerror(errno));
    ::cfmakeraw(&settings);
    settings.c_iflag &= ~static_cast<tcflag_t>(INPCK | IGNPAR | IXOFF | IXANY);
    settings.c_cflag &= ~CharacterFlags;
    settings.c_cflag |= characterFlags(m_parameters) | CLOCAL | CREAD;
    if (m_parameters.parity != 'N')
        settings.c_iflag |= INPCK; // a damaged character reads as 0, which the check sum shows
    if (!port_control::writeSettings(descriptor(), settings))
        refuse(characterText(m_parameters));
    // The kernel is content when it could do one of the things it was asked for.
    termios used;
    if (!port_control::readSettings(descriptor(), &used) || ((used.c_cflag ^ settings.c_cflag) & CharacterFlags) != 0) {
        errno = EINVAL;
        refuse(characterText(m_parameters));
    }
}

void SerialPort::setBaudRate()
{
    const int used = port_control::setBaudRate(descriptor(), m_parameters.baud);
    if (used < 0)
        refuse(std::to_string(m_parameters.baud) + " baud");
    if (farOff(m_parameters.baud, used))
        throw std::runtime_error(m_device + " does not take " + std::to_string(m_parameters.baud)
                                 + " baud: it would use " + std::to_string(used));
}

} // namespace rtu
