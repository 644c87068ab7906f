// Whatever a peer of a "tcp:" line does: it refuses, hangs up, keeps silent or sends
// anything in any pieces. The line says what arrived and nothing else, hands over each
// byte of a request once and in order, and comes back without pestering the peer.

#include "fuzz_host.h"
#include "reply_rules.h"
#include "scripted_network.h"

#include "kit/line/reply_collector.h"
#include "kit/line/tcp_line.h"

namespace {

using fuzz::require;

const rtu::Duration ReplyTimeout = std::chrono::milliseconds(200);
const rtu::Duration BetweenTries = std::chrono::milliseconds(100);

class Host
{
public:
    explicit Host(FuzzedDataProvider &input)
        : m_input(input)
        , m_network(input)
        , m_line("tcp:127.0.0.1:502")
        , m_collector(m_line, m_line.timing(), ReplyTimeout, false)
    {
    }

    void exchange()
    {
        if (!m_line.ensureOpen()) {
            m_line.sleepUntil(m_line.now() + BetweenTries);
            return;
        }
        m_line.discardInput();
        if (m_input.ConsumeBool())
            m_line.sleepUntil(m_line.now() + BetweenTries);
        if (send())
            receive();
    }

private:
    bool send()
    {
        const std::vector<unsigned char> request =
            m_input.ConsumeBytes<unsigned char>(m_input.ConsumeIntegralInRange<std::size_t>(4, 40));
        if (request.empty())
            return false;
        m_request = QByteArray(reinterpret_cast<const char *>(request.data()), static_cast<int>(request.size()));
        m_network.sent.clear();
        const rtu::TimePoint begin = m_line.now();
        const bool whole = m_line.write(request.data(), request.size());
        require(m_request.startsWith(m_network.sent), "bytes lost, doubled or out of order");
        require(whole == (m_network.sent.size() == m_request.size()), "a request that was not sent whole");
        require(m_line.now() <= begin + std::chrono::seconds(6), "sending does not end");
        return whole;
    }

    void receive()
    {
        rtu::Transaction transaction;
        transaction.request = m_request;
        transaction.station = m_request[0];
        transaction.expectedReply = m_input.ConsumeIntegralInRange(0, 256);
        transaction.requestEnd = m_line.now();
        m_network.received.clear();
        m_collector.collect(transaction);
        fuzz::requireReplyRules(transaction, m_network.received, false);
    }

    FuzzedDataProvider &m_input;
    fuzz::ScriptedNetwork m_network;
    rtu::TcpLine m_line;
    rtu::ReplyCollector m_collector;
    QByteArray m_request;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    Host host(input);
    while (input.remaining_bytes() > 0)
        host.exchange();
    return 0;
}
