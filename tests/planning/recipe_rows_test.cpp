// Registration of the host's recipe rows: which are kept, in what order, and the
// blocks that they are merged into.

#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <vector>

using support::row;
using support::rowsOf;
using support::unitsText;

namespace {

typedef QVector<_RCP_VAR_PRO> Rows;

class Registration : public support::DriverFixture
{
protected:
    enum { Link = 1 };

    int registerRows(Rows rows) { return intf_setRcpAddress(&rows); }
    int registerRows(const char *rows) { return registerRows(rowsOf(Link, rows)); }

    static std::vector<int> starts()
    {
        return std::vector<int>(driver.rcpBlockStarts.constBegin(), driver.rcpBlockStarts.constEnd());
    }

    static std::vector<int> extras()
    {
        std::vector<int> found;
        for (int i = 0; i < static_cast<int>(driver.rcpAddrs.size()); ++i)
            found.push_back(driver.rcpAddrs.at(i).extra);
        return found;
    }
};

typedef std::vector<int> Numbers;

} // namespace

TEST_F(Registration, RowsOfOtherLinksGiveZeroAndAnEmptyTable)
{
    EXPECT_EQ(registerRows(rowsOf(2, "1:4x 0+2 | 1:4x 2+2")), 0);
    EXPECT_TRUE(driver.rcpAddrs.isEmpty());
    EXPECT_TRUE(driver.rcpBlocks.isEmpty());
    EXPECT_TRUE(driver.rcpBlockStarts.isEmpty());
}

TEST_F(Registration, OnlyRowsOfThisLinkAreKept)
{
    Rows rows;
    rows << row(1, 1, "4x", 0, 2, 0) << row(2, 1, "4x", 2, 2, 2) << row(1, 1, "4x", 4, 2, 4) << row(0, 1, "4x", 6, 2, 6)
         << row(-1, 1, "4x", 8, 2, 8);
    EXPECT_EQ(registerRows(rows), 2);
    EXPECT_EQ(unitsText(driver.rcpAddrs), "1:4x 0+2 | 1:4x 4+2");
}

TEST_F(Registration, TheLinkIsThatOfThePropertyString)
{
    init("7#0#0#3#100");
    EXPECT_EQ(registerRows(rowsOf(1, "1:4x 0+2")), 0);
    EXPECT_EQ(registerRows(rowsOf(7, "1:4x 0+2")), 1);
}

TEST_F(Registration, CallWithoutAMatchEmptiesTheRowsAndKeepsTheBlocks)
{
    registerRows("1:4x 0+2 | 1:4x 10+2");
    EXPECT_EQ(registerRows(rowsOf(9, "1:4x 0+2")), 0);
    EXPECT_TRUE(driver.rcpAddrs.isEmpty());
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+2 | 1:4x 10+2");
    EXPECT_EQ(starts(), Numbers({0, 1}));
}

TEST_F(Registration, NoRowsAtAllCountAsNoMatch)
{
    registerRows("1:4x 0+2");
    EXPECT_EQ(intf_setRcpAddress(nullptr), 0);
    EXPECT_TRUE(driver.rcpAddrs.isEmpty());
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+2");
    registerRows("1:4x 0+2");
    EXPECT_EQ(registerRows(Rows()), 0);
    EXPECT_TRUE(driver.rcpAddrs.isEmpty());
}

TEST_F(Registration, AddressesComeOutAscending)
{
    EXPECT_EQ(registerRows("1:4x 10+1 | 1:4x 3+1"), 2);
    EXPECT_EQ(unitsText(driver.rcpAddrs), "1:4x 3+1 | 1:4x 10+1");
}

TEST_F(Registration, StationGoesBeforeType)
{
    registerRows("2:0x 0+1 | 1:4x 0+1");
    EXPECT_EQ(unitsText(driver.rcpAddrs), "1:4x 0+1 | 2:0x 0+1");
}

TEST_F(Registration, EqualWeightsOfOverlappingBandsKeepTheirInputOrder)
{
    registerRows("0:4x_double 6+2 | 1:0x 6+1");
    EXPECT_EQ(unitsText(driver.rcpAddrs), "0:4x_double 6+2 | 1:0x 6+1");
    registerRows("1:0x 6+1 | 0:4x_double 6+2");
    EXPECT_EQ(unitsText(driver.rcpAddrs), "1:0x 6+1 | 0:4x_double 6+2");
}

TEST_F(Registration, EqualRowsKeepTheirInputOrder)
{
    Rows rows;
    rows << row(1, 1, "4x", 5, 1, 0, 11) << row(1, 1, "4x", 4, 1, 0, 12) << row(1, 1, "4x", 5, 2, 0, 13)
         << row(1, 1, "4x", 5, 3, 0, 14);
    registerRows(rows);
    EXPECT_EQ(extras(), Numbers({12, 11, 13, 14}));
}

TEST_F(Registration, BitTypesSortInTheBandBelowTheCoilsOfTheirStation)
{
    registerRows("1:0x 0+1 | 1:4x_bit 9+1 | 1:3x_bit 4+1 | 0:4x 0+1 | 0:3x_double 4+2");
    EXPECT_EQ(unitsText(driver.rcpAddrs), "0:4x 0+1 | 1:3x_bit 4+1 | 0:3x_double 4+2 | 1:4x_bit 9+1 | 1:0x 0+1");
}

