// Values out of the cache, in the host's byte layout.

#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

class ReadOut : public DriverFixture
{
protected:
    static int areas() { return static_cast<int>(driver.dataAreas.size()); }
};

TEST_F(ReadOut, UnpolledAddressesAreZeroAndJoinTheCache)
{
    EXPECT_EQ(getData(1, "4x", 10, 2, 4), payload("00 00 00 00"));
    EXPECT_EQ(areas(), 2);
    EXPECT_GE(findArea(1, "4x", 10), 0);
    EXPECT_GE(findArea(1, "4x", 11), 0);
}

TEST_F(ReadOut, RegistersComeLowByteFirst)
{
    cacheRegisters(1, "4x", 10, {0x1234, 0x5678});
    cacheRegisters(1, "3x", 10, {0xABCD});
    EXPECT_EQ(getData(1, "4x", 10, 2, 5), payload("34 12 78 56 EE"));
    EXPECT_EQ(getData(1, "3x", 10, 1, 3), payload("CD AB EE"));
}

TEST_F(ReadOut, DoublesHaveTheFirstRegisterAsHighWord)
{
    cacheRegisters(1, "4x", 100, {0x1234, 0x5678});
    EXPECT_EQ(getData(1, "4x_double", 100, 2, 5), payload("78 56 34 12 EE"));
    cacheRegisters(1, "3x", 7, {1, 2, 3, 4});
    EXPECT_EQ(getData(1, "3x_double", 7, 4, 8), payload("02 00 01 00 04 00 03 00"));
    EXPECT_EQ(findArea(1, "4x_double", 100), -1);
}

TEST_F(ReadOut, OddRegisterOfDoublesIsIgnored)
{
    cacheRegisters(1, "4x", 100, {0x1234, 0x5678});
    EXPECT_EQ(getData(1, "4x_double", 100, 3, 8), payload("78 56 34 12 EE EE EE EE"));
    EXPECT_EQ(getData(1, "4x_double", 100, 1, 4), payload("EE EE EE EE"));
    EXPECT_EQ(findArea(1, "4x", 102), -1);
}

TEST_F(ReadOut, BitsOfRegisters)
{
    cacheRegisters(1, "4x", 2, {0x0020});
    EXPECT_EQ(getData(1, "4x_bit", 0x25, 1, 1), payload("01")) << "bit 5 of the low byte";
    EXPECT_EQ(getData(1, "4x_bit", 0x2D, 1, 1), payload("00"));
    cacheRegisters(1, "4x", 2, {0x2000});
    EXPECT_EQ(getData(1, "4x_bit", 0x25, 1, 1), payload("00"));
    EXPECT_EQ(getData(1, "4x_bit", 0x2D, 1, 1), payload("01")) << "bit 5 of the high byte";
    EXPECT_EQ(findArea(1, "4x_bit", 2), -1);
}

TEST_F(ReadOut, BitsRunOverRegisters)
{
    cacheRegisters(1, "3x", 4, {0x8001, 0x0003});
    EXPECT_EQ(getData(1, "3x_bit", 64, 20, 21),
              payload("01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 01 01 00 00 EE"));
}

TEST_F(ReadOut, BitsOfNegativeAddressesAreZero)
{
    cacheRegisters(1, "4x", 0, {0xFFFF});
    cacheRegisters(1, "4x", -1, {0xFFFF});
    EXPECT_EQ(getData(1, "4x_bit", -3, 4, 4), payload("00 00 00 01"));
    EXPECT_EQ(getData(1, "4x_bit", -16, 1, 1), payload("01")) << "no remainder: bit 0 of register -1";
}

TEST_F(ReadOut, CoilsComeOneByteEach)
{
    makeArea(1, "0x", 9).readValue = 1;
    makeArea(1, "1x", 9).readValue = 1;
    EXPECT_EQ(getData(1, "0x", 8, 3, 4), payload("00 01 00 EE"));
    EXPECT_EQ(getData(1, "1x", 9, 2, 3), payload("01 00 EE"));
}

TEST_F(ReadOut, OnlyTheCachesBytesOfAValueAreShown)
{
    makeArea(1, "0x", 1).readValue = 0x12345678;
    makeArea(1, "4x", 1).readValue = 0x12345678;
    EXPECT_EQ(getData(1, "0x", 1, 1, 2), payload("78 EE"));
    EXPECT_EQ(getData(1, "4x", 1, 1, 3), payload("78 56 EE"));
}

// Values live in one area a coil, monitor flags in the areas at multiples of 8;
// a coil whose address is a multiple of 8 has both in one area.
TEST_F(ReadOut, CoilValuesAndMonitorFlagsShareAreasAtMultiplesOf8)
{
    plan(Keys() << key(1, "0x", 8, 6));
    ASSERT_EQ(nextRequest(), adu("01 01 00 08 00 06"));
    EXPECT_EQ(deal(bitsReply(1, 1, {1, 0, 0, 0, 0, 1})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(getData(1, "0x", 8, 6, 6), payload("01 00 00 00 00 01"));
    EXPECT_EQ(area(1, "0x", 8).bitMonitor, 0x3F);
    EXPECT_EQ(area(1, "0x", 8).readValue, 1);
    EXPECT_EQ(area(1, "0x", 13).bitMonitor, 0);
    EXPECT_EQ(area(1, "0x", 13).readValue, 1);
}

TEST_F(ReadOut, CountsOfNothingWriteNothing)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};
    const int counts[] = {0, -1, -2, INT_MIN};
    for (const char *type : types)
        for (int count : counts)
            EXPECT_EQ(getData(1, type, 0, count, 2), payload("EE EE")) << type << " " << count;
    EXPECT_EQ(areas(), 0);
}

