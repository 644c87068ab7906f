// Device servers that answer, close, keep silent and send nonsense.

#include "kit/tcp_line_test.h"

#include "kit/line/make_line.h"

#include <fcntl.h>
#include <netinet/tcp.h>

namespace {

using namespace test_line;
using Line = TestedLine;

// --- names --------------------------------------------------------------------------

struct Name
{
    const char *text;
    const char *host; ///< empty: refused
    const char *port;
};

class TcpName : public testing::TestWithParam<Name>
{
};

TEST_P(TcpName, IsUnderstood)
{
    const Name &name = GetParam();
    if (name.host[0] == '\0') {
        EXPECT_EQ(std::string(name.text)
                      + " is not written tcp:HOST:PORT, such as tcp:192.168.1.5:4001 or tcp:[fe80::1]:4001",
                  failureOf([&] { rtu::parseTcpPort(name.text); }));
        return;
    }
    const rtu::TcpPort port = rtu::parseTcpPort(name.text);
    EXPECT_EQ(name.host, port.host);
    EXPECT_EQ(name.port, port.port);
}

INSTANTIATE_TEST_SUITE_P(
    All, TcpName,
    testing::Values(Name{"tcp:192.168.1.5:4001", "192.168.1.5", "4001"}, Name{"tcp:gateway:1", "gateway", "1"},
                    Name{"tcp:gate~way:1", "gate~way", "1"}, Name{"tcp:[fe80::1%eth0]:65535", "fe80::1%eth0", "65535"},
                    Name{"tcp:fe80::1:4001", "", ""}, Name{"tcp:gateway", "", ""}, Name{"tcp::4001", "", ""},
                    Name{"tcp:gateway:", "", ""}, Name{"tcp:gateway:0", "", ""}, Name{"tcp:gateway:65536", "", ""},
                    Name{"tcp:gateway:123456", "", ""}, Name{"tcp:gateway:000001", "", ""},
                    Name{"tcp:gateway:99999999999", "", ""}, Name{"tcp:gateway:1~", "", ""},
                    Name{"tcp:gateway:modbus", "", ""}, Name{"tcp:gateway:+1", "", ""}, Name{"tcp:[]:1", "", ""},
                    Name{"tcp:[::1:1", "", ""}, Name{"tcp:::1]:1", "", ""}, Name{"tcp:[:1", "", ""},
                    Name{"tcp:[::]:1", "::", "1"}, Name{"tcp:", "", ""}, Name{"/dev/ttyS0", "", ""}));

TEST(MakeLine, KnowsTheNetworkByItsPrefix)
{
    EXPECT_NE(nullptr, dynamic_cast<rtu::TcpLine *>(rtu::makeLine("tcp:a:1", rtu::LineParameters()).get()));
    EXPECT_EQ(nullptr, dynamic_cast<rtu::TcpLine *>(rtu::makeLine("/dev/ttyS0", rtu::LineParameters()).get()));
}

// --- a peer that is there -----------------------------------------------------------

class TcpFamily : public testing::TestWithParam<int>
{
};

TEST_P(TcpFamily, CarriesBytes)
{
    LoopbackPeer peer(GetParam());
    Line line(peer.name());
    line.open();
    peer.accept();
    EXPECT_TRUE(line.send("question"));
    EXPECT_EQ("question", peer.receive(8));
    peer.send("answer");
    EXPECT_EQ("answer", line.receive());
    EXPECT_EQ("0", line.receive(rtu::Duration(0)));
    EXPECT_EQ("", line.notice());
    EXPECT_TRUE(line.ensureOpen());
    EXPECT_FALSE(line.errors().known) << "no receiver that counts";
    EXPECT_EQ(0, line.errors().framing + line.errors().parity);
}

INSTANTIATE_TEST_SUITE_P(Both, TcpFamily, testing::Values(AF_INET, AF_INET6));

/** -1: there is none. */
int optionOf(const Line &line, int level, int option)
{
    int value = 0;
    socklen_t size = sizeof(value);
    return ::getsockopt(line.descriptor(), level, option, &value, &size) == 0 ? value : -1;
}

TEST(TcpLine, SendsSmallFramesAtOnceAndAsksWhetherThePeerIsStillThere)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    EXPECT_LT(0, optionOf(line, IPPROTO_TCP, TCP_NODELAY));
    EXPECT_LT(0, optionOf(line, SOL_SOCKET, SO_KEEPALIVE));
    EXPECT_EQ(10, optionOf(line, IPPROTO_TCP, TCP_KEEPIDLE)) << "seconds";
    EXPECT_EQ(5, optionOf(line, IPPROTO_TCP, TCP_KEEPINTVL)) << "seconds";
    EXPECT_EQ(3, optionOf(line, IPPROTO_TCP, TCP_KEEPCNT));
    EXPECT_EQ(20000, optionOf(line, IPPROTO_TCP, TCP_USER_TIMEOUT)) << "milliseconds";
    EXPECT_EQ(O_NONBLOCK, ::fcntl(line.descriptor(), F_GETFL) & O_NONBLOCK);
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(line.descriptor(), F_GETFD));
}

