/**
 * @file
 * A serial port or pseudo-terminal as a Line.
 */
#ifndef KIT_LINE_SERIAL_LINE_H
#define KIT_LINE_SERIAL_LINE_H

#include "kit/line/port_line.h"
#include "kit/line/serial_port.h"

namespace rtu {

class SerialLine : public PortLine
{
public:
    /** Opens nothing yet; see open(). */
    SerialLine(const std::string &device, const LineParameters &parameters);

    void open() override;
    void close() override;
    bool ensureOpen() override;
    LineErrors errors() const override;

private:
    int descriptor() const override { return m_port.descriptor(); }
    ssize_t put(const unsigned char *bytes, std::size_t size) override;
    ssize_t get(unsigned char *out, std::size_t room) override;

    const LineParameters m_wanted;
    SerialPort m_port;
};

} // namespace rtu

#endif
