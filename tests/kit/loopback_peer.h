/**
 * @file
 * A device server on this computer that does what the test says.
 */
#ifndef TESTS_KIT_LOOPBACK_PEER_H
#define TESTS_KIT_LOOPBACK_PEER_H

#include "kit/line/descriptor.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace test_line {

class LoopbackPeer
{
public:
    /** @param family AF_INET or AF_INET6 @param waiting connections that may wait to be accepted */
    explicit LoopbackPeer(int family = AF_INET, int waiting = 5)
        : m_family(family)
        , m_listening(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_storage where;
        std::memset(&where, 0, sizeof(where));
        where.ss_family = static_cast<sa_family_t>(family);
        if (family == AF_INET)
            reinterpret_cast<sockaddr_in *>(&where)->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        else
            reinterpret_cast<sockaddr_in6 *>(&where)->sin6_addr = in6addr_loopback;
        socklen_t size = family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
        sockaddr *const address = reinterpret_cast<sockaddr *>(&where);
        if (::bind(m_listening.number(), address, size) != 0 || ::listen(m_listening.number(), waiting) != 0
            || ::getsockname(m_listening.number(), address, &size) != 0)
            throw std::runtime_error("no loopback");
        m_port = ntohs(family == AF_INET ? reinterpret_cast<sockaddr_in *>(&where)->sin_port
                                         : reinterpret_cast<sockaddr_in6 *>(&where)->sin6_port);
    }

    std::string port() const { return std::to_string(m_port); }
    std::string name() const
    {
        return "tcp:" + std::string(m_family == AF_INET ? "127.0.0.1" : "[::1]") + ":" + port();
    }

    /** Waits for the connection. */
    void accept() { m_connection.reset(::accept4(m_listening.number(), nullptr, nullptr, SOCK_CLOEXEC)); }
    void stopListening() { m_listening.reset(); }
    void hangUp() { m_connection.reset(); }

    /** Ends the connection as a device does that was switched off and on. */
    void reset()
    {
        const linger now = {1, 0};
        ::setsockopt(m_connection.number(), SOL_SOCKET, SO_LINGER, &now, sizeof(now));
        hangUp();
    }

    void send(const std::string &bytes)
    {
        if (::send(m_connection.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL)
            != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("the peer cannot send");
    }

    std::string receive(std::size_t size)
    {
        std::string bytes(size, '\0');
        const ssize_t count = ::recv(m_connection.number(), &bytes[0], size, MSG_WAITALL);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return bytes;
    }

private:
    int m_family;
    rtu::Descriptor m_listening;
    rtu::Descriptor m_connection;
    int m_port = 0;
};

} // namespace test_line

#endif
