// What is sent next: the order of writes, one-off reads, the cyclic plan and the
// host's block transfers, and what happens to a transaction when it is over.

#include "support/slave_fixture.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <cstring>

using support::adu;
using support::key;
using support::keysOf;
using support::requestBytes;
using support::unitsText;
using support::unitText;
using support::variable;

namespace {

class SendScheduling : public support::SlaveFixture
{
protected:
    SendScheduling() { slaves.station(1); }

    void queueWrites(int number)
    {
        for (int i = 0; i < number; ++i)
            setData(1, "4x", 100 + 10 * i, 1, "01 00");
    }

    void queueConditionReads(int number)
    {
        for (int i = 0; i < number; ++i)
            queueConditionRead(1, 500 + 10 * i);
    }

    static void queueConditionRead(int station, int start)
    {
        KEY_ADDRESS asked = key(station, "4x", start, 2);
        intf_addConditionRead(&asked, 1);
    }

    static void registerRows(const char *rows)
    {
        QVector<_RCP_VAR_PRO> table = support::rowsOf(1, rows);
        intf_setRcpAddress(&table);
    }

    static std::string inFlight() { return unitText(driver.currentVar); }
};

} // namespace

// --- nothing to send ------------------------------------------------------------------

TEST_F(SendScheduling, NothingToSendResetsStateAndBurst)
{
    driver.sendState = CyclicReadSent;
    driver.burstCount = 7;
    FRAME_PRO frame;
    std::memset(frame.frame, 0xEE, sizeof frame.frame);
    EXPECT_EQ(intf_getSendFrame(&frame), 0);
    EXPECT_EQ(driver.sendState, NothingSent);
    EXPECT_EQ(driver.burstCount, 0);
    EXPECT_TRUE(driver.frameList.isEmpty());
    EXPECT_EQ(frame.frame[0], 0xEE) << "nothing is handed out";
}

TEST_F(SendScheduling, NowhereToPutTheFrameIsSurvived)
{
    plan(keysOf("1:4x 0+10"));
    intf_getSendFrame(nullptr);
    EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 0A"));
}

// --- the frame that is handed out -----------------------------------------------------

TEST_F(SendScheduling, HandsOutTheWholeHeadFrame)
{
    plan(keysOf("1:4x 0+10"));
    FRAME_PRO frame = FRAME_PRO();
    EXPECT_EQ(intf_getSendFrame(&frame), 1);
    EXPECT_EQ(requestBytes(frame), adu("01 03 00 00 00 0A"));
    EXPECT_EQ(frame.frameLen, 8);
    EXPECT_EQ(frame.replyLen, 25);
    EXPECT_EQ(frame.frameKind, 3);
    EXPECT_EQ(frame.dataLen, 20);
    EXPECT_EQ(unitText(frame.var), "1:4x 0+10");
    EXPECT_EQ(frame.var.userData, 4);
}

TEST_F(SendScheduling, SameFrameUntilTheReplyIsJudged)
{
    plan(keysOf("1:4x 0+10 | 1:4x 500+1"));
    queueWrites(1);
    const QByteArray first = nextRequest();
    setData(1, "4x", 7, 1, "07 00");
    raise(BlockWriteRequest);
    EXPECT_EQ(nextRequest(), first);
    EXPECT_EQ(nextRequest(), first);
    EXPECT_EQ(driver.burstCount, 1);
    EXPECT_EQ(driver.frameList.size(), 1);
}

TEST_F(SendScheduling, ResentFrameTakesNoneOfTheHostsLocks)
{
    plan(keysOf("1:4x 0+10"));
    nextFrame();
    QMutexLocker held(&hostMutex);
    QMutexLocker heldToo(&driver.listMutex);
    EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 0A"));
}

