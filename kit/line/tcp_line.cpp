#include "kit/line/tcp_line.h"

#include <modbus_rtu_host/error.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace rtu {

namespace {

const char *const Prefix = "tcp:";

/** A lost packet is sent again after a fifth of a second at the earliest. */
const Duration NetworkGap = std::chrono::milliseconds(500);

void setOption(int descriptor, int level, int option, int value)
{
    // A system that does not know the option serves as well.
    (void)::setsockopt(descriptor, level, option, &value, sizeof(value));
}

/** A computer that is switched off closes nothing; only asking it shows that it is gone. */
void setOptions(int descriptor)
{
    setOption(descriptor, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, 10);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, 5);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, 3);
#ifdef TCP_USER_TIMEOUT
    setOption(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, 20000);
#endif
}

bool isPortNumber(const std::string &text)
{
    if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const int number = std::stoi(text);
    return number >= 1 && number <= 65535;
}

std::string secondsText(Duration duration)
{
    const long long milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
    return milliseconds % 1000 == 0 ? std::to_string(milliseconds / 1000) + " s" : std::to_string(milliseconds) + " ms";
}

} // namespace

bool isTcpPort(const std::string &name)
{
    return name.compare(0, std::strlen(Prefix), Prefix) == 0;
}

TcpPort parseTcpPort(const std::string &name)
{
    const std::string rest = isTcpPort(name) ? name.substr(std::strlen(Prefix)) : std::string();
    const std::size_t colon = rest.rfind(':');
    TcpPort result;
    if (colon != std::string::npos) {
        result.host = rest.substr(0, colon);
        result.port = rest.substr(colon + 1);
    }
    const bool bracketed = !result.host.empty() && result.host.front() == '[' && result.host.back() == ']';
    if (bracketed)
        result.host = result.host.substr(1, result.host.size() - 2);
    else if (result.host.find_first_of(":[]") != std::string::npos)
        result.host.clear();
    if (result.host.empty() || !isPortNumber(result.port))
        throw Error(QString::fromStdString(
            name + " is not written tcp:HOST:PORT, such as tcp:192.168.1.5:4001 or tcp:[fe80::1]:4001"));
    return result;
}

TcpLine::TcpLine(const std::string &name, const TcpSettings &settings)
    : PortLine(name)
    , m_port(parseTcpPort(name))
    , m_settings(settings)
{
    LineParameters withoutPace;
    withoutPace.baud = 0;
    withoutPace.parity = 'N';
    setParameters(withoutPace);
}

TcpLine::~TcpLine() = default;

void TcpLine::open()
{
    close();
    m_notBefore = TimePoint();
    if (advance(TimePoint::max()))
        return;
    throw std::runtime_error(wakeUp().interrupted() ? "connecting to " + name() + " was interrupted" : notice());
}

void TcpLine::close()
{
    if (m_state == State::Open && !m_heard)
        m_notBefore = now() + m_settings.retryPause;
    // A look-up on its way is kept: another one would only be one thread more that waits.
    m_state = m_lookup ? State::LookingUp : State::Closed;
    m_connecting.reset();
    m_socket.reset();
}

bool TcpLine::ensureOpen()
{
    return m_state == State::Open || advance(TimePoint::min());
}

LineTiming TcpLine::timing() const
{
    LineTiming timing = PortLine::timing();
    timing.setReplyGap(NetworkGap);
    return timing;
}

bool TcpLine::advance(TimePoint patience)
{
    if (m_state == State::Closed && now() >= m_notBefore)
        beginLookup();
    if (m_state == State::LookingUp)
        takeAddresses(patience);
    while (m_state == State::Connecting && finishConnecting(patience)) {
    }
    return m_state == State::Open;
}

void TcpLine::beginLookup()
{
    try {
        m_lookup.reset(new NameLookup(m_port.host, m_port.port, m_settings.lookup));
    } catch (const std::runtime_error &error) {
        return fail(error.what());
    }
    m_state = State::LookingUp;
    setNotice("looking for " + m_port.host);
}

void TcpLine::takeAddresses(TimePoint patience)
{
    if (!wakeUp().await(m_lookup->descriptor(), POLLIN, patience))
        return;
    const LookupResult found = m_lookup->result();
    m_lookup.reset();
    if (found.addresses.empty())
        return fail("cannot find " + m_port.host + ": " + found.problem);
    m_addresses.assign(found.addresses.rbegin(), found.addresses.rend());
    connectNext();
}

/** Tries the addresses that are left until one is connected or connecting. */
void TcpLine::connectNext()
{
    m_state = State::Closed;
    while (m_state == State::Closed && !m_addresses.empty()) {
        const NetworkAddress address = m_addresses.back();
        m_addresses.pop_back();
        if (!beginConnecting(address))
            m_problem = std::strerror(errno);
    }
    if (m_state == State::Closed)
        fail("cannot connect to " + name() + ": " + m_problem);
}

bool TcpLine::beginConnecting(const NetworkAddress &address)
{
    m_connecting.reset(::socket(address.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!m_connecting.isOpen())
        return false;
    setOptions(m_connecting.number());
    const sockaddr *where = reinterpret_cast<const sockaddr *>(&address.address);
    // A connection that stands at once is noticed as one that stands soon.
    if (::connect(m_connecting.number(), where, address.size) != 0 && errno != EINPROGRESS)
        return false;
    m_connectDeadline = now() + m_settings.connectTimeout;
    m_state = State::Connecting;
    setNotice("connecting to " + name());
    return true;
}

/** @return false: neither connected nor refused yet */
bool TcpLine::finishConnecting(TimePoint patience)
{
    if (!wakeUp().await(m_connecting.number(), POLLOUT, std::min(patience, m_connectDeadline))) {
        if (wakeUp().interrupted() || now() < m_connectDeadline)
            return false;
        m_problem = "no answer within " + secondsText(m_settings.connectTimeout);
        connectNext();
        return true;
    }
    int error = 0;
    socklen_t size = sizeof(error);
    (void)::getsockopt(m_connecting.number(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0) {
        m_problem = std::strerror(error);
        connectNext();
        return true;
    }
    m_socket.reset(m_connecting.release());
    m_state = State::Open;
    m_heard = false;
    setNotice(std::string());
    return true;
}

void TcpLine::fail(const std::string &problem)
{
    m_state = State::Closed;
    m_connecting.reset();
    m_notBefore = now() + m_settings.retryPause;
    setNotice(problem);
}

ssize_t TcpLine::put(const unsigned char *bytes, std::size_t size)
{
    return ::send(m_socket.number(), bytes, size, MSG_NOSIGNAL);
}

ssize_t TcpLine::get(unsigned char *out, std::size_t room)
{
    const ssize_t count = ::recv(m_socket.number(), out, room, 0);
    m_heard = m_heard || count > 0;
    return count;
}

} // namespace rtu
