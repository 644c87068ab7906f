// The turning of a recipe block into a request unit, and the retirement of
// transactions, on a driver object of the test's own.

#include "support/buffer_word.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <QtCore/QMutex>

#include <cstring>
#include <vector>

using support::Change;
using support::Changes;
using support::payload;
using support::row;
using support::unitsText;
using support::unitText;
using support::variable;

namespace {

enum { WriteRequestByte = 60115, ReadRequestByte = 60116, AreaBytes = 60117 };

/** A driver object with a host around it. */
class OwnDriver : public ::testing::Test
{
protected:
    OwnDriver() : area(AreaBytes, 0), words(8, 0)
    {
        master.valueChangeCallBack = &support::ChangeRecorder::callBack;
        master.initProperty(area.data(), 0, words.data(), "1#0#0#3#100", &mutex);
        for (size_t i = 0; i < words.size(); ++i)
            words[i] = static_cast<unsigned short>(0x1110 * (i + 1) + i + 1); // 1111, 2222, ...
    }

    void raiseBoth()
    {
        area[WriteRequestByte] = 1;
        area[ReadRequestByte] = 1;
    }

    VARIABLE converted(const _RCP_VAR_PRO &block, int withData = 1) const
    {
        VARIABLE unit = variable(9, "old", 9, 9);
        unit.userData = 4711;
        std::memset(unit.data, 0xEE, sizeof unit.data);
        master.rcpAddrToVar(block, unit, withData);
        return unit;
    }

    void finish(int sendState, int lastFailed)
    {
        master.sendState = sendState;
        master.lastFailed = lastFailed;
        master.dealListWhenFinish();
    }

    Modbus_rtu_master master;
    support::ChangeRecorder recorder;
    std::vector<unsigned char> area;
    std::vector<unsigned short> words;
    QMutex mutex;
};

/** The first bytes of a payload; everything behind them has to be 0. */
std::vector<unsigned char> payloadOf(const VARIABLE &unit, size_t length)
{
    for (size_t i = length; i < sizeof unit.data; ++i)
        EXPECT_EQ(unit.data[i], 0) << "byte " << i;
    return std::vector<unsigned char>(unit.data, unit.data + length);
}

} // namespace

// --- recipe block to request unit ------------------------------------------------------

TEST_F(OwnDriver, BlockBecomesARequestUnit)
{
    const VARIABLE unit = converted(row(1, 2, "4x", 300, 2, 3, 99));
    EXPECT_EQ(unitText(unit), "2:4x 300+2");
    EXPECT_EQ(unit.userData, 4711) << "the tag stays as it was";
    EXPECT_EQ(payloadOf(unit, 4), payload("44 44 55 55"));
}

TEST_F(OwnDriver, WithoutDataThePayloadIsZero)
{
    const VARIABLE unit = converted(row(1, 2, "4x", 300, 2, 3), 0);
    EXPECT_EQ(unitText(unit), "2:4x 300+2");
    payloadOf(unit, 0);
}

TEST_F(OwnDriver, AnyNonzeroFlagTakesTheData)
{
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x", 0, 1, 0), -1), 2), payload("11 11"));
}

TEST_F(OwnDriver, WordsAreCopiedLowByteFirst)
{
    words[0] = support::bufferWord(0x1234);
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x", 0, 1, 0)), 2), payload("34 12"));
}

TEST_F(OwnDriver, SwapOnExchangesTheWordsOfEachDouble)
{
    master.doubleSwapMode = 1;
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 4, 0)), 8), payload("22 22 11 11 44 44 33 33"));
}

TEST_F(OwnDriver, SwapKeepsTheBytesOfAWord)
{
    master.doubleSwapMode = 1;
    words[0] = support::bufferWord(0x1234);
    words[1] = support::bufferWord(0x5678);
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 2, 0)), 4), payload("78 56 34 12"));
}

TEST_F(OwnDriver, SwapOffCopiesTheWords)
{
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 4, 0)), 8), payload("11 11 22 22 33 33 44 44"));
}

TEST_F(OwnDriver, ListedStationsAreSwappedInEveryMode)
{
    master.doubleSwapStations << 7 << 2;
    for (int mode : {0, 2, -1}) {
        master.doubleSwapMode = mode;
        EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 2, 0)), 4), payload("22 22 11 11")) << mode;
        EXPECT_EQ(payloadOf(converted(row(1, 3, "4x_double", 0, 2, 0)), 4), payload("11 11 22 22")) << mode;
    }
}