TEST_F(SendScheduling, NoLockIsKept)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(1);
    registerRows("1:4x 0+1");
    raise(BlockReadRequest);
    for (int i = 0; i < 4; ++i) {
        step();
        ASSERT_TRUE(hostMutex.tryLock());
        hostMutex.unlock();
        ASSERT_TRUE(driver.listMutex.tryLock());
        driver.listMutex.unlock();
    }
}

TEST_F(SendScheduling, CallbacksRunOutsideEveryLock)
{
    plan(keysOf("1:4x 0+1"));
    registerRows("1:4x 0+1");
    queueConditionReads(1);
    slaves.station(1).setHolding(0, {5});
    int calls = 0;
    recorder.hook = [&](const support::Change &) {
        ++calls;
        EXPECT_TRUE(hostMutex.tryLock());
        hostMutex.unlock();
        EXPECT_TRUE(driver.listMutex.tryLock());
        driver.listMutex.unlock();
    };
    EXPECT_EQ(trace(2), "CP");
    transfer(BlockReadRequest);
    EXPECT_EQ(calls, 3);
}

// --- one transaction of several frames ----------------------------------------------------

TEST_F(SendScheduling, SecondFrameOfATransactionGoesOutBeforeAnythingElse)
{
    plan(keysOf("1:4x 0+1"));
    setData(1, "4x_bit", 0x25, 1, "01 00");
    queueConditionReads(1);
    registerRows("1:4x 0+1");
    const FRAME_PRO readHalf = nextFrame();
    EXPECT_EQ(requestBytes(readHalf), adu("01 03 00 02 00 01"));
    EXPECT_EQ(driver.frameList.size(), 2);
    raise(BlockWriteRequest);
    deal(support::wordsReply(1, 3, {0x0F0F}));

    EXPECT_EQ(nextRequest(), adu("01 10 00 02 00 01 02 0F 2F"));
    EXPECT_EQ(unitsText(driver.writeList), "1:4x_bit 37+1");
    EXPECT_EQ(driver.conditionReadList.size(), 1);
    EXPECT_EQ(driver.sendState, WriteSent);
    EXPECT_EQ(driver.burstCount, 1);
    EXPECT_EQ(driver.rcpIndex, 0);
}

TEST_F(SendScheduling, WriteLeavesTheQueueOnlyAfterItsLastFrame)
{
    setData(1, "4x_bit", 0x25, 1, "01 00");
    EXPECT_EQ(trace(1), "W");
    EXPECT_EQ(driver.writeList.size(), 1);
    EXPECT_EQ(trace(2), "W-");
    EXPECT_TRUE(driver.writeList.isEmpty());
}

// --- turns ----------------------------------------------------------------------------------

TEST_F(SendScheduling, TenWritesThenOneCyclicRead)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(11);
    EXPECT_EQ(trace(14), "WWWWWWWWWWPWPP");
}

TEST_F(SendScheduling, EveryTenthWriteIsFollowedByACyclicRead)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(25);
    EXPECT_EQ(trace(29), "WWWWWWWWWWPWWWWWWWWWWPWWWWWPP");
}

TEST_F(SendScheduling, ConditionReadsRunThreeAtATime)
{
    plan(keysOf("1:4x 0+1"));
    queueConditionReads(7);
    EXPECT_EQ(trace(11), "CCCPCCCPCPP");
}

TEST_F(SendScheduling, ConditionReadWaitsForTheWrites)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(2);
    queueConditionReads(2);
    EXPECT_EQ(trace(6), "WWCPCP");
}

TEST_F(SendScheduling, WritesCountAgainstConditionReads)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(3);
    queueConditionReads(1);
    EXPECT_EQ(trace(6), "WWWPCP");
}

TEST_F(SendScheduling, ConditionReadsCountAgainstWrites)
{
    plan(keysOf("1:4x 0+1"));
    queueConditionReads(2);
    EXPECT_EQ(trace(2), "CC");
    queueWrites(9);
    EXPECT_EQ(trace(10), "WWWWWWWWPW");
}

