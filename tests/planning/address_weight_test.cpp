// The sort key of station, register type and address.

#include "support/driver_fixture.h"

namespace {

unsigned int weight(int station, const char *type, int address, int unused = 0)
{
    return driver.getRegAddressWeight(station, QString::fromLatin1(type), address, unused);
}

TEST(AddressWeight, IsBandPlusAddress)
{
    EXPECT_EQ(weight(0, "0x", 0), 65535u);
    EXPECT_EQ(weight(0, "4x", 10), 262150u);
    EXPECT_EQ(weight(1, "4x", 0), 589815u);
    EXPECT_EQ(weight(2, "0x", 0), 720885u);
}

TEST(AddressWeight, BandsFollowTheOrderOfTheTypes)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_double", "4x_double"};
    for (unsigned int index = 0; index < 6; ++index)
        EXPECT_EQ(weight(7, types[index], 3), 65535u * (5u * 7u + index + 1u) + 3u) << types[index];
}

TEST(AddressWeight, LastTypeSharesTheBandOfTheNextStation)
{
    EXPECT_EQ(weight(1, "0x", 0), 393210u);
    EXPECT_EQ(weight(0, "4x_double", 0), 393210u);
}

TEST(AddressWeight, UnlistedTypesLieBelowTheFirstBand)
{
    EXPECT_EQ(weight(0, "4x_bit", 7), 7u);
    EXPECT_EQ(weight(0, "3x_bit", 7), 7u);
    EXPECT_EQ(weight(0, "", 7), 7u);
    EXPECT_EQ(weight(0, "4X", 7), 7u);
    EXPECT_EQ(weight(3, "4x_bit", 7), 65535u * 15u + 7u);
    EXPECT_EQ(weight(3, "4x_bit", 0), weight(2, "3x_double", 0)); // the band of the station before
}

TEST(AddressWeight, Address65535ReachesIntoTheNextBand)
{
    EXPECT_EQ(weight(1, "3x", 65535), weight(1, "4x", 0));
}

TEST(AddressWeight, FourthArgumentIsNotUsed)
{
    EXPECT_EQ(weight(1, "4x", 5, 0), weight(1, "4x", 5, 1));
    EXPECT_EQ(weight(1, "4x", 5, 0), weight(1, "4x", 5, -7));
}

TEST(AddressWeight, WrapsAsUnsigned32Bit)
{
    EXPECT_EQ(weight(0, "4x_bit", -1), 0xFFFFFFFFu);
    EXPECT_EQ(weight(-1, "0x", 0), 0u - 4u * 65535u);
    EXPECT_EQ(weight(2147483647, "0x", 2147483647), 65535u * (5u * 2147483647u + 1u) + 2147483647u);
    EXPECT_EQ(weight(-2147483647 - 1, "4x", -2147483647 - 1), 65535u * (5u * 2147483648u + 4u) + 2147483648u);
}

} // namespace
