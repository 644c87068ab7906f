// What the guide for host authors says of the driver, where no test of a single
// subject says it: each test is a sentence of docs/integrating-a-host.md or
// docs/line-behaviour.md, tried through the entry points.

#include "support/driver_fixture.h"
#include "support/driver_reset.h"

namespace {

using namespace support;

const int PlanTag = 4;

class HostGuide : public DriverFixture
{
protected:
    /** Exchanges the frames of the plan's next round, each answered by zeros. */
    void pollRound(int requests)
    {
        for (int i = 0; i < requests; ++i) {
            const FRAME_PRO frame = nextFrame();
            ASSERT_EQ(frame.var.userData, PlanTag);
            ASSERT_EQ(deal(wordsReply(frame.var.station, frame.frame[1],
                                      std::vector<int>(static_cast<std::size_t>(frame.var.count), 0))),
                      1);
        }
    }

    /** Function code of the next frame; 0 when there is nothing to send. */
    int nextFunction() { return nextFrame().frame[1]; }
};

// --- before the first valid property string --------------------------------------------

class WithoutSettings : public HostGuide
{
protected:
    WithoutSettings()
    {
        resetDriver();
        intf_setAddrValueChangeCallBack(&ChangeRecorder::callBack);
        init("1#0#0#3"); // one field short
    }
};

TEST_F(WithoutSettings, NothingIsMergedAndOneBadReplyGivesUp)
{
    EXPECT_EQ(plan(Keys() << key(1, "4x", 0, 10) << key(1, "4x", 10, 10)), 2);
    EXPECT_EQ(exchangeUntilGivenUp(), 1);
}

TEST_F(WithoutSettings, WritesGoOutUncutAndReportsCarryLinkZero)
{
    setData(1, "0x", 7, 1, "01");
    EXPECT_EQ(recorder.take(), (Changes{{0, 1, QString::fromLatin1("0x"), 7}}));
    EXPECT_EQ(nextRequest(), adu("01 05 00 07 FF 00"));
    ASSERT_EQ(exchangeEcho(), 1);
    setData(1, "4x", 0, 100, std::vector<unsigned char>(200));
    EXPECT_EQ(nextFrame().var.count, 100);
}

TEST_F(WithoutSettings, RecipeRowsOfLinkZeroAreKept)
{
    QVector<_RCP_VAR_PRO> rows;
    rows << row(0, 1, "4x", 0, 2, 0) << row(1, 1, "4x", 2, 2, 2);
    EXPECT_EQ(intf_setRcpAddress(&rows), 1);
}

// --- rounds -----------------------------------------------------------------------------

TEST_F(HostGuide, BehindAWholeRoundAQueuedWriteComesFirst)
{
    const int requests = plan(Keys() << key(1, "4x", 0, 2) << key(2, "4x", 0, 2));
    ASSERT_EQ(requests, 2);
    for (int round = 0; round < 3; ++round) {
        pollRound(requests);
        setData(1, "4x", 50, 1, "01 00", 7);
        ASSERT_EQ(nextFrame().var.userData, 7);
        ASSERT_EQ(exchangeEcho(), 1);
    }
}

TEST_F(HostGuide, ARecipeFrameCarriesTheTagOfTheTransactionBeforeIt)
{
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 100, 2, 0);
    ASSERT_EQ(intf_setRcpAddress(&rows), 1);
    pollRound(plan(Keys() << key(1, "4x", 0, 2)));
    hostArea[BlockReadRequest] = 1;
    EXPECT_EQ(nextFrame().var.startAddr, 100);
    EXPECT_EQ(nextFrame().var.userData, PlanTag);
    ASSERT_EQ(exchange(wordsReply(1, 3, {1, 2})), 1);
    setData(1, "4x", 50, 1, "01 00", 7);
    ASSERT_EQ(exchangeEcho(), 1);
    hostArea[BlockWriteRequest] = 1;
    EXPECT_EQ(nextFrame().var.userData, 7);
}

TEST_F(HostGuide, OnlyBitWritesCarryTheTypeOfABitOfARegister)
{
    plan(Keys() << key(1, "4x_bit", 3, 2));
    KEY_ADDRESS once = key(1, "4x_bit", 35, 2, -1);
    ASSERT_EQ(intf_addConditionRead(&once, 9), 1);
    EXPECT_EQ(nextFrame().var.regType, QString::fromLatin1("4x"));
    ASSERT_EQ(exchange(wordsReply(1, 3, {0})), 1);
    EXPECT_EQ(nextFrame().var.regType, QString::fromLatin1("4x"));
    ASSERT_EQ(exchange(wordsReply(1, 3, {0})), 1);
    setData(1, "4x_bit", 3, 1, "01 00");
    EXPECT_EQ(nextFrame().var.regType, QString::fromLatin1("4x_bit"));
    EXPECT_EQ(nextFunction(), 3);
}

// --- unknown types ------------------------------------------------------------------------

TEST_F(HostGuide, AnUnknownTypeIsPolledForEverAndNeverShown)
{
    ASSERT_EQ(plan(Keys() << key(1, "4X", 0, 2)), 1);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 02"));
        EXPECT_EQ(deal(wordsReply(1, 3, {11, 22})), 1);
    }
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(getData(1, "4X", 0, 2, 4), std::vector<unsigned char>(4, 0xEE));
}

