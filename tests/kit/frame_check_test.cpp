#include "kit/line/frame_check.h"
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

struct ReplyCase
{
    const char *request;
    const char *reply;
    const char *words; ///< that the description must have; empty: no mismatch
};

class Mismatch : public testing::TestWithParam<ReplyCase>
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
    testing::Values(ReplyCase{"01 03 00 00 00 01", "01 03 02 00 05", ""},
                    ReplyCase{"01 03 00 00 00 01", "02 03 02 00 05", "from station 2, asked was station 1"},
                    ReplyCase{"01 03 00 00 00 01", "01 04 02 00 05", "function 4, asked was function 3"},
                    ReplyCase{"01 03 00 00 00 02", "01 03 02 00 05 00 00", "byte count"},
                    ReplyCase{"01 01 00 00 00 09", "01 01 02 00 00", ""},
                    ReplyCase{"01 02 00 00 00 09", "01 02 01 00 00", "byte count"},
                    ReplyCase{"01 05 00 03 FF 00", "01 05 00 03 FF 00", ""},
                    ReplyCase{"01 06 00 03 00 07", "01 06 00 04 00 07", "another write"},
                    ReplyCase{"01 06 00 03 00 07", "01 06 00 03 00 08", "another write"},
                    ReplyCase{"01 10 00 03 00 02 04 00 01 00 02", "01 10 00 03 00 02", ""},
                    ReplyCase{"01 10 00 03 00 02 04 00 01 00 02", "01 10 00 03 00 01", "another write"}));

struct Judged
{
    const char *reply; ///< to a read of one register of station 1
    rtu::ReplyKind compared;
    rtu::ReplyKind byLengthAlone;
};

class Judgement : public testing::TestWithParam<Judged>
{
protected:
    static rtu::Transaction judged(bool compare)
    {
        rtu::Transaction transaction;
        transaction.end = rtu::ReplyEnd::Complete;
        transaction.request = array(frame("01 03 00 00 00 01"));
        transaction.expectedReply = 7;
        transaction.reply = array(frame(GetParam().reply));
        rtu::judgeReply(transaction, compare);
        return transaction;
    }
};

TEST_P(Judgement, DependsOnWhatIsCompared)
{
    EXPECT_EQ(GetParam().compared, judged(true).kind);
    EXPECT_EQ(GetParam().byLengthAlone, judged(false).kind);
    EXPECT_EQ(GetParam().byLengthAlone == rtu::ReplyKind::Exception ? 2 : 0, judged(false).exceptionCode);
}

INSTANTIATE_TEST_SUITE_P(Replies, Judgement,
                         testing::Values(Judged{"01 03 02 00 05", rtu::ReplyKind::Good, rtu::ReplyKind::Good},
                                         Judged{"02 03 02 00 05", rtu::ReplyKind::Foreign, rtu::ReplyKind::Good},
                                         Judged{"01 83 02", rtu::ReplyKind::Exception, rtu::ReplyKind::Exception},
                                         Judged{"02 83 02", rtu::ReplyKind::Foreign, rtu::ReplyKind::Exception},
                                         Judged{"01 83 02 00 05", rtu::ReplyKind::Foreign, rtu::ReplyKind::Good},
                                         Judged{"01 84 02", rtu::ReplyKind::Foreign, rtu::ReplyKind::Damaged},
                                         Judged{"01 03 02", rtu::ReplyKind::Damaged, rtu::ReplyKind::Damaged},
                                         Judged{"01 03 04 00 05 00 06", rtu::ReplyKind::Foreign,
                                                rtu::ReplyKind::Damaged}));

} // namespace