TEST_F(OwnDriver, ModeOneSwapsStationsThatAreNotListed)
{
    master.doubleSwapStations << 7;
    master.doubleSwapMode = 1;
    EXPECT_EQ(payloadOf(converted(row(1, 3, "4x_double", 0, 2, 0)), 4), payload("22 22 11 11"));
}

TEST_F(OwnDriver, OnlyDoublesThatCanBeWrittenAreSwapped)
{
    master.doubleSwapMode = 1;
    for (const char *type : {"4x", "3x", "3x_double", "0x", "4x_bit", "9x"})
        EXPECT_EQ(payloadOf(converted(row(1, 2, type, 0, 2, 0)), 4), payload("11 11 22 22")) << type;
}

TEST_F(OwnDriver, SwapLeavesATrailingWordOut)
{
    master.doubleSwapMode = 1;
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 3, 0)), 4), payload("22 22 11 11"));
    payloadOf(converted(row(1, 2, "4x_double", 0, 1, 0)), 0);
}

TEST_F(OwnDriver, WithoutSwapATrailingWordIsCopied)
{
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 3, 0)), 6), payload("11 11 22 22 33 33"));
}

TEST_F(OwnDriver, CountsOfZeroAndBelowCopyNothing)
{
    for (int mode : {0, 1}) {
        master.doubleSwapMode = mode;
        payloadOf(converted(row(1, 2, "4x_double", 0, 0, 0)), 0);
        payloadOf(converted(row(1, 2, "4x_double", 0, -3, 0)), 0);
        payloadOf(converted(row(1, 2, "4x", 0, -2147483647 - 1, 0)), 0);
    }
}

TEST_F(OwnDriver, PayloadBoundsTheBlock)
{
    std::vector<unsigned short> many(700, 0x0101);
    for (int mode : {0, 1}) {
        master.initProperty(area.data(), 0, many.data(), "1#0#0#3#100", &mutex);
        master.doubleSwapMode = mode;
        const VARIABLE unit = converted(row(1, 2, "4x_double", 0, 700, 0));
        EXPECT_EQ(unit.count, 700);
        EXPECT_EQ(payloadOf(unit, 1024), std::vector<unsigned char>(1024, 1));
    }
}

TEST_F(OwnDriver, PayloadIsFilledToItsLastByte)
{
    std::vector<unsigned short> many(512, 0x0101);
    master.initProperty(area.data(), 0, many.data(), "1#0#0#3#100", &mutex);
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x", 0, 512, 0)), 1024), std::vector<unsigned char>(1024, 1));
}

TEST_F(OwnDriver, WithoutAWordBufferThePayloadIsZero)
{
    master.initProperty(area.data(), 0, nullptr, "1#0#0#3#100", &mutex);
    payloadOf(converted(row(1, 2, "4x", 0, 4, 0)), 0);
}

// --- retirement ------------------------------------------------------------------------

TEST_F(OwnDriver, EndOfAWriteRemovesTheFirstQueuedOne)
{
    for (int failed : {0, 1}) {
        master.writeList.clear();
        master.writeList << variable(1, "4x", 1, 1) << variable(1, "4x", 2, 1);
        finish(WriteSent, failed);
        EXPECT_EQ(unitsText(master.writeList), "1:4x 2+1");
    }
}

TEST_F(OwnDriver, EndOfAWriteWithAnEmptyQueueIsNothing)
{
    finish(WriteSent, 0);
    EXPECT_TRUE(master.writeList.isEmpty());
}

TEST_F(OwnDriver, EndOfAConditionReadIsReportedForTheLastOnePlaced)
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

TEST_F(OwnDriver, EndOfAnyOtherConditionReadIsNotReported)
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

TEST_F(OwnDriver, TagAndDataDoNotMatterForTheEndReport)
{
    master.conditionVar = variable(1, "4x", 3, 2, payload("01 02"));
    master.conditionVar.userData = 5;
    master.conditionReadList << variable(1, "4x", 3, 2);
    finish(ConditionReadSent, 0);
    EXPECT_EQ(recorder.take().size(), 1u);
}

