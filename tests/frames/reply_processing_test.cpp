// Replies: which are accepted, what they put into the cache, what is reported,
// and how a request is given up.

#include "support/slave_fixture.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <climits>

using support::adu;
using support::bitsReply;
using support::Change;
using support::Changes;
using support::exceptionReply;
using support::key;
using support::keysOf;
using support::payload;
using support::unitsText;
using support::variable;
using support::wordsReply;

namespace {

class ResponseProcessing : public support::SlaveFixture
{
protected:
    /** Plans the keys without monitoring anything. */
    void planUnmonitored(const char *keys)
    {
        plan(keysOf(keys));
        for (int i = 0; i < static_cast<int>(driver.dataAreas.size()); ++i) {
            driver.dataAreas[i].wordMonitor = 0;
            driver.dataAreas[i].bitMonitor = 0;
        }
    }

    /** Puts a read into flight that no plan and no queue stands behind. */
    void sendRead(const char *type, int start, int count, int sendState)
    {
        driver.frameList.clear();
        driver.sendState = sendState;
        driver.getReadFrame(variable(1, type, start, count));
    }

    int readValue(const char *type, int address) { return area(1, type, address).readValue; }

    static int areasWithError()
    {
        int marked = 0;
        for (int i = 0; i < static_cast<int>(driver.dataAreas.size()); ++i)
            marked += driver.dataAreas.at(i).errorFlag != 0 ? 1 : 0;
        return marked;
    }

    static Change change(const char *type, int address)
    {
        const Change made = {1, 1, QString::fromLatin1(type), address};
        return made;
    }
};

} // namespace

// --- nothing pending --------------------------------------------------------------------

