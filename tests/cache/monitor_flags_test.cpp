// Which elements of the cache the host wants to hear of.

#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

class MonitorFlags : public DriverFixture
{
protected:
    static void flag(int station, const char *type, int address, int count)
    {
        EXPECT_EQ(driver._setDataAreaMonitorFlag(station, QString::fromLatin1(type), address, count), 0u);
    }

    static int areas() { return static_cast<int>(driver.dataAreas.size()); }
};

TEST_F(MonitorFlags, CoilsAreFlaggedInAreasOfEight)
{
    flag(1, "0x", 5, 6);
    EXPECT_EQ(areas(), 2);
    EXPECT_EQ(area(1, "0x", 0).bitMonitor, 0xE0);
    EXPECT_EQ(area(1, "0x", 8).bitMonitor, 0x07);
    EXPECT_EQ(area(1, "0x", 0).wordMonitor, 0);
}

TEST_F(MonitorFlags, InputsAreFlaggedUnderTheirOwnType)
{
    flag(3, "1x", 16, 1);
    EXPECT_EQ(areas(), 1);
    EXPECT_EQ(area(3, "1x", 16).bitMonitor, 0x01);
}

TEST_F(MonitorFlags, EveryRegisterHasItsArea)
{
    const char *const types[] = {"3x", "4x"};
    for (const char *type : types) {
        flag(1, type, 10, 3);
        for (int address = 10; address < 13; ++address) {
            EXPECT_EQ(area(1, type, address).wordMonitor, 1) << type;
            EXPECT_EQ(area(1, type, address).bitMonitor, 0) << type;
        }
        EXPECT_EQ(findArea(1, type, 13), -1);
        EXPECT_EQ(findArea(1, type, 9), -1);
    }
}

TEST_F(MonitorFlags, BitsOfRegistersAreFlaggedInTheRegisterArea)
{
    flag(1, "4x_bit", 35, 2);
    EXPECT_EQ(areas(), 1);
    EXPECT_EQ(area(1, "4x", 2).bitMonitor, 0x18);
    EXPECT_EQ(area(1, "4x", 2).wordMonitor, 0);
    EXPECT_EQ(findArea(1, "4x_bit", 2), -1);
    EXPECT_EQ(findArea(1, "4x_bit", 35), -1);
}

TEST_F(MonitorFlags, BitsOfInputRegistersRunIntoTheNextRegister)
{
    flag(1, "3x_bit", 30, 4);
    EXPECT_EQ(areas(), 2);
    EXPECT_EQ(area(1, "3x", 1).bitMonitor, 0xC000);
    EXPECT_EQ(area(1, "3x", 2).bitMonitor, 0x0003);
}

TEST_F(MonitorFlags, DoublesFlagTheirTwoRegisters)
{
    flag(1, "4x_double", 10, 4);
    EXPECT_EQ(areas(), 4);
    EXPECT_EQ(area(1, "4x", 10).wordMonitor, 2);
    EXPECT_EQ(area(1, "4x", 11).wordMonitor, 4);
    EXPECT_EQ(area(1, "4x", 12).wordMonitor, 2);
    EXPECT_EQ(area(1, "4x", 13).wordMonitor, 4);
    flag(1, "3x_double", 10, 2);
    EXPECT_EQ(area(1, "3x", 10).wordMonitor, 2);
    EXPECT_EQ(area(1, "3x", 11).wordMonitor, 4);
}

TEST_F(MonitorFlags, OddLastRegisterOfDoublesIsIgnored)
{
    flag(1, "4x_double", 10, 3);
    EXPECT_EQ(areas(), 2);
    EXPECT_EQ(findArea(1, "4x", 12), -1);
}

TEST_F(MonitorFlags, DoubleOfOneRegisterTouchesNoArea)
{
    flag(1, "4x_double", 10, 1);
    flag(1, "3x_double", 10, 1);
    EXPECT_EQ(areas(), 0);
}

TEST_F(MonitorFlags, OverlappingDoublesCarryBothRoles)
{
    flag(1, "4x_double", 10, 2);
    flag(1, "4x_double", 11, 2);
    EXPECT_EQ(area(1, "4x", 10).wordMonitor, 2);
    EXPECT_EQ(area(1, "4x", 11).wordMonitor, 6);
    EXPECT_EQ(area(1, "4x", 12).wordMonitor, 4);
}

TEST_F(MonitorFlags, WordAndDoubleShareAnArea)
{
    flag(1, "4x", 10, 1);
    flag(1, "4x_double", 10, 2);
    flag(1, "4x_bit", 160, 1);
    EXPECT_EQ(area(1, "4x", 10).wordMonitor, 3);
    EXPECT_EQ(area(1, "4x", 10).bitMonitor, 1);
    EXPECT_EQ(areas(), 2);
}

