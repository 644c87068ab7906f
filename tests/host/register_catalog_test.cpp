#include "driver_test.h"

namespace {

using namespace test_host;

class Catalog : public DriverTest
{
};

TEST_F(Catalog, KnowsTheDriversEightTypes)
{
    EXPECT_EQ("0x, 1x, 3x_bit, 4x_bit, 3x, 4x, 3x_double, 4x_double", catalog.names());
    ASSERT_NE(nullptr, catalog.find("4x_bit"));
    EXPECT_TRUE(catalog.find("4x_bit")->bitInRegister);
    EXPECT_TRUE(catalog.find("4x_bit")->isBit());
    EXPECT_TRUE(catalog.find("4x_double")->isDouble());
    EXPECT_EQ(2, catalog.find("4x_double")->unitsPerValue());
    EXPECT_FALSE(catalog.find("3x")->writable);
    EXPECT_EQ(nullptr, catalog.find("5x"));
}

TEST_F(Catalog, FindsTheLongestTypeInFront)
{
    EXPECT_EQ("4x", catalog.prefixOf("4x100")->name);
    EXPECT_EQ("4x_double", catalog.prefixOf("4x_double7")->name);
    EXPECT_EQ("4x_bit", catalog.prefixOf("4x_bit3.5")->name);
    EXPECT_EQ(nullptr, catalog.prefixOf("9x1"));
}

TEST_F(Catalog, WritesAddressesAsTheDriverReadsThem)
{
    EXPECT_EQ("100", rtu::addressText(*catalog.find("4x"), 99));
    EXPECT_EQ("3.5", rtu::addressText(*catalog.find("4x_bit"), 37));
}

} // namespace
