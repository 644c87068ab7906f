// What the rows of a recipe become on the line by their register type: 32-bit
// values in both word orders, and the types that are read like them.

#include "frames/recipe_fixture.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

using support::adu;
using support::Changes;
using support::wordChange;
using support::Words;
using support::wordsReply;

namespace {

class RecipeTypes : public support::RecipeFixture
{
};

} // namespace

// --- doubles -----------------------------------------------------------------------------------

namespace {

struct WordOrderCase
{
    const char *name;
    const char *property;
    bool lowWordFirst;
};

void PrintTo(const WordOrderCase &c, std::ostream *out)
{
    *out << c.name;
}

class RecipeDoubles : public RecipeTypes, public ::testing::WithParamInterface<WordOrderCase>
{
protected:
    RecipeDoubles() { init(GetParam().property); }
};

std::string orderName(const ::testing::TestParamInfo<WordOrderCase> &info)
{
    return info.param.name;
}

} // namespace

TEST_P(RecipeDoubles, AreWrittenInTheirWordOrder)
{
    registerRows("2:4x_double 0+4@0");
    setWords(0, {0xAAAA, 0xBBBB, 0xCCCC, 0xDDDD});
    slave(2);
    transfer(BlockWriteRequest);
    EXPECT_EQ(slave(2).holding(0, 4), GetParam().lowWordFirst ? Words({0xAAAA, 0xBBBB, 0xCCCC, 0xDDDD})
                                                              : Words({0xBBBB, 0xAAAA, 0xDDDD, 0xCCCC}));
}

TEST_P(RecipeDoubles, AreReadInTheirWordOrder)
{
    registerRows("2:4x_double 4+2@6 | 2:3x_double 0+2@8");
    slave(2).setHolding(4, {0x1234, 0x5678});
    slave(2).inputRegisters[0] = 0x9ABC;
    slave(2).inputRegisters[1] = 0xDEF0;
    transfer(BlockReadRequest);
    EXPECT_EQ(words(6, 2), GetParam().lowWordFirst ? Words({0x1234, 0x5678}) : Words({0x5678, 0x1234}));
    EXPECT_EQ(words(8, 2), GetParam().lowWordFirst ? Words({0x9ABC, 0xDEF0}) : Words({0xDEF0, 0x9ABC}));
    EXPECT_EQ(wordReports(), Changes({wordChange(8), wordChange(9), wordChange(6), wordChange(7)}));
}

TEST_P(RecipeDoubles, SavedAndLoadedAgainAreTheSameInTheSlave)
{
    registerRows("2:4x_double 0+2@0 | 2:4x_double 2+2@2 | 2:4x_double 10+2@4");
    const Words before = {0x0102, 0x0304, 0x0506, 0x0708, 0, 0, 0, 0, 0, 0, 0x1112, 0x1314};
    slave(2).setHolding(0, before);
    transfer(BlockReadRequest);
    slave(2).setHolding(0, Words(12, 0));
    transfer(BlockWriteRequest);
    EXPECT_EQ(slave(2).holding(0, 12), before);
}

TEST_P(RecipeDoubles, LoadedAndSavedAgainAreTheSameInTheHost)
{
    registerRows("2:4x_double 0+2@0 | 2:4x_double 2+2@2 | 2:4x_double 10+2@4");
    const Words before = {0x0102, 0x0304, 0x0506, 0x0708, 0x1112, 0x1314};
    setWords(0, before);
    slave(2);
    transfer(BlockWriteRequest);
    setWords(0, Words(6, 0));
    transfer(BlockReadRequest);
    EXPECT_EQ(words(0, 6), before);
}

INSTANTIATE_TEST_SUITE_P(
    WordOrders, RecipeDoubles,
    ::testing::Values(WordOrderCase{"HighWordFirstByDefault", "3#0#0#3#100", false},
                      WordOrderCase{"HighWordFirstInModeZero", "3#0#0#3#100#0", false},
                      WordOrderCase{"HighWordFirstForStationsNotListed", "3#0#0#3#100#0_1,3", false},
                      WordOrderCase{"HighWordFirstInOtherModes", "3#0#0#3#100#2", false},
                      WordOrderCase{"LowWordFirstInModeOne", "3#0#0#3#100#1", true},
                      WordOrderCase{"LowWordFirstInModeOneWithAList", "3#0#0#3#100#1_7", true},
                      WordOrderCase{"LowWordFirstForListedStations", "3#0#0#3#100#0_7,2", true},
                      WordOrderCase{"LowWordFirstForListedStationsInOtherModes", "3#0#0#3#100#5_2", true}),
    orderName);

