/**
 * @file
 * The waits work on the descriptor directly, because a poll loop wants one wake-up
 * for the first byte of a reply and one for the last, not one for every read.
 */
#include "kit/line/port_line.h"

#include <poll.h>

#include <cerrno>

namespace rtu {

namespace {

const Duration StuckOutput = std::chrono::seconds(5);

/** Far more than a line brings between two requests. */
const std::size_t MostDiscarded = 65536;

bool mayComeLater(int error)
{
    return error == EAGAIN || error == EINTR;
}

} // namespace

void PortLine::sleepUntil(TimePoint when)
{
    m_emptied = false;
    m_wakeUp.sleepUntil(when);
}

bool PortLine::write(const unsigned char *bytes, std::size_t size)
{
    if (descriptor() < 0)
        return false;
    const TimePoint deadline = SteadyClock::now() + StuckOutput;
    while (size > 0) {
        const ssize_t written = put(bytes, size);
        if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
            continue;
        }
        const bool full = written < 0 && mayComeLater(errno);
        if (!full || !m_wakeUp.await(descriptor(), POLLOUT, deadline)) {
            close();
            return false;
        }
    }
    return true;
}

int PortLine::read(unsigned char *out, std::size_t room, TimePoint deadline)
{
    if (descriptor() < 0)
        return LineLost;
    for (;;) {
        // Before looking for bytes: a port that sends without end must not keep its user from stopping.
        if (m_wakeUp.interrupted())
            return Interrupted;
        if (m_emptied && SteadyClock::now() < deadline && !m_wakeUp.await(descriptor(), POLLIN, deadline))
            return m_wakeUp.interrupted() ? Interrupted : DeadlinePassed;
        const ssize_t count = get(out, room);
        m_emptied = count < static_cast<ssize_t>(room);
        if (count > 0)
            return static_cast<int>(count);
        if (count == 0 || !mayComeLater(errno)) { // unplugged, or the far end closed
            close();
            return LineLost;
        }
        if (SteadyClock::now() >= deadline)
            return DeadlinePassed;
    }
}

std::size_t PortLine::discardInput()
{
    unsigned char dropped[512];
    std::size_t total = 0;
    while (total < MostDiscarded) {
        const int count = read(dropped, sizeof(dropped), TimePoint::min());
        if (count <= 0)
            break;
        total += static_cast<std::size_t>(count);
    }
    return total;
}

} // namespace rtu