TEST_F(SendScheduling, WritesGoBeforeConditionReadsAfterACyclicReadToo)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(12);
    queueConditionReads(2);
    EXPECT_EQ(trace(16), "WWWWWWWWWWPWWCPC");
}

TEST_F(SendScheduling, WithoutAPlanThePauseForACyclicReadIsAnEmptyTurn)
{
    queueWrites(11);
    EXPECT_EQ(trace(13), "WWWWWWWWWW-W-");
    queueConditionReads(4);
    EXPECT_EQ(trace(6), "CCC-C-");
    queueWrites(3);
    queueConditionReads(1);
    EXPECT_EQ(trace(6), "WWW-C-");
}

TEST_F(SendScheduling, ResendingDoesNotCount)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(11);
    slaves.failNext(support::ReplyLost, 2);
    EXPECT_EQ(trace(14), "wwWWWWWWWWWWPW");
}

TEST_F(SendScheduling, GivenUpWritesCount)
{
    init("1#0#0#1#100");
    plan(keysOf("1:4x 0+1"));
    queueWrites(11);
    slaves.failNext(support::Silent, 10);
    EXPECT_EQ(trace(12), "wwwwwwwwwwPW");
}

TEST_F(SendScheduling, CyclicReadResetsTheBurst)
{
    plan(keysOf("1:4x 0+1"));
    driver.burstCount = 10;
    queueWrites(1);
    EXPECT_EQ(trace(1), "P");
    EXPECT_EQ(driver.burstCount, 0);
    EXPECT_EQ(trace(1), "W");
    EXPECT_EQ(driver.burstCount, 1);
}

TEST_F(SendScheduling, EntriesStayInTheirListsWhileInFlight)
{
    plan(keysOf("1:4x 0+1 | 1:4x 500+1"));
    queueWrites(1);
    queueConditionReads(1);
    nextFrame();
    EXPECT_EQ(driver.writeList.size(), 1);
    EXPECT_EQ(inFlight(), "1:4x 100+1");
    exchangeEcho();
    nextFrame();
    EXPECT_EQ(driver.conditionReadList.size(), 1);
    deal(support::wordsReply(1, 3, {0, 0}));
    nextFrame();
    EXPECT_EQ(unitsText(driver.cyclicReadList), "1:4x 0+1 | 1:4x 500+1");
}

TEST_F(SendScheduling, StateIsKeptAfterTheTransactionUntilTheNextSelection)
{
    queueWrites(1);
    EXPECT_EQ(trace(1), "W");
    EXPECT_EQ(driver.sendState, WriteSent);
    EXPECT_EQ(trace(1), "-");
    EXPECT_EQ(driver.sendState, NothingSent);
}

TEST_F(SendScheduling, ThePlanIsServedRoundRobin)
{
    plan(keysOf("1:4x 0+1 | 1:4x 200+1 | 1:4x 400+1"));
    EXPECT_EQ(trace(1), "P");
    EXPECT_EQ(unitsText(driver.cyclicReadList), "1:4x 200+1 | 1:4x 400+1 | 1:4x 0+1");
    EXPECT_EQ(trace(3), "PPP");
    EXPECT_EQ(unitsText(driver.cyclicReadList), "1:4x 200+1 | 1:4x 400+1 | 1:4x 0+1");
    ASSERT_EQ(slaves.requests.size(), 4u);
    EXPECT_EQ(slaves.requests[1], adu("01 03 00 C8 00 01"));
    EXPECT_EQ(slaves.requests[3], adu("01 03 00 00 00 01"));
}

TEST_F(SendScheduling, ReadThatWasGivenUpLosesItsTurnToo)
{
    plan(keysOf("1:4x 0+1 | 1:4x 200+1"));
    slaves.failNext(support::Silent, 3);
    EXPECT_EQ(trace(3), "ppp");
    EXPECT_EQ(unitsText(driver.cyclicReadList), "1:4x 200+1 | 1:4x 0+1");
}

