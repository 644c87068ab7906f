// A reply is judged by its length and its CRC against the frame at the head of the list.

#include "support/driver_fixture.h"

namespace {

using namespace support;

typedef std::vector<unsigned char> Bytes;

class CheckRcvData : public ::testing::Test
{
protected:
    // Expects a reply of this length, with or without data.
    void expect(int replyLen, int dataLen)
    {
        FRAME_PRO frame = FRAME_PRO();
        frame.replyLen = replyLen;
        frame.dataLen = dataLen;
        master.frameList.clear();
        master.frameList << frame;
    }

    int check(const QByteArray &reply)
    {
        // An exact copy, so that a step beyond the reply is seen.
        const Bytes exact(reply.constBegin(), reply.constEnd());
        return master.check_rcv_data(exact.data(), static_cast<int>(exact.size()));
    }

    Modbus_rtu_master master;
};

TEST_F(CheckRcvData, NothingReceived)
{
    expect(0, 0);
    EXPECT_EQ(check(QByteArray()), 2) << "a broadcast expects nothing";
    expect(0, 4);
    EXPECT_EQ(check(QByteArray()), 2);
    expect(8, 0);
    EXPECT_EQ(check(QByteArray()), 0);
    expect(25, 20);
    EXPECT_EQ(check(QByteArray()), 0);
}

TEST_F(CheckRcvData, OtherLengthsAreBad)
{
    const QByteArray good = wordsReply(1, 3, {1, 2});
    expect(static_cast<int>(good.size()), 4);
    EXPECT_EQ(check(good), 1);
    for (int length = 1; length < good.size(); ++length)
        EXPECT_EQ(check(good.left(length)), 0) << length;
    EXPECT_EQ(check(good + good), 0);
    EXPECT_EQ(check(wordsReply(1, 3, {1})), 0) << "a whole frame, but another length";
    expect(0, 0);
    EXPECT_EQ(check(good), 0) << "an answer to a broadcast";
}

TEST_F(CheckRcvData, DataDecidesBetweenTheGoodOnes)
{
    expect(8, 0);
    EXPECT_EQ(check(adu("01 06 00 01 00 03")), static_cast<int>(GoodReplyWithoutData));
    expect(8, 3);
    EXPECT_EQ(check(adu("01 06 00 01 00 03")), static_cast<int>(GoodReadReply));
    expect(8, -1);
    EXPECT_EQ(check(adu("01 06 00 01 00 03")), static_cast<int>(GoodReadReply));
}

TEST_F(CheckRcvData, StationFunctionAndByteCountAreNotCompared)
{
    master.getReadFrame(variable(1, "4x", 0, 2));
    EXPECT_EQ(check(adu("02 03 04 00 01 00 02")), 1);
    EXPECT_EQ(check(adu("01 04 04 00 01 00 02")), 1);
    EXPECT_EQ(check(adu("01 03 77 00 01 00 02")), 1);
    EXPECT_EQ(check(adu("01 83 02")), 0) << "an exception answer fails by its length";
}

TEST_F(CheckRcvData, CrcBytesInTheWrongOrderAreBad)
{
    expect(8, 0);
    QByteArray swapped = adu("01 06 00 01 00 03");
    const char low = swapped.at(6);
    swapped[6] = swapped.at(7);
    swapped[7] = low;
    EXPECT_EQ(check(swapped), 0);
}

TEST_F(CheckRcvData, TwoBytesOf255AreGoodWithoutACrc)
{
    expect(2, 0);
    EXPECT_EQ(check(bytes("FF FF")), 2);
    expect(2, 1);
    EXPECT_EQ(check(bytes("FF FF")), 1);
    EXPECT_EQ(check(bytes("FF FE")), 0);
    EXPECT_EQ(check(bytes("FE FF")), 0);
    EXPECT_EQ(check(bytes("00 00")), 0);
    expect(8, 0);
    EXPECT_EQ(check(bytes("FF FF")), 0) << "only where two bytes are expected";
}

TEST_F(CheckRcvData, OddLengthsAndPointersDoNoHarm)
{
    expect(1, 0);
    EXPECT_EQ(check(bytes("FF")), 0);
    expect(-5, 0);
    EXPECT_EQ(master.check_rcv_data(nullptr, -5), 0);
    expect(8, 0);
    EXPECT_EQ(master.check_rcv_data(nullptr, 8), 0);
    EXPECT_EQ(master.check_rcv_data(nullptr, 0), 0);
    expect(3, 0);
    EXPECT_EQ(check(adu("01")), 2) << "three bytes: one and its CRC";
    master.frameList.clear();
    EXPECT_EQ(check(adu("01 06 00 01 00 03")), 0);
    EXPECT_EQ(check(QByteArray()), 0);
}

TEST_F(CheckRcvData, HeadOfTheListIsTheOneThatCounts)
{
    expect(8, 0);
    FRAME_PRO second = FRAME_PRO();
    second.replyLen = 7;
    second.dataLen = 2;
    master.frameList << second;
    EXPECT_EQ(check(adu("01 06 00 01 00 03")), 2);
    EXPECT_EQ(check(wordsReply(1, 3, {5})), 0);
}

} // namespace