TEST_F(Registration, UnknownTypesAreRegisteredInTheBandOfTheBitTypes)
{
    EXPECT_EQ(registerRows("1:0x 0+1 | 1:5x 7+2 | 1:5x 9+2"), 3);
    EXPECT_EQ(unitsText(driver.rcpAddrs), "1:5x 7+2 | 1:5x 9+2 | 1:0x 0+1");
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:5x 7+4 | 1:0x 0+1");
}

TEST_F(Registration, WeightsAreComparedUnsigned)
{
    registerRows("-1:4x 0+1 | 2:4x 0+1");
    EXPECT_EQ(unitsText(driver.rcpAddrs), "2:4x 0+1 | -1:4x 0+1");
}

TEST_F(Registration, RowsAreKeptWhole)
{
    Rows rows;
    rows << row(1, 2, "4x_double", 8, 4, 123, -77) << row(1, 1, "0x", 3, 5, 321, 0x12345678);
    registerRows(rows);
    ASSERT_EQ(driver.rcpAddrs.size(), 2);
    const _RCP_VAR_PRO first = driver.rcpAddrs.at(0);
    EXPECT_EQ(support::unitText(first), "1:0x 3+5");
    EXPECT_EQ(first.userData, 1);
    EXPECT_EQ(first.hostOffset, 321);
    EXPECT_EQ(first.extra, 0x12345678);
    const _RCP_VAR_PRO second = driver.rcpAddrs.at(1);
    EXPECT_EQ(support::unitText(second), "2:4x_double 8+4");
    EXPECT_EQ(second.hostOffset, 123);
    EXPECT_EQ(second.extra, -77);
}

TEST_F(Registration, TheHostsTableIsNotChanged)
{
    Rows rows = rowsOf(1, "1:4x 10+1 | 1:4x 3+1 | 1:4x_bit 4+1");
    intf_setRcpAddress(&rows);
    EXPECT_EQ(unitsText(rows), "1:4x 10+1 | 1:4x 3+1 | 1:4x_bit 4+1");
}

TEST_F(Registration, TheResultCountsRowsNotBlocks)
{
    EXPECT_EQ(registerRows("1:4x 0+2 | 1:4x 2+2 | 1:4x 4+2"), 3);
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+6");
}

TEST_F(Registration, BlocksJoinOnlyWhatTouches)
{
    registerRows("1:4x 0+2 | 1:4x 2+2 | 1:4x 5+2 | 2:4x 7+2 | 1:4x 6+4");
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+4 | 1:4x 5+5 | 2:4x 7+2");
    EXPECT_EQ(starts(), Numbers({0, 2, 4}));
}

TEST_F(Registration, BlocksAreBoundedByTheReadLimit)
{
    init("1#0#0#3#4");
    registerRows("1:4x 0+2 | 1:4x 2+2 | 1:4x 4+2 | 1:4x 100+9");
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+4 | 1:4x 4+2 | 1:4x 100+9");
}

TEST_F(Registration, BitRowsStayBitRowsInTheirBlocks)
{
    registerRows("1:4x_bit 37+3 | 1:3x_bit 5+1");
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:3x_bit 5+1 | 1:4x_bit 37+3");
}

TEST_F(Registration, ABlockStartsWhereItsFirstRowStartsInTheHostBuffer)
{
    registerRows("1:4x 2+2@50 | 1:4x 0+2@10 | 1:4x 9+1@7");
    ASSERT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+4 | 1:4x 9+1");
    EXPECT_EQ(driver.rcpBlocks.at(0).hostOffset, 10);
    EXPECT_EQ(driver.rcpBlocks.at(1).hostOffset, 7);
}

TEST_F(Registration, EachRegistrationReplacesTheOneBefore)
{
    registerRows("1:4x 0+2 | 1:4x 10+2 | 1:4x 20+2");
    EXPECT_EQ(registerRows("2:4x 7+1 | 2:4x 8+1"), 2);
    EXPECT_EQ(unitsText(driver.rcpAddrs), "2:4x 7+1 | 2:4x 8+1");
    EXPECT_EQ(unitsText(driver.rcpBlocks), "2:4x 7+2");
    EXPECT_EQ(starts(), Numbers({0}));
}

TEST_F(Registration, ATransferInProgressKeepsItsPosition)
{
    driver.rcpIndex = 2;
    registerRows("1:4x 0+2 | 1:4x 10+2 | 1:4x 20+2");
    EXPECT_EQ(driver.rcpIndex, 2);
}

TEST_F(Registration, SurvivesASecondInitialisation)
{
    registerRows("1:4x 0+2 | 1:4x 10+2");
    driver.rcpIndex = 1;
    init("1#0#0#3#100");
    EXPECT_EQ(unitsText(driver.rcpAddrs), "1:4x 0+2 | 1:4x 10+2");
    EXPECT_EQ(unitsText(driver.rcpBlocks), "1:4x 0+2 | 1:4x 10+2");
    EXPECT_EQ(starts(), Numbers({0, 1}));
    EXPECT_EQ(driver.rcpIndex, 1);
}

TEST_F(Registration, PlansNothingElse)
{
    plan(support::keysOf("1:4x 0+10"));
    registerRows("1:4x 0+2");
    EXPECT_EQ(unitsText(driver.cyclicReadList), "1:4x 0+10");
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_TRUE(driver.frameList.isEmpty());
}
