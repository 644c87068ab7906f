// One-off reads: how a range is split, how the queue is kept short, and how the
// end is reported.

#include "support/slave_fixture.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <climits>

using support::Change;
using support::Changes;
using support::key;
using support::unitsText;
using support::unitText;

namespace {

enum { BitObject = -1, WordObject = 1, QueueLimit = 513 };

class ConditionReads : public support::SlaveFixture
{
protected:
    int request(int station, const char *type, int start, int count, int dataFormat = WordObject, int userData = 0)
    {
        KEY_ADDRESS asked = key(station, type, start, count, dataFormat);
        return intf_addConditionRead(&asked, userData);
    }

    static std::string queued() { return unitsText(driver.conditionReadList); }
    static int queuedTag(int position) { return driver.conditionReadList.at(position).userData; }

    void fillQueue()
    {
        for (int i = 0; i < QueueLimit; ++i)
            request(1, "4x", i * 2, 1, WordObject, i);
    }
};

Changes endReport(int address)
{
    const Change report = {-1, -1, QString::fromLatin1("-1"), address};
    return Changes(1, report);
}

struct SplitCase
{
    const char *name;
    int limit;
    const char *type;
    int start;
    int count;
    int dataFormat;
    const char *queue;
};

void PrintTo(const SplitCase &c, std::ostream *out)
{
    *out << c.name;
}

class ConditionReadSplit : public ConditionReads, public ::testing::WithParamInterface<SplitCase>
{
};

std::string splitName(const ::testing::TestParamInfo<SplitCase> &info)
{
    return info.param.name;
}

} // namespace

// --- splitting --------------------------------------------------------------------------

TEST_P(ConditionReadSplit, QueuesThePieces)
{
    const SplitCase &c = GetParam();
    init(QString::fromLatin1("1#0#0#3#%1").arg(c.limit).toLatin1().constData());
    EXPECT_EQ(request(1, c.type, c.start, c.count, c.dataFormat), 1);
    EXPECT_EQ(queued(), c.queue);
    const VARIABLE untouched = VARIABLE();
    EXPECT_EQ(unitText(driver.conditionReadList.isEmpty() ? untouched : driver.conditionReadList.last()),
              unitText(driver.conditionVar));
}

