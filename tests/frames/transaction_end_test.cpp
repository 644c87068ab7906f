// The retirement of transactions, on a driver object of the test's own.

#include "frames/own_driver.h"
#include "support/unit_text.h"

#include <vector>

using support::Change;
using support::Changes;
using support::payload;
using support::row;
using support::unitsText;
using support::variable;

namespace {

class TransactionEnd : public support::OwnDriver
{
protected:
    void raiseBoth()
    {
        raise(BlockWriteRequest);
        raise(BlockReadRequest);
    }

    void finish(int sendState, int lastFailed)
    {
        master.sendState = sendState;
        master.lastFailed = lastFailed;
        master.dealListWhenFinish();
    }
};

} // namespace

TEST_F(TransactionEnd, EndOfAWriteRemovesTheFirstQueuedOne)
{
    for (int failed : {0, 1}) {
        master.writeList.clear();
        master.writeList << variable(1, "4x", 1, 1) << variable(1, "4x", 2, 1);
        finish(WriteSent, failed);
        EXPECT_EQ(unitsText(master.writeList), "1:4x 2+1");
    }
}

TEST_F(TransactionEnd, EndOfAWriteWithAnEmptyQueueIsNothing)
{
    finish(WriteSent, 0);
    EXPECT_TRUE(master.writeList.isEmpty());
}

TEST_F(TransactionEnd, EndOfAConditionReadIsReportedForTheLastOnePlaced)
{
    master.conditionVar = variable(1, "4x", 3, 2);
    for (int failed : {0, 1}) {
        master.conditionReadList.clear();
        master.conditionReadList << variable(1, "4x", 3, 2) << variable(1, "4x", 5, 2);
        finish(ConditionReadSent, failed);
        const Change report = {-1, -1, QString::fromLatin1("-1"), failed ? -1 : 0};
        EXPECT_EQ(recorder.take(), Changes(1, report));
        EXPECT_EQ(unitsText(master.conditionReadList), failed ? "" : "1:4x 5+2");
    }
}

TEST_F(TransactionEnd, EndOfAnyOtherConditionReadIsNotReported)
{
    const VARIABLE others[] = {variable(2, "4x", 3, 2), variable(1, "3x", 3, 2), variable(1, "4x", 4, 2),
                               variable(1, "4x", 3, 3)};
    master.conditionVar = variable(1, "4x", 3, 2);
    for (const VARIABLE &other : others) {
        for (int failed : {0, 1}) {
            master.conditionReadList.clear();
            master.conditionReadList << other << variable(1, "4x", 3, 2);
            finish(ConditionReadSent, failed);
            EXPECT_EQ(recorder.take(), Changes());
            EXPECT_EQ(unitsText(master.conditionReadList), failed ? "" : "1:4x 3+2");
        }
    }
}

TEST_F(TransactionEnd, TagAndDataDoNotMatterForTheEndReport)
{
    master.conditionVar = variable(1, "4x", 3, 2, payload("01 02"));
    master.conditionVar.userData = 5;
    master.conditionReadList << variable(1, "4x", 3, 2);
    finish(ConditionReadSent, 0);
    EXPECT_EQ(recorder.take().size(), 1u);
}

TEST_F(TransactionEnd, EndOfAConditionReadWithAnEmptyQueueIsNothing)
{
    for (int failed : {0, 1}) {
        finish(ConditionReadSent, failed);
        EXPECT_EQ(recorder.take(), Changes());
    }
}

TEST_F(TransactionEnd, QueueEmptiedInsideTheEndReportIsSurvived)
{
    master.conditionVar = variable(1, "4x", 3, 2);
    master.conditionReadList << variable(1, "4x", 3, 2);
    recorder.hook = [this](const Change &) { master.conditionReadList.clear(); };
    finish(ConditionReadSent, 0);
    EXPECT_TRUE(master.conditionReadList.isEmpty());
}

TEST_F(TransactionEnd, EndOfACyclicReadMovesItToTheEnd)
{
    for (int failed : {0, 1}) {
        master.cyclicReadList.clear();
        master.cyclicReadList << variable(1, "4x", 1, 1) << variable(1, "4x", 2, 1) << variable(1, "4x", 3, 1);
        finish(CyclicReadSent, failed);
        EXPECT_EQ(unitsText(master.cyclicReadList), "1:4x 2+1 | 1:4x 3+1 | 1:4x 1+1");
    }
}

TEST_F(TransactionEnd, PlanOfOneOrNoneStaysAsItIs)
{
    finish(CyclicReadSent, 0);
    EXPECT_TRUE(master.cyclicReadList.isEmpty());
    master.cyclicReadList << variable(1, "4x", 1, 1);
    finish(CyclicReadSent, 0);
    EXPECT_EQ(unitsText(master.cyclicReadList), "1:4x 1+1");
}