TEST_F(ResponseProcessing, ReplyWithoutARequestIsNothing)
{
    EXPECT_EQ(deal(wordsReply(1, 3, {1})), NothingPending);
    EXPECT_EQ(errorText, QString());
    EXPECT_EQ(deal(QByteArray()), NothingPending);
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(ResponseProcessing, MissingArgumentsCountAsEmptyOnes)
{
    EXPECT_EQ(intf_dealRcvFrame(nullptr, nullptr), NothingPending);
    plan(keysOf("1:4x 0+1"));
    nextFrame();
    EXPECT_EQ(intf_dealRcvFrame(nullptr, nullptr), SendAgain);
    QByteArray reply = wordsReply(1, 3, {0x1234});
    EXPECT_EQ(intf_dealRcvFrame(&reply, nullptr), ReplyAccepted);
    EXPECT_EQ(readValue("4x", 0), 0x1234);
}

// --- what is accepted -----------------------------------------------------------------

TEST_F(ResponseProcessing, StationFunctionAndByteCountOfAReplyAreNotCompared)
{
    plan(keysOf("1:4x 0+3"));
    EXPECT_EQ(exchange(wordsReply(9, 3, {1, 2, 3})), ReplyAccepted);
    EXPECT_EQ(readValue("4x", 2), 3);
    EXPECT_EQ(exchange(wordsReply(1, 4, {4, 5, 6})), ReplyAccepted);
    EXPECT_EQ(readValue("4x", 2), 6);
    EXPECT_EQ(exchange(adu("01 03 FF 00 07 00 08 00 09")), ReplyAccepted);
    EXPECT_EQ(readValue("4x", 2), 9);
    EXPECT_EQ(findArea(9, "4x", 0), -1) << "the station is that of the request";
}

TEST_F(ResponseProcessing, LengthAndCrcDecide)
{
    init("1#0#0#100#100");
    plan(keysOf("1:4x 0+3"));
    const QByteArray good = wordsReply(1, 3, {1, 2, 3});
    for (int length = 0; length < static_cast<int>(good.size()); ++length)
        EXPECT_EQ(exchange(good.left(length)), SendAgain) << length;
    EXPECT_EQ(exchange(good + '\0'), SendAgain);
    EXPECT_EQ(exchange(wordsReply(1, 3, {1, 2})), SendAgain);
    EXPECT_EQ(exchange(wordsReply(1, 3, {1, 2, 3, 4})), SendAgain);
    EXPECT_EQ(exchange(exceptionReply(1, 3, 2)), SendAgain);
    for (int i = 0; i < static_cast<int>(good.size()); ++i) {
        QByteArray damaged = good;
        damaged[i] = static_cast<char>(damaged.at(i) ^ 0x10);
        EXPECT_EQ(exchange(damaged), SendAgain) << i;
    }
    EXPECT_EQ(errorText, QString());
    EXPECT_EQ(readValue("4x", 0), 0);
    EXPECT_EQ(exchange(good), ReplyAccepted);
}

TEST_F(ResponseProcessing, TwoBytesOfAnIdleLineAnswerARequestThatExpectsTwo)
{
    // 24 coils less than none: the only read whose reply is two bytes long.
    sendRead("0x", 0, -24, CyclicReadSent);
    EXPECT_EQ(deal(support::bytes("FF FE")), SendAgain);
    EXPECT_EQ(deal(support::bytes("FF FF")), ReplyAccepted);
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(ResponseProcessing, ReadOfNothingIsOverWithAnyFiveBytes)
{
    plan(keysOf("1:4x 0+0 | 1:4x 500+1"));
    EXPECT_EQ(exchange(exceptionReply(1, 3, 2)), ReplyAccepted);
    EXPECT_EQ(unitsText(driver.cyclicReadList), "1:4x 500+1 | 1:4x 0+0") << "it loses its turn";
    EXPECT_EQ(driver.dataAreas.size(), 1);
}

TEST_F(ResponseProcessing, BroadcastAcceptsSilenceOnly)
{
    setData(0, "4x", 3, 1, "34 12");
    EXPECT_EQ(exchange(adu("00 06 00 03 12 34")), SendAgain);
    EXPECT_EQ(deal(QByteArray()), ReplyAccepted);
    EXPECT_TRUE(driver.writeList.isEmpty());
}

// --- registers ------------------------------------------------------------------------

TEST_F(ResponseProcessing, RegistersAreHighByteFirst)
{
    plan(keysOf("1:4x 5+2 | 1:3x 5+1"));
    EXPECT_EQ(exchange(wordsReply(1, 4, {0xFF01})), ReplyAccepted);
    EXPECT_EQ(exchange(wordsReply(1, 3, {0x1234, 0x00FE})), ReplyAccepted);
    EXPECT_EQ(readValue("3x", 5), 0xFF01);
    EXPECT_EQ(readValue("4x", 5), 0x1234);
    EXPECT_EQ(readValue("4x", 6), 0x00FE);
    EXPECT_EQ(driver.dataAreas.size(), 3);
}

TEST_F(ResponseProcessing, OnlyMonitoredRegistersAreReported)
{
    plan(keysOf("1:4x 0+1 | 1:4x 2+1"));
    exchange(wordsReply(1, 3, {1, 2, 3}));
    EXPECT_EQ(recorder.take(), Changes({change("4x", 0), change("4x", 2)}));
    EXPECT_EQ(readValue("4x", 1), 2) << "what lies in a gap is cached all the same";
}

TEST_F(ResponseProcessing, EqualValueIsNotReportedAndLeavesTheWrittenFlag)
{
    plan(keysOf("1:4x 0+1"));
    exchange(wordsReply(1, 3, {7}));
    recorder.take();
    makeArea(1, "4x", 0).writtenFlag = 1;
    makeArea(1, "4x", 0).writtenValue = 9;
    EXPECT_EQ(exchange(wordsReply(1, 3, {7})), ReplyAccepted);
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(area(1, "4x", 0).writtenFlag, 1);
    EXPECT_EQ(area(1, "4x", 0).writtenValue, 9);
}

TEST_F(ResponseProcessing, ChangeInEitherByteCounts)
{
    plan(keysOf("1:4x 0+1"));
    exchange(wordsReply(1, 3, {0x1234}));
    recorder.take();
    exchange(wordsReply(1, 3, {0x1235}));
    EXPECT_EQ(recorder.take().size(), 1u);
    exchange(wordsReply(1, 3, {0x1335}));
    EXPECT_EQ(recorder.take().size(), 1u);
    EXPECT_EQ(readValue("4x", 0), 0x1335);
}

TEST_F(ResponseProcessing, AnyGoodReplyClearsTheErrorMark)
{
    plan(keysOf("1:4x 0+2"));
    exchange(wordsReply(1, 3, {7, 8}));
    makeArea(1, "4x", 0).errorFlag = 1;
    makeArea(1, "4x", 1).errorFlag = 1;
    exchange(wordsReply(1, 3, {7, 9}));
    EXPECT_EQ(areasWithError(), 0);
}

TEST_F(ResponseProcessing, OldValueIsTheOneReadNotTheOneWritten)
{
    plan(keysOf("1:4x 0+1 | 1:4x_bit 0+16"));
    exchange(wordsReply(1, 3, {0x0001}));
    setData(1, "4x", 0, 1, "02 00");
    driver.writeList.clear();
    recorder.take();
    exchange(wordsReply(1, 3, {0x0003}));
    EXPECT_EQ(recorder.take(), Changes({change("4x_bit", 1), change("4x", 0)}));
}

TEST_F(ResponseProcessing, DoublesLiveInTheRegistersAndAreReportedAtTheLowerOne)
{
    plan(keysOf("1:4x_double 10+4 | 1:3x_double 20+2"));
    EXPECT_EQ(exchange(wordsReply(1, 4, {1, 2})), ReplyAccepted);
    EXPECT_EQ(recorder.take(), Changes({change("3x_double", 20), change("3x_double", 20)}));
    EXPECT_EQ(exchange(wordsReply(1, 3, {0x1234, 0, 0, 0x5678})), ReplyAccepted);
    EXPECT_EQ(recorder.take(), Changes({change("4x_double", 10), change("4x_double", 12)}));
    EXPECT_EQ(readValue("4x", 10), 0x1234);
    EXPECT_EQ(readValue("4x", 13), 0x5678);
    EXPECT_EQ(readValue("3x", 21), 2);
    EXPECT_EQ(findArea(1, "4x_double", 10), -1);
}

TEST_F(ResponseProcessing, BitsOfARegisterAreReportedOneByOne)
{
    plan(keysOf("1:4x_bit 32+16"));
    exchange(wordsReply(1, 3, {0x8001}));
    EXPECT_EQ(recorder.take(), Changes({change("4x_bit", 32), change("4x_bit", 47)}));
}

TEST_F(ResponseProcessing, UnknownTypesAreAcceptedAndUnpackedNowhere)
{
    plan(keysOf("1:9x 0+2"));
    EXPECT_EQ(exchange(wordsReply(1, 3, {1, 2})), ReplyAccepted);
    EXPECT_TRUE(driver.dataAreas.isEmpty());
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(ResponseProcessing, BytesBeyondTheReplyReadAsZero)
{
    for (int address = 0; address < 6; ++address)
        makeArea(1, "4x", address).readValue = 0x7777;
    sendRead("4x", 0, 2, CyclicReadSent);
    driver.frameList[0].dataLen = 12;
    const QByteArray reply = wordsReply(1, 3, {0x1234, 0x5678});
    EXPECT_EQ(deal(reply), ReplyAccepted);
    EXPECT_EQ(readValue("4x", 1), 0x5678);
    const int crc = static_cast<unsigned char>(reply.at(7)) * 256 + static_cast<unsigned char>(reply.at(8));
    EXPECT_EQ(readValue("4x", 2), crc) << "to the last byte of the reply, whatever it is";
    for (int address = 3; address < 6; ++address)
        EXPECT_EQ(readValue("4x", address), 0);
}

TEST_F(ResponseProcessing, OddDataLengthDropsItsLastByte)
{
    sendRead("4x", 0, 2, CyclicReadSent);
    driver.frameList[0].dataLen = 3;
    EXPECT_EQ(deal(wordsReply(1, 3, {0x1234, 0x5678})), ReplyAccepted);
    EXPECT_EQ(driver.dataAreas.size(), 1);
}

// --- the written flag -----------------------------------------------------------------

TEST_F(ResponseProcessing, HoldingRegisterKeepsShowingTheWriteWhileWritesAreQueued)
{
    plan(keysOf("1:4x 0+1"));
    nextFrame();
    setData(1, "4x", 0, 1, "09 00");
    recorder.take();
    EXPECT_EQ(deal(wordsReply(1, 3, {5})), ReplyAccepted);
    EXPECT_EQ(area(1, "4x", 0).writtenFlag, 1);
    EXPECT_EQ(readValue("4x", 0), 5);
    EXPECT_EQ(getData(1, "4x", 0, 1, 2), payload("09 00"));
    EXPECT_EQ(recorder.take(), Changes({change("4x", 0)})) << "the change is reported all the same";
}

TEST_F(ResponseProcessing, AnyQueuedWriteKeepsTheFlag)
{
    plan(keysOf("1:4x 0+1"));
    nextFrame();
    makeArea(1, "4x", 0).writtenFlag = 1;
    setData(7, "0x", 3, 1, "01");
    deal(wordsReply(1, 3, {5}));
    EXPECT_EQ(area(1, "4x", 0).writtenFlag, 1);
}

TEST_F(ResponseProcessing, HoldingRegisterShowsTheValueReadOnceNoWriteIsQueued)
{
    for (const char *type : {"4x", "4x_double"}) {
        init("1#0#0#3#100");
        sendRead(type, 0, 2, CyclicReadSent);
        makeArea(1, "4x", 1).writtenFlag = 1;
        makeArea(1, "4x", 1).writtenValue = 9;
        EXPECT_EQ(deal(wordsReply(1, 3, {0, 5})), ReplyAccepted);
        EXPECT_EQ(area(1, "4x", 1).writtenFlag, 0) << type;
        EXPECT_EQ(getData(1, "4x", 1, 1, 2), payload("05 00")) << type;
    }
}

TEST_F(ResponseProcessing, DoublesKeepTheFlagLikeWords)
{
    sendRead("4x_double", 0, 2, CyclicReadSent);
    setData(1, "4x", 1, 1, "09 00");
    deal(wordsReply(1, 3, {0, 5}));
    EXPECT_EQ(area(1, "4x", 1).writtenFlag, 1);
}

TEST_F(ResponseProcessing, OtherTypesLoseTheFlagThoughWritesAreQueued)
{
    struct
    {
        const char *type;
        const char *areaType;
    } const cases[] = {{"3x", "3x"}, {"3x_double", "3x"}, {"3x_bit", "3x"}, {"4x_bit", "4x"}};
    for (const auto &c : cases) {
        init("1#0#0#3#100");
        setData(7, "0x", 3, 1, "01");
        sendRead(c.type, 0, 2, CyclicReadSent);
        makeArea(1, c.areaType, 1).writtenFlag = 1;
        EXPECT_EQ(deal(wordsReply(1, 3, {0, 5})), ReplyAccepted);
        EXPECT_EQ(area(1, c.areaType, 1).writtenFlag, 0) << c.type;
        EXPECT_EQ(area(1, c.areaType, 1).readValue, 5) << c.type;
    }
}

TEST_F(ResponseProcessing, CoilsLoseTheFlagOnlyWhenTheyChange)
{
    for (const char *type : {"0x", "1x"}) {
        init("1#0#0#3#100");
        setData(7, "0x", 3, 1, "01");
        sendRead(type, 0, 2, CyclicReadSent);
        makeArea(1, type, 0).writtenFlag = 1;
        makeArea(1, type, 1).writtenFlag = 1;
        EXPECT_EQ(deal(bitsReply(1, 1, {1, 0})), ReplyAccepted);
        EXPECT_EQ(area(1, type, 0).writtenFlag, 0) << type;
        EXPECT_EQ(area(1, type, 1).writtenFlag, 1) << type;
    }
}

TEST_F(ResponseProcessing, InsideTheCallbackTheOldValueReadIsShown)
{
    plan(keysOf("1:4x 0+1"));
    exchange(wordsReply(1, 3, {3}));
    makeArea(1, "4x", 0).writtenFlag = 1;
    makeArea(1, "4x", 0).writtenValue = 9;
    std::vector<unsigned char> shown;
    recorder.hook = [&](const Change &) { shown = getData(1, "4x", 0, 1, 2); };
    exchange(wordsReply(1, 3, {5}));
    EXPECT_EQ(shown, payload("03 00")) << "flag cleared before, value stored after the report";
    EXPECT_EQ(getData(1, "4x", 0, 1, 2), payload("05 00"));
}

TEST_F(ResponseProcessing, InsideTheCallbackACoilIsStillTheOldOne)
{
    plan(keysOf("1:0x 0+1"));
    makeArea(1, "0x", 0).writtenFlag = 1;
    makeArea(1, "0x", 0).writtenValue = 1;
    std::vector<unsigned char> shown;
    recorder.hook = [&](const Change &) { shown = getData(1, "0x", 0, 1, 1); };
    exchange(bitsReply(1, 1, {1}));
    EXPECT_EQ(shown, payload("00"));
    EXPECT_EQ(getData(1, "0x", 0, 1, 1), payload("01"));
}

TEST_F(ResponseProcessing, CallbackMayGrowTheCacheAndTheReplyIsStillStored)
{
    plan(keysOf("1:4x 0+3 | 1:0x 0+3"));
    recorder.hook = [&](const Change &seen) {
        for (int i = 0; i < 200; ++i)
            getData(3, "4x", seen.address * 1000 + i, 1, 2);
    };
    exchange(bitsReply(1, 1, {1, 1, 1}));
    exchange(wordsReply(1, 3, {1, 2, 3}));
    EXPECT_EQ(getData(1, "4x", 0, 3, 6), payload("01 00 02 00 03 00"));
    EXPECT_EQ(getData(1, "0x", 0, 3, 3), payload("01 01 01"));
}

// --- coils -----------------------------------------------------------------------------

TEST_F(ResponseProcessing, CoilsStandLowestBitFirst)
{
    plan(keysOf("1:0x 20+10"));
    EXPECT_EQ(exchange(adu("01 01 02 01 02")), ReplyAccepted);
    EXPECT_EQ(getData(1, "0x", 20, 10, 10), payload("01 00 00 00 00 00 00 00 00 01"));
    EXPECT_EQ(readValue("0x", 29), 1) << "coil 9 is bit 1 of the second byte";
}

TEST_F(ResponseProcessing, BitsBehindTheLastCoilAreIgnored)
{
    plan(keysOf("1:1x 0+3"));
    exchange(adu("01 02 01 F8"));
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(getData(1, "1x", 0, 4, 4), payload("00 00 00 00"));
}

TEST_F(ResponseProcessing, CoilsAreReportedWhetherMonitoredOrNot)
{
    planUnmonitored("1:0x 8+3 | 1:1x 8+2");
    exchange(bitsReply(1, 1, {1, 0, 1}));
    EXPECT_EQ(recorder.take(), Changes({change("0x", 8), change("0x", 10)}));
    exchange(bitsReply(1, 2, {0, 1}));
    EXPECT_EQ(recorder.take(), Changes({change("1x", 9)}));
    exchange(bitsReply(1, 1, {1, 0, 0}));
    EXPECT_EQ(recorder.take(), Changes({change("0x", 10)}));
    EXPECT_EQ(readValue("0x", 10), 0);
}

TEST_F(ResponseProcessing, CoilsLoseTheErrorMark)
{
    plan(keysOf("1:0x 0+2"));
    makeArea(1, "0x", 0).errorFlag = 1;
    makeArea(1, "0x", 1).errorFlag = 1;
    exchange(bitsReply(1, 1, {0, 1}));
    EXPECT_EQ(areasWithError(), 0);
}

// --- after a good reply -----------------------------------------------------------------

TEST_F(ResponseProcessing, GoodReplyClearsTheFailures)
{
    plan(keysOf("1:4x 0+1"));
    exchange(QByteArray());
    exchange(QByteArray());
    EXPECT_EQ(driver.failCount, 2);
    driver.lastFailed = 1;
    EXPECT_EQ(exchange(wordsReply(1, 3, {1})), ReplyAccepted);
    EXPECT_EQ(driver.failCount, 0);
    EXPECT_EQ(driver.lastFailed, 0);
    EXPECT_TRUE(driver.frameList.isEmpty());
    EXPECT_EQ(exchange(QByteArray()), SendAgain);
    EXPECT_EQ(exchange(QByteArray()), SendAgain);
}

TEST_F(ResponseProcessing, AcknowledgedWriteIsCompleted)
{
    makeArea(1, "4x", 7).readValue = 1;
    setData(1, "4x", 7, 2, "05 00 06 00");
    recorder.take();
    driver.lastFailed = 1;
    EXPECT_EQ(exchangeEcho(), ReplyAccepted);
    EXPECT_EQ(readValue("4x", 7), 5);
    EXPECT_EQ(readValue("4x", 8), 6);
    EXPECT_EQ(area(1, "4x", 7).writtenFlag, 0);
    EXPECT_EQ(driver.lastFailed, 0);
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_EQ(recorder.take(), Changes());
}

// --- giving up ---------------------------------------------------------------------------

TEST_F(ResponseProcessing, ThirdBadReplyGivesUp)
{
    plan(keysOf("1:4x 99+10"));
    EXPECT_EQ(exchange(QByteArray()), SendAgain);
    EXPECT_EQ(errorText, QString());
    EXPECT_EQ(exchange(exceptionReply(1, 3, 2)), SendAgain);
    EXPECT_EQ(errorText, QString());
    EXPECT_EQ(driver.frameList.size(), 1);
    EXPECT_EQ(exchange(QByteArray()), RequestGivenUp);
    EXPECT_EQ(errorText, QString::fromLatin1("R,1#4x100(10)"));
    EXPECT_TRUE(driver.frameList.isEmpty());
    EXPECT_EQ(driver.failCount, 0);
    EXPECT_EQ(driver.lastFailed, 1);
}

TEST_F(ResponseProcessing, LimitCountsAttempts)
{
    struct
    {
        const char *property;
        int attempts;
    } const cases[] = {
        {"1#0#0#-5#100", 1}, {"1#0#0#0#100", 1}, {"1#0#0#1#100", 1}, {"1#0#0#2#100", 2}, {"1#0#0#20#100", 20}};
    for (const auto &c : cases) {
        init(c.property);
        plan(keysOf("1:4x 0+1"));
        EXPECT_EQ(exchangeUntilGivenUp(), c.attempts) << c.property;
        EXPECT_EQ(exchangeUntilGivenUp(), c.attempts) << c.property;
    }
}

TEST_F(ResponseProcessing, TextShowsTheLastReply)
{
    plan(keysOf("1:4x 99+10"));
    exchange(QByteArray());
    exchange(QByteArray());
    EXPECT_EQ(exchange(exceptionReply(1, 3, 2)), RequestGivenUp);
    EXPECT_EQ(errorText, QString::fromLatin1("R,1#4x100(10),error code:3"));
}

TEST_F(ResponseProcessing, FailedRegisterReadMarksItsRegisters)
{
    struct
    {
        const char *type;
        const char *areaType;
    } const cases[] = {{"3x", "3x"}, {"3x_double", "3x"}, {"3x_bit", "3x"},
                       {"4x", "4x"}, {"4x_double", "4x"}, {"4x_bit", "4x"}};
    for (const auto &c : cases) {
        init("1#0#0#1#100");
        sendRead(c.type, 40, 3, TransferReadSent);
        EXPECT_EQ(deal(QByteArray()), RequestGivenUp);
        EXPECT_EQ(areasWithError(), 3) << c.type;
        for (int address = 40; address < 43; ++address)
            EXPECT_EQ(area(1, c.areaType, address).errorFlag, 1) << c.type;
    }
}

TEST_F(ResponseProcessing, FailedCoilReadMarksEveryEighthArea)
{
    for (const char *type : {"0x", "1x"}) {
        init("1#0#0#1#100");
        sendRead(type, 40, 3, CyclicReadSent);
        EXPECT_EQ(deal(QByteArray()), RequestGivenUp);
        EXPECT_EQ(areasWithError(), 3) << type;
        for (int address : {40, 48, 56})
            EXPECT_EQ(area(1, type, address).errorFlag, 1) << type;
    }
}

TEST_F(ResponseProcessing, FailureKeepsTheCachedValues)
{
    plan(keysOf("1:4x 0+1"));
    exchange(wordsReply(1, 3, {0x1234}));
    exchangeUntilGivenUp();
    EXPECT_EQ(getData(1, "4x", 0, 1, 2), payload("34 12"));
    EXPECT_EQ(area(1, "4x", 0).errorFlag, 1);
}

TEST_F(ResponseProcessing, FailedWriteIsRolledBackAndMarksNothing)
{
    plan(keysOf("1:4x 7+1"));
    makeArea(1, "4x", 7).readValue = 3;
    setData(1, "4x", 7, 1, "05 00");
    recorder.take();
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(errorText, QString::fromLatin1("W,1#4x8(1)"));
    EXPECT_EQ(recorder.take(), Changes({change("4x", 7)}));
    EXPECT_EQ(getData(1, "4x", 7, 1, 2), payload("03 00"));
    EXPECT_EQ(areasWithError(), 0);
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(ResponseProcessing, PollingGoesOnAfterAFailure)
{
    slaves.station(1);
    plan(keysOf("1:4x 0+1 | 2:4x 0+1"));
    EXPECT_EQ(trace(9), "PpppPpppP");
}

TEST_F(ResponseProcessing, HugeAddressesAreMarkedWithoutOverflow)
{
    init("1#0#0#1#100");
    sendRead("4x", INT_MAX, 2, CyclicReadSent);
    EXPECT_EQ(deal(QByteArray()), RequestGivenUp);
    EXPECT_EQ(area(1, "4x", INT_MAX).errorFlag, 1);
    EXPECT_EQ(area(1, "4x", INT_MIN).errorFlag, 1);
    sendRead("0x", INT_MAX, 2, CyclicReadSent);
    EXPECT_EQ(deal(QByteArray()), RequestGivenUp);
    EXPECT_EQ(area(1, "0x", INT_MIN + 7).errorFlag, 1);
}

TEST_F(ResponseProcessing, HugeAddressesAreUnpackedWithoutOverflow)
{
    sendRead("4x", INT_MAX, 2, CyclicReadSent);
    EXPECT_EQ(deal(wordsReply(1, 3, {1, 2})), ReplyAccepted);
    EXPECT_EQ(readValue("4x", INT_MAX), 1);
    EXPECT_EQ(readValue("4x", INT_MIN), 2);
    sendRead("0x", INT_MAX, 2, CyclicReadSent);
    EXPECT_EQ(deal(bitsReply(1, 1, {1, 1})), ReplyAccepted);
    EXPECT_EQ(readValue("0x", INT_MIN), 1);
}
