// What is taken off the line as the reply, and when it has ended.

#include "kit/collector_test.h"

namespace {

using namespace test_line;
using rtu::ReplyEnd;

class ReplyCollector : public CollectorTest
{
};

TEST_F(ReplyCollector, EndsWithTheLastExpectedByte)
{
    const Bytes reply = readReply(request);
    line.receivePaced(milliseconds(10), character(), reply);
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(array(reply), t.reply);
    EXPECT_EQ(milliseconds(10) + 24 * character(), elapsed());
    EXPECT_EQ(start + milliseconds(10), t.firstByte);
    EXPECT_EQ(line.now(), t.finished);
}

TEST_F(ReplyCollector, SleepsThroughALongReply)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    line.receivePaced(milliseconds(10), character(), readReply(big));
    const rtu::Transaction t = collect(big, 255);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_LE(line.wakeUps, 4);
    EXPECT_EQ(milliseconds(10) + 254 * character(), elapsed());
}

TEST_F(ReplyCollector, LearnsHowLongAStationTakes)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    for (int i = 0; i < 3; ++i) {
        line.receivePaced(milliseconds(10), character(), readReply(big));
        EXPECT_EQ(ReplyEnd::Complete, collect(big, 255).end);
        EXPECT_EQ(milliseconds(10) + 254 * character(), elapsed());
    }
    EXPECT_LE(line.wakeUps, 3);
}

TEST_F(ReplyCollector, LearnsQuickerAndSlowerDelays)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    for (int delay : {10, 6, 6, 15, 9, 18, 6}) {
        line.receivePaced(milliseconds(delay), character(), readReply(big));
        EXPECT_EQ(ReplyEnd::Complete, collect(big, 255).end);
        EXPECT_EQ(milliseconds(delay) + 254 * character(), elapsed()) << delay;
    }
}

TEST_F(ReplyCollector, LearnsForShortRepliesToo)
{
    setBaud(115200);
    for (int i = 0; i < 3; ++i) {
        line.receivePaced(milliseconds(3), character(), readReply(request));
        EXPECT_EQ(ReplyEnd::Complete, collect(request, 25).end);
        EXPECT_EQ(milliseconds(3) + 24 * character(), elapsed());
    }
    EXPECT_LE(line.wakeUps, 4); // one, and the last bytes one by one
}

TEST_F(ReplyCollector, FindsAnExceptionOfAStationThatItKnows)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    line.receivePaced(milliseconds(10), character(), readReply(big));
    collect(big, 255);
    line.receivePaced(milliseconds(8), character(), frame("01 83 02"));
    EXPECT_EQ(ReplyEnd::Exception, collect(big, 255).end);
    EXPECT_LE(elapsed(), milliseconds(10) + 5 * character());
}

TEST_F(ReplyCollector, DoesNotTakeAReplyWhoseFirstBytesHaveACheckSumForAnException)
{
    Bytes reply = frame("01 03 04"); // the first register is the check sum of what is in front of it
    reply.insert(reply.end(), {0x00, 0x07});
    reply = withCrc(reply);
    line.receivePaced(milliseconds(10), character(), reply);
    const rtu::Transaction t = collect(frame("01 03 00 00 00 02"), 9);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(array(reply), t.reply);
}

TEST_F(ReplyCollector, DoesNotSleepThroughLongDelays)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    line.receivePaced(milliseconds(500), character(), readReply(big));
    collect(big, 255);
    line.receivePaced(milliseconds(5), character(), readReply(big));
    collect(big, 255);
    EXPECT_EQ(milliseconds(5) + 254 * character(), elapsed());
}

TEST_F(ReplyCollector, SleepsThroughDelaysOfUpToTwentyMilliseconds)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    for (const bool longer : {false, true}) {
        collector.reset();
        const rtu::Duration delay = milliseconds(20) + (longer ? microseconds(1) : microseconds(0));
        for (int i = 0; i < 2; ++i) {
            line.receivePaced(timing.characters(big.size()) + delay + character(), character(), readReply(big));
            collect(big, 255);
        }
        EXPECT_EQ(longer ? 4 : 3, line.wakeUps);
    }
}

TEST_F(ReplyCollector, ANewDelayCostsAFewWakeUpsOnly)
{
    setBaud(115200);
    const Bytes big = frame("01 03 00 00 00 7D");
    line.receivePaced(milliseconds(3), character(), readReply(big));
    collect(big, 255);
    line.receivePaced(milliseconds(9), character(), readReply(big));
    EXPECT_EQ(ReplyEnd::Complete, collect(big, 255).end);
    EXPECT_EQ(milliseconds(9) + 254 * character(), elapsed());
    EXPECT_LE(line.wakeUps, 4);
}

TEST_F(ReplyCollector, AQuickerStationIsFollowed)
{
    setBaud(115200);
    const Bytes big = frame("01 03 00 00 00 7D");
    line.receivePaced(milliseconds(9), character(), readReply(big));
    collect(big, 255);
    for (int i = 0; i < 40; ++i) {
        line.receivePaced(milliseconds(3), character(), readReply(big));
        collect(big, 255);
    }
    EXPECT_EQ(milliseconds(3) + 254 * character(), elapsed());
}

