// The turning of a recipe block into a request unit.

#include "frames/own_driver.h"
#include "support/buffer_word.h"
#include "support/unit_text.h"

#include <cstring>
#include <vector>

using support::payload;
using support::row;
using support::unitText;
using support::variable;

namespace {

class RecipeBlocks : public support::OwnDriver
{
protected:
    VARIABLE converted(const _RCP_VAR_PRO &block, int withData = 1) const
    {
        VARIABLE unit = variable(9, "old", 9, 9);
        unit.userData = 4711;
        std::memset(unit.data, 0xEE, sizeof unit.data);
        master.rcpAddrToVar(block, unit, withData);
        return unit;
    }
};

/** The first bytes of a payload; everything behind them has to be 0. */
std::vector<unsigned char> payloadOf(const VARIABLE &unit, size_t length)
{
    for (size_t i = length; i < sizeof unit.data; ++i)
        EXPECT_EQ(unit.data[i], 0) << "byte " << i;
    return std::vector<unsigned char>(unit.data, unit.data + length);
}

} // namespace

TEST_F(RecipeBlocks, BlockBecomesARequestUnit)
{
    const VARIABLE unit = converted(row(1, 2, "4x", 300, 2, 3, 99));
    EXPECT_EQ(unitText(unit), "2:4x 300+2");
    EXPECT_EQ(unit.userData, 4711) << "the tag stays as it was";
    EXPECT_EQ(payloadOf(unit, 4), payload("44 44 55 55"));
}

TEST_F(RecipeBlocks, WithoutDataThePayloadIsZero)
{
    const VARIABLE unit = converted(row(1, 2, "4x", 300, 2, 3), 0);
    EXPECT_EQ(unitText(unit), "2:4x 300+2");
    payloadOf(unit, 0);
}

TEST_F(RecipeBlocks, AnyNonzeroFlagTakesTheData)
{
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x", 0, 1, 0), -1), 2), payload("11 11"));
}

TEST_F(RecipeBlocks, WordsAreCopiedLowByteFirst)
{
    hostWords[0] = support::bufferWord(0x1234);
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x", 0, 1, 0)), 2), payload("34 12"));
}

TEST_F(RecipeBlocks, SwapOnExchangesTheWordsOfEachDouble)
{
    master.doubleSwapMode = 1;
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 4, 0)), 8), payload("22 22 11 11 44 44 33 33"));
}

TEST_F(RecipeBlocks, SwapKeepsTheBytesOfAWord)
{
    master.doubleSwapMode = 1;
    hostWords[0] = support::bufferWord(0x1234);
    hostWords[1] = support::bufferWord(0x5678);
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 2, 0)), 4), payload("78 56 34 12"));
}

TEST_F(RecipeBlocks, SwapOffCopiesTheWords)
{
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 4, 0)), 8), payload("11 11 22 22 33 33 44 44"));
}

TEST_F(RecipeBlocks, ListedStationsAreSwappedInEveryMode)
{
    master.doubleSwapStations << 7 << 2;
    for (int mode : {0, 2, -1}) {
        master.doubleSwapMode = mode;
        EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 2, 0)), 4), payload("22 22 11 11")) << mode;
        EXPECT_EQ(payloadOf(converted(row(1, 3, "4x_double", 0, 2, 0)), 4), payload("11 11 22 22")) << mode;
    }
}

TEST_F(RecipeBlocks, ModeOneSwapsStationsThatAreNotListed)
{
    master.doubleSwapStations << 7;
    master.doubleSwapMode = 1;
    EXPECT_EQ(payloadOf(converted(row(1, 3, "4x_double", 0, 2, 0)), 4), payload("22 22 11 11"));
}

TEST_F(RecipeBlocks, OnlyDoublesThatCanBeWrittenAreSwapped)
{
    master.doubleSwapMode = 1;
    for (const char *type : {"4x", "3x", "3x_double", "0x", "4x_bit", "9x"})
        EXPECT_EQ(payloadOf(converted(row(1, 2, type, 0, 2, 0)), 4), payload("11 11 22 22")) << type;
}

TEST_F(RecipeBlocks, SwapLeavesATrailingWordOut)
{
    master.doubleSwapMode = 1;
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 3, 0)), 4), payload("22 22 11 11"));
    payloadOf(converted(row(1, 2, "4x_double", 0, 1, 0)), 0);
}

TEST_F(RecipeBlocks, WithoutSwapATrailingWordIsCopied)
{
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x_double", 0, 3, 0)), 6), payload("11 11 22 22 33 33"));
}

TEST_F(RecipeBlocks, CountsOfZeroAndBelowCopyNothing)
{
    for (int mode : {0, 1}) {
        master.doubleSwapMode = mode;
        payloadOf(converted(row(1, 2, "4x_double", 0, 0, 0)), 0);
        payloadOf(converted(row(1, 2, "4x_double", 0, -3, 0)), 0);
        payloadOf(converted(row(1, 2, "4x", 0, -2147483647 - 1, 0)), 0);
    }
}

TEST_F(RecipeBlocks, PayloadBoundsTheBlock)
{
    std::vector<unsigned short> many(700, 0x0101);
    for (int mode : {0, 1}) {
        master.initProperty(hostArea.data(), 0, many.data(), "1#0#0#3#100", &hostMutex);
        master.doubleSwapMode = mode;
        const VARIABLE unit = converted(row(1, 2, "4x_double", 0, 700, 0));
        EXPECT_EQ(unit.count, 700);
        EXPECT_EQ(payloadOf(unit, 1024), std::vector<unsigned char>(1024, 1));
    }
}

TEST_F(RecipeBlocks, PayloadIsFilledToItsLastByte)
{
    std::vector<unsigned short> many(512, 0x0101);
    master.initProperty(hostArea.data(), 0, many.data(), "1#0#0#3#100", &hostMutex);
    EXPECT_EQ(payloadOf(converted(row(1, 2, "4x", 0, 512, 0)), 1024), std::vector<unsigned char>(1024, 1));
}

TEST_F(RecipeBlocks, WithoutAWordBufferThePayloadIsZero)
{
    master.initProperty(hostArea.data(), 0, nullptr, "1#0#0#3#100", &hostMutex);
    payloadOf(converted(row(1, 2, "4x", 0, 4, 0)), 0);
}