TEST_F(SendScheduling, WriteThatWasGivenUpIsDropped)
{
    queueWrites(2);
    slaves.failNext(support::Silent, 3);
    EXPECT_EQ(trace(3), "www");
    EXPECT_EQ(unitsText(driver.writeList), "1:4x 110+1");
    EXPECT_EQ(trace(2), "W-");
}

// --- entries that no frame can be built for ----------------------------------------------------

TEST_F(SendScheduling, BitWriteToEveryStationStaysWhereItIs)
{
    plan(keysOf("1:4x 0+1"));
    setData(0, "4x_bit", 5, 1, "01 00");
    EXPECT_EQ(trace(12), "----------P-");
    EXPECT_EQ(unitsText(driver.writeList), "0:4x_bit 5+1");
}

TEST_F(SendScheduling, ConditionReadOfEveryStationStaysWhereItIs)
{
    plan(keysOf("1:4x 0+1"));
    queueConditionRead(0, 5);
    EXPECT_EQ(trace(8), "---P---P");
    EXPECT_EQ(driver.conditionReadList.size(), 1);
}

TEST_F(SendScheduling, CyclicReadOfEveryStationStaysWhereItIs)
{
    plan(keysOf("0:4x 0+1 | 1:4x 0+1"));
    EXPECT_EQ(trace(3), "---");
    EXPECT_EQ(unitsText(driver.cyclicReadList), "0:4x 0+1 | 1:4x 0+1");
    EXPECT_EQ(driver.sendState, CyclicReadSent);
}

TEST_F(SendScheduling, BroadcastWriteIsOverWithoutAReply)
{
    slaves.station(2);
    setData(0, "4x", 3, 1, "34 12");
    const FRAME_PRO frame = nextFrame();
    EXPECT_EQ(requestBytes(frame), adu("00 06 00 03 12 34"));
    EXPECT_EQ(frame.replyLen, 0);
    EXPECT_EQ(trace(2), "W-");
    EXPECT_EQ(slaves.station(1).holding(3, 1), std::vector<int>(1, 0x1234));
    EXPECT_EQ(slaves.station(2).holding(3, 1), std::vector<int>(1, 0x1234));
}

// --- block requests -------------------------------------------------------------------------------

TEST_F(SendScheduling, BlockWriteGoesBeforeBlockRead)
{
    registerRows("1:4x 0+1 | 1:4x 50+1");
    raise(BlockWriteRequest);
    raise(BlockReadRequest);
    EXPECT_EQ(trace(2), "SS");
    EXPECT_EQ(raised(BlockWriteRequest), 0);
    EXPECT_EQ(raised(BlockReadRequest), 1);
    EXPECT_EQ(trace(2), "LL");
    EXPECT_EQ(raised(BlockReadRequest), 0);
    EXPECT_EQ(trace(1), "-");
}

TEST_F(SendScheduling, BlockReadWaitsUntilTheWriteRequestIsCleared)
{
    registerRows("1:4x 0+1 | 1:4x 50+1");
    raise(BlockReadRequest);
    EXPECT_EQ(trace(1), "L");
    raise(BlockWriteRequest);
    // The write takes over where the read stood, and starts anew for the read.
    EXPECT_EQ(trace(3), "SLL");
    EXPECT_EQ(raised(BlockWriteRequest), 0);
    EXPECT_EQ(raised(BlockReadRequest), 0);
}

TEST_F(SendScheduling, RequestWithoutBlocksStaysSetAndNothingIsSent)
{
    plan(keysOf("1:4x 0+1"));
    for (int requestByte : {BlockWriteRequest, BlockReadRequest}) {
        raise(requestByte);
        EXPECT_EQ(trace(3), "---");
        EXPECT_EQ(raised(requestByte), 1);
        EXPECT_EQ(driver.sendState, NothingSent);
        raise(requestByte, 0);
    }
    EXPECT_EQ(trace(1), "P");
}

