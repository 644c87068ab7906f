// Device servers that answer, close, keep silent and send nonsense.

#include "kit/line/tcp_line.h"

#include "kit/line/make_line.h"
#include "kit/event_descriptors.h"
#include "kit/loopback_peer.h"
#include "kit/terminal_pair.h"

#include <modbus_rtu_host/error.h>

#include <gtest/gtest.h>

#include <netinet/tcp.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <system_error>
#include <thread>

namespace {

using namespace test_line;
using rtu::LookupResult;
using rtu::TcpSettings;

/** Nothing depends on how long anything takes. */
TcpSettings patient()
{
    TcpSettings settings;
    settings.connectTimeout = Never;
    settings.retryPause = Never;
    return settings;
}

class Line : public rtu::TcpLine
{
public:
    explicit Line(const std::string &name, const TcpSettings &settings = patient()) : TcpLine(name, settings) {}
    using TcpLine::descriptor;

    int looks = 0; ///< for bytes

    ssize_t get(unsigned char *out, std::size_t room) override
    {
        ++looks;
        return TcpLine::get(out, room);
    }

    /** What has come, or the result when that is not a number of bytes. */
    std::string receive(rtu::Duration patience = Never)
    {
        unsigned char bytes[100];
        const int count = read(bytes, sizeof(bytes), now() + patience);
        if (count > 0)
            return std::string(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(count));
        return std::to_string(count);
    }

    bool send(const std::string &text)
    {
        return write(reinterpret_cast<const unsigned char *>(text.data()), text.size());
    }

    void openSoon()
    {
        while (!ensureOpen())
            std::this_thread::yield();
    }
};

const char *const LostResult = "-1";

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
        const std::string refusal = failureOf([&] { rtu::parseTcpPort(name.text); });
        EXPECT_NE(std::string::npos, refusal.find("is not written tcp:HOST:PORT")) << refusal;
        return;
    }
    const rtu::TcpPort port = rtu::parseTcpPort(name.text);
    EXPECT_EQ(name.host, port.host);
    EXPECT_EQ(name.port, port.port);
}

INSTANTIATE_TEST_SUITE_P(All, TcpName,
                         testing::Values(Name{"tcp:192.168.1.5:4001", "192.168.1.5", "4001"},
                                         Name{"tcp:gateway:1", "gateway", "1"}, Name{"tcp:gate~way:1", "gate~way", "1"},
                                         Name{"tcp:[fe80::1%eth0]:65535", "fe80::1%eth0", "65535"},
                                         Name{"tcp:fe80::1:4001", "", ""}, Name{"tcp:gateway", "", ""},
                                         Name{"tcp::4001", "", ""}, Name{"tcp:gateway:", "", ""},
                                         Name{"tcp:gateway:0", "", ""}, Name{"tcp:gateway:65536", "", ""},
                                         Name{"tcp:gateway:123456", "", ""}, Name{"tcp:gateway:modbus", "", ""},
                                         Name{"tcp:gateway:+1", "", ""}, Name{"tcp:[]:1", "", ""},
                                         Name{"tcp:[::1:1", "", ""}, Name{"tcp:", "", ""}, Name{"/dev/ttyS0", "", ""}));

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
}

INSTANTIATE_TEST_SUITE_P(Both, TcpFamily, testing::Values(AF_INET, AF_INET6));

TEST(TcpLine, SendsSmallFramesAtOnce)
{
    LoopbackPeer peer;
    Line line(peer.name());
    line.open();
    int value = 0;
    socklen_t size = sizeof(value);
    ASSERT_EQ(0, ::getsockopt(line.descriptor(), IPPROTO_TCP, TCP_NODELAY, &value, &size));
    EXPECT_NE(0, value);
    ASSERT_EQ(0, ::getsockopt(line.descriptor(), SOL_SOCKET, SO_KEEPALIVE, &value, &size));
    EXPECT_NE(0, value);
}