TEST_F(ReadOut, UnknownTypesLeaveTheOutputAlone)
{
    const char *const types[] = {"", "5x", "4X", "4x_double ", "_bit"};
    for (const char *type : types)
        EXPECT_EQ(getData(1, type, 0, 4, 2), payload("EE EE")) << type;
    EXPECT_EQ(areas(), 0);
}

TEST_F(ReadOut, WrittenValueIsShownWhileItsFlagIsSet)
{
    plan(Keys() << key(1, "4x", 5, 1));
    cacheRegisters(1, "4x", 5, {7});
    setData(1, "4x", 5, 1, "09 00");
    EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("09 00"));
    EXPECT_EQ(area(1, "4x", 5).readValue, 7);
    makeArea(1, "4x", 5).writtenFlag = 0;
    EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("07 00"));
}

TEST_F(ReadOut, WrittenValueIsShownInEveryType)
{
    _DATA_ &high = makeArea(1, "4x", 5);
    high.readValue = 0x1111;
    high.writtenValue = 0x1234;
    high.writtenFlag = 1;
    cacheRegisters(1, "4x", 6, {0x5678});
    EXPECT_EQ(getData(1, "4x_double", 5, 2, 4), payload("78 56 34 12"));
    EXPECT_EQ(getData(1, "4x_bit", 5 * 16 + 2, 1, 1), payload("01"));
    EXPECT_EQ(getData(1, "4x_bit", 5 * 16 + 0, 1, 1), payload("00"));
    _DATA_ &coil = makeArea(1, "1x", 3);
    coil.readValue = 0;
    coil.writtenValue = 1;
    coil.writtenFlag = 255;
    EXPECT_EQ(getData(1, "1x", 3, 1, 1), payload("01"));
}

TEST_F(ReadOut, ErrorFlagIsNotShown)
{
    _DATA_ &failed = makeArea(1, "4x", 5);
    failed.readValue = 7;
    failed.errorFlag = 1;
    EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("07 00"));
    EXPECT_EQ(area(1, "4x", 5).errorFlag, 1);
}

TEST_F(ReadOut, StationsAreApart)
{
    cacheRegisters(1, "4x", 5, {7});
    cacheRegisters(2, "4x", 5, {8});
    EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("07 00"));
    EXPECT_EQ(getData(2, "4x", 5, 1, 2), payload("08 00"));
    EXPECT_EQ(getData(0, "4x", 5, 1, 2), payload("00 00"));
}

TEST_F(ReadOut, MakesNoCallbackAndNoTraffic)
{
    getData(1, "4x", 5, 10, 20);
    getData(1, "0x", 5, 10, 10);
    EXPECT_TRUE(recorder.changes.empty());
    EXPECT_EQ(nextRequest(), QByteArray());
}

TEST_F(ReadOut, AddressesAtTheLimitsWrap)
{
    cacheRegisters(1, "4x", INT_MAX, {0x0102});
    cacheRegisters(1, "4x", INT_MIN, {0x0304});
    EXPECT_EQ(getData(1, "4x", INT_MAX, 2, 4), payload("02 01 04 03"));
    EXPECT_EQ(getData(1, "4x_double", INT_MAX, 2, 4), payload("04 03 02 01"));
    EXPECT_EQ(getData(1, "4x_bit", INT_MAX, 2, 2), payload("00 00"));
}

// The answers of the public protocol description, decoded and read out.
TEST_F(ReadOut, AnswersOfTheProtocolDescription)
{
    plan(Keys() << key(1, "0x", 19, 19) << key(1, "1x", 196, 22) << key(1, "3x", 8, 1) << key(1, "4x", 107, 3));
    ASSERT_EQ(nextRequest(), adu("01 01 00 13 00 13"));
    ASSERT_EQ(deal(adu("01 01 03 CD 6B 05")), static_cast<int>(ReplyAccepted));
    ASSERT_EQ(nextRequest(), adu("01 02 00 C4 00 16"));
    ASSERT_EQ(deal(adu("01 02 03 AC DB 35")), static_cast<int>(ReplyAccepted));
    ASSERT_EQ(nextRequest(), adu("01 04 00 08 00 01"));
    ASSERT_EQ(deal(adu("01 04 02 00 0A")), static_cast<int>(ReplyAccepted));
    ASSERT_EQ(nextRequest(), adu("01 03 00 6B 00 03"));
    ASSERT_EQ(deal(adu("01 03 06 02 2B 00 00 00 64")), static_cast<int>(ReplyAccepted));

    EXPECT_EQ(getData(1, "0x", 19, 19, 19), payload("01 00 01 01 00 00 01 01  01 01 00 01 00 01 01 00  01 00 01"));
    EXPECT_EQ(getData(1, "1x", 196, 22, 22),
              payload("00 00 01 01 00 01 00 01  01 01 00 01 01 00 01 01  01 00 01 00 01 01"));
    EXPECT_EQ(getData(1, "3x", 8, 1, 2), payload("0A 00"));
    EXPECT_EQ(getData(1, "4x", 107, 3, 6), payload("2B 02 00 00 64 00"));
}

} // namespace
