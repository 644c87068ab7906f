/**
 * @file
 * RTU frames over TCP, as serial device servers carry them. Connections go out only.
 */
#ifndef KIT_LINE_TCP_LINE_H
#define KIT_LINE_TCP_LINE_H

#include "kit/line/descriptor.h"
#include "kit/line/name_lookup.h"
#include "kit/line/port_line.h"

#include <memory>
#include <string>

namespace rtu {

/** Where a serial device server listens. */
struct TcpPort
{
    std::string host; ///< a name, or an IPv4 or IPv6 address
    std::string port; ///< "1" to "65535"
};

/** Whether a port's name means the network: "tcp:HOST:PORT". */
bool isTcpPort(const std::string &name);

/** @param name "tcp:192.168.1.5:4001", "tcp:[fe80::1]:4001", "tcp:gateway:4001" @throws Error */
TcpPort parseTcpPort(const std::string &name);

struct TcpSettings
{
    Duration connectTimeout = std::chrono::seconds(3); ///< for each of the host's addresses
    /** Before the next try after one that failed, or after a connection that brought nothing. */
    Duration retryPause = std::chrono::seconds(1);
    Lookup lookup = lookUpName;
};

class TcpLine : public PortLine
{
public:
    /** Connects to nothing yet. @throws Error when the name is not written "tcp:HOST:PORT" */
    explicit TcpLine(const std::string &name, const TcpSettings &settings = TcpSettings());
    /** Does not wait, not even for a name server. */
    ~TcpLine() override;

    /** Waits for the name server and for the connection. */
    void open() override;
    void close() override;
    /** Goes on with connecting as far as it can without waiting. */
    bool ensureOpen() override;
    LineTiming timing() const override;

protected:
    int descriptor() const override { return m_socket.number(); }
    ssize_t put(const unsigned char *bytes, std::size_t size) override;
    ssize_t get(unsigned char *out, std::size_t room) override;

private:
    enum class State { Closed, LookingUp, Connecting, Open };

    bool advance(TimePoint patience);
    void beginLookup();
    void takeAddresses(TimePoint patience);
    void connectNext();
    bool beginConnecting(const NetworkAddress &address);
    bool finishConnecting(TimePoint patience);
    void fail(const std::string &problem);

    const TcpPort m_port;
    const TcpSettings m_settings;
    State m_state = State::Closed;
    std::unique_ptr<NameLookup> m_lookup;
    std::vector<NetworkAddress> m_addresses; ///< not tried yet, the next one last
    std::string m_problem;                   ///< with the address tried last
    Descriptor m_connecting;
    Descriptor m_socket; ///< connected
    TimePoint m_connectDeadline;
    TimePoint m_notBefore; ///< the next try
    bool m_heard = false;  ///< the connection has brought bytes
};

} // namespace rtu

#endif
