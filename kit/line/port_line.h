/**
 * @file
 * A line on a descriptor of this process: what serial ports and network
 * connections have in common.
 */
#ifndef KIT_LINE_PORT_LINE_H
#define KIT_LINE_PORT_LINE_H

#include "kit/line/line_timing.h"
#include "kit/line/wake_up.h"

#include <modbus_rtu_host/line.h>
#include <modbus_rtu_host/line_parameters.h>

#include <sys/types.h>

#include <string>

namespace rtu {

/** What the receiver of a port has found wrong with characters since the system started. */
struct LineErrors
{
    bool known = false; ///< pseudo-terminals, connections and some adapters count none
    int framing = 0;    ///< no stop bit where one must be
    int parity = 0;
};

class PortLine : public Line
{
public:
    /**
     * Opens the port now, which may take a while where it is far away; interrupt()
     * ends that as well.
     *
     * @throws std::runtime_error that says what failed
     */
    virtual void open() = 0;
    virtual void close() = 0;

    /** What is worth telling about the last try to open; empty when nothing is. */
    const std::string &notice() const { return m_notice; }
    /** The parameters in use after open(); of a port without a pace, the baud rate is 0. */
    const LineParameters &parameters() const { return m_parameters; }
    /** How long characters and silences last there. */
    virtual LineTiming timing() const { return LineTiming(m_parameters); }
    virtual LineErrors errors() const { return LineErrors(); }
    /** As the caller named the port. */
    const std::string &name() const { return m_name; }

    TimePoint now() override { return SteadyClock::now(); }
    void sleepUntil(TimePoint when) override;
    bool write(const unsigned char *bytes, std::size_t size) override;
    int read(unsigned char *out, std::size_t room, TimePoint deadline) override;
    /** Takes a bounded number of bytes at a time from a port that sends without end. */
    std::size_t discardInput() override;
    void interrupt() override { m_wakeUp.interrupt(); }
    void clearInterrupt() override { m_wakeUp.clear(); }

protected:
    explicit PortLine(const std::string &name) : m_name(name) {}

    /** Below 0 while the port is not open. It never blocks. */
    virtual int descriptor() const = 0;
    /** As ::write(), and without a signal when the far end is gone. */
    virtual ssize_t put(const unsigned char *bytes, std::size_t size) = 0;
    /** As ::read(). */
    virtual ssize_t get(unsigned char *out, std::size_t room) = 0;

    const WakeUp &wakeUp() const { return m_wakeUp; }
    void setNotice(const std::string &notice) { m_notice = notice; }
    void setParameters(const LineParameters &parameters) { m_parameters = parameters; }

private:
    WakeUp m_wakeUp;
    std::string m_name;
    LineParameters m_parameters;
    std::string m_notice;
    bool m_emptied = false; ///< the last read took all there was: worth waiting before the next
};

} // namespace rtu

#endif
