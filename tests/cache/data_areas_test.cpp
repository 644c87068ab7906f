// Bits of the values in data areas.

#include "cache/data_areas.h"
#include "support/driver_fixture.h"

#include <climits>

namespace {

TEST(SetBitValue, SetsAndClears)
{
    EXPECT_EQ(_setBitValue(0, 0, 1), 1);
    EXPECT_EQ(_setBitValue(0, 15, 1), 0x8000);
    EXPECT_EQ(_setBitValue(0, 30, 1), 0x40000000);
    EXPECT_EQ(_setBitValue(0xFFFF, 3, 0), 0xFFF7);
    EXPECT_EQ(_setBitValue(0xFFFF, 3, 1), 0xFFFF);
    EXPECT_EQ(_setBitValue(0, 3, 0), 0);
}

TEST(SetBitValue, AnyNonzeroMeansOn)
{
    EXPECT_EQ(_setBitValue(0, 4, 2), 0x10);
    EXPECT_EQ(_setBitValue(0, 4, -1), 0x10);
    EXPECT_EQ(_setBitValue(0, 4, INT_MIN), 0x10);
}

TEST(SetBitValue, Bit31IsTheSignBit)
{
    EXPECT_EQ(_setBitValue(0, 31, 1), INT_MIN);
    EXPECT_EQ(_setBitValue(-1, 31, 0), INT_MAX);
}

TEST(SetBitValue, NumbersFrom32To255ChangeNothing)
{
    const int value = 0x1234;
    for (int bit = 32; bit <= 255; ++bit) {
        EXPECT_EQ(_setBitValue(value, bit, 1), value) << bit;
        EXPECT_EQ(_setBitValue(value, bit, 0), value) << bit;
    }
    EXPECT_EQ(_setBitValue(value, 40, 1), value);
}

TEST(SetBitValue, OnlyTheLowByteOfTheNumberCounts)
{
    EXPECT_EQ(_setBitValue(0, 256, 1), 1);
    EXPECT_EQ(_setBitValue(0, 256 + 31, 1), INT_MIN);
    EXPECT_EQ(_setBitValue(7, 256 + 32, 1), 7);
    EXPECT_EQ(_setBitValue(7, -1, 1), 7);    // 255
    EXPECT_EQ(_setBitValue(7, -256, 0), 6);  // 0
    EXPECT_EQ(_setBitValue(7, -253, 1), 15); // 3
    EXPECT_EQ(_setBitValue(7, INT_MIN, 0), 6);
    EXPECT_EQ(_setBitValue(7, INT_MAX, 0), 7);
}

} // namespace