TEST_F(OwnDriver, EndOfAConditionReadWithAnEmptyQueueIsNothing)
{
    for (int failed : {0, 1}) {
        finish(ConditionReadSent, failed);
        EXPECT_EQ(recorder.take(), Changes());
    }
}

TEST_F(OwnDriver, QueueEmptiedInsideTheEndReportIsSurvived)
{
    master.conditionVar = variable(1, "4x", 3, 2);
    master.conditionReadList << variable(1, "4x", 3, 2);
    recorder.hook = [this](const Change &) { master.conditionReadList.clear(); };
    finish(ConditionReadSent, 0);
    EXPECT_TRUE(master.conditionReadList.isEmpty());
}

TEST_F(OwnDriver, EndOfACyclicReadMovesItToTheEnd)
{
    for (int failed : {0, 1}) {
        master.cyclicReadList.clear();
        master.cyclicReadList << variable(1, "4x", 1, 1) << variable(1, "4x", 2, 1) << variable(1, "4x", 3, 1);
        finish(CyclicReadSent, failed);
        EXPECT_EQ(unitsText(master.cyclicReadList), "1:4x 2+1 | 1:4x 3+1 | 1:4x 1+1");
    }
}

TEST_F(OwnDriver, PlanOfOneOrNoneStaysAsItIs)
{
    finish(CyclicReadSent, 0);
    EXPECT_TRUE(master.cyclicReadList.isEmpty());
    master.cyclicReadList << variable(1, "4x", 1, 1);
    finish(CyclicReadSent, 0);
    EXPECT_EQ(unitsText(master.cyclicReadList), "1:4x 1+1");
}

TEST_F(OwnDriver, EndOfABlockStepsToTheNext)
{
    master.rcpBlocks << row(0, 1, "4x", 0, 1, 0) << row(0, 1, "4x", 9, 1, 0);
    for (int state : {TransferWriteSent, TransferReadSent}) {
        master.rcpIndex = 0;
        raiseBoth();
        finish(state, 0);
        EXPECT_EQ(master.rcpIndex, 1);
        EXPECT_EQ(area[WriteRequestByte], 1);
        EXPECT_EQ(area[ReadRequestByte], 1);
    }
}

TEST_F(OwnDriver, EndOfTheLastBlockClearsTheRequest)
{
    master.rcpBlocks << row(0, 1, "4x", 0, 1, 0) << row(0, 1, "4x", 9, 1, 0);
    for (int state : {TransferWriteSent, TransferReadSent}) {
        master.rcpIndex = 1;
        raiseBoth();
        finish(state, 0);
        EXPECT_EQ(master.rcpIndex, 0);
        EXPECT_EQ(area[WriteRequestByte], state == TransferWriteSent ? 0 : 1);
        EXPECT_EQ(area[ReadRequestByte], state == TransferReadSent ? 0 : 1);
    }
}

TEST_F(OwnDriver, FailedBlockAbandonsTheTransfer)
{
    master.rcpBlocks << row(0, 1, "4x", 0, 1, 0) << row(0, 1, "4x", 9, 1, 0) << row(0, 1, "4x", 20, 1, 0);
    for (int state : {TransferWriteSent, TransferReadSent}) {
        master.rcpIndex = 1;
        raiseBoth();
        finish(state, 1);
        EXPECT_EQ(master.rcpIndex, 0);
        EXPECT_EQ(area[WriteRequestByte], state == TransferWriteSent ? 0 : 1);
        EXPECT_EQ(area[ReadRequestByte], state == TransferReadSent ? 0 : 1);
    }
}

TEST_F(OwnDriver, EndOfABlockWithoutHostObjectsOrBlocksIsSurvived)
{
    master.rcpIndex = 5;
    master.initProperty(nullptr, 0, nullptr, "1#0#0#3#100", nullptr);
    finish(TransferWriteSent, 0);
    EXPECT_EQ(master.rcpIndex, 0);
    master.initProperty(nullptr, 0, nullptr, "1#0#0#3#100", &mutex);
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

TEST_F(OwnDriver, EachStateRetiresItsOwnOnly)
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
        EXPECT_EQ(area[WriteRequestByte], 1);
        EXPECT_EQ(area[ReadRequestByte], 1);
    }
}
