// A reply is accepted by its length and its CRC alone. Here stand the replies
// that pass although they answer something else, so that hosts know them, and
// the certainty that no reply whatever does harm.

#include "support/random.h"
#include "support/slave_fixture.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using support::adu;
using support::keysOf;
using support::payload;
using support::requestBytes;
using support::wordsReply;

namespace {

class AcceptedReplies : public support::SlaveFixture
{
protected:
    /** Reads coils, and gets its own request back. */
    int echoedCoilRead(int start, int count)
    {
        init("1#0#0#3#2000");
        KEY_ADDRESS asked = support::key(1, "0x", start, count, -1);
        intf_addConditionRead(&asked, 0);
        const FRAME_PRO frame = nextFrame();
        return deal(requestBytes(frame));
    }
};

} // namespace

// --- known weaknesses ------------------------------------------------------------------------

TEST_F(AcceptedReplies, LateAcknowledgementOfOneWriteConfirmsTheNext)
{
    setData(1, "4x", 10, 1, "11 00");
    setData(1, "4x", 20, 2, "22 00 33 00");
    const FRAME_PRO first = nextFrame();
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(exchange(support::writeEcho(first)), ReplyAccepted);
    EXPECT_EQ(area(1, "4x", 20).readValue, 0x22) << "confirmed, though no slave has written it";
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(AcceptedReplies, LateAcknowledgementMayComeFromAnyStation)
{
    setData(2, "4x", 20, 1, "22 00");
    EXPECT_EQ(exchange(adu("01 10 00 64 00 7B")), ReplyAccepted);
    EXPECT_EQ(area(2, "4x", 20).readValue, 0x22);
}

TEST_F(AcceptedReplies, LateReplyToAnotherReadOfTheSameLengthIsCached)
{
    plan(keysOf("1:4x 0+2 | 1:4x 500+2"));
    nextFrame();
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(exchange(wordsReply(1, 3, {0x1111, 0x2222})), ReplyAccepted);
    EXPECT_EQ(getData(1, "4x", 500, 2, 4), payload("11 11 22 22"));
}

TEST_F(AcceptedReplies, EchoOfASingleWriteIsItsAnswer)
{
    slaves.station(1);
    setData(1, "0x", 3, 1, "01");
    setData(1, "4x", 7, 1, "34 12");
    slaves.failNext(support::EchoOfRequest, 2);
    EXPECT_EQ(trace(2), "WW");
    EXPECT_EQ(area(1, "0x", 3).readValue, 1);
    EXPECT_EQ(area(1, "4x", 7).readValue, 0x1234);
    EXPECT_EQ(slaves.station(1).holding(7, 1), std::vector<int>(1, 0)) << "nothing was written";
}

TEST_F(AcceptedReplies, EchoOfAMultipleWriteIsNotItsAnswer)
{
    slaves.station(1);
    setData(1, "0x", 3, 2, "01 01");
    setData(1, "4x", 7, 2, "34 12 78 56");
    slaves.failNext(support::EchoOfRequest, 6);
    EXPECT_EQ(trace(6), "wwwwww");
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(AcceptedReplies, EchoOfACoilReadOf17To24CoilsIsItsAnswer)
{
    for (int count = 17; count <= 24; ++count) {
        EXPECT_EQ(echoedCoilRead(0x1A5, count), ReplyAccepted) << count;
        // Data bytes are then the low byte of the address and the quantity.
        std::vector<unsigned char> expected;
        for (int byte : {0xA5, 0x00, count}) {
            for (int bit = 0; bit < 8; ++bit)
                expected.push_back(static_cast<unsigned char>((byte >> bit) & 1));
        }
        expected.resize(static_cast<size_t>(count));
        EXPECT_EQ(getData(1, "0x", 0x1A5, count, count), expected) << count;
    }
}

TEST_F(AcceptedReplies, EchoOfAnyOtherReadIsNotItsAnswer)
{
    for (int count : {1, 8, 9, 16, 25, 32, 100, 2000})
        EXPECT_EQ(echoedCoilRead(0x1A5, count), SendAgain) << count;
    for (int count = 1; count <= 125; ++count) {
        init("1#0#0#3#125");
        plan(support::Keys() << support::key(1, "4x", 0, count));
        EXPECT_EQ(deal(requestBytes(nextFrame())), SendAgain) << count;
    }
}

TEST_F(AcceptedReplies, ExceptionAnswersAReadOfNothingOnly)
{
    slaves.station(1);
    setData(1, "4x", 7, 1, "34 12");
    plan(keysOf("1:4x 0+1 | 1:0x 0+1"));
    slaves.failNext(support::Busy, 9);
    EXPECT_EQ(trace(9), "wwwpppppp");
}

TEST_F(AcceptedReplies, FaultsOfTheLineAreSentAgain)
{
    slaves.station(1).setHolding(0, {0x1234});
    init("1#0#0#10#100");
    plan(keysOf("1:4x 0+1"));
    for (support::SlaveFault fault : {support::Silent, support::ReplyLost, support::WrongCrc, support::Truncated,
                                      support::TooLong, support::Busy, support::EchoOfRequest}) {
        slaves.failNext(fault);
        EXPECT_EQ(trace(2), "pP") << fault;
    }
    slaves.failNext(support::OtherStation);
    slaves.failNext(support::OtherFunction);
    EXPECT_EQ(trace(2), "PP") << "neither is compared";
}

// --- any reply --------------------------------------------------------------------------------

namespace {

/** What may be in flight when a reply comes in. */
const char *const situations[] = {
    "coils",      "inputs",    "registers",   "doubles",    "one-off",           "nothing asked", "register write",
    "coil write", "bit write", "block write", "block read", "double block read", "unknown type",  "broadcast"};

class AnyReply : public support::SlaveFixture, public ::testing::WithParamInterface<const char *>
{
protected:
    void bringAbout(const std::string &situation)
    {
        init("1#0#0#3#100");
        driver.rcpIndex = 0;
        if (situation == "coils")
            plan(keysOf("1:0x 3+21"));
        else if (situation == "inputs")
            plan(keysOf("1:1x 0+8"));
        else if (situation == "registers")
            plan(keysOf("1:4x 0+10"));
        else if (situation == "doubles")
            plan(keysOf("1:3x_double 0+8"));
        else if (situation == "one-off")
            askOnce("4x", 5);
        else if (situation == "nothing asked")
            askOnce("4x", -2);
        else if (situation == "register write")
            setData(1, "4x", 0, 2, "01 02 03 04");
        else if (situation == "coil write")
            setData(1, "0x", 0, 1, "01");
        else if (situation == "bit write")
            setData(1, "4x_bit", 14, 3, "01 00 01 00 00 00");
        else if (situation == "block write")
            transferBlock("1:4x 0+2@0", BlockWriteRequest);
        else if (situation == "block read")
            transferBlock("1:4x 0+2@0 | 1:4x 2+6@8", BlockReadRequest);
        else if (situation == "double block read")
            transferBlock("1:4x_double 0+2@0 | 1:4x_double 2+2@8", BlockReadRequest);
        else if (situation == "unknown type")
            plan(keysOf("1:9x 0+4"));
        else if (situation == "broadcast")
            setData(0, "4x", 0, 1, "01 02");
    }

    void askOnce(const char *type, int count)
    {
        KEY_ADDRESS asked = support::key(1, type, 0, count);
        intf_addConditionRead(&asked, 0);
    }

    void transferBlock(const char *rows, int requestByte)
    {
        QVector<_RCP_VAR_PRO> table = support::rowsOf(1, rows);
        intf_setRcpAddress(&table);
        raise(requestByte);
    }

    static bool isGood(const FRAME_PRO &frame, const QByteArray &reply)
    {
        const int length = static_cast<int>(reply.size());
        if (length != frame.replyLen)
            return false;
        return length == 0 || (length > 2 && support::withCrc(reply.left(length - 2)) == reply)
               || (length == 2 && reply == support::bytes("FF FF"));
    }

    static QByteArray randomBytes(support::Random &random, int length)
    {
        QByteArray content;
        for (int i = 0; i < length; ++i)
            content.append(static_cast<char>(random.byte()));
        return content;
    }
};

std::string situationName(const ::testing::TestParamInfo<const char *> &info)
{
    std::string name = info.param;
    for (char &letter : name)
        letter = letter == ' ' || letter == '-' ? '_' : letter;
    return name;
}

} // namespace

TEST_P(AnyReply, IsJudgedByLengthAndCrcAlone)
{
    const unsigned int seed = 20260;
    SCOPED_TRACE("seed " + std::to_string(seed));
    support::Random random(seed);
    int accepted = 0;
    for (int round = 0; round < 1500 && !HasFailure(); ++round) {
        bringAbout(GetParam());
        const FRAME_PRO frame = nextFrame();
        ASSERT_GT(frame.frameLen, 0);
        const int expectedLength = frame.replyLen > 2 ? frame.replyLen : 3;
        QByteArray reply = randomBytes(random, random.chance(50) ? expectedLength - 2 : random.below(300));
        if (random.chance(80))
            reply = support::withCrc(reply);
        const bool good = isGood(frame, reply);
        accepted += good ? 1 : 0;
        EXPECT_EQ(deal(reply), good ? ReplyAccepted : SendAgain) << "round " << round;
    }
    EXPECT_TRUE(accepted > 0 || std::string(GetParam()) == "broadcast" || std::string(GetParam()) == "nothing asked");
}

TEST_P(AnyReply, OfAnyLengthIsSurvived)
{
    for (int length = 0; length <= 1100; ++length) {
        bringAbout(GetParam());
        const FRAME_PRO frame = nextFrame();
        const QByteArray reply(length, '\xFF');
        EXPECT_EQ(deal(reply), isGood(frame, reply) ? ReplyAccepted : SendAgain) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(ToAnyRequest, AnyReply, ::testing::ValuesIn(situations), situationName);