TEST_F(TransactionEnd, EndOfABlockStepsToTheNext)
{
    master.rcpBlocks << row(0, 1, "4x", 0, 1, 0) << row(0, 1, "4x", 9, 1, 0);
    for (int state : {TransferWriteSent, TransferReadSent}) {
        master.rcpIndex = 0;
        raiseBoth();
        finish(state, 0);
        EXPECT_EQ(master.rcpIndex, 1);
        EXPECT_EQ(raised(BlockWriteRequest), 1);
        EXPECT_EQ(raised(BlockReadRequest), 1);
    }
}

TEST_F(TransactionEnd, EndOfTheLastBlockClearsTheRequest)
{
    master.rcpBlocks << row(0, 1, "4x", 0, 1, 0) << row(0, 1, "4x", 9, 1, 0);
    for (int state : {TransferWriteSent, TransferReadSent}) {
        master.rcpIndex = 1;
        raiseBoth();
        finish(state, 0);
        EXPECT_EQ(master.rcpIndex, 0);
        EXPECT_EQ(raised(BlockWriteRequest), state == TransferWriteSent ? 0 : 1);
        EXPECT_EQ(raised(BlockReadRequest), state == TransferReadSent ? 0 : 1);
    }
}

TEST_F(TransactionEnd, FailedBlockAbandonsTheTransfer)
{
    master.rcpBlocks << row(0, 1, "4x", 0, 1, 0) << row(0, 1, "4x", 9, 1, 0) << row(0, 1, "4x", 20, 1, 0);
    for (int state : {TransferWriteSent, TransferReadSent}) {
        master.rcpIndex = 1;
        raiseBoth();
        finish(state, 1);
        EXPECT_EQ(master.rcpIndex, 0);
        EXPECT_EQ(raised(BlockWriteRequest), state == TransferWriteSent ? 0 : 1);
        EXPECT_EQ(raised(BlockReadRequest), state == TransferReadSent ? 0 : 1);
    }
}

TEST_F(TransactionEnd, EndOfABlockWithoutHostObjectsOrBlocksIsSurvived)
{
    master.rcpIndex = 5;
    master.initProperty(nullptr, 0, nullptr, "1#0#0#3#100", nullptr);
    finish(TransferWriteSent, 0);
    EXPECT_EQ(master.rcpIndex, 0);
    master.initProperty(nullptr, 0, nullptr, "1#0#0#3#100", &hostMutex);
    finish(TransferReadSent, 1);
    EXPECT_EQ(master.rcpIndex, 0);
    master.rcpIndex = 2147483647;
    finish(TransferReadSent, 0);
}

namespace {

struct RetirementCase
{
    int sendState;
    const char *writes;
    const char *conditionReads;
    const char *cyclicReads;
    int blockIndex;
};

const RetirementCase retirements[] = {
    {WriteSent, "1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", 1},
    {ConditionReadSent, "1:4x 1+1 | 1:4x 2+1", "1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", 1},
    {CyclicReadSent, "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", "1:4x 2+1 | 1:4x 1+1", 1},
    {TransferWriteSent, "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", 2},
    {TransferReadSent, "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", 2},
    {NothingSent, "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", 1},
    {1, "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", 1},
    {7, "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", 1},
    {-1, "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", "1:4x 1+1 | 1:4x 2+1", 1},
};

} // namespace

TEST_F(TransactionEnd, EachStateRetiresItsOwnOnly)
{
    QList<VARIABLE> both;
    both << variable(1, "4x", 1, 1) << variable(1, "4x", 2, 1);
    master.rcpBlocks << row(0, 1, "4x", 0, 1, 0) << row(0, 1, "4x", 9, 1, 0) << row(0, 1, "4x", 20, 1, 0);
    for (const RetirementCase &c : retirements) {
        SCOPED_TRACE(c.sendState);
        master.writeList = both;
        master.conditionReadList = both;
        master.cyclicReadList = both;
        master.rcpIndex = 1;
        raiseBoth();
        finish(c.sendState, 0);
        EXPECT_EQ(unitsText(master.writeList), c.writes);
        EXPECT_EQ(unitsText(master.conditionReadList), c.conditionReads);
        EXPECT_EQ(unitsText(master.cyclicReadList), c.cyclicReads);
        EXPECT_EQ(master.rcpIndex, c.blockIndex);
        EXPECT_EQ(raised(BlockWriteRequest), 1);
        EXPECT_EQ(raised(BlockReadRequest), 1);
    }
}
