// Until when is slept while a reply comes in, to the nanosecond: the bytes themselves are
// taken whatever is slept, but a processor that is woken for each of them runs the panel slower.

#include "kit/collector_test.h"

namespace {

using namespace test_line;
using rtu::Duration;
using rtu::ReplyEnd;

class CollectorSleeps : public CollectorTest
{
protected:
    using Times = std::vector<Duration>;

    /** From the begin of the request on, in nanoseconds. */
    std::vector<long long> slept() const
    {
        std::vector<long long> all;
        for (const rtu::TimePoint when : line.slept)
            all.push_back((when - start).count());
        return all;
    }

    static std::vector<long long> counts(const Times &times)
    {
        std::vector<long long> all;
        for (const Duration time : times)
            all.push_back(time.count());
        return all;
    }

    /** A read of so many registers whose reply comes byte by byte, the first one after a delay. */
    void exchange(int registers, Duration delay)
    {
        const Bytes read = {1, 3, 0, 0, 0, static_cast<unsigned char>(registers)};
        line.receivePaced(delay, character(), readReply(withCrc(read)));
        EXPECT_EQ(ReplyEnd::Complete, collect(withCrc(read), 5 + 2 * registers).end);
    }

    Duration times(int count) const { return count * character(); }
};

TEST_F(CollectorSleeps, ThroughABriefReplyButForItsLastQuarterOfAMillisecond)
{
    setBaud(115200);
    const Duration begin = milliseconds(3);
    for (const int registers : {10, 21}) {
        collector.reset();
        exchange(registers, begin);
        EXPECT_EQ(counts({begin + times(4 + 2 * registers) - microseconds(250)}), slept()) << registers;
    }
}

TEST_F(CollectorSleeps, ThroughALongerReplyButForItsLastByte)
{
    setBaud(115200);
    exchange(26, milliseconds(3));
    EXPECT_EQ(counts({milliseconds(3) + times(55)}), slept()) << "5.4 ms";
    setBaud(19200);
    collector.reset();
    exchange(23, milliseconds(10));
    EXPECT_EQ(counts({milliseconds(10) + times(49)}), slept()) << "29.2 ms";
}

TEST_F(CollectorSleeps, ThroughALongReplyButWhereAnExceptionWouldEnd)
{
    exchange(24, milliseconds(10));
    EXPECT_EQ(counts({milliseconds(10) + times(4), milliseconds(10) + times(51)}), slept()) << "30.4 ms";
    EXPECT_EQ(4, line.wakeUps);
    exchange(24, milliseconds(10));
    EXPECT_EQ(counts({milliseconds(10) + times(4), milliseconds(10) + times(51)}), slept());
    EXPECT_EQ(3, line.wakeUps) << "not for the first byte: the station is known";
}

TEST_F(CollectorSleeps, FollowSlowerStationsSlowlyAndQuickerOnesAtOnce)
{
    const Duration first = milliseconds(10);
    exchange(125, first);
    exchange(125, milliseconds(12));
    EXPECT_EQ(counts({first + times(4), first + times(8), first + times(257)}), slept())
        << "one byte, which tells when the reply began";
    const Duration second = first + microseconds(250); // an eighth of the difference more
    exchange(125, second);
    EXPECT_EQ(counts({second + times(4), second + times(253)}), slept());
    exchange(125, milliseconds(9));
    EXPECT_EQ(counts({second + times(4), second + times(251)}), slept());
    exchange(125, milliseconds(9));
    EXPECT_EQ(counts({milliseconds(9) + times(4), milliseconds(9) + times(253)}), slept());
}

TEST_F(CollectorSleeps, BecomeShorterAfterAReplyThatWasThereAlready)
{
    exchange(10, milliseconds(10));
    line.receive(milliseconds(5), readReply(request));
    collect(request, 25);
    EXPECT_EQ(counts({milliseconds(10) + times(23)}), slept());
    line.receive(milliseconds(5), readReply(request));
    collect(request, 25);
    // It can have begun a character earlier, and is looked for three more before.
    EXPECT_EQ(counts({milliseconds(10) + times(23 - 4)}), slept());
}

TEST_F(CollectorSleeps, BeginWithTheEndOfTheRequestAtTheEarliest)
{
    const Bytes reply = readReply(request);
    for (const std::size_t inFront : {25u, 20u}) {
        collector.reset();
        for (int i = 0; i < 2; ++i) {
            line.receive(milliseconds(3), Bytes(reply.begin(), reply.begin() + static_cast<int>(inFront)));
            if (inFront < reply.size())
                line.receive(milliseconds(8), Bytes(reply.begin() + static_cast<int>(inFront), reply.end()));
            EXPECT_EQ(ReplyEnd::Complete, collect(request, 25).end);
        }
        ASSERT_FALSE(slept().empty());
        EXPECT_EQ(times(8 + 24).count(), slept()[0]) << inFront;
    }
}

TEST_F(CollectorSleeps, LearnFromWholeRepliesAlone)
{
    const Bytes big = frame("01 03 00 00 00 7D");
    line.receivePaced(milliseconds(10), character(), frame("01 83 02"));
    EXPECT_EQ(ReplyEnd::Exception, collect(big, 255).end);
    EXPECT_EQ(counts({milliseconds(10) + times(4)}), slept());
    EXPECT_EQ(milliseconds(10) + times(4), elapsed());
    exchange(125, milliseconds(10));
    EXPECT_EQ(4, line.wakeUps) << "the first byte is awaited";
}

TEST_F(CollectorSleeps, OfOneStationTellNothingOfAnother)
{
    exchange(125, milliseconds(10));
    const Bytes big = frame("01 03 00 00 00 7D");
    const Bytes reply = readReply(big);
    line.receive(milliseconds(5), reply); // there as a whole when it is looked for
    collect(big, 255);
    station = 2;
    line.receive(milliseconds(10), Bytes(reply.begin(), reply.begin() + 2));
    line.receivePaced(milliseconds(10) + character(), character(), Bytes(reply.begin() + 2, reply.end()));
    EXPECT_EQ(ReplyEnd::Complete, collect(big, 255).end);
    EXPECT_EQ(counts({milliseconds(10) + times(3), milliseconds(10) + times(252)}), slept());
}

TEST_F(CollectorSleeps, WaitForAnEcho)
{
    const Bytes reply = readReply(request);
    for (int i = 0; i < 2; ++i) {
        line.receivePaced(character(), character(), request);
        line.receivePaced(milliseconds(20), character(), reply);
        const rtu::Transaction t = collect(request, 25, true);
        EXPECT_TRUE(t.echoRemoved);
        EXPECT_EQ(array(reply), t.reply);
        EXPECT_EQ(counts({milliseconds(20) + times(23)}), slept());
        EXPECT_EQ(8 + 3, line.wakeUps) << "none is slept through";
    }
    collector->setRemoveEcho(false);
    line.receivePaced(milliseconds(20), character(), reply);
    const rtu::Transaction t = collect(request, 25);
    EXPECT_FALSE(t.echoRemoved);
    EXPECT_EQ(array(reply), t.reply);
    EXPECT_EQ(2, line.wakeUps) << "and what was learnt serves here";
}

TEST_F(CollectorSleeps, AreNoneOnALineWithoutPace)
{
    setBaud(0);
    for (int i = 0; i < 2; ++i) {
        line.receive(milliseconds(1), readReply(request));
        EXPECT_EQ(ReplyEnd::Complete, collect(request, 25).end);
        EXPECT_EQ(counts({}), slept());
    }
}

} // namespace