TEST_F(ReplyCollector, MakesUpForALateWakeUp)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    line.receivePaced(milliseconds(10), character(), readReply(big));
    line.wakeUpDelay = milliseconds(2); // the first wake-up: the machine was busy
    const rtu::Transaction t = collect(big, 255);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(milliseconds(10) + 254 * character(), elapsed());
}

TEST_F(ReplyCollector, TakesAWholeReplyAtOnce)
{
    line.receive(milliseconds(3), readReply(request));
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(milliseconds(3), elapsed());
    EXPECT_EQ(1, line.wakeUps);
}

TEST_F(ReplyCollector, TakesMoreThanAHundredBytesInPieces)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    const Bytes reply = readReply(big);
    line.receive(milliseconds(5), Bytes(reply.begin(), reply.begin() + 100));
    line.receive(milliseconds(50), Bytes(reply.begin() + 100, reply.begin() + 130));
    line.receive(milliseconds(99), Bytes(reply.begin() + 130, reply.end()));
    const rtu::Transaction t = collect(big, 255);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(array(reply), t.reply);
}

TEST_F(ReplyCollector, TakesTheLumpsOfAUsbAdapter)
{
    setBaud(115200);
    const Bytes big = frame("01 03 00 00 00 7D");
    const Bytes reply = readReply(big);
    line.receive(milliseconds(16), Bytes(reply.begin(), reply.begin() + 62));
    line.receive(milliseconds(32), Bytes(reply.begin() + 62, reply.begin() + 230));
    line.receive(milliseconds(48), Bytes(reply.begin() + 230, reply.end()));
    const rtu::Transaction t = collect(big, 255);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(array(reply), t.reply);
    EXPECT_EQ(milliseconds(48), elapsed());
}

TEST_F(ReplyCollector, AnExceptionReplyCostsNoTimeOut)
{
    const Bytes reply = frame("01 83 02");
    line.receivePaced(milliseconds(10), character(), reply);
    const Bytes big = frame("01 03 00 00 00 7D");
    const rtu::Transaction t = collect(big, 255);
    EXPECT_EQ(ReplyEnd::Exception, t.end);
    EXPECT_EQ(array(reply), t.reply);
    EXPECT_LE(elapsed(), milliseconds(10) + 5 * character());
}

TEST_F(ReplyCollector, AnExceptionIsFoundWithinTheLengthOfAShortReply)
{
    setBaud(115200);
    line.receivePaced(milliseconds(10), character(), frame("01 83 02"));
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Exception, t.end);
    EXPECT_LE(elapsed(), milliseconds(10) + 25 * character());
}

TEST_F(ReplyCollector, ADamagedFunctionCodeIsNoException)
{
    Bytes reply = readReply(request);
    reply[1] = 0x83;
    line.receivePaced(milliseconds(10), character(), reply);
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(25, t.reply.size());
}

TEST_F(ReplyCollector, AShortReplyEndsWithSilence)
{
    const Bytes reply = hex("01 03 14 00 01");
    line.receivePaced(milliseconds(10), character(), reply);
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Silence, t.end);
    EXPECT_EQ(array(reply), t.reply);
    EXPECT_EQ(milliseconds(10) + 23 * character() + milliseconds(50), elapsed()) << "slept through, then silent";
}

TEST_F(ReplyCollector, AReplyOfOneByteIsOne)
{
    line.receive(milliseconds(10), Bytes(1, 0x01));
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Silence, t.end);
    EXPECT_EQ(1, t.reply.size());
}

TEST_F(ReplyCollector, AReplyOfNoExpectedLengthIsWhatComesFirst)
{
    line.receive(milliseconds(10), Bytes(1, 0x01));
    const rtu::Transaction t = collect(request, 0);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(1, t.reply.size());
}

TEST_F(ReplyCollector, NoByteIsATimeOutAlsoAfterAReply)
{
    for (const bool answered : {false, true, false}) {
        if (answered)
            line.receivePaced(milliseconds(10), character(), readReply(request));
        const rtu::Transaction t = collect(request, 25);
        EXPECT_EQ(answered ? ReplyEnd::Complete : ReplyEnd::TimedOut, t.end);
        if (answered)
            continue;
        EXPECT_TRUE(t.reply.isEmpty());
        EXPECT_EQ(t.requestEnd, t.firstByte);
        EXPECT_EQ(ReplyTimeout + timing.characters(8), elapsed());
    }
}

TEST_F(ReplyCollector, AFloodIsTakenUpToTheRoomForIt)
{
    for (const bool echo : {false, true}) {
        collector.reset();
        line.receive(milliseconds(1), echo ? request : Bytes(5, 0x55));
        line.receive(milliseconds(2), Bytes(3000, 0x55));
        const rtu::Transaction t = collect(request, 5000, echo);
        EXPECT_EQ(ReplyEnd::Complete, t.end);
        EXPECT_EQ(echo ? 2040 : 2048, t.reply.size());
        line.discardInput();
    }
}

