#include "kit/line/serial_line.h"

#include "kit/line/port_control.h"

#include <unistd.h>

#include <stdexcept>

namespace rtu {

SerialLine::SerialLine(const std::string &device, const LineParameters &parameters)
    : PortLine(device)
    , m_wanted(parameters)
{
    setParameters(parameters);
}

void SerialLine::open()
{
    m_port.open(name(), m_wanted);
    setParameters(m_port.parameters());
    setNotice(m_port.notice());
}

void SerialLine::close()
{
    m_port.close();
}

bool SerialLine::ensureOpen()
{
    if (m_port.isOpen())
        return true;
    try {
        open();
    } catch (const std::runtime_error &error) {
        setNotice(error.what());
        return false;
    }
    return true;
}

LineErrors SerialLine::errors() const
{
    LineErrors errors;
    errors.known = port_control::countErrors(m_port.descriptor(), &errors.framing, &errors.parity);
    return errors;
}

ssize_t SerialLine::put(const unsigned char *bytes, std::size_t size)
{
    return ::write(m_port.descriptor(), bytes, size);
}

ssize_t SerialLine::get(unsigned char *out, std::size_t room)
{
    return ::read(m_port.descriptor(), out, room);
}

} // namespace rtu
