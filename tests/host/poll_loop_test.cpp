#include "support/frames.h"

#include "driver_session.h"
#include "poll_loop.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

namespace {

using namespace test_line;
using rtu::ReplyEnd;
using rtu::StepResult;

const rtu::Duration Timeout = milliseconds(200);

class PollLoop : public testing::Test
{
protected:
    PollLoop() : driver(TEST_DRIVER), catalog(driver), session(driver)
    {
        line.slave = [this](VirtualLine &, const Bytes &request) { answer(request); };
        settings.timing = rtu::LineTiming(rtu::LineParameters()); // 19200 8E1
        settings.replyTimeout = Timeout;
        settings.lateReplyGuard = Timeout;
    }

    /** The next replies, in order; good ones when there are no more. */
    void answer(const Bytes &request)
    {
        const rtu::Duration delay = settings.timing.characters(request.size()) + milliseconds(4);
        if (script.empty()) {
            line.receivePaced(delay, settings.timing.characters(1), goodReply(request));
            return;
        }
        script.front()(request, delay);
        script.pop_front();
    }

    void silent()
    {
        script.push_back([](const Bytes &, rtu::Duration) {});
    }

    void late(rtu::Duration lateness)
    {
        script.push_back([=](const Bytes &request, rtu::Duration delay) {
            line.receivePaced(delay + lateness, settings.timing.characters(1), goodReply(request));
        });
    }

    void reply(const Bytes &bytes)
    {
        script.push_back([=](const Bytes &, rtu::Duration delay) { line.receive(delay, bytes); });
    }

    void start(const std::string &addresses, int attempts = 3)
    {
        rtu::DriverProperty property;
        property.attempts = attempts;
        session.configure(property);
        tags.clear();
        std::size_t begin = 0;
        while (begin < addresses.size()) {
            const std::size_t end = std::min(addresses.find(' ', begin), addresses.size());
            const std::vector<rtu::TagRange> more =
                rtu::parseTags(driver, catalog, addresses.substr(begin, end - begin), std::vector<int>(1, 1), 1);
            tags.insert(tags.end(), more.begin(), more.end());
            begin = end + 1;
        }
        const int frames = session.plan(tags);
        loop.reset(new rtu::PollLoop(driver, line, settings));
        loop->setRoundLength(frames);
        loop->addObserver([this](const rtu::Transaction &transaction) { seen.push_back(transaction); });
    }

    void write(const std::string &address, std::uint32_t value)
    {
        rtu::TagWrite write;
        write.tag = rtu::parseTags(driver, catalog, address, std::vector<int>(1, 1), 1).front();
        write.raw.push_back(value);
        rtu::writeTag(driver, write, 120, 100);
    }

    std::uint32_t value(std::size_t tag) { return rtu::readTag(driver, tags[tag]).front(); }

