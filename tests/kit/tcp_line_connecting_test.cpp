// Device servers that are not there, do not answer, or have a name that nobody knows.

#include "kit/tcp_line_test.h"

#include "kit/event_descriptors.h"
#include "kit/temporary_folder.h"

#include <modbus_rtu_host/error.h>

#include <atomic>
#include <future>

namespace {

using namespace test_line;
using rtu::LookupResult;
using rtu::TcpSettings;
using Line = TestedLine;

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

/** Its clock is long behind the system's, so that nothing is waited for, and as much on at each look as the test says. */
class HurriedLine : public TestedLine
{
public:
    HurriedLine(const std::string &name, const TcpSettings &settings, rtu::Duration step)
        : TestedLine(name, settings)
        , m_step(step)
    {
    }

    rtu::TimePoint now() override { return m_clock += m_step; }

private:
    const rtu::Duration m_step;
    rtu::TimePoint m_clock;
};

TEST(TcpLine, SaysInSecondsHowLongAPeerDidNotAnswer)
{
    const FullPeer full;
    TcpSettings settings = patient();
    for (const int seconds : {2, 999}) {
        settings.connectTimeout = std::chrono::seconds(seconds);
        HurriedLine line(full.peer.name(), settings, settings.connectTimeout);
        EXPECT_EQ("cannot connect to " + full.peer.name() + ": no answer within " + std::to_string(seconds) + " s",
                  failureOf([&] { line.open(); }));
    }
    HurriedLine asMade(full.peer.name(), TcpSettings(), std::chrono::seconds(3));
    EXPECT_EQ("cannot connect to " + full.peer.name() + ": no answer within 3 s", failureOf([&] { asMade.open(); }));
}

/** When it begins with the first address, its clock is long behind the system's: time is up at once. */
class OnceHurriedLine : public TestedLine
{
public:
    using TestedLine::TestedLine;

    rtu::TimePoint now() override
    {
        return notice() == "looking for gateway" && ++m_looks == 1 ? TestedLine::now() - 2 * Never : TestedLine::now();
    }

private:
    int m_looks = 0;
};

TEST(TcpLine, TriesTheNextAddressWhenTheFirstDoesNotAnswer)
{
    const FullPeer full;
    LoopbackPeer peer;
    LookupResult both = rtu::lookUpName("127.0.0.1", full.peer.port());
    both.addresses.push_back(rtu::lookUpName("127.0.0.1", peer.port()).addresses[0]);
    TcpSettings settings = patient();
    settings.lookup = answers(both);
    OnceHurriedLine line("tcp:gateway:1", settings);
    line.open();
    peer.accept();
    EXPECT_TRUE(line.send("x"));
    EXPECT_EQ("x", peer.receive(1));
}

/** So many descriptors are open. */
std::size_t openDescriptors()
{
    return namesIn("/proc/self/fd").size();
}

TEST(TcpLine, HoldsNothingOpenAfterItGaveUp)
{
    const FullPeer full;
    Line line(full.peer.name());
    const std::size_t before = openDescriptors();
    while (line.notice() != "connecting to " + full.peer.name())
        EXPECT_FALSE(line.ensureOpen());
    EXPECT_EQ(before + 1, openDescriptors());
    line.close();
    EXPECT_EQ(before, openDescriptors());
    LoopbackPeer away;
    away.stopListening();
    Line refused(away.name());
    const std::size_t beforeRefusal = openDescriptors();
    EXPECT_NE("nothing thrown", failureOf([&] { refused.open(); }));
    EXPECT_EQ(beforeRefusal, openDescriptors());
}

/** The test sets its clock. */
class ClockedLine : public TestedLine
{
public:
    using TestedLine::TestedLine;

    rtu::TimePoint now() override { return clock; }

    rtu::TimePoint clock;
};

TEST(TcpLine, TriesAgainAfterASecond)
{
    std::atomic<int> asked{0};
    TcpSettings settings;
    settings.lookup = [&asked](const std::string &, const std::string &) {
        LookupResult nobody;
        nobody.problem = "try " + std::to_string(++asked);
        return nobody;
    };
    ClockedLine line("tcp:gateway:1", settings);
    EXPECT_EQ("cannot find gateway: try 1", failureOf([&] { line.open(); }));
    line.clock += std::chrono::seconds(1) - rtu::Duration(1);
    EXPECT_FALSE(line.ensureOpen());
    EXPECT_EQ("cannot find gateway: try 1", line.notice());
    line.clock += rtu::Duration(1);
    while (line.notice() != "cannot find gateway: try 2")
        EXPECT_FALSE(line.ensureOpen());
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