TEST_F(ReplyCollector, AReplyLikeTheRequestIsNoEchoWhereNoneIsRemoved)
{
    const Bytes write = frame("01 06 00 03 00 07");
    line.receive(milliseconds(1), write);
    const rtu::Transaction t = collect(write, 8);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_FALSE(t.echoRemoved);
    EXPECT_EQ(array(write), t.reply);
}

TEST_F(ReplyCollector, AReplyThatBeginsInTheLastMomentIsTakenWhole)
{
    line.receivePaced(ReplyTimeout, character(), readReply(request));
    EXPECT_EQ(ReplyEnd::Complete, collect(request, 25).end);
}

TEST_F(ReplyCollector, FurtherBytesInTheSameLumpBelongToTheReply)
{
    Bytes reply = readReply(request);
    reply.push_back(0xAA);
    line.receive(milliseconds(5), reply);
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(26, t.reply.size());
}

TEST_F(ReplyCollector, RemovesTheEcho)
{
    const Bytes reply = readReply(request);
    line.receivePaced(character(), character(), request);
    line.receivePaced(milliseconds(20), character(), reply);
    const rtu::Transaction t = collect(request, 25, true);
    EXPECT_TRUE(t.echoRemoved);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(array(reply), t.reply);
}

TEST_F(ReplyCollector, RemovesTheEchoOfAWriteThatIsAnsweredAlike)
{
    const Bytes write = frame("01 06 00 03 00 07");
    line.receive(milliseconds(1), write);
    line.receive(milliseconds(20), write);
    const rtu::Transaction t = collect(write, 8, true);
    EXPECT_TRUE(t.echoRemoved);
    EXPECT_EQ(array(write), t.reply);
    EXPECT_EQ(milliseconds(20), elapsed());
}

TEST_F(ReplyCollector, AnEchoAloneIsATimeOut)
{
    line.receive(milliseconds(1), request);
    const rtu::Transaction t = collect(request, 25, true);
    EXPECT_EQ(ReplyEnd::TimedOut, t.end);
    EXPECT_TRUE(t.echoRemoved);
    EXPECT_TRUE(t.reply.isEmpty());
    EXPECT_EQ(ReplyTimeout + timing.characters(8), elapsed());
}

TEST_F(ReplyCollector, AnEchoInPiecesBeginsNoReply)
{
    const Bytes reply = readReply(request);
    line.receivePaced(character(), character(), request);
    line.receivePaced(milliseconds(200), character(), reply);
    const rtu::Transaction t = collect(request, 25, true);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(array(reply), t.reply);
    EXPECT_EQ(start + milliseconds(200), t.firstByte);
}

TEST_F(ReplyCollector, EchoAndReplyInOneLumpAreParted)
{
    Bytes both = request;
    const Bytes reply = readReply(request);
    both.insert(both.end(), reply.begin(), reply.end());
    line.receive(milliseconds(16), both);
    const rtu::Transaction t = collect(request, 25, true);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(array(reply), t.reply);
}

TEST_F(ReplyCollector, WithoutAnEchoTheReplyIsLeftWhole)
{
    const Bytes reply = readReply(request);
    for (const bool atOnce : {false, true}) {
        line.receivePaced(milliseconds(10), atOnce ? rtu::Duration(0) : character(), reply);
        const rtu::Transaction t = collect(request, 25, true);
        EXPECT_EQ(ReplyEnd::Complete, t.end);
        EXPECT_FALSE(t.echoRemoved);
        EXPECT_EQ(array(reply), t.reply);
    }
}

TEST_F(ReplyCollector, TellsThatThePortIsGone)
{
    line.unplugAfter(milliseconds(5));
    EXPECT_EQ(ReplyEnd::PortLost, collect(request, 25).end);
}

TEST_F(ReplyCollector, StopsWhenInterrupted)
{
    line.interrupt();
    EXPECT_EQ(ReplyEnd::Interrupted, collect(request, 25).end);
}

TEST_F(ReplyCollector, BabbleEndsAtTheExpectedLength)
{
    for (int i = 0; i < 100; ++i)
        line.receive(milliseconds(5 + 40 * i), Bytes(1, 0x55));
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(25, t.reply.size());
}

TEST_F(ReplyCollector, AnUnpacedLineIsNotSleptThrough)
{
    setBaud(0);
    const Bytes reply = readReply(request);
    line.receive(milliseconds(1), Bytes(reply.begin(), reply.begin() + 7));
    line.receive(milliseconds(2), Bytes(reply.begin() + 7, reply.end()));
    const rtu::Transaction t = collect(request, 25);
    EXPECT_EQ(ReplyEnd::Complete, t.end);
    EXPECT_EQ(milliseconds(2), elapsed());
}

} // namespace
