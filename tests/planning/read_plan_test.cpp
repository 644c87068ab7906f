// Building of the cyclic read plan and of the monitor flags that go with it.

#include "support/unit_text.h"

#include <gtest/gtest.h>

using support::key;
using support::Keys;
using support::keysOf;
using support::unitsText;

namespace {

class ReadPlan : public support::DriverFixture
{
protected:
    int plan(const char *keys) { return DriverFixture::plan(keysOf(keys)); }
    static std::string planned() { return unitsText(driver.cyclicReadList); }

    static int flaggedAreas()
    {
        int flagged = 0;
        for (int i = 0; i < static_cast<int>(driver.dataAreas.size()); ++i)
            flagged += driver.dataAreas.at(i).wordMonitor != 0 || driver.dataAreas.at(i).bitMonitor != 0 ? 1 : 0;
        return flagged;
    }
};

} // namespace

TEST_F(ReadPlan, EmptyListEmptiesThePlanAndClearsEveryFlag)
{
    plan("1:4x 0+3 | 1:0x 0+9 | 1:4x_double 8+2 | 1:3x_bit 3+2");
    const int areas = static_cast<int>(driver.dataAreas.size());
    ASSERT_GT(flaggedAreas(), 0);
    EXPECT_EQ(DriverFixture::plan(Keys()), 0);
    EXPECT_TRUE(driver.cyclicReadList.isEmpty());
    EXPECT_EQ(flaggedAreas(), 0);
    EXPECT_EQ(driver.dataAreas.size(), areas) << "areas are never removed";
}

TEST_F(ReadPlan, NoListCountsAsAnEmptyOne)
{
    plan("1:4x 0+3");
    EXPECT_EQ(intf_addrMerge(nullptr), 0);
    EXPECT_TRUE(driver.cyclicReadList.isEmpty());
    EXPECT_EQ(flaggedAreas(), 0);
}

TEST_F(ReadPlan, NeighboursShareOneRequest)
{
    EXPECT_EQ(plan("1:4x 0+10 | 1:4x 10+10"), 1);
    EXPECT_EQ(planned(), "1:4x 0+20");
}

TEST_F(ReadPlan, TheLimitMakesTwoRequests)
{
    EXPECT_EQ(plan("1:4x 0+60 | 1:4x 60+60"), 2);
    EXPECT_EQ(planned(), "1:4x 0+60 | 1:4x 60+60");
}

TEST_F(ReadPlan, KeyLongerThanTheLimitIsOneRequest)
{
    EXPECT_EQ(plan("1:0x 0+200"), 1);
    EXPECT_EQ(planned(), "1:0x 0+200");
}

TEST_F(ReadPlan, CoilBlocksAreLimitedInBitsByTheNumberOfWords)
{
    EXPECT_EQ(plan("1:0x 0+60 | 1:0x 60+60 | 1:1x 0+50 | 1:1x 50+50"), 3);
    EXPECT_EQ(planned(), "1:0x 0+60 | 1:0x 60+60 | 1:1x 0+100");
}

TEST_F(ReadPlan, BitKeyReadsItsRegistersAndMarksItsBits)
{
    EXPECT_EQ(plan("1:4x_bit 53+12"), 1);
    EXPECT_EQ(planned(), "1:4x 3+2");
    EXPECT_EQ(area(1, "4x", 3).bitMonitor, 0xFFE0);
    EXPECT_EQ(area(1, "4x", 4).bitMonitor, 0x0001);
    EXPECT_EQ(area(1, "4x", 3).wordMonitor, 0);
    EXPECT_EQ(driver.dataAreas.size(), 2);
}

TEST_F(ReadPlan, PlanningTwiceGivesTheSamePlan)
{
    const char *keys = "1:4x 40+3 | 2:0x 0+9 | 1:4x 0+3 | 1:3x_bit 8+9";
    EXPECT_EQ(plan(keys), 3);
    const std::string first = planned();
    const int areas = static_cast<int>(driver.dataAreas.size());
    EXPECT_EQ(plan(keys), 3);
    EXPECT_EQ(planned(), first);
    EXPECT_EQ(driver.dataAreas.size(), areas);
}

TEST_F(ReadPlan, ANewPlanKeepsNothingOfTheOld)
{
    plan("1:4x 0+3 | 1:0x 0+9");
    EXPECT_EQ(plan("2:3x 5+2"), 1);
    EXPECT_EQ(planned(), "2:3x 5+2");
    EXPECT_EQ(flaggedAreas(), 2);
    EXPECT_EQ(area(1, "4x", 0).wordMonitor, 0);
    EXPECT_EQ(area(1, "0x", 0).bitMonitor, 0);
}

