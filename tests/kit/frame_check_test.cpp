#include "support/frames.h"

#include <gtest/gtest.h>

namespace {

using namespace test_line;

TEST(FrameCheck, CrcOfThePublishedExample)
{
    const Bytes request = hex("01 03 00 00 00 0A");
    EXPECT_EQ(0xCDC5u, rtu::crc16(request.data(), request.size()));
    const Bytes whole = hex("01 03 00 00 00 0A C5 CD");
    EXPECT_TRUE(rtu::endsWithCrc(whole.data(), whole.size()));
    EXPECT_FALSE(rtu::endsWithCrc(whole.data(), whole.size() - 1));
    EXPECT_FALSE(rtu::endsWithCrc(whole.data(), 2));
}

TEST(FrameCheck, FirstEndOfAFrameOfUnknownLength)
{
    const Bytes two = hex("01 03 00 00 00 0A C5 CD 01 03 00 00 00 0A C5 CD");
    EXPECT_EQ(8u, rtu::firstCrcEnd(two.data(), two.size(), 4));
    EXPECT_EQ(8u, rtu::firstCrcEnd(two.data(), 8, 8));
    EXPECT_EQ(0u, rtu::firstCrcEnd(two.data(), 7, 4));
    EXPECT_EQ(0u, rtu::firstCrcEnd(two.data(), two.size(), 9));
    EXPECT_EQ(0u, rtu::firstCrcEnd(two.data(), 0, 0));
}

TEST(FrameCheck, WhatIsTooShortToCompareIsNoMismatch)
{
    EXPECT_EQ("", rtu::describeMismatch(array(hex("01 03 00 00 00")), array(frame("02 03 02 00 05"))));
    EXPECT_EQ("", rtu::describeMismatch(array(frame("01 03 00 00 00 01")), array(hex("02 03 02 00"))));
}

struct Case
{
    const char *request;
    const char *reply;
    const char *words; ///< that the description must have; empty: no mismatch
};

class Mismatch : public testing::TestWithParam<Case>
{
};

TEST_P(Mismatch, IsDescribed)
{
    const std::string text = rtu::describeMismatch(array(frame(GetParam().request)), array(frame(GetParam().reply)));
    if (!GetParam().words[0]) {
        EXPECT_EQ("", text);
    } else
        EXPECT_NE(std::string::npos, text.find(GetParam().words)) << text;
}

INSTANTIATE_TEST_SUITE_P(
    Replies, Mismatch,
    testing::Values(Case{"01 03 00 00 00 01", "01 03 02 00 05", ""},
                    Case{"01 03 00 00 00 01", "02 03 02 00 05", "from station 2, asked was station 1"},
                    Case{"01 03 00 00 00 01", "01 04 02 00 05", "function 4, asked was function 3"},
                    Case{"01 03 00 00 00 02", "01 03 02 00 05 00 00", "byte count"},
                    Case{"01 01 00 00 00 09", "01 01 02 00 00", ""},
                    Case{"01 02 00 00 00 09", "01 02 01 00 00", "byte count"},
                    Case{"01 05 00 03 FF 00", "01 05 00 03 FF 00", ""},
                    Case{"01 06 00 03 00 07", "01 06 00 04 00 07", "another write"},
                    Case{"01 06 00 03 00 07", "01 06 00 03 00 08", "another write"},
                    Case{"01 10 00 03 00 02 04 00 01 00 02", "01 10 00 03 00 02", ""},
                    Case{"01 10 00 03 00 02 04 00 01 00 02", "01 10 00 03 00 01", "another write"}));

} // namespace
