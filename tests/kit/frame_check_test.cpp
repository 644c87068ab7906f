#include "kit/line/frame_bytes.h"
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

TEST(FrameCheck, BothBytesOfTheCheckSumCount)
{
    for (const std::size_t damaged : {6u, 7u}) {
        Bytes whole = hex("01 03 00 00 00 0A C5 CD");
        whole[damaged] ^= 1;
        EXPECT_FALSE(rtu::endsWithCrc(whole.data(), whole.size())) << damaged;
    }
}

TEST(FrameCheck, ACheckSumNeedsSomethingInFrontOfIt)
{
    const Bytes one = frame("01");
    EXPECT_TRUE(rtu::endsWithCrc(one.data(), one.size()));
    const Bytes ofNothing = hex("FF FF");
    EXPECT_FALSE(rtu::endsWithCrc(ofNothing.data(), ofNothing.size()));
}

TEST(FrameBytes, AreZeroBehindTheEnd)
{
    const QByteArray bytes = array(hex("12 34 56"));
    EXPECT_EQ(0x56, rtu::byteAt(bytes, 2));
    EXPECT_EQ(0, rtu::byteAt(bytes, 3));
    EXPECT_EQ(0x1234, rtu::wordAt(bytes, 0));
    EXPECT_EQ(0x5600, rtu::wordAt(bytes, 2));
}

TEST(FrameCheck, KnowsTheSilenceOfGateways)
{
    EXPECT_FALSE(rtu::isGatewaySilence(9));
    EXPECT_TRUE(rtu::isGatewaySilence(10));
    EXPECT_TRUE(rtu::isGatewaySilence(11));
    EXPECT_FALSE(rtu::isGatewaySilence(12));
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
    EXPECT_NE("", rtu::describeMismatch(array(hex("01 03 00 00 00 01")), array(hex("02 83 02 00 00"))));
}

struct ReplyCase
{
    const char *request;
    const char *reply;
    const char *text; ///< empty: no mismatch
};

class Mismatch : public testing::TestWithParam<ReplyCase>
{
};

TEST_P(Mismatch, IsDescribed)
{
    const std::string text = rtu::describeMismatch(array(frame(GetParam().request)), array(frame(GetParam().reply)));
    EXPECT_EQ(GetParam().text, text);
}

const char *const OtherCount = "the byte count of the reply is wrong";
const char *const OtherWrite = "the reply acknowledges another write";

INSTANTIATE_TEST_SUITE_P(
    Replies, Mismatch,
    testing::Values(ReplyCase{"01 03 00 00 00 01", "01 03 02 00 05", ""},
                    ReplyCase{"01 03 00 00 00 01", "02 03 02 00 05",
                              "the reply is from station 2, asked was station 1"},
                    ReplyCase{"01 03 00 00 00 01", "01 04 02 00 05", "the reply has function 4, asked was function 3"},
                    ReplyCase{"01 03 00 00 00 02", "01 03 02 00 05 00 00", OtherCount},
                    ReplyCase{"01 04 00 00 00 01", "01 04 02 00 05", ""},
                    ReplyCase{"01 04 00 00 00 01", "01 04 01 00 05", OtherCount},
                    ReplyCase{"01 01 00 00 00 09", "01 01 02 00 00", ""},
                    ReplyCase{"01 02 00 00 00 09", "01 02 01 00 00", OtherCount},
                    ReplyCase{"01 02 00 00 00 08", "01 02 01 00", ""},
                    ReplyCase{"01 01 00 00 07 CA", "01 01 FA 00", ""}, // 1994 bits
                    ReplyCase{"01 05 00 03 FF 00", "01 05 00 03 FF 00", ""},
                    ReplyCase{"01 05 00 03 FF 00", "01 05 00 04 FF 00", OtherWrite},
                    ReplyCase{"01 06 00 03 00 07", "01 06 00 04 00 07", OtherWrite},
                    ReplyCase{"01 06 00 03 00 07", "01 06 00 03 00 08", OtherWrite},
                    ReplyCase{"01 10 00 03 00 02 04 00 01 00 02", "01 10 00 03 00 02", ""},
                    ReplyCase{"01 10 00 03 00 02 04 00 01 00 02", "01 10 00 03 00 01", OtherWrite}));