TEST_F(MonitorFlags, FlagsAreOnlyEverSet)
{
    flag(1, "4x", 10, 1);
    flag(1, "0x", 0, 8);
    flag(1, "4x", 10, 1);
    flag(1, "0x", 3, 1);
    EXPECT_EQ(area(1, "4x", 10).wordMonitor, 1);
    EXPECT_EQ(area(1, "0x", 0).bitMonitor, 0xFF);
}

TEST_F(MonitorFlags, CountsBelowOneDoNothing)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};
    const int counts[] = {0, -1, -2, -100, INT_MIN};
    for (const char *type : types)
        for (int count : counts)
            flag(1, type, 10, count);
    EXPECT_EQ(areas(), 0);
}

TEST_F(MonitorFlags, UnknownTypesAreIgnored)
{
    const char *const types[] = {"", "5x", "4X", "4x_Bit", "double", "_bit"};
    for (const char *type : types)
        flag(1, type, 10, 5);
    EXPECT_EQ(areas(), 0);
}

// Division truncates toward zero and a bit number below 0 sets nothing.
TEST_F(MonitorFlags, NegativeBitAddressesLandInAreaZeroUnflagged)
{
    flag(1, "0x", -3, 5);
    EXPECT_EQ(areas(), 1);
    EXPECT_EQ(area(1, "0x", 0).bitMonitor, 0x03);
    flag(1, "0x", -9, 1);
    EXPECT_EQ(area(1, "0x", -8).bitMonitor, 0);
    flag(1, "0x", -8, 1);
    EXPECT_EQ(area(1, "0x", -8).bitMonitor, 0x01);
    flag(1, "4x_bit", -3, 5);
    EXPECT_EQ(area(1, "4x", 0).bitMonitor, 0x03);
    flag(1, "4x_bit", -16, 1);
    EXPECT_EQ(area(1, "4x", -1).bitMonitor, 0x01);
}

TEST_F(MonitorFlags, AddressesAtTheLimitsWrap)
{
    flag(1, "4x", INT_MAX, 2);
    EXPECT_EQ(area(1, "4x", INT_MAX).wordMonitor, 1);
    EXPECT_EQ(area(1, "4x", INT_MIN).wordMonitor, 1);
    flag(1, "0x", INT_MAX, 1);
    EXPECT_EQ(area(1, "0x", INT_MAX - 7).bitMonitor, 0x80);
    flag(1, "4x_double", INT_MAX, 2);
    EXPECT_EQ(area(1, "4x", INT_MAX).wordMonitor, 3);
    EXPECT_EQ(area(1, "4x", INT_MIN).wordMonitor, 5);
}

TEST_F(MonitorFlags, HugeCountsEnd)
{
    flag(1, "4x_bit", 0, INT_MAX);
    EXPECT_GE(areas(), 65536);
    EXPECT_EQ(area(1, "4x", 65535).bitMonitor, 0xFFFF);
}

TEST_F(MonitorFlags, PlanningClearsThemAndKeepsValues)
{
    cacheRegisters(1, "4x", 10, {7});
    plan(Keys() << key(1, "4x", 10, 1) << key(1, "0x", 0, 8) << key(1, "4x_bit", 163, 1));
    EXPECT_EQ(area(1, "4x", 10).wordMonitor, 1);
    EXPECT_EQ(area(1, "4x", 10).bitMonitor, 8);
    plan(Keys());
    EXPECT_EQ(area(1, "4x", 10).wordMonitor, 0);
    EXPECT_EQ(area(1, "4x", 10).bitMonitor, 0);
    EXPECT_EQ(area(1, "0x", 0).bitMonitor, 0);
    EXPECT_EQ(area(1, "4x", 10).readValue, 7);
}

TEST_F(MonitorFlags, DecideWhatAReadReports)
{
    plan(Keys() << key(1, "4x_bit", 33, 1) << key(1, "4x_double", 4, 2) << key(1, "4x", 3, 1));
    const FRAME_PRO first = nextFrame();
    ASSERT_EQ(requestBytes(first), adu("01 03 00 02 00 02")) << "registers 2 and 3";
    EXPECT_EQ(deal(wordsReply(1, 3, {0xFFFF, 0xFFFF})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(recorder.take(),
              (Changes{Change{1, 1, QString::fromLatin1("4x_bit"), 33}, Change{1, 1, QString::fromLatin1("4x"), 3}}));
    EXPECT_EQ(exchange(wordsReply(1, 3, {0, 5})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(recorder.take(), (Changes{Change{1, 1, QString::fromLatin1("4x_double"), 4}}));
}

} // namespace
