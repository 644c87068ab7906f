/**
 * @file
 * A serial port or pseudo-terminal, opened for one program alone and set to the
 * parameters of a line.
 */
#ifndef KIT_LINE_SERIAL_PORT_H
#define KIT_LINE_SERIAL_PORT_H

#include "kit/line/descriptor.h"

#include <modbus_rtu_host/line_parameters.h>

#include <stdexcept>
#include <string>

namespace rtu {

/** The port is there, and another program has it. */
class PortInUse : public std::runtime_error
{
public:
    explicit PortInUse(const std::string &device) : std::runtime_error(device + " is in use by another program") {}
};

class SerialPort
{
public:
    SerialPort() = default;
    ~SerialPort() { close(); }
    SerialPort(const SerialPort &) = delete;
    SerialPort &operator=(const SerialPort &) = delete;

    /**
     * Opens without waiting, drops what was received before, and sets the port: raw
     * bytes, no flow control. A pseudo-terminal has neither parity nor baud rate: it
     * gets 8N2, and notice() says so.
     *
     * @throws PortInUse, or another std::runtime_error that says what failed
     */
    void open(const std::string &device, const LineParameters &parameters);
    /** Does not wait for bytes that a stuck port has not sent. */
    void close();

    bool isOpen() const { return m_descriptor.isOpen(); }
    int descriptor() const { return m_descriptor.number(); }

    /** The parameters in use: as asked for, or 8N2. */
    const LineParameters &parameters() const { return m_parameters; }
    /** What is worth telling about the last open(); empty when nothing is. */
    const std::string &notice() const { return m_notice; }

private:
    [[noreturn]] void refuse(const std::string &what) const;
    void claim();
    void configure();
    void adaptToPseudoTerminal();
    void setCharacters();
    void setBaudRate();

    Descriptor m_descriptor;
    std::string m_device;
    LineParameters m_parameters;
    std::string m_notice;
    bool m_pseudoTerminal = false;
};

} // namespace rtu

#endif