TEST_F(HostGuide, AWriteOfAnUnknownTypeIsDroppedWithoutAWord)
{
    EXPECT_EQ(setData(1, "4X", 0, 1, "01 00"), 1);
    EXPECT_EQ(nextFunction(), 0);
    EXPECT_EQ(nextFunction(), 0);
    EXPECT_EQ(recorder.take(), Changes());
}

// --- data bytes other than 0 and 1 ----------------------------------------------------------

TEST_F(HostGuide, OneCoilIsSwitchedOnByTheByte1OnlyAndShownAsWritten)
{
    setData(1, "0x", 0, 1, "02");
    EXPECT_EQ(nextRequest(), adu("01 05 00 00 00 00"));
    EXPECT_EQ(getData(1, "0x", 0, 1, 1), payload("02"));
}

TEST_F(HostGuide, AByteAmongSeveralCoilsSpillsIntoItsNeighbours)
{
    setData(1, "0x", 0, 3, "00 03 00"); // the middle coil with 3: it and the next one are switched on
    EXPECT_EQ(nextRequest(), adu("01 0F 00 00 00 03 01 06"));
    EXPECT_EQ(getData(1, "0x", 0, 3, 3), payload("00 03 00"));
}

TEST_F(HostGuide, ABitOfARegisterIsSwitchedOnByAnyByteButShownOnFor1Only)
{
    setData(1, "4x_bit", 0, 1, "02 00");
    ASSERT_EQ(exchange(wordsReply(1, 3, {0})), 1);
    EXPECT_EQ(nextRequest(), adu("01 10 00 00 00 01 02 00 01"));
    EXPECT_EQ(getData(1, "4x_bit", 0, 1, 1), payload("00"));
}

// --- what a write looks like -----------------------------------------------------------------

TEST_F(HostGuide, AFailedBitIsShownAsWrittenWhileOtherBitsOfItsRegisterAreOutstanding)
{
    setData(1, "4x_bit", 0, 1, "01 00");
    setData(1, "4x_bit", 5, 1, "01 00");
    exchangeUntilGivenUp();
    EXPECT_EQ(getData(1, "4x_bit", 0, 1, 1), payload("01"));
    ASSERT_EQ(exchange(wordsReply(1, 3, {0})), 1);
    ASSERT_EQ(exchangeEcho(), 1);
    EXPECT_EQ(getData(1, "4x_bit", 0, 1, 1), payload("00"));
    EXPECT_EQ(getData(1, "4x_bit", 5, 1, 1), payload("01"));
}

// --- counts below zero ------------------------------------------------------------------------

TEST_F(HostGuide, CoilsOfANegativeCountGoOutAsTheyAre)
{
    setData(1, "0x", 0, -1, "");
    EXPECT_EQ(nextFunction(), 15);
}

TEST_F(HostGuide, RegistersOfANegativeCountAboveTheLimitBlockAllWrites)
{
    for (const char *type : {"4x", "4x_double"}) {
        init("1#0#0#3#32");
        setData(1, type, 0, -5, "");
        setData(1, "0x", 0, 1, "01");
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(nextFunction(), 0) << type;
    }
}

TEST_F(HostGuide, NegativeCountsFromTheLimitDownAreNotQueued)
{
    init("1#0#0#3#32");
    for (const char *type : {"4x", "4x_bit", "4x_double"}) {
        setData(1, type, 0, -32, "");
        setData(1, type, 0, -100, "");
    }
    setData(1, "0x", 0, 1, "01");
    EXPECT_EQ(nextFunction(), 5);
}

TEST_F(HostGuide, BitsBelowAddressZeroGoOutAndTheReadingHalfTakesAnExceptionForItsReply)
{
    setData(1, "4x_bit", -1, 1, "01 00");
    EXPECT_EQ(nextFunction(), 3);
    EXPECT_EQ(deal(exceptionReply(1, 3, 3)), 1);
    EXPECT_EQ(nextFunction(), 16);
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
}

// --- a limit below zero -------------------------------------------------------------------------

TEST_F(HostGuide, ALimitBelowZeroDropsWhatIsAsLongAsItSaysOrLonger)
{
    init("1#0#0#3#-10");
    for (int count : {10, 25}) {
        setData(1, "4x", 0, count, std::vector<unsigned char>(50));
        KEY_ADDRESS words = key(1, "4x", 0, count);
        intf_addConditionRead(&words, 9);
        KEY_ADDRESS bits = key(1, "0x", 0, 8 * count, -1);
        intf_addConditionRead(&bits, 9);
    }
    EXPECT_EQ(nextFunction(), 0);
    setData(1, "4x", 0, 9, std::vector<unsigned char>(18));
    EXPECT_EQ(nextFrame().var.count, 9);
    ASSERT_EQ(exchangeEcho(), 1);
    KEY_ADDRESS bits = key(1, "0x", 0, 79, -1);
    intf_addConditionRead(&bits, 9);
    EXPECT_EQ(nextFrame().var.count, 79);
}

} // namespace