struct Judged
{
    const char *reply; ///< to a read of one register of station 1
    rtu::ReplyKind compared;
    rtu::ReplyKind byLengthAlone;
    const char *warning; ///< by length alone
};

const rtu::TimePoint Sent{std::chrono::seconds(1)};
const rtu::TimePoint RequestEnd{std::chrono::seconds(2)};

rtu::Transaction collected(const std::string &reply)
{
    rtu::Transaction transaction;
    transaction.end = rtu::ReplyEnd::Complete;
    transaction.request = array(frame("01 03 00 00 00 01"));
    transaction.expectedReply = 7;
    transaction.reply = array(frame(reply));
    transaction.sent = Sent;
    transaction.requestEnd = RequestEnd;
    transaction.firstByte = RequestEnd;
    return transaction;
}

class Judgement : public testing::TestWithParam<Judged>
{
protected:
    static rtu::Transaction judged(bool compare)
    {
        rtu::Transaction transaction = collected(GetParam().reply);
        rtu::judgeReply(transaction, compare);
        return transaction;
    }
};

TEST_P(Judgement, DependsOnWhatIsCompared)
{
    EXPECT_EQ(GetParam().compared, judged(true).kind);
    EXPECT_EQ("", judged(true).warning.toStdString());
    EXPECT_EQ(GetParam().byLengthAlone, judged(false).kind);
    EXPECT_EQ(GetParam().byLengthAlone == rtu::ReplyKind::Exception ? 2 : 0, judged(false).exceptionCode);
    EXPECT_EQ(GetParam().warning, judged(false).warning.toStdString());
}

INSTANTIATE_TEST_SUITE_P(Replies, Judgement,
                         testing::Values(Judged{"01 03 02 00 05", rtu::ReplyKind::Good, rtu::ReplyKind::Good, ""},
                                         Judged{"02 03 02 00 05", rtu::ReplyKind::Foreign, rtu::ReplyKind::Good,
                                                "the reply is from station 2, asked was station 1"},
                                         Judged{"01 83 02", rtu::ReplyKind::Exception, rtu::ReplyKind::Exception, ""},
                                         Judged{"02 83 02", rtu::ReplyKind::Foreign, rtu::ReplyKind::Exception, ""},
                                         Judged{"01 83 02 00 05", rtu::ReplyKind::Foreign, rtu::ReplyKind::Good,
                                                "the reply has function 131, asked was function 3"},
                                         Judged{"01 84 02", rtu::ReplyKind::Foreign, rtu::ReplyKind::Damaged, ""},
                                         Judged{"01 03 02", rtu::ReplyKind::Damaged, rtu::ReplyKind::Damaged, ""},
                                         Judged{"01 03 04 00 05 00 06", rtu::ReplyKind::Foreign,
                                                rtu::ReplyKind::Damaged, ""}));

TEST(JudgedReply, OfAnEvenFunctionMayBeAnException)
{
    rtu::Transaction transaction = collected("01 84 0B");
    transaction.request = array(frame("01 04 00 00 00 01"));
    rtu::judgeReply(transaction, true);
    EXPECT_EQ(rtu::ReplyKind::Exception, transaction.kind);
    EXPECT_EQ(11, transaction.exceptionCode);
}

TEST(JudgedReply, ThatBeganDuringTheRequestShowsAPortWithoutPace)
{
    const rtu::Duration moment(1);
    for (const char *reply : {"01 03 02 00 05", "01 83 02"}) {
        rtu::Transaction transaction = collected(reply);
        rtu::judgeReply(transaction, true);
        EXPECT_EQ(RequestEnd, transaction.requestEnd) << reply;
        transaction.firstByte = RequestEnd - moment;
        rtu::judgeReply(transaction, true);
        EXPECT_EQ(Sent, transaction.requestEnd) << reply;
    }
    for (const char *reply : {"02 03 02 00 05", "01 03 02"}) {
        rtu::Transaction transaction = collected(reply);
        transaction.firstByte = RequestEnd - moment;
        rtu::judgeReply(transaction, true);
        EXPECT_EQ(RequestEnd, transaction.requestEnd) << "no answer: " << reply;
    }
}

} // namespace