INSTANTIATE_TEST_SUITE_P(
    Ranges, ConditionReadSplit,
    ::testing::Values(
        SplitCase{"WordsByTheWordLimit", 100, "4x", 0, 250, WordObject, "1:4x 0+100 | 1:4x 100+100 | 1:4x 200+50"},
        SplitCase{"NoShortPieceWhenItDividesEvenly", 100, "4x", 7, 200, WordObject, "1:4x 7+100 | 1:4x 107+100"},
        SplitCase{"ExactlyTheLimitIsOnePiece", 100, "4x", 7, 100, WordObject, "1:4x 7+100"},
        SplitCase{"OneMoreThanTheLimit", 100, "3x", 7, 101, WordObject, "1:3x 7+100 | 1:3x 107+1"},
        SplitCase{"BitsByEightTimesTheWordLimit", 100, "0x", 0, 250, BitObject, "1:0x 0+250"},
        SplitCase{"BitsBeyondTheBitLimit", 100, "1x", 3, 1700, BitObject, "1:1x 3+800 | 1:1x 803+800 | 1:1x 1603+100"},
        SplitCase{"TheFormatDecidesNotTheType", 100, "0x", 0, 250, WordObject,
                  "1:0x 0+100 | 1:0x 100+100 | 1:0x 200+50"},
        SplitCase{"WordsOfABitObject", 100, "4x", 0, 250, BitObject, "1:4x 0+250"},
        SplitCase{"OtherNegativeFormatsAreWords", 100, "4x", 0, 150, -2, "1:4x 0+100 | 1:4x 100+50"},
        SplitCase{"DoublesAreNotRounded", 3, "4x_double", 10, 8, WordObject,
                  "1:4x_double 10+3 | 1:4x_double 13+3 | 1:4x_double 16+2"},
        SplitCase{"BitRangeIsReadShortWhenItCrossesARegister", 100, "4x_bit", 53, 12, BitObject, "1:4x 3+1"},
        SplitCase{"BitRangeOfWholeRegisters", 100, "4x_bit", 48, 32, BitObject, "1:4x 3+2"},
        SplitCase{"BitRangeIsRoundedUpWithoutItsOffset", 100, "3x_bit", 63, 17, BitObject, "1:3x 3+2"},
        SplitCase{"OneBit", 100, "3x_bit", 35, 1, BitObject, "1:3x 2+1"},
        SplitCase{"BitRangeIsSplitInBitsBeforeItBecomesRegisters", 2, "4x_bit", 5, 40, BitObject,
                  "1:4x 0+1 | 1:4x 1+1 | 1:4x 2+1"},
        SplitCase{"BitRangeSplitByWords", 10, "4x_bit", 5, 25, WordObject, "1:4x 0+1 | 1:4x 0+1 | 1:4x 1+1"},
        SplitCase{"NegativeBitAddressTruncatesTowardZero", 100, "4x_bit", -17, 1, BitObject, "1:4x -1+1"},
        SplitCase{"NoBits", 100, "4x_bit", 16, 0, BitObject, "1:4x 1+0"},
        SplitCase{"NegativeBitCount", 100, "4x_bit", 16, -1, BitObject, "1:4x 1+1"},
        SplitCase{"NoWords", 100, "4x", 16, 0, WordObject, "1:4x 16+0"},
        SplitCase{"NegativeCount", 100, "4x", 16, -300, WordObject, "1:4x 16+-300"},
        SplitCase{"UnknownTypesAreQueuedAsGiven", 100, "5x", 1, 2, WordObject, "1:5x 1+2"},
        SplitCase{"LimitOfOneIsOneRequestAnElement", 1, "4x", 7, 3, WordObject, "1:4x 7+1 | 1:4x 8+1 | 1:4x 9+1"},
        SplitCase{"LimitOfZeroIsOneRequest", 0, "4x", 0, 250, WordObject, "1:4x 0+250"},
        SplitCase{"LimitOfZeroIsOneRequestForBits", 0, "0x", 0, 250, BitObject, "1:0x 0+250"},
        SplitCase{"NegativeLimitAndALongerRangeIsNothing", -10, "4x", 0, 25, WordObject, ""},
        SplitCase{"NegativeLimitAndNothingIsNothing", -10, "4x", 0, 0, WordObject, ""},
        SplitCase{"NegativeLimitAndAShorterRangeIsOneRequest", -10, "4x", 3, 5, WordObject, "1:4x 3+5"},
        SplitCase{"NegativeLimitAndExactlyItsLengthIsNothing", -10, "4x", 3, 10, WordObject, ""},
        SplitCase{"NegativeLimitAndAShorterNegativeRange", -10, "4x", 3, -5, WordObject, "1:4x 3+-5"},
        SplitCase{"NegativeLimitNotBelowTheCountIsTheKeyItself", -10, "4x", 3, -25, WordObject, "1:4x 3+-25"},
        SplitCase{"NegativeLimitForBitsIsEightTimesAsLong", -10, "4x_bit", 32, 79, BitObject, "1:4x 2+5"},
        SplitCase{"NegativeLimitForBitsAndALongerRange", -10, "4x_bit", 32, 81, BitObject, ""},
        SplitCase{"NegativeLimitAndTheSmallestCount", -1, "4x", 0, INT_MIN, WordObject, "1:4x 0+-2147483648"},
        SplitCase{"PiecesWrapAtTheEndOf32Bits", 100, "4x", INT_MAX - 99, 150, WordObject,
                  "1:4x 2147483548+100 | 1:4x -2147483648+50"}),
    splitName);

