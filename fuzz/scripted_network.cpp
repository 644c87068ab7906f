#include "scripted_network.h"

#include "fuzz_host.h"

#include <poll.h>
#include <sys/socket.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace fuzz {

namespace {

ScriptedNetwork *current = nullptr;

/** What a host owes a peer that does not answer before it comes again. */
const std::chrono::seconds RetryPause(1);

int failed(int error)
{
    errno = error;
    return -1;
}

} // namespace

ScriptedNetwork::ScriptedNetwork(FuzzedDataProvider &input) : m_input(input)
{
    current = this;
}

ScriptedNetwork::~ScriptedNetwork()
{
    current = nullptr;
}

int ScriptedNetwork::connect(int socket)
{
    m_socket = socket;
    require(m_lastConnect == TimePoint() || m_now >= m_lastConnect + RetryPause, "a peer is pestered");
    m_lastConnect = m_now;
    return failed(m_input.PickValueInArray({EINPROGRESS, EINPROGRESS, EINPROGRESS, 0, ECONNREFUSED, ENETUNREACH}));
}

int ScriptedNetwork::connectionError()
{
    return m_input.PickValueInArray({0, 0, 0, 0, ECONNREFUSED, EHOSTUNREACH});
}

ssize_t ScriptedNetwork::send(const void *bytes, std::size_t size)
{
    require(size > 0, "nothing is sent");
    std::size_t taken = size;
    switch (m_input.ConsumeIntegralInRange(0, 7)) {
    case 0:
        return failed(m_input.PickValueInArray({EAGAIN, EAGAIN, EINTR, ECONNRESET, EPIPE}));
    case 1:
        taken = m_input.ConsumeIntegralInRange<std::size_t>(1, size);
        break;
    default:
        break;
    }
    sent.append(static_cast<const char *>(bytes), static_cast<int>(taken));
    return static_cast<ssize_t>(taken);
}

ssize_t ScriptedNetwork::receive(void *out, std::size_t room)
{
    require(room > 0, "nothing is asked for");
    if (!m_readable && m_input.ConsumeIntegralInRange(0, 3) != 0)
        return failed(EAGAIN);
    m_readable = false;
    switch (m_input.ConsumeIntegralInRange(0, 15)) {
    case 0:
        return 0; // the peer has closed
    case 1:
        return failed(m_input.PickValueInArray({EAGAIN, EINTR, ECONNRESET, ETIMEDOUT, EIO}));
    default:
        break;
    }
    const std::size_t most = std::min<std::size_t>(room, 300);
    const std::vector<unsigned char> piece =
        m_input.ConsumeBytes<unsigned char>(m_input.ConsumeIntegralInRange<std::size_t>(1, most));
    if (piece.empty())
        return failed(EAGAIN);
    std::memcpy(out, piece.data(), piece.size());
    received.append(reinterpret_cast<const char *>(piece.data()), static_cast<int>(piece.size()));
    m_lastConnect = TimePoint();
    return static_cast<ssize_t>(piece.size());
}

bool ScriptedNetwork::await(short events, Duration time)
{
    const bool soon = m_input.remaining_bytes() > 0 && m_input.ConsumeIntegralInRange(0, 3) != 0;
    const Duration delay = std::chrono::milliseconds(m_input.PickValueInArray({0, 1, 20, 190, 499, 501, 3000, 6000}));
    m_now += std::min(delay, time);
    const bool ready = soon && delay <= time;
    m_readable = ready && (events & POLLIN) != 0;
    // Nothing comes at once for ever: each wait that ends costs a moment.
    m_now += std::chrono::microseconds(1);
    if (!ready)
        m_now += std::max(Duration(0), time - delay);
    return ready;
}

void ScriptedNetwork::sleepUntil(TimePoint when)
{
    m_now = std::max(m_now, when);
}

} // namespace fuzz

using fuzz::current;

// The system's calls, and the clock, as the linker has them call.
extern "C" {

int __real_ppoll(pollfd *watched, nfds_t count, const timespec *time, const sigset_t *signals);

int __wrap_connect(int socket, const sockaddr *, socklen_t)
{
    return current->connect(socket);
}

int __wrap_getsockopt(int, int, int, void *value, socklen_t *)
{
    const int error = current->connectionError();
    std::memcpy(value, &error, sizeof error);
    return 0;
}

ssize_t __wrap_send(int, const void *bytes, std::size_t size, int)
{
    return current->send(bytes, size);
}

ssize_t __wrap_recv(int, void *out, std::size_t room, int)
{
    return current->receive(out, room);
}

int __wrap_ppoll(pollfd *watched, nfds_t count, const timespec *time, const sigset_t *signals)
{
    if (!current->isSocket(watched[0].fd))
        return __real_ppoll(watched, count, time, signals);
    const std::chrono::nanoseconds patience =
        std::chrono::seconds(time->tv_sec) + std::chrono::nanoseconds(time->tv_nsec);
    watched[0].revents = current->await(watched[0].events, patience) ? watched[0].events : static_cast<short>(0);
    return watched[0].revents != 0 ? 1 : 0;
}

int __wrap_clock_nanosleep(clockid_t, int, const timespec *until, timespec *)
{
    current->sleepUntil(fuzz::ScriptedNetwork::TimePoint(std::chrono::seconds(until->tv_sec)
                                                         + std::chrono::nanoseconds(until->tv_nsec)));
    return 0;
}

} // extern "C"

// std::chrono::steady_clock::now() is no C function: its names are the linker's.
std::chrono::steady_clock::time_point clockOfSystem() __asm__("__real__ZNSt6chrono3_V212steady_clock3nowEv");
std::chrono::steady_clock::time_point clockOfNetwork() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

std::chrono::steady_clock::time_point clockOfNetwork()
{
    return current != nullptr ? current->now() : clockOfSystem();
}