TEST_F(ReadPlan, CachedValuesOutliveThePlan)
{
    plan("1:4x 0+1");
    _DATA_ &cached = makeArea(1, "4x", 0);
    cached.readValue = 0x1234;
    cached.writtenValue = 0x5678;
    cached.writtenFlag = 1;
    cached.errorFlag = 1;
    cached.bitWriteState = 5;
    plan("1:4x 7+1");
    const _DATA_ left = area(1, "4x", 0);
    EXPECT_EQ(left.readValue, 0x1234);
    EXPECT_EQ(left.writtenValue, 0x5678);
    EXPECT_EQ(left.writtenFlag, 1);
    EXPECT_EQ(left.errorFlag, 1);
    EXPECT_EQ(left.bitWriteState, 5);
    EXPECT_EQ(left.wordMonitor, 0);
}

TEST_F(ReadPlan, EntriesCarryTheTagOfTheCyclicPlan)
{
    plan("1:4x 0+3 | 1:4x 300+3 | 2:0x 0+3");
    ASSERT_EQ(driver.cyclicReadList.size(), 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(driver.cyclicReadList.at(i).userData, 4);
}

TEST_F(ReadPlan, OrderIsStationTypeAddress)
{
    plan("2:0x 5+1 | 1:4x_double 0+2 | 1:3x_double 0+2 | 1:4x 500+1 | 1:4x 0+1 | 1:3x 0+1 | 1:1x 0+1 | 1:0x 9+1");
    EXPECT_EQ(planned(), "1:0x 9+1 | 1:1x 0+1 | 1:3x 0+1 | 1:4x 0+1 | 1:4x 500+1 | 1:3x_double 0+2 | "
                         "1:4x_double 0+2 | 2:0x 5+1");
}

TEST_F(ReadPlan, WordAndDoubleOfTheSameRegistersAreReadTwice)
{
    EXPECT_EQ(plan("1:4x 0+2 | 1:4x_double 0+2"), 2);
    EXPECT_EQ(planned(), "1:4x 0+2 | 1:4x_double 0+2");
    EXPECT_EQ(area(1, "4x", 0).wordMonitor, 3);
    EXPECT_EQ(area(1, "4x", 1).wordMonitor, 5);
}

TEST_F(ReadPlan, BitAndWordOfOneRegisterAreReadTogether)
{
    EXPECT_EQ(plan("1:3x 3+1 | 1:3x_bit 50+1"), 1);
    EXPECT_EQ(planned(), "1:3x 3+1");
    EXPECT_EQ(area(1, "3x", 3).wordMonitor, 1);
    EXPECT_EQ(area(1, "3x", 3).bitMonitor, 1 << 2);
}

TEST_F(ReadPlan, MonitorsOnlyWhatTheHostAskedForNotTheGaps)
{
    plan("1:4x 0+1 | 1:4x 9+1");
    EXPECT_EQ(planned(), "1:4x 0+10");
    EXPECT_EQ(driver.dataAreas.size(), 2);
    EXPECT_EQ(flaggedAreas(), 2);
}

TEST_F(ReadPlan, UnknownTypesArePlannedAndMonitoredNowhere)
{
    EXPECT_EQ(plan("1:9x 0+2 | 1:9x 2+2"), 1);
    EXPECT_EQ(planned(), "1:9x 0+4");
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(ReadPlan, KeysWithoutElementsArePlannedAndMonitoredNowhere)
{
    EXPECT_EQ(plan("1:4x 0+0"), 1);
    EXPECT_EQ(planned(), "1:4x 0+0");
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(ReadPlan, TheHostsListIsNotChanged)
{
    Keys keys = keysOf("1:4x 10+1 | 1:4x_bit 53+12 | 1:4x 3+1");
    intf_addrMerge(&keys);
    EXPECT_EQ(unitsText(keys), "1:4x 10+1 | 1:4x_bit 53+12 | 1:4x 3+1");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(keys.at(i).field1, i);
}

TEST_F(ReadPlan, LeavesQueuesAndRecipesAlone)
{
    setData(1, "4x", 0, 1, "01 00");
    KEY_ADDRESS once = key(1, "4x", 0, 1);
    intf_addConditionRead(&once, 1);
    QVector<_RCP_VAR_PRO> rows = support::rowsOf(1, "1:4x 0+2");
    intf_setRcpAddress(&rows);
    plan("1:4x 40+1");
    EXPECT_EQ(unitsText(driver.writeList), "1:4x 0+1");
    EXPECT_EQ(unitsText(driver.conditionReadList), "1:4x 0+1");
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+2");
    EXPECT_EQ(driver.rcpBlockStarts.size(), 1);
}

TEST_F(ReadPlan, LimitOfZeroLeavesEveryKeyItsOwnRequest)
{
    init("1#0#0#3#x");
    EXPECT_EQ(plan("1:4x 0+1 | 1:4x 1+1 | 1:4x 1+1"), 3);
    EXPECT_EQ(planned(), "1:4x 0+1 | 1:4x 1+1 | 1:4x 1+1");
}