TEST_F(SendScheduling, OnlyTheValueOneIsARequest)
{
    registerRows("1:4x 0+1");
    for (int value : {0, 2, 3, 0x81, 0xFF}) {
        raise(BlockWriteRequest, value);
        raise(BlockReadRequest, value);
        EXPECT_EQ(trace(1), "-") << value;
    }
}

TEST_F(SendScheduling, PollingStopsDuringATransfer)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(1);
    queueConditionReads(1);
    registerRows("1:4x 0+1 | 1:4x 50+1 | 1:4x 90+1");
    raise(BlockReadRequest);
    EXPECT_EQ(trace(6), "LLLWCP");
}

TEST_F(SendScheduling, TransferNeitherCountsNorResetsTheBurst)
{
    plan(keysOf("1:4x 0+1"));
    queueWrites(11);
    registerRows("1:4x 0+1 | 1:4x 50+1");
    EXPECT_EQ(trace(4), "WWWW");
    raise(BlockWriteRequest);
    EXPECT_EQ(trace(10), "SSWWWWWWPW");
}

TEST_F(SendScheduling, RequestRaisedDuringAWriteWaitsForItsEnd)
{
    queueWrites(2);
    registerRows("1:4x 0+1");
    nextFrame();
    raise(BlockWriteRequest);
    slaves.failNext(support::ReplyLost);
    EXPECT_EQ(trace(5), "wWSW-");
    EXPECT_EQ(raised(BlockWriteRequest), 0);
}

TEST_F(SendScheduling, RequestRaisedBetweenTheHalvesOfABitWriteWaitsForBoth)
{
    setData(1, "4x_bit", 0x25, 1, "01 00");
    registerRows("1:4x 0+1");
    EXPECT_EQ(trace(1), "W");
    raise(BlockReadRequest);
    EXPECT_EQ(trace(3), "WL-");
    EXPECT_EQ(slaves.station(1).holding(2, 1), std::vector<int>(1, 0x20));
}

TEST_F(SendScheduling, WithoutHostAreaOrMutexThereIsNoRequest)
{
    registerRows("1:4x 0+1");
    raise(BlockWriteRequest);
    int status = -1;
    intf_initProperty(hostArea.data(), 0, hostWords.data(), &status, "1#0#0#3#100", nullptr);
    EXPECT_EQ(trace(1), "-");
    intf_initProperty(nullptr, 0, hostWords.data(), &status, "1#0#0#3#100", &hostMutex);
    EXPECT_EQ(trace(1), "-");
    init("1#0#0#3#100");
    EXPECT_EQ(trace(1), "S");
}

TEST_F(SendScheduling, BlocksThatCannotBeWrittenHoldTheRequest)
{
    for (const char *rows : {"1:3x 0+1", "1:1x 0+8", "1:3x_double 0+2", "1:3x_bit 0+2", "1:9x 0+1", "0:4x_bit 0+2"}) {
        registerRows(rows);
        raise(BlockWriteRequest);
        EXPECT_EQ(trace(2), "--") << rows;
        EXPECT_EQ(raised(BlockWriteRequest), 1);
        EXPECT_EQ(driver.sendState, TransferWriteSent);
        EXPECT_EQ(inFlight(), rows);
    }
}

TEST_F(SendScheduling, BlockOfEveryStationCannotBeReadAndHoldsTheRequest)
{
    registerRows("0:4x 0+1");
    raise(BlockReadRequest);
    EXPECT_EQ(trace(2), "--");
    EXPECT_EQ(raised(BlockReadRequest), 1);
}

// --- the transaction in flight is built again where there is no block -------------------------------

