// What one call walks at most: every bit of every register of a station. One
// element more is left out wherever elements are walked.

#include "support/driver_fixture.h"

#include "driver/arithmetic.h"

namespace {

using namespace support;

const int oneTooMany = MaxElements + 1;
const int registersOfAll = 65536;

typedef DriverFixture CallLimits;

TEST_F(CallLimits, OfAReadOut)
{
    std::vector<unsigned char> out = getData(1, "3x_bit", 0, oneTooMany, oneTooMany, 0xEE);
    EXPECT_EQ(out[MaxElements - 1], 0);
    EXPECT_EQ(out[MaxElements], 0xEE);
    EXPECT_EQ(driver.dataAreas.size(), registersOfAll);
}

TEST_F(CallLimits, OfAWriteRequest)
{
    const std::vector<unsigned char> data(2 * static_cast<size_t>(oneTooMany), 1);
    setData(1, "4x_bit", 0, oneTooMany, data);
    EXPECT_EQ(driver.dataAreas.size(), registersOfAll);
    ASSERT_EQ(driver.writeList.size(), 513);
    EXPECT_EQ(driver.writeList.last().startAddr, MaxElements - 76) << "the last of the requests of 100";
    EXPECT_EQ(driver.writeList.last().count, 76);
}

TEST_F(CallLimits, OfTheEndOfAWrite)
{
    driver._write_FailOrSuc(1, QString::fromLatin1("4x_bit"), 0, oneTooMany, 1);
    EXPECT_EQ(recorder.changes.size(), static_cast<size_t>(MaxElements));
    EXPECT_EQ(driver.dataAreas.size(), registersOfAll);
}

TEST_F(CallLimits, OfAWatchedRange)
{
    plan(Keys() << key(1, "3x_bit", 0, oneTooMany, -1));
    EXPECT_EQ(driver.dataAreas.size(), registersOfAll);
}

TEST_F(CallLimits, OfTheMarksOfAFailure)
{
    init("1#0#0#1#2000000");
    KEY_ADDRESS range = key(1, "3x", 0, oneTooMany);
    intf_addConditionRead(&range, 0);
    EXPECT_EQ(exchangeUntilGivenUp(), 1);
    EXPECT_EQ(driver.dataAreas.size(), static_cast<int>(MaxElements));
}

} // namespace
