/**
 * @file
 * A pseudo-terminal whose system calls fail, or move few bytes, where a test wants it.
 */
#ifndef TESTS_KIT_FAULTY_PORT_H
#define TESTS_KIT_FAULTY_PORT_H

#include "kit/line/port_line.h"
#include "kit/line/serial_port.h"
#include "support/line_parameters.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace test_line {

enum class PortCall { Open, Write, Read };

/** What a call does instead of its work. */
struct PortFault
{
    enum { Fails = -1 };

    ssize_t most;  ///< bytes that it moves; 0 ends a line; Fails: it fails with the error
    int error = 0; ///< the errno with Fails
    int calls = 1; ///< so many in a row have the fault
};

class FaultyPort : public rtu::PortLine
{
public:
    /** @param piece bytes that a call without a fault moves at most */
    FaultyPort(const std::string &device, std::size_t piece) : PortLine(device), m_piece(piece)
    {
        setParameters(unpaced());
    }

    void open() override { m_port.open(name(), parameters()); }
    void close() override { m_port.close(); }

    bool ensureOpen() override
    {
        if (m_port.isOpen())
            return true;
        if (isFaulty(PortCall::Open))
            return false;
        open();
        return true;
    }

    /** From here on: the call of that kind and number, counted from 0, has the fault. */
    void failAt(PortCall call, int number, const PortFault &fault)
    {
        m_call = call;
        m_number = number;
        m_fault = fault;
        m_made = 0;
    }

    /** Calls of the kind that failAt() named, since then. */
    int callsMade() const { return m_made; }

protected:
    int descriptor() const override { return m_port.descriptor(); }

    ssize_t put(const unsigned char *bytes, std::size_t size) override
    {
        const std::size_t most = bytesOf(PortCall::Write, size);
        return most == 0 ? m_ending : ::write(descriptor(), bytes, most);
    }

    ssize_t get(unsigned char *out, std::size_t room) override
    {
        const std::size_t most = bytesOf(PortCall::Read, room);
        return most == 0 ? m_ending : ::read(descriptor(), out, most);
    }

private:
    bool isFaulty(PortCall call)
    {
        if (call != m_call)
            return false;
        const int number = m_made++;
        return number >= m_number && number - m_number < m_fault.calls;
    }

    /** How many bytes the call may move; 0: none, and it returns m_ending. */
    std::size_t bytesOf(PortCall call, std::size_t size)
    {
        if (!isFaulty(call))
            return std::min(size, m_piece);
        errno = m_fault.error;
        m_ending = m_fault.most;
        return std::min(size, static_cast<std::size_t>(std::max<ssize_t>(m_fault.most, 0)));
    }

    rtu::SerialPort m_port;
    const std::size_t m_piece;
    PortCall m_call = PortCall::Open;
    PortFault m_fault{PortFault::Fails, EIO, 0};
    ssize_t m_ending = 0;
    int m_number = 0;
    int m_made = 0;
};

} // namespace test_line

#endif
