/**
 * @file
 * A serial port or pseudo-terminal as a Line.
 */
#ifndef KIT_LINE_SERIAL_LINE_H
#define KIT_LINE_SERIAL_LINE_H

#include <modbus_rtu_host/line.h>
#include "kit/line/line_timing.h"

#include <memory>
#include <string>

namespace rtu {

class SerialLine : public Line
{
public:
    /** Opens nothing yet; see open(). */
    SerialLine(const std::string &device, const LineParameters &parameters);
    ~SerialLine() override;

    /**
     * Opens the port with the line parameters. A pseudo-terminal has neither
     * parity nor baud rate: it gets 8N2, and notice() says so.
     *
     * @throws std::runtime_error that says what failed
     */
    void open();
    void close();

    /** What is worth telling about the last open(); empty when nothing is. */
    const std::string &notice() const;

    /** The parameters in use after open(): as asked for, or 8N2. */
    const LineParameters &parameters() const;
    const std::string &device() const;

    TimePoint now() override;
    void sleepUntil(TimePoint when) override;
    bool ensureOpen() override;
    bool write(const unsigned char *bytes, std::size_t size) override;
    int read(unsigned char *out, std::size_t room, TimePoint deadline) override;
    std::size_t discardInput() override;
    void interrupt() override;
    void clearInterrupt() override;

private:
    class Port;
    std::unique_ptr<Port> m_port;
};

} // namespace rtu

#endif