    rtu::DriverLibrary driver;
    rtu::RegisterCatalog catalog;
    rtu::DriverSession session;
    VirtualLine line;
    rtu::PollSettings settings;
    std::unique_ptr<rtu::PollLoop> loop;
    std::vector<rtu::TagRange> tags;
    std::deque<std::function<void(const Bytes &, rtu::Duration)>> script;
    std::vector<rtu::Transaction> seen;
};

TEST_F(PollLoop, IsIdleWithNothingToSend)
{
    start("");
    EXPECT_EQ(StepResult::Idle, loop->step());
    EXPECT_TRUE(line.sent.empty());
}

TEST_F(PollLoop, PollsAndTheCacheHasTheValues)
{
    start("4x11..15");
    EXPECT_EQ(StepResult::Done, loop->step());
    ASSERT_EQ(1u, line.sent.size());
    EXPECT_EQ(frame("01 03 00 0A 00 05"), line.sent[0].bytes);
    EXPECT_EQ(10u, value(0));
    ASSERT_EQ(1u, seen.size());
    EXPECT_TRUE(seen[0].good());
    EXPECT_EQ(ReplyEnd::Complete, seen[0].end);
}

TEST_F(PollLoop, KeepsTheSilenceBetweenFrames)
{
    start("4x1");
    loop->step();
    const rtu::TimePoint end = line.now();
    loop->step();
    EXPECT_EQ(end + settings.timing.silence(), line.sent[1].when);
}

TEST_F(PollLoop, KeepsAnotherSilenceWhenTold)
{
    settings.timing.setSilence(milliseconds(9));
    start("4x1");
    loop->step();
    const rtu::TimePoint end = line.now();
    loop->step();
    EXPECT_EQ(end + milliseconds(9), line.sent[1].when);
}

TEST_F(PollLoop, SendsTheSameFrameAgainAfterABadReply)
{
    start("4x1 4x200");
    Bytes damaged = frame("01 03 02 00 07");
    damaged.back() ^= 0xFF;
    reply(damaged);
    loop->step();
    loop->step();
    ASSERT_EQ(2u, line.sent.size());
    EXPECT_EQ(line.sent[0].bytes, line.sent[1].bytes);
    EXPECT_EQ(rtu::VerdictSendAgain, seen[0].verdict);
    EXPECT_EQ(2, seen[1].attempt);
    EXPECT_TRUE(seen[1].good());
}

TEST_F(PollLoop, GivesUpAfterTheAttemptsAndGoesOn)
{
    start("4x1 4x200", 3);
    silent();
    silent();
    silent();
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(StepResult::Done, loop->step());
    EXPECT_EQ(rtu::VerdictGivenUp, seen[2].verdict);
    EXPECT_EQ("R,1#4x1(1)", seen[2].information.toStdString());
    EXPECT_TRUE(seen[3].good());
    EXPECT_EQ(1, seen[3].attempt);
    EXPECT_NE(line.sent[2].bytes, line.sent[3].bytes);
}

TEST_F(PollLoop, DropsWhatCameBetweenTheFrames)
{
    start("4x1");
    loop->step();
    line.receive(microseconds(500), hex("AA BB"));
    EXPECT_EQ(StepResult::Done, loop->step());
    EXPECT_EQ(2u, seen[1].strayBytes);
    EXPECT_TRUE(seen[1].good());
}

TEST_F(PollLoop, ALateReplyIsDroppedBeforeTheSameFrameIsSentAgain)
{
    start("4x8 4x300");
    late(Timeout);
    loop->step();
    loop->step();
    EXPECT_EQ(ReplyEnd::TimedOut, seen[0].end);
    EXPECT_EQ(2, seen[1].attempt);
    EXPECT_EQ(7u, seen[1].strayBytes);
    EXPECT_TRUE(seen[1].good());
    EXPECT_EQ(7u, value(0));
}

TEST_F(PollLoop, TheSecondAnswerToAFrameSentTwiceIsNotTakenForTheNext)
{
    start("4x8 4x300");
    late(Timeout);         // the answer to the first attempt comes during the second
    late(Timeout * 3 / 4); // and the answer to the second when the next request is due
    loop->step();
    loop->step();
    loop->step();
    ASSERT_EQ(3u, seen.size());
    EXPECT_TRUE(seen[2].good());
    EXPECT_EQ(7u, value(0));
    EXPECT_EQ(299u, value(1));
}

TEST_F(PollLoop, WithoutTheGuardItWouldBe)
{
    settings.lateReplyGuard = rtu::Duration(0);
    start("4x8 4x300");
    late(Timeout);
    late(Timeout * 3 / 4);
    silent(); // the third request: only the stale answer comes
    loop->step();
    loop->step();
    loop->step();
    EXPECT_EQ(7u, value(1)); // what the guard is there for
}

TEST_F(PollLoop, ALateReplyAfterGivingUpIsNotTakenForTheNext)
{
    start("4x8 4x300", 1);
    late(Timeout * 3 / 2);
    loop->step();
    loop->step();
    EXPECT_EQ(rtu::VerdictGivenUp, seen[0].verdict);
    EXPECT_TRUE(seen[1].good());
    EXPECT_EQ(299u, value(1));
}

/** One request in fifty is lost and one in fifty answered late, by less than the loop listens. */
class LateAndLost : public PollLoop, public testing::WithParamInterface<int>
{
};

TEST_P(LateAndLost, NoReplyIsEverTakenForAnother)
{
    start("4x8 4x300 4x500 4x7@2", GetParam());
    std::mt19937 random(20);
    rtu::TimePoint slaveFree = line.now();
    line.slave = [&](VirtualLine &, const Bytes &request) {
        const auto fate = random() % 50;
        if (fate == 0)
            return;
        const rtu::Duration lateness = fate == 1 ? Timeout * static_cast<int>(random() % 180) / 100 : rtu::Duration(0);
        const rtu::TimePoint begin =
            std::max(slaveFree, line.now() + settings.timing.characters(8) + milliseconds(4)) + lateness;
        const Bytes reply = goodReply(request);
        line.receivePaced(begin - line.now(), settings.timing.characters(1), reply);
        slaveFree = begin + settings.timing.characters(reply.size());
    };
    int good = 0;
    for (int i = 0; i < 20000; ++i) {
        loop->step();
        const rtu::Transaction &t = seen.back();
        if (!t.good())
            continue;
        ++good;
        const Bytes wanted = goodReply(Bytes(t.request.begin(), t.request.end()));
        ASSERT_EQ(wanted, Bytes(t.reply.begin(), t.reply.end())) << "step " << i;
    }
    EXPECT_GT(good, 15000);
}

INSTANTIATE_TEST_SUITE_P(Attempts, LateAndLost, testing::Values(1, 2, 3, 5));

TEST_F(PollLoop, ADeadStationIsWaitedForThreeTimesOnly)
{
    start("4x1 4x300", 1);
    for (int i = 0; i < 5; ++i)
        silent();
    for (int i = 0; i < 5; ++i)
        loop->step();
    for (std::size_t i = 1; i <= 3; ++i)
        EXPECT_GE(line.sent[i].when - line.sent[i - 1].when, 2 * Timeout) << i;
    EXPECT_LT(line.sent[4].when - line.sent[3].when, Timeout + milliseconds(20));
}

TEST_F(PollLoop, AStationThatIsBackIsWaitedForAgain)
{
    start("4x1 4x300", 1);
    for (int i = 0; i < 4; ++i)
        silent();
    script.push_back([this](const Bytes &request, rtu::Duration delay) { line.receive(delay, goodReply(request)); });
    silent();
    for (int i = 0; i < 7; ++i)
        loop->step();
    EXPECT_TRUE(seen[4].good());
    EXPECT_GE(line.sent[6].when - line.sent[5].when, 2 * Timeout);
}

TEST_F(PollLoop, APortLostWhileListeningSaysNothingAboutTheStation)
{
    start("4x1", 1);
    for (int i = 0; i < 4; ++i) {
        silent();
        EXPECT_EQ(StepResult::Done, loop->step());
        if (i == 3)
            break;
        line.unplugAfter(Timeout / 2);
        EXPECT_EQ(StepResult::NoPort, loop->step());
        line.plugged = true;
    }
    loop->step();
    ASSERT_EQ(5u, line.sent.size());
    EXPECT_GE(line.sent[4].when - line.sent[3].when, 2 * Timeout);
}

TEST_F(PollLoop, TheAnswerOfAStationThatIsBackMayBeToAnEarlierAttempt)
{
    start("4x8 4x300", 5);
    for (int i = 0; i < 3; ++i)
        silent();      // dead from here on
    late(Timeout);     // comes while the fifth attempt is waited for,
    late(Timeout / 2); // whose own answer comes when the next request is due
    for (int i = 0; i < 6; ++i)
        loop->step();
    EXPECT_TRUE(seen[4].good());
    EXPECT_TRUE(seen[5].good());
    EXPECT_EQ(7u, value(0));
    EXPECT_EQ(299u, value(1));
}

TEST_F(PollLoop, ALateReplyThatIsComingInIsWaitedForBeforeTheNextAttempt)
{
    start("4x1..10");
    late(Timeout - milliseconds(4) + milliseconds(1)); // begins just after the time-out
    loop->step();
    const rtu::TimePoint replyEnd =
        line.sent[0].when + settings.timing.characters(8) + Timeout + milliseconds(1) + settings.timing.characters(24);
    loop->step();
    EXPECT_GT(line.sent[1].when, replyEnd);
    EXPECT_GT(seen[1].strayBytes, 0u);
    EXPECT_TRUE(seen[1].good());
}

TEST_F(PollLoop, ALineThatIsNeverSilentIsGivenUpOn)
{
    start("4x1");
    for (int i = 0; i < 2000; ++i)
        line.receive(milliseconds(i), Bytes(1, 0x55));
    EXPECT_EQ(StepResult::Done, loop->step());
    EXPECT_FALSE(seen[0].good());
}

TEST_F(PollLoop, ABroadcastGetsItsDelayAndNoReply)
{
    start("");
    write("4x5@0", 7);
    EXPECT_EQ(StepResult::Done, loop->step());
    EXPECT_EQ(frame("00 06 00 04 00 07"), line.sent[0].bytes);
    EXPECT_EQ(ReplyEnd::NoneExpected, seen[0].end);
    EXPECT_TRUE(seen[0].good());
    EXPECT_GE(line.now() - line.sent[0].when, settings.broadcastDelay);
}

TEST_F(PollLoop, DrainsMoreWritesThanGoOutInOneBurst)
{
    start("");
    for (int i = 1; i <= 25; ++i)
        write("4x" + std::to_string(i), 1);
    EXPECT_EQ(StepResult::Idle, loop->drain());
    EXPECT_EQ(25u, line.sent.size());
}

struct Mismatch
{
    const char *reply;
    const char *words;
};

TEST_F(PollLoop, WarnsOfRepliesThatTheDriverShouldNotHaveAccepted)
{
    const Mismatch mismatches[] = {
        {"02 03 02 00 07", "station 2"},
        {"01 04 02 00 07", "function 4"},
    };
    for (const Mismatch &mismatch : mismatches) {
        start("4x1");
        seen.clear();
        reply(frame(mismatch.reply));
        loop->step();
        ASSERT_EQ(1u, seen.size());
        EXPECT_TRUE(seen[0].good()) << mismatch.reply;
        EXPECT_NE(std::string::npos, seen[0].warning.toStdString().find(mismatch.words))
            << seen[0].warning.toStdString();
    }
}

TEST_F(PollLoop, DoesNotWarnOfGoodReplies)
{
    start("4x1 0x1 1x9 3x4 4x_double20");
    for (int i = 0; i < 5; ++i) {
        loop->step();
        EXPECT_EQ("", seen.back().warning.toStdString());
    }
}

TEST_F(PollLoop, DoesNotWarnOfTheBytesThatABitWriteChanges)
{
    start("");
    write("4x_bit3.5", 1);
    EXPECT_EQ(StepResult::Idle, loop->drain());
    ASSERT_EQ(2u, seen.size());
    EXPECT_EQ("", seen[0].warning.toStdString());
    EXPECT_EQ("", seen[1].warning.toStdString());
    EXPECT_EQ(frame("01 10 00 02 00 01 02 00 22"), line.sent[1].bytes); // 2 with bit 5 set
}

TEST_F(PollLoop, SurvivesALostPort)
{
    start("4x1");
    std::vector<bool> ports;
    loop->setPortObserver([&](bool open) { ports.push_back(open); });
    loop->step();
    line.plugged = false;
    EXPECT_EQ(StepResult::NoPort, loop->step());
    EXPECT_EQ(StepResult::NoPort, loop->step());
    line.plugged = true;
    EXPECT_EQ(StepResult::Done, loop->step());
    EXPECT_TRUE(seen.back().good());
    EXPECT_EQ((std::vector<bool>{false, true}), ports);
    EXPECT_EQ(2u, line.sent.size()); // nothing was sent while it was gone
}

TEST_F(PollLoop, APortLostBeforeTheReplyCountsAsAMissingReply)
{
    start("4x1");
    script.push_back([this](const Bytes &, rtu::Duration) { line.unplugAfter(milliseconds(3)); });
    EXPECT_EQ(StepResult::Done, loop->step());
    EXPECT_EQ(ReplyEnd::PortLost, seen[0].end);
    EXPECT_EQ(rtu::VerdictSendAgain, seen[0].verdict);
    EXPECT_EQ(StepResult::NoPort, loop->step());
    line.plugged = true;
    EXPECT_EQ(StepResult::Done, loop->step());
    EXPECT_EQ(line.sent[0].bytes, line.sent[1].bytes);
    EXPECT_TRUE(seen[1].good());
}

TEST_F(PollLoop, StopsInTheMiddleOfAWaitWithoutTellingTheDriver)
{
    start("4x1");
    script.push_back([this](const Bytes &, rtu::Duration) { loop->stop(); });
    EXPECT_EQ(StepResult::Stopped, loop->step());
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(StepResult::Stopped, loop->step());
    loop->restart();
    EXPECT_EQ(StepResult::Done, loop->step());
    EXPECT_EQ(line.sent[0].bytes, line.sent[1].bytes);
}

TEST_F(PollLoop, RunsRoundsUntilTheObserverHasEnough)
{
    start("4x1 4x200 4x400");
    int rounds = 0;
    loop->setRoundObserver([&] { return ++rounds < 4; });
    loop->run();
    EXPECT_EQ(4, rounds);
    EXPECT_EQ(12u, line.sent.size());
}

TEST_F(PollLoop, AResentFrameDoesNotEndTheRoundEarly)
{
    start("4x1 4x200");
    reply(hex("01 03"));
    int rounds = 0;
    loop->setRoundObserver([&] { return ++rounds < 1; });
    loop->run();
    EXPECT_EQ(3u, line.sent.size());
}

TEST_F(PollLoop, RemovesEchoes)
{
    settings.removeEcho = true;
    start("4x8");
    script.push_back([this](const Bytes &request, rtu::Duration delay) {
        line.receivePaced(settings.timing.characters(1), settings.timing.characters(1), request);
        line.receivePaced(delay, settings.timing.characters(1), goodReply(request));
    });
    loop->step();
    EXPECT_TRUE(seen[0].good());
    EXPECT_TRUE(seen[0].echoRemoved);
    EXPECT_EQ(7u, value(0));
}

} // namespace