TEST(TcpLine, HasNoPaceAndPatienceWithTheNetwork)
{
    Line line("tcp:a:1");
    EXPECT_EQ(0, line.parameters().baud);
    EXPECT_EQ(rtu::Duration(0), line.timing().silence());
    EXPECT_EQ('N', line.parameters().parity);
    EXPECT_EQ(std::chrono::milliseconds(500), line.timing().replyGap());
}

TEST(TcpLine, OpensWithoutWaiting)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.openSoon();
    peer.accept();
    peer.send("x");
    EXPECT_EQ("x", line.receive());
}

TEST(TcpLine, DoesNotLookForBytesOverAndOverWhileItWaits)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    peer.accept();
    EXPECT_EQ("0", line.receive(std::chrono::milliseconds(20)));
    EXPECT_LE(line.looks, 2);
}

TEST(TcpLine, ThatIsOpenIsOpenedAnew)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    peer.accept();
    line.open();
    EXPECT_EQ("", peer.receive(1)) << "the first connection has ended";
    peer.accept();
    EXPECT_TRUE(line.send("x"));
    EXPECT_EQ("x", peer.receive(1));
}

// --- a peer that goes ---------------------------------------------------------------

TEST(TcpLine, ConnectsAgainAfterThePeerHungUp)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    peer.accept();
    peer.send("x");
    EXPECT_EQ("x", line.receive());
    peer.hangUp();
    EXPECT_EQ(LostResult, line.receive());
    EXPECT_FALSE(line.send("x"));
    line.openSoon();
    peer.accept();
    peer.send("y");
    EXPECT_EQ("y", line.receive());
}

TEST(TcpLine, IsLostWhenThePeerResets)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    peer.accept();
    peer.reset();
    while (line.send("no signal ends this program")) {
    }
    EXPECT_EQ(LostResult, line.receive());
}

TEST(TcpLine, PausesAfterAConnectionThatBroughtNothing)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    peer.accept();
    peer.hangUp();
    EXPECT_EQ(LostResult, line.receive());
    EXPECT_FALSE(line.ensureOpen()) << "it would be connected and closed without end";
    line.open();
    peer.accept();
    EXPECT_TRUE(line.ensureOpen());
}

TEST(TcpLine, PausesAlsoAfterAnEarlierConnectionThatBroughtSomething)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    peer.accept();
    peer.send("x");
    EXPECT_EQ("x", line.receive());
    line.open();
    peer.accept();
    peer.hangUp();
    EXPECT_EQ(LostResult, line.receive());
    EXPECT_FALSE(line.ensureOpen());
}

TEST(TcpLine, IsNotKeptBusyByAPeerThatSendsWithoutEnd)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    peer.accept();
    const std::string nonsense(8000000, 'x');
    std::thread sending([&] { EXPECT_THROW(peer.send(nonsense), std::runtime_error); });
    std::size_t dropped = 0;
    while (dropped < 1000000) {
        const std::size_t piece = line.discardInput();
        EXPECT_LE(piece, 70000u);
        dropped += piece;
    }
    line.interrupt();
    EXPECT_EQ(0u, line.discardInput());
    line.close();
    sending.join();
}

} // namespace