TEST(TcpLine, HasNoPaceAndPatienceWithTheNetwork)
{
    Line line("tcp:a:1");
    EXPECT_EQ(0, line.parameters().baud);
    EXPECT_EQ(rtu::Duration(0), line.timing().silence());
    EXPECT_GT(line.timing().replyGap(), std::chrono::milliseconds(200));
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

// --- a peer that is not there ---------------------------------------------------------

TEST(TcpLine, SaysThatNobodyListens)
{
    LoopbackPeer peer;
    peer.stopListening();
    Line line(peer.name());
    const std::string words = "cannot connect to " + peer.name() + ": Connection refused";
    EXPECT_EQ(words, failureOf([&] { line.open(); }));
    EXPECT_EQ(words, line.notice());
    EXPECT_FALSE(line.ensureOpen());
    EXPECT_EQ(LostResult, line.receive());
}

rtu::Lookup answers(const LookupResult &result)
{
    return [result](const std::string &, const std::string &) { return result; };
}

TEST(TcpLine, TriesTheNextAddress)
{
    LoopbackPeer peer;
    LoopbackPeer away;
    away.stopListening();
    LookupResult both = rtu::lookUpName("127.0.0.1", away.port());
    rtu::NetworkAddress unknownFamily = both.addresses[0];
    unknownFamily.address.ss_family = 250;
    both.addresses.push_back(unknownFamily);
    both.addresses.push_back(both.addresses[0]);
    both.addresses.push_back(rtu::lookUpName("127.0.0.1", peer.port()).addresses[0]);
    TcpSettings settings = patient();
    settings.lookup = answers(both);
    Line line("tcp:gateway:1", settings);
    line.open();
    peer.accept();
    peer.send("x");
    EXPECT_EQ("x", line.receive());
}

TEST(TcpLine, SaysThatTheNetworkTakesNoConnection)
{
    LookupResult strange = rtu::lookUpName("127.0.0.1", "1");
    strange.addresses[0].address.ss_family = 250;
    TcpSettings settings = patient();
    settings.lookup = answers(strange);
    Line line("tcp:gateway:1", settings);
    EXPECT_EQ("cannot connect to tcp:gateway:1: Address family not supported by protocol",
              failureOf([&] { line.open(); }));
}

/** So many connections wait already that no other is answered. */
class FullPeer
{
public:
    FullPeer() : peer(AF_INET, 0)
    {
        const rtu::NetworkAddress where = rtu::lookUpName("127.0.0.1", peer.port()).addresses[0];
        for (rtu::Descriptor &waiting : m_waiting) {
            waiting.reset(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
            ::connect(waiting.number(), reinterpret_cast<const sockaddr *>(&where.address), where.size);
        }
    }

    LoopbackPeer peer;

private:
    rtu::Descriptor m_waiting[8];
};

TEST(TcpLine, GivesUpOnAPeerThatDoesNotAnswer)
{
    const FullPeer full;
    TcpSettings settings = patient();
    settings.connectTimeout = std::chrono::milliseconds(20);
    Line line(full.peer.name(), settings);
    EXPECT_EQ("cannot connect to " + full.peer.name() + ": no answer within 20 ms", failureOf([&] { line.open(); }));
}

/** Its clock is long behind the system's, so that nothing is waited for, and two seconds on at each look. */
class HurriedLine : public Line
{
public:
    using Line::Line;

    rtu::TimePoint now() override { return m_clock += std::chrono::seconds(2); }

private:
    rtu::TimePoint m_clock;
};

TEST(TcpLine, SaysInSecondsHowLongAPeerDidNotAnswer)
{
    const FullPeer full;
    TcpSettings settings = patient();
    settings.connectTimeout = std::chrono::seconds(2);
    HurriedLine line(full.peer.name(), settings);
    EXPECT_EQ("cannot connect to " + full.peer.name() + ": no answer within 2 s", failureOf([&] { line.open(); }));
}

TEST(TcpLine, IsInterruptedWhileItConnects)
{
    const FullPeer full;
    Line line(full.peer.name());
    while (line.notice() != "connecting to " + full.peer.name())
        EXPECT_FALSE(line.ensureOpen());
    EXPECT_FALSE(line.ensureOpen());
    line.close();
    std::thread other([&] { line.interrupt(); });
    EXPECT_EQ("connecting to " + full.peer.name() + " was interrupted", failureOf([&] { line.open(); }));
    other.join();
}

// --- names that nobody knows, or nobody tells --------------------------------------------

TEST(TcpLine, SaysThatANameIsUnknown)
{
    LookupResult nobody;
    nobody.problem = "Name or service not known";
    TcpSettings settings = patient();
    settings.lookup = answers(nobody);
    Line line("tcp:gateway:1", settings);
    EXPECT_EQ("cannot find gateway: Name or service not known", failureOf([&] { line.open(); }));
    EXPECT_FALSE(line.ensureOpen());
}

TEST(TcpLine, DoesNotWaitForAnswersOfANameServer)
{
    std::promise<void> answer;
    std::shared_future<void> answered = answer.get_future().share();
    std::promise<void> ended;
    std::atomic<int> asked{0};
    TcpSettings settings = patient();
    settings.lookup = [&asked, &ended, answered](const std::string &, const std::string &) {
        ++asked;
        answered.wait();
        ended.set_value();
        return LookupResult();
    };
    {
        Line line("tcp:gateway:1", settings);
        EXPECT_FALSE(line.ensureOpen());
        EXPECT_EQ("looking for gateway", line.notice());
        while (asked == 0)
            std::this_thread::yield();
        EXPECT_FALSE(line.ensureOpen());
        line.close();
        std::thread other([&] { line.interrupt(); });
        EXPECT_EQ("connecting to tcp:gateway:1 was interrupted", failureOf([&] { line.open(); }));
        other.join();
        line.clearInterrupt();
        EXPECT_FALSE(line.ensureOpen());
    }
    EXPECT_EQ(1, asked) << "one name server is asked once at a time";
    answer.set_value();
    ended.get_future().wait();
}

/** The system has no thread left. */
struct ThreadLess
{
    ThreadLess() = default;
    ThreadLess(const ThreadLess &other) : armed(other.armed)
    {
        if (armed)
            throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }

    LookupResult operator()(const std::string &, const std::string &) const { return LookupResult(); }
    bool armed = false;
};

TEST(NameLookup, SaysThatThereIsNoThread)
{
    rtu::Lookup lookup = ThreadLess();
    lookup.target<ThreadLess>()->armed = true;
    const rtu::NameLookup nameLookup("gateway", "1", lookup);
    EXPECT_NE("", nameLookup.result().problem);
    EXPECT_TRUE(nameLookup.result().addresses.empty());
}

TEST(NameLookup, AsksNobodyForFigures)
{
    rtu::Lookup lookup = ThreadLess();
    lookup.target<ThreadLess>()->armed = true;
    const rtu::NameLookup nameLookup("127.0.0.1", "1", lookup);
    EXPECT_EQ("", nameLookup.result().problem);
    EXPECT_EQ(1u, nameLookup.result().addresses.size());
}

TEST(NameLookup, KnowsThisComputer)
{
    const LookupResult known = rtu::lookUpName("localhost", "80");
    EXPECT_FALSE(known.addresses.empty());
    EXPECT_EQ("", known.problem);
    EXPECT_NE("", rtu::lookUpName("127.0.0.1", "no number").problem);
    EXPECT_EQ(1u, rtu::lookUpName("127.0.0.1", "80").addresses.size()) << "each is tried in turn";
}

TEST(TcpLine, SaysThatTheProcessHasNoDescriptorLeft)
{
    Line line("tcp:127.0.0.1:1");
    const NoEventDescriptor none;
    EXPECT_FALSE(line.ensureOpen());
    EXPECT_EQ("cannot create an event descriptor", line.notice());
}

TEST(TcpLine, RefusesWhatIsNoAddressOfAPeer)
{
    EXPECT_THROW(rtu::TcpLine("tcp:nobody"), rtu::Error);
    rtu::TcpLine everybody("tcp:255.255.255.255:4001");
    EXPECT_EQ("cannot connect to tcp:255.255.255.255:4001: Network is unreachable",
              failureOf([&] { everybody.open(); }));
}

} // namespace
