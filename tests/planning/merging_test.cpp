// Merging of keys into blocks: the rules of both modes, what a block carries,
// and what happens at the edges of the arithmetic.

#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <ostream>
#include <vector>

using support::key;
using support::Keys;
using support::keysOf;
using support::unitsText;

namespace {

/** Merges a list on a driver object of its own. */
std::string merged(int mode, int limit, const char *keys)
{
    Modbus_rtu_master master;
    master.maxReadWords = limit;
    Keys list = keysOf(keys);
    master.addrMerge(list, mode);
    return unitsText(list);
}

struct MergeCase
{
    const char *name;
    int mode;
    int limit;
    const char *keys;
    const char *blocks;
};

void PrintTo(const MergeCase &c, std::ostream *out)
{
    *out << c.name;
}

class Merging : public ::testing::TestWithParam<MergeCase>
{
};

std::string caseName(const ::testing::TestParamInfo<MergeCase> &info)
{
    return info.param.name;
}

} // namespace

TEST_P(Merging, GivesTheBlocks)
{
    const MergeCase &c = GetParam();
    EXPECT_EQ(merged(c.mode, c.limit, c.keys), c.blocks);
}

INSTANTIATE_TEST_SUITE_P(
    Poll, Merging,
    ::testing::Values(
        MergeCase{"OneKeyStaysAsItIs", 1, 100, "1:4x 7+3", "1:4x 7+3"},
        MergeCase{"ContiguousKeysJoin", 1, 100, "1:4x 0+10 | 1:4x 10+10", "1:4x 0+20"},
        MergeCase{"GapIsBridgedWithinTheLimit", 1, 100, "1:4x 0+10 | 1:4x 20+10", "1:4x 0+30"},
        MergeCase{"GapStaysWhereTheBlockWouldBeTooLong", 1, 25, "1:4x 0+10 | 1:4x 20+10", "1:4x 0+10 | 1:4x 20+10"},
        MergeCase{"BridgedBlockMayBeExactlyTheLimit", 1, 100, "1:4x 0+10 | 1:4x 90+10", "1:4x 0+100"},
        MergeCase{"BridgedBlockIsNotOneLonger", 1, 100, "1:4x 0+10 | 1:4x 91+10", "1:4x 0+10 | 1:4x 91+10"},
        MergeCase{"KeyInsideABlockChangesNothing", 1, 100, "1:4x 0+10 | 1:4x 5+3", "1:4x 0+10"},
        MergeCase{"OverlapWidens", 1, 100, "1:4x 0+10 | 1:4x 5+10", "1:4x 0+15"},
        MergeCase{"DuplicatesAreOneBlock", 1, 100, "1:4x 3+2 | 1:4x 3+2", "1:4x 3+2"},
        MergeCase{"ContiguousBlockStopsAtTheLimit", 1, 100, "1:4x 0+60 | 1:4x 60+60", "1:4x 0+60 | 1:4x 60+60"},
        MergeCase{"ContiguousBlockMayBeExactlyTheLimit", 1, 100, "1:4x 0+50 | 1:4x 50+50", "1:4x 0+100"},
        MergeCase{"ContiguousBlockIsNotOneLonger", 1, 100, "1:4x 0+50 | 1:4x 50+51", "1:4x 0+50 | 1:4x 50+51"},
        MergeCase{"LongKeyIsNeverCut", 1, 100, "1:4x 0+150", "1:4x 0+150"},
        MergeCase{"LongKeySwallowsWhatEndsWithinTheLimit", 1, 100, "1:4x 0+150 | 1:4x 10+5", "1:4x 0+150"},
        MergeCase{"LongKeyDoesNotSwallowWhatEndsBeyondTheLimit", 1, 100, "1:4x 0+150 | 1:4x 120+10",
                  "1:4x 0+150 | 1:4x 120+10"},
        // Contiguous runs first, gaps second: one walk over the gaps would give (0, 25) and (25, 80).
        MergeCase{"ContiguousRunsAreFormedBeforeGapsAreBridged", 1, 100, "1:4x 0+10 | 1:4x 15+10 | 1:4x 25+80",
                  "1:4x 0+10 | 1:4x 15+90"},
        MergeCase{"BridgingGoesOnFromTheJoinedBlock", 1, 30, "1:4x 0+10 | 1:4x 20+10 | 1:4x 40+10",
                  "1:4x 0+30 | 1:4x 40+10"},
        MergeCase{"StationsNeverJoin", 1, 100, "1:4x 0+1 | 2:4x 1+1", "1:4x 0+1 | 2:4x 1+1"},
        MergeCase{"WordAndDoubleNeverJoin", 1, 100, "1:3x 0+2 | 1:3x_double 2+2", "1:3x 0+2 | 1:3x_double 2+2"},
        MergeCase{"UnknownTypesJoinAmongThemselves", 1, 100, "1:9x 0+1 | 1:9x 1+1", "1:9x 0+2"},
        MergeCase{"TypesAreComparedWithCase", 1, 100, "1:4X 0+1 | 1:4X 1+1 | 1:4x 2+1", "1:4X 0+2 | 1:4x 2+1"},
        MergeCase{"KeysAreSortedByStationTypeAndAddress", 1, 1,
                  "2:0x 9+1 | 1:4x 5+1 | 1:0x 7+1 | 1:4x 3+1 | 1:3x 8+1 | 1:1x 2+1",
                  "1:0x 7+1 | 1:1x 2+1 | 1:3x 8+1 | 1:4x 3+1 | 1:4x 5+1 | 2:0x 9+1"},
        MergeCase{"DoublesSortBehindWords", 1, 1, "0:4x_double 1+2 | 0:3x_double 1+2 | 0:4x 1+1",
                  "0:4x 1+1 | 0:3x_double 1+2 | 0:4x_double 1+2"},
        // The two bands have equal weights, so the coil stands between the doubles.
        MergeCase{"OverlappingBandsKeepBlocksApart", 1, 100, "0:4x_double 0+2 | 0:4x_double 4+2 | 1:0x 2+1",
                  "0:4x_double 0+2 | 1:0x 2+1 | 0:4x_double 4+2"},
        MergeCase{"LastAddressWeighsAsMuchAsTheFirstOfTheNextType", 1, 1, "1:1x 0+1 | 1:0x 65535+1",
                  "1:1x 0+1 | 1:0x 65535+1"},
        MergeCase{"EqualWeightsKeepTheirOrderTheOtherWayRoundToo", 1, 1, "1:0x 65535+1 | 1:1x 0+1",
                  "1:0x 65535+1 | 1:1x 0+1"},
        MergeCase{"WeightsAreUnsigned", 1, 1, "-1:4x 0+1 | 3:4x 0+1 | 0:0x 0+1", "0:0x 0+1 | 3:4x 0+1 | -1:4x 0+1"},
        MergeCase{"LimitZeroJoinsOnlyEmptyKeys", 1, 0, "1:4x 0+0 | 1:4x 0+0 | 1:4x 0+1 | 1:4x 1+1",
                  "1:4x 0+0 | 1:4x 0+1 | 1:4x 1+1"},
        MergeCase{"NegativeLimitJoinsNothing", 1, -5, "1:4x 0+1 | 1:4x 0+1", "1:4x 0+1 | 1:4x 0+1"},
        MergeCase{"NegativeCountIsBridgedByItsSpan", 1, 100, "1:4x 0+10 | 1:4x 50+-30", "1:4x 0+20"},
        MergeCase{"GapBeyondTheLimitIsNotBridgedWhateverTheSpan", 1, 100, "1:4x 0+10 | 1:4x 200+-150",
                  "1:4x 0+10 | 1:4x 200+-150"},
        MergeCase{"SumsWrapAtTheEndOf32Bits", 1, 100, "1:4x 2147483640+10 | 1:4x 2147483645+10", "1:4x 2147483640+15"},
        MergeCase{"SpanWrapsToo", 1, 100, "1:4x 0+2147483647 | 1:4x 1+2147483647", "1:4x 0+2147483647"},
        MergeCase{"OtherModesAreThePollMode", 3, 100, "1:4x 20+10 | 1:4x_bit 0+16", "1:4x 0+30"},
        MergeCase{"ModeZeroIsThePollMode", 0, 100, "1:4x 20+10 | 1:4x_bit 0+16", "1:4x 0+30"},
        MergeCase{"NegativeModeIsThePollMode", -2, 100, "1:4x 20+10 | 1:4x_bit 0+16", "1:4x 0+30"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    BitsInRegisters, Merging,
    ::testing::Values(MergeCase{"RunAcrossTwoRegisters", 1, 100, "1:4x_bit 53+12", "1:4x 3+2"},
                      MergeCase{"RunToTheLastBit", 1, 100, "1:4x_bit 53+11", "1:4x 3+1"},
                      MergeCase{"WholeRegister", 1, 100, "1:4x_bit 0+16", "1:4x 0+1"},
                      MergeCase{"OneBitMoreThanARegister", 1, 100, "1:4x_bit 0+17", "1:4x 0+2"},
                      MergeCase{"LastBitAlone", 1, 100, "1:3x_bit 15+1", "1:3x 0+1"},
                      MergeCase{"LastBitAndTheNextRegister", 1, 100, "1:3x_bit 15+2", "1:3x 0+2"},
                      MergeCase{"InputRegisters", 1, 100, "2:3x_bit 160+1", "2:3x 10+1"},
                      MergeCase{"NoBitsAtTheStartOfARegister", 1, 100, "1:4x_bit 16+0", "1:4x 1+0"},
                      MergeCase{"NoBitsInsideARegister", 1, 100, "1:4x_bit 5+0", "1:4x 0+1"},
                      MergeCase{"DivisionTruncatesTowardZero", 1, 100, "1:4x_bit -1+1", "1:4x 0+0"},
                      MergeCase{"NegativeRemainderShortensTheRun", 1, 100, "1:4x_bit -17+3", "1:4x -1+1"},
                      MergeCase{"NegativeCount", 1, 100, "1:4x_bit 0+-1", "1:4x 0+1"},
                      MergeCase{"NegativeWholeRegister", 1, 100, "1:4x_bit 0+-16", "1:4x 0+-1"},
                      MergeCase{"NegativeCountBeyondARegister", 1, 100, "1:4x_bit 0+-17", "1:4x 0+0"},
                      MergeCase{"CountWraps", 1, 100, "1:4x_bit 15+2147483647", "1:4x 0+-134217726"},
                      MergeCase{"JoinWithWordsOfTheSameRegisters", 1, 100, "1:4x 3+1 | 1:4x_bit 64+16", "1:4x 3+2"},
                      MergeCase{"AreSortedAsRegisters", 1, 1, "1:4x 3+1 | 1:4x_bit 32+1", "1:4x 2+1 | 1:4x 3+1"},
                      MergeCase{"StayApartFromDoubles", 1, 100, "1:4x_bit 0+1 | 1:4x_double 1+2",
                                "1:4x 0+1 | 1:4x_double 1+2"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Recipe, Merging,
    ::testing::Values(MergeCase{"OneKeyStaysAsItIs", 2, 100, "1:4x 7+3", "1:4x 7+3"},
                      MergeCase{"ContiguousOnly", 2, 100, "1:4x 0+2 | 1:4x 2+2 | 1:4x 10+2", "1:4x 0+4 | 1:4x 10+2"},
                      MergeCase{"GapOfOneIsNotBridged", 2, 100, "1:4x 0+2 | 1:4x 3+2", "1:4x 0+2 | 1:4x 3+2"},
                      MergeCase{"OverlapJoins", 2, 100, "1:4x 0+4 | 1:4x 2+4", "1:4x 0+6"},
                      MergeCase{"LimitHolds", 2, 4, "1:4x 0+2 | 1:4x 2+2 | 1:4x 4+2", "1:4x 0+4 | 1:4x 4+2"},
                      MergeCase{"BitKeysStayBits", 2, 100, "1:4x_bit 16+4 | 1:4x_bit 20+4", "1:4x_bit 16+8"},
                      MergeCase{"TypesStayApart", 2, 100, "1:4x 0+2 | 1:4x_double 2+2", "1:4x 0+2 | 1:4x_double 2+2"},
                      MergeCase{"LongKeyIsNeverCut", 2, 100, "1:4x 0+150", "1:4x 0+150"}),
    caseName);

// --- the record of where blocks start -----------------------------------------------

namespace {

std::vector<int> recordedStarts(int mode, int limit, const char *keys, const std::vector<int> &before)
{
    Modbus_rtu_master master;
    master.maxReadWords = limit;
    for (size_t i = 0; i < before.size(); ++i)
        master.rcpBlockStarts << before[i];
    Keys list = keysOf(keys);
    master.addrMerge(list, mode);
    return std::vector<int>(master.rcpBlockStarts.constBegin(), master.rcpBlockStarts.constEnd());
}

typedef std::vector<int> Starts;

} // namespace

TEST(MergingStarts, OneKeyInRecipeModeRecordsIndexZero)
{
    EXPECT_EQ(recordedStarts(2, 100, "1:4x 7+3", Starts()), Starts({0}));
}

TEST(MergingStarts, RecipeModeRecordsTheFirstKeyOfEachBlock)
{
    EXPECT_EQ(recordedStarts(2, 100, "1:4x 0+2 | 1:4x 2+2 | 1:4x 10+2", Starts()), Starts({0, 2}));
}

TEST(MergingStarts, BlockCutAtTheLimitIsRecordedAsWell)
{
    EXPECT_EQ(recordedStarts(2, 4, "1:4x 0+2 | 1:4x 2+2 | 1:4x 4+2 | 1:4x 6+1 | 2:4x 0+1", Starts()),
              Starts({0, 2, 4}));
}

TEST(MergingStarts, RecipeModeOnlyAppends)
{
    EXPECT_EQ(recordedStarts(2, 100, "1:4x 0+2 | 1:4x 9+2", Starts({42})), Starts({42, 0, 1}));
}

TEST(MergingStarts, PollModeRecordsNothing)
{
    EXPECT_EQ(recordedStarts(1, 100, "1:4x 0+2 | 1:4x 300+2", Starts({42})), Starts({42}));
}

// --- what a block carries -------------------------------------------------------------

namespace {

KEY_ADDRESS tagged(int start, int count, int tag)
{
    KEY_ADDRESS made = key(1, "4x", start, count, tag);
    made.keyText = QString::number(tag);
    made.field1 = tag;
    made.hostOffset = tag;
    made.text2 = QString::number(tag * 2);
    std::memset(made.data, tag, sizeof made.data);
    return made;
}

void expectTagged(const KEY_ADDRESS &block, int tag)
{
    EXPECT_EQ(block.keyText, QString::number(tag));
    EXPECT_EQ(block.field1, tag);
    EXPECT_EQ(block.hostOffset, tag);
    EXPECT_EQ(block.text2, QString::number(tag * 2));
    EXPECT_EQ(block.field7, tag);
    EXPECT_EQ(block.data[0], tag);
    EXPECT_EQ(block.data[sizeof block.data - 1], tag);
}

} // namespace

TEST(MergingBlocks, CarryEveryOtherMemberFromTheirFirstKey)
{
    Modbus_rtu_master master;
    master.maxReadWords = 100;
    Keys list;
    list << tagged(500, 3, 5) << tagged(20, 10, 2) << tagged(0, 10, 1) << tagged(503, 3, 6);
    master.addrMerge(list, 1);
    ASSERT_EQ(unitsText(list), "1:4x 0+30 | 1:4x 500+6");
    expectTagged(list.at(0), 1);
    expectTagged(list.at(1), 5);
}

TEST(MergingBlocks, AmongEqualKeysTheFirstGivenOpensTheBlock)
{
    Modbus_rtu_master master;
    master.maxReadWords = 100;
    Keys list;
    list << tagged(9, 1, 3) << tagged(4, 2, 7) << tagged(4, 1, 8) << tagged(4, 3, 9);
    master.addrMerge(list, 1);
    ASSERT_EQ(unitsText(list), "1:4x 4+6");
    expectTagged(list.at(0), 7);
}

TEST(MergingBlocks, ListOfNothingStaysEmpty)
{
    Modbus_rtu_master master;
    master.maxReadWords = 100;
    Keys none;
    master.addrMerge(none, 1);
    EXPECT_TRUE(none.isEmpty());
    master.addrMerge(none, 2);
    EXPECT_TRUE(none.isEmpty());
}
