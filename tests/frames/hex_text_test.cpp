// Bytes as text.

#include "frames/hex_text.h"
#include "support/driver_fixture.h"

namespace {

using namespace support;

typedef std::vector<unsigned char> Bytes;

QString hex(const char *content)
{
    const Bytes list = payload(content);
    return toHexString(list.data(), static_cast<int>(list.size()));
}

TEST(HexString, TwoLowercaseDigitsAndASpaceEach)
{
    EXPECT_EQ(hex("00"), QString::fromLatin1("00 "));
    EXPECT_EQ(hex("0A"), QString::fromLatin1("0a "));
    EXPECT_EQ(hex("01 03 C5 CD FF"), QString::fromLatin1("01 03 c5 cd ff "));
}

TEST(HexString, NothingIsTheEmptyText)
{
    const unsigned char byte = 0x55;
    EXPECT_EQ(toHexString(&byte, 0), QString());
    EXPECT_EQ(toHexString(&byte, -1), QString());
    EXPECT_EQ(toHexString(&byte, -2147483647 - 1), QString());
    EXPECT_EQ(toHexString(nullptr, 0), QString());
}

TEST(HexString, EveryByte)
{
    for (int value = 0; value < 256; ++value) {
        const unsigned char byte = static_cast<unsigned char>(value);
        const QString expected = QString::number(value, 16).rightJustified(2, QLatin1Char('0')) + QLatin1Char(' ');
        EXPECT_EQ(toHexString(&byte, 1), expected);
    }
}

TEST(HexString, OnlyTheFirstBytesAreTaken)
{
    const Bytes list = payload("01 02 03");
    EXPECT_EQ(toHexString(list.data(), 2), QString::fromLatin1("01 02 "));
}

} // namespace
