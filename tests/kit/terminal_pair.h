/**
 * @file
 * A pseudo-terminal pair: the near end is opened by what is tested, the far end is
 * the test's.
 */
#ifndef TESTS_KIT_TERMINAL_PAIR_H
#define TESTS_KIT_TERMINAL_PAIR_H

#include "kit/line/descriptor.h"
#include "kit/modbus_rtu_host/line.h"

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>

#include <stdexcept>
#include <string>

namespace test_line {

/** Nothing that works takes this long. */
const rtu::Duration Never = std::chrono::hours(1);

class TerminalPair
{
public:
    TerminalPair() : m_far(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        char name[128];
        if (!m_far.isOpen() || ::grantpt(far()) != 0 || ::unlockpt(far()) != 0
            || ::ptsname_r(far(), name, sizeof(name)) != 0)
            throw std::runtime_error("no pseudo-terminal");
        m_path = name;
    }

    int far() const { return m_far.number(); }
    const std::string &path() const { return m_path; }
    /** The near end sees a hang-up. */
    void unplug() { m_far.reset(); }

private:
    rtu::Descriptor m_far;
    std::string m_path;
};

/** The message of what the call throws; "nothing thrown" otherwise. */
template <typename Call>
std::string failureOf(Call call)
{
    try {
        call();
    } catch (const std::exception &error) {
        return error.what();
    }
    return "nothing thrown";
}

} // namespace test_line

#endif