TEST_F(ConditionReads, PiecesCarryTheTagOfTheCall)
{
    request(1, "4x", 0, 250, WordObject, 77);
    ASSERT_EQ(driver.conditionReadList.size(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(queuedTag(i), 77);
    EXPECT_EQ(driver.conditionVar.userData, 77);
}

TEST_F(ConditionReads, TheHostsKeyIsNotChanged)
{
    KEY_ADDRESS asked = key(1, "4x_bit", 53, 900, BitObject);
    intf_addConditionRead(&asked, 1);
    EXPECT_EQ(unitText(asked), "1:4x_bit 53+900");
}

TEST_F(ConditionReads, NoKeyQueuesNothing)
{
    EXPECT_EQ(intf_addConditionRead(nullptr, 1), 1);
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
}

// --- the queue ----------------------------------------------------------------------------

TEST_F(ConditionReads, ResultIsAlwaysOne)
{
    EXPECT_EQ(request(1, "4x", 0, 1), 1);
    EXPECT_EQ(request(1, "4x", 0, 1), 1);
    EXPECT_EQ(request(0, "nothing", -1, -1), 1);
    fillQueue();
    EXPECT_EQ(request(3, "4x", 0, 1), 1);
}

TEST_F(ConditionReads, RangeQueuedOnlyAtTheHeadIsQueuedAgain)
{
    request(1, "4x", 0, 10, WordObject, 1);
    request(1, "4x", 0, 10, WordObject, 2);
    EXPECT_EQ(queued(), "1:4x 0+10 | 1:4x 0+10");
    EXPECT_EQ(queuedTag(0), 1);
    EXPECT_EQ(queuedTag(1), 2);
}

TEST_F(ConditionReads, RangeQueuedBehindTheHeadTakesTheNewTag)
{
    request(1, "4x", 0, 10, WordObject, 1);
    request(1, "4x", 50, 10, WordObject, 2);
    request(1, "4x", 90, 10, WordObject, 3);
    request(1, "4x", 50, 10, WordObject, 4);
    EXPECT_EQ(queued(), "1:4x 0+10 | 1:4x 50+10 | 1:4x 90+10");
    EXPECT_EQ(queuedTag(1), 4);
    EXPECT_EQ(queuedTag(2), 3);
    EXPECT_EQ(unitText(driver.conditionVar), "1:4x 50+10");
    EXPECT_EQ(driver.conditionVar.userData, 4);
}

TEST_F(ConditionReads, SearchRunsFromTheEnd)
{
    for (int i = 0; i < 4; ++i) {
        VARIABLE entry = support::variable(1, "4x", i % 2, 1);
        entry.userData = i;
        driver.conditionReadList << entry;
    }
    request(1, "4x", 1, 1, WordObject, 99);
    EXPECT_EQ(driver.conditionReadList.size(), 4);
    EXPECT_EQ(queuedTag(1), 1);
    EXPECT_EQ(queuedTag(3), 99);
}

TEST_F(ConditionReads, EveryPartOfTheRangeCounts)
{
    request(9, "4x", 0, 1);
    request(1, "4x", 50, 10);
    request(2, "4x", 50, 10);
    request(1, "3x", 50, 10);
    request(1, "4x", 51, 10);
    request(1, "4x", 50, 11);
    EXPECT_EQ(queued(), "9:4x 0+1 | 1:4x 50+10 | 2:4x 50+10 | 1:3x 50+10 | 1:4x 51+10 | 1:4x 50+11");
}

TEST_F(ConditionReads, BitRangesAreComparedAsTheRegistersThatTheyBecame)
{
    request(9, "4x", 0, 1);
    request(1, "4x", 3, 1, WordObject, 1);
    request(1, "4x_bit", 53, 12, BitObject, 2);
    EXPECT_EQ(queued(), "9:4x 0+1 | 1:4x 3+1");
    EXPECT_EQ(queuedTag(1), 2);
}

TEST_F(ConditionReads, FullQueueTakesTheNewestAtItsEnd)
{
    fillQueue();
    ASSERT_EQ(driver.conditionReadList.size(), QueueLimit);
    request(2, "4x", 5, 3, WordObject, 1000);
    EXPECT_EQ(driver.conditionReadList.size(), QueueLimit);
    EXPECT_EQ(unitText(driver.conditionReadList.at(512)), "2:4x 5+3");
    EXPECT_EQ(queuedTag(512), 1000);
    EXPECT_EQ(unitText(driver.conditionReadList.at(511)), "1:4x 1022+1");
    EXPECT_EQ(unitText(driver.conditionVar), "2:4x 5+3");
}

TEST_F(ConditionReads, FullQueueStillReplacesAnEqualRange)
{
    fillQueue();
    request(1, "4x", 10, 1, WordObject, 1000);
    EXPECT_EQ(driver.conditionReadList.size(), QueueLimit);
    EXPECT_EQ(queuedTag(5), 1000);
    EXPECT_EQ(queuedTag(512), 512);
}

TEST_F(ConditionReads, QueueOfOneLessStillGrows)
{
    fillQueue();
    driver.conditionReadList.removeLast();
    request(2, "4x", 5, 3);
    EXPECT_EQ(driver.conditionReadList.size(), QueueLimit);
    EXPECT_EQ(unitText(driver.conditionReadList.at(511)), "1:4x 1022+1");
}

TEST_F(ConditionReads, LongRangeInAFullQueueLeavesItsLastPiece)
{
    fillQueue();
    request(2, "4x", 0, 250);
    EXPECT_EQ(driver.conditionReadList.size(), QueueLimit);
    EXPECT_EQ(unitText(driver.conditionReadList.at(512)), "2:4x 200+50");
}

TEST_F(ConditionReads, InitialisationEmptiesTheQueueAndKeepsTheLastEntryPlaced)
{
    request(1, "4x", 7, 3);
    init("1#0#0#3#100");
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
    EXPECT_EQ(unitText(driver.conditionVar), "1:4x 7+3");
}

TEST_F(ConditionReads, CyclicPlanIsNotTouched)
{
    plan(support::keysOf("1:4x 0+10"));
    request(1, "4x", 4, 3);
    EXPECT_EQ(unitsText(driver.cyclicReadList), "1:4x 0+10");
}

// --- on the line ----------------------------------------------------------------------------

TEST_F(ConditionReads, AnsweredReadIsReportedAndRemoved)
{
    slaves.station(1).setHolding(4, {0x0102, 0x0304});
    request(1, "4x", 4, 2, WordObject, 9);
    EXPECT_EQ(trace(2), "C-");
    EXPECT_EQ(slaves.requests.front(), support::adu("01 03 00 04 00 02"));
    EXPECT_EQ(recorder.take(), endReport(0)) << "values that nobody monitors are not reported";
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
    EXPECT_EQ(getData(1, "4x", 4, 2, 4), support::payload("02 01 04 03"));
}

TEST_F(ConditionReads, RequestFrameCarriesTheTag)
{
    request(1, "4x", 4, 2, WordObject, 9);
    EXPECT_EQ(nextFrame().var.userData, 9);
}

TEST_F(ConditionReads, OnlyTheLastPieceIsReported)
{
    slaves.station(1);
    request(1, "4x", 0, 250);
    EXPECT_EQ(trace(2), "CC");
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(trace(1), "C");
    EXPECT_EQ(recorder.take(), endReport(0));
}

TEST_F(ConditionReads, OfSeveralRequestsTheLastPlacedIsReported)
{
    slaves.station(1);
    request(1, "4x", 0, 2);
    request(1, "4x", 50, 2);
    EXPECT_EQ(trace(1), "C");
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(trace(1), "C");
    EXPECT_EQ(recorder.take(), endReport(0));
}

TEST_F(ConditionReads, EntryThatOnlyReplacedAnotherIsTheLastPlacedToo)
{
    slaves.station(1);
    request(1, "4x", 0, 2);
    request(1, "4x", 50, 2);
    request(1, "4x", 90, 2);
    request(1, "4x", 50, 2);
    EXPECT_EQ(trace(2), "CC");
    EXPECT_EQ(recorder.take(), endReport(0));
    EXPECT_EQ(trace(1), "C");
    EXPECT_EQ(recorder.take(), Changes());
}

TEST_F(ConditionReads, SameRangeTwiceIsReportedTwice)
{
    slaves.station(1);
    request(1, "4x", 0, 2);
    request(1, "4x", 0, 2);
    EXPECT_EQ(trace(3), "CC-");
    EXPECT_EQ(recorder.take().size(), 2u);
}

TEST_F(ConditionReads, BitRangeIsReportedThoughItBecameRegisters)
{
    slaves.station(1);
    request(1, "4x_bit", 53, 12, BitObject);
    EXPECT_EQ(trace(1), "C");
    EXPECT_EQ(slaves.requests.front(), support::adu("01 03 00 03 00 01"));
    EXPECT_EQ(recorder.take(), endReport(0));
}

TEST_F(ConditionReads, FailureIsReportedAndEmptiesTheQueue)
{
    request(3, "4x", 50, 2);
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(recorder.take(), endReport(-1));
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
    EXPECT_EQ(errorText, QString::fromLatin1("R,3#4x51(2)"));
}

TEST_F(ConditionReads, FailureOfAnEarlierReadEmptiesTheQueueUnreported)
{
    slaves.station(1);
    request(3, "4x", 0, 2);
    request(1, "4x", 50, 2);
    request(1, "4x", 90, 2);
    EXPECT_EQ(trace(4), "ccc-");
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
}

TEST_F(ConditionReads, EndIsReportedBeforeTheEntryLeavesTheQueue)
{
    slaves.station(1);
    request(1, "4x", 0, 2);
    int lengthInCallback = -1;
    recorder.hook = [&](const Change &) { lengthInCallback = static_cast<int>(driver.conditionReadList.size()); };
    EXPECT_EQ(trace(1), "C");
    EXPECT_EQ(lengthInCallback, 1);
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
}

TEST_F(ConditionReads, RequestMadeInTheEndReportIsServedNext)
{
    slaves.station(1);
    request(1, "4x", 0, 2);
    bool asked = false;
    recorder.hook = [&](const Change &) {
        if (!asked)
            request(1, "4x", 70, 2);
        asked = true;
    };
    EXPECT_EQ(trace(3), "CC-");
    EXPECT_EQ(slaves.requests.back(), support::adu("01 03 00 46 00 02"));
    EXPECT_EQ(recorder.take().size(), 2u);
}

TEST_F(ConditionReads, ReadOfNothingEndsWithAnyFiveByteReply)
{
    request(1, "4x", 4, 0);
    EXPECT_EQ(exchange(support::exceptionReply(1, 3, 2)), ReplyAccepted);
    EXPECT_EQ(recorder.take(), endReport(0));
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

// --- ranges of more requests than the queue holds: its last place takes the last one -----------

TEST_F(ConditionReads, HugeCountsAreCutIntoAFullQueue)
{
    init("1#0#0#3#2000");
    EXPECT_EQ(request(1, "4x", 0, INT_MAX), 1);
    ASSERT_EQ(driver.conditionReadList.size(), QueueLimit);
    EXPECT_EQ(unitText(driver.conditionReadList.at(0)), "1:4x 0+2000");
    EXPECT_EQ(unitText(driver.conditionReadList.at(511)), "1:4x 1022000+2000");
    EXPECT_EQ(unitText(driver.conditionReadList.at(512)), "1:4x 2147482000+1647");
    EXPECT_EQ(unitText(driver.conditionVar), "1:4x 2147482000+1647");
}

TEST_F(ConditionReads, OneRequestAnElementOfTheLongestRange)
{
    init("1#0#0#3#1");
    EXPECT_EQ(request(1, "4x", 10, INT_MAX), 1);
    ASSERT_EQ(driver.conditionReadList.size(), QueueLimit);
    EXPECT_EQ(unitText(driver.conditionReadList.at(511)), "1:4x 521+1");
    EXPECT_EQ(unitText(driver.conditionReadList.at(512)), "1:4x -2147483640+1");
}

TEST_F(ConditionReads, LongRangeGivesItsTagToEveryEqualEntryOfTheFullQueue)
{
    fillQueue(); // registers 0, 2, 4... one by one
    init("1#0#0#3#1");
    fillQueue();
    request(1, "4x", 4, 100000, WordObject, 7000);
    EXPECT_EQ(queuedTag(1), 1);
    EXPECT_EQ(queuedTag(2), 7000);
    EXPECT_EQ(queuedTag(511), 7000);
    EXPECT_EQ(unitText(driver.conditionReadList.at(512)), "1:4x 100003+1");
}

// A register that no bit address reaches, however long the range is, is none of its pieces.
TEST_F(ConditionReads, LongBitRangeSparesRegistersBeyondAllBitAddresses)
{
    init("1#0#0#3#2");
    for (int start : {0, INT_MAX, INT_MIN, INT_MAX / 16, INT_MIN / 16})
        request(1, "4x", start, 1, WordObject, 1);
    while (driver.conditionReadList.size() < QueueLimit)
        request(2, "4x", static_cast<int>(driver.conditionReadList.size()), 1);
    request(1, "4x_bit", 16, INT_MAX, BitObject, 7000);
    ASSERT_EQ(driver.conditionReadList.size(), QueueLimit);
    EXPECT_EQ(unitText(driver.conditionReadList.at(1)), "1:4x 2147483647+1");
    EXPECT_EQ(queuedTag(1), 1);
    EXPECT_EQ(queuedTag(2), 1) << "-2147483648";
    EXPECT_EQ(queuedTag(3), 7000) << "134217727, with bit 2147483647";
    EXPECT_EQ(queuedTag(4), 7000) << "-134217728, with bit -2147483648";
}

TEST_F(ConditionReads, LastPlaceKeepsThePieceThatIsNotQueuedElsewhere)
{
    init("1#0#0#3#1");
    fillQueue();
    request(2, "4x", 5, 1);                     // takes the last place
    request(1, "4x", 11, 10, WordObject, 7000); // its last register, 20, stands at position 10
    EXPECT_EQ(unitText(driver.conditionReadList.at(512)), "1:4x 19+1");
    EXPECT_EQ(queuedTag(10), 7000);
    EXPECT_EQ(unitText(driver.conditionVar), "1:4x 20+1");
}