namespace {

struct RebuildCase
{
    int sendState;
    const char *request; ///< empty: nothing is sent
};

const RebuildCase rebuildCases[] = {
    {NothingSent, ""},
    {1, ""},
    {WriteSent, "01 06 00 07 12 34"},
    {ConditionReadSent, "01 03 00 07 00 01"},
    {CyclicReadSent, "01 03 00 07 00 01"},
    {TransferWriteSent, "01 06 00 07 12 34"},
    {TransferReadSent, "01 03 00 07 00 01"},
    {7, ""},
    {-1, ""},
};

} // namespace

TEST_F(SendScheduling, RequestWithoutABlockBuildsTheLastTransactionAgain)
{
    for (int requestByte : {BlockWriteRequest, BlockReadRequest}) {
        for (const RebuildCase &c : rebuildCases) {
            SCOPED_TRACE(c.sendState);
            init("1#0#0#3#100");
            raise(requestByte);
            driver.currentVar = variable(1, "4x", 7, 1, support::payload("34 12"));
            driver.sendState = c.sendState;
            const QByteArray expected = *c.request ? adu(c.request) : QByteArray();
            EXPECT_EQ(nextRequest(), expected);
            EXPECT_EQ(driver.sendState, c.sendState);
            EXPECT_EQ(raised(requestByte), 1);
            raise(requestByte, 0);
        }
    }
}

TEST_F(SendScheduling, PositionBehindTheLastBlockIsNoBlock)
{
    plan(keysOf("1:4x 0+1"));
    registerRows("1:4x 50+1 | 1:4x 90+1");
    EXPECT_EQ(trace(1), "P");
    driver.rcpIndex = 2;
    raise(BlockReadRequest);
    EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 01"));
    EXPECT_EQ(driver.sendState, CyclicReadSent);
}

TEST_F(SendScheduling, PositionBeforeTheFirstBlockIsNoBlock)
{
    registerRows("1:4x 50+1");
    driver.rcpIndex = -1;
    raise(BlockReadRequest);
    EXPECT_EQ(trace(1), "-");
    raise(BlockReadRequest, 0);
    raise(BlockWriteRequest);
    EXPECT_EQ(trace(1), "-");
}

TEST_F(SendScheduling, RebuiltWriteTakesTheNextQueuedWriteWithIt)
{
    queueWrites(3);
    EXPECT_EQ(trace(1), "W");
    raise(BlockWriteRequest);
    EXPECT_EQ(trace(1), "W");
    EXPECT_EQ(slaves.requests[0], slaves.requests[1]);
    EXPECT_EQ(unitsText(driver.writeList), "1:4x 120+1");
    EXPECT_EQ(trace(2), "WW");
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_EQ(slaves.requests[3], slaves.requests[0]);
}

TEST_F(SendScheduling, RebuiltConditionReadEndsWithAnEmptyQueueUnreported)
{
    queueConditionReads(1);
    EXPECT_EQ(trace(1), "C");
    recorder.take();
    raise(BlockReadRequest);
    EXPECT_EQ(trace(2), "CC");
    EXPECT_TRUE(recorder.take().empty());
    slaves.failNext(support::Silent, 3);
    EXPECT_EQ(trace(3), "ccc");
    EXPECT_TRUE(recorder.take().empty());
}

TEST_F(SendScheduling, RebuiltBlockReadWithoutBlocksEndsItsTransfer)
{
    driver.currentVar = variable(1, "4x", 7, 1);
    driver.sendState = TransferReadSent;
    raise(BlockReadRequest);
    EXPECT_EQ(trace(1), "L");
    EXPECT_EQ(raised(BlockReadRequest), 0);
    EXPECT_EQ(driver.rcpIndex, 0);
    EXPECT_TRUE(recorder.take().empty()) << "no rows, no words";
}

TEST_F(SendScheduling, RebuiltTransactionClearsItsOwnRequestByte)
{
    driver.currentVar = variable(1, "4x", 7, 1);
    driver.sendState = TransferReadSent;
    raise(BlockWriteRequest);
    EXPECT_EQ(trace(1), "L");
    EXPECT_EQ(raised(BlockWriteRequest), 1);
}