TEST_F(RecipeTypes, StationsOfBothWordOrdersGoInOneTransfer)
{
    init("3#0#0#3#100#0_2");
    registerRows("1:4x_double 0+2@0 | 2:4x_double 0+2@2");
    setWords(0, {1, 2, 3, 4});
    slave(1);
    slave(2);
    transfer(BlockWriteRequest);
    EXPECT_EQ(slave(1).holding(0, 2), Words({2, 1}));
    EXPECT_EQ(slave(2).holding(0, 2), Words({3, 4}));
    setWords(0, {0, 0, 0, 0});
    transfer(BlockReadRequest);
    EXPECT_EQ(words(0, 4), Words({1, 2, 3, 4}));
}

TEST_F(RecipeTypes, DoubleReplyIsStoredLowWordFirstInTheHost)
{
    registerRows("1:4x_double 0+2@5");
    EXPECT_EQ(readBlock(adu("01 03 04 12 34 56 78")), ReplyAccepted);
    EXPECT_EQ(words(5, 2), Words({0x5678, 0x1234}));
}

TEST_F(RecipeTypes, RowOfSeveralDoublesIsReadAsItsFirstOne)
{
    registerRows("1:4x_double 0+4@0");
    slave(1).setHolding(0, {1, 2, 3, 4});
    transfer(BlockReadRequest);
    EXPECT_EQ(words(0, 4), Words({2, 1, 0, 0}));
    EXPECT_EQ(wordReports(), Changes({wordChange(0), wordChange(1)}));
}

// --- the other types are read like doubles ---------------------------------------------------------

TEST_F(RecipeTypes, BitRowsAreReadAsRegistersAtTheirBitAddress)
{
    registerRows("1:4x_bit 37+2@0 | 1:3x_bit 5+2@2");
    slave(1).setHolding(37, {0x1234, 0x5678});
    slave(1).inputRegisters[5] = 0x9ABC;
    transfer(BlockReadRequest);
    EXPECT_EQ(slaves.requests[0], adu("01 04 00 05 00 02"));
    EXPECT_EQ(slaves.requests[1], adu("01 03 00 25 00 02"));
    EXPECT_EQ(words(0, 4), Words({0x5678, 0x1234, 0x0000, 0x9ABC}));
    EXPECT_EQ(area(1, "4x", 37).readValue, 0x1234);
    EXPECT_EQ(area(1, "3x", 5).readValue, 0x9ABC);
}

TEST_F(RecipeTypes, CoilRowsAreReadAsTheBytesOfTheirReply)
{
    registerRows("1:0x 0+32@0");
    EXPECT_EQ(readBlock(adu("01 01 04 12 34 56 78")), ReplyAccepted);
    EXPECT_EQ(words(0, 2), Words({0x5678, 0x1234}));
    EXPECT_EQ(wordReports(), Changes({wordChange(0), wordChange(1)}));
    EXPECT_EQ(getData(1, "0x", 0, 8, 8), support::payload("00 01 00 00 01 00 00 00"));
}

TEST_F(RecipeTypes, BytesBeyondTheReplyReadAsZero)
{
    registerRows("1:1x 0+2@0 | 1:1x 2+2@2");
    const QByteArray reply = adu("01 02 01 05");
    EXPECT_EQ(readBlock(reply), ReplyAccepted);
    const int crcLow = static_cast<unsigned char>(reply.at(4));
    const int crcHigh = static_cast<unsigned char>(reply.at(5));
    EXPECT_EQ(words(0, 4), Words({crcHigh * 256, 0x0500 + crcLow, 0, 0}))
        << "to the last byte of the reply, whatever it is";
}

TEST_F(RecipeTypes, UnknownTypesAreReadLikeDoublesAndCachedNowhere)
{
    registerRows("1:9x 0+2@0");
    EXPECT_EQ(readBlock(wordsReply(1, 3, {1, 2})), ReplyAccepted);
    EXPECT_EQ(words(0, 2), Words({2, 1}));
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(RecipeTypes, AllTypesOfSeveralStationsAreReadInOneTransfer)
{
    registerRows("2:4x_double 0+2@0 | 1:4x 0+1@2 | 2:3x 8+2@3 | 1:3x_double 4+2@5 | 1:0x 0+32@7 | 3:1x 0+32@9 | "
                 "1:4x_bit 64+2@11 | 2:3x_bit 16+2@13");
    slave(1).setHolding(0, {0x0101});
    slave(1).setHolding(64, {0x0202, 0x0303});
    slave(1).inputRegisters = {{4, 0x0404}, {5, 0x0505}};
    slave(1).coils = {{0, 1}};
    slave(2).setHolding(0, {0x0606, 0x0707});
    slave(2).inputRegisters = {{8, 0x0808}, {9, 0x0909}, {16, 0x0A0A}, {17, 0x0B0B}};
    slave(3).discreteInputs = {{31, 1}};
    EXPECT_EQ(transfer(BlockReadRequest), 8);
    EXPECT_EQ(words(0, 15), Words({0x0707, 0x0606, 0x0101, 0x0808, 0x0909, 0x0505, 0x0404, 0x0000, 0x0100, 0x0080,
                                   0x0000, 0x0303, 0x0202, 0x0B0B, 0x0A0A}));
}
