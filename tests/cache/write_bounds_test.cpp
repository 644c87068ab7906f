// Writes beyond what a payload, a frame or an address space holds.
//
// Payloads and frames are arrays of 1024 bytes, and a host may ask for more.
// What a slave makes of such a request is its affair; the driver must stay
// inside its arrays, show the whole value, and go on. Host buffers have exactly
// the size that the call names, so the address sanitizer sees every step beyond.

#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

typedef std::vector<unsigned char> Bytes;

// Sizes around the bounds of payload (1024 bytes), frame (1015 bytes of data)
// and byte count (one byte).
const int RegisterCounts[] = {2,   100, 123, 124, 127, 128, 129, 255, 256, 257,  384,  385,
                              506, 507, 508, 509, 511, 512, 513, 514, 600, 1000, 1024, 4000};
const int CoilCounts[] = {1016, 1017, 1023, 1024, 1025, 1032, 2000, 2040, 2041, 4096, 8120, 8121, 8192, 9000, 65536};
const int BitCounts[] = {17,   100,  255,  256,  511,  512,  513,  1023, 1024, 1025,
                         2048, 4095, 8000, 8112, 8113, 8128, 8192, 9000, 20000};

class WriteBounds : public DriverFixture
{
protected:
    static Bytes pattern(int size, unsigned char value) { return Bytes(static_cast<size_t>(size), value); }

    // Every frame is a whole Modbus frame inside its array.
    static void expectSoundFrame(const FRAME_PRO &frame)
    {
        ASSERT_GE(frame.frameLen, 4);
        ASSERT_LE(frame.frameLen, 1024);
        const QByteArray request = requestBytes(frame);
        EXPECT_EQ(request, withCrc(request.left(frame.frameLen - 2)));
    }

    // One register value in every register of the reply, which may be longer than its byte count says.
    static QByteArray repliedRegisters(int registers)
    {
        QByteArray reply = bytes("01 03 00");
        for (int i = 0; i < registers; ++i)
            reply.append(bytes("5A A5"));
        return withCrc(reply);
    }

    // Plays the slave until nothing is left to send.
    void answerAll()
    {
        for (int step = 0; step < 4000; ++step) {
            const FRAME_PRO frame = nextFrame();
            if (frame.frameLen == 0)
                return;
            ASSERT_NO_FATAL_FAILURE(expectSoundFrame(frame));
            const bool isRead = frame.frameKind == 3;
            const int verdict = deal(isRead ? repliedRegisters(frame.dataLen / 2) : writeEcho(frame));
            ASSERT_EQ(verdict, static_cast<int>(ReplyAccepted));
        }
        FAIL() << "the queue never ran empty";
    }
};

TEST_F(WriteBounds, LongRegisterWritesStayInsideTheirArrays)
{
    for (int count : RegisterCounts) {
        init("1#0#0#1#100000");
        setData(1, "4x", 10, count, pattern(2 * count, 0x5A));
        ASSERT_EQ(driver.writeList.size(), 1) << count;
        const FRAME_PRO frame = nextFrame();
        ASSERT_NO_FATAL_FAILURE(expectSoundFrame(frame)) << count;
        EXPECT_EQ(frame.frame[1], 16) << count;
        EXPECT_EQ(frame.frame[4] * 256 + frame.frame[5], count) << count;
        EXPECT_EQ(frame.frame[6], (2 * count) & 0xFF) << count;
        EXPECT_EQ(frame.frameLen, ((2 * count) & 0xFF) + 9) << count;
        EXPECT_EQ(deal(writeEcho(frame)), static_cast<int>(ReplyAccepted)) << count;
        EXPECT_EQ(getData(1, "4x", 10 + count - 1, 2, 4), payload("5A 5A 00 00")) << count;
        EXPECT_EQ(area(1, "4x", 10 + count - 1).readValue, 0x5A5A) << count << ": confirmed to the last register";
    }
}

TEST_F(WriteBounds, LongDoubleWritesStayInsideTheirArrays)
{
    for (int count : RegisterCounts) {
        init("1#0#0#1#100000");
        setData(1, "4x_double", 10, count, pattern(2 * count, 0x5A));
        const FRAME_PRO frame = nextFrame();
        ASSERT_NO_FATAL_FAILURE(expectSoundFrame(frame)) << count;
        EXPECT_EQ(frame.frameLen, ((2 * count) & 0xFF) + 9) << count;
        EXPECT_EQ(deal(writeEcho(frame)), static_cast<int>(ReplyAccepted)) << count;
        EXPECT_EQ(getData(1, "4x_double", 10 + (count / 2 - 1) * 2, 2, 4), payload("5A 5A 5A 5A")) << count;
    }
}

TEST_F(WriteBounds, LongCoilWritesStayInsideTheirArrays)
{
    for (int count : CoilCounts) {
        init("1#0#0#1#100");
        setData(1, "0x", 10, count, pattern(count, 1));
        ASSERT_EQ(driver.writeList.size(), 1) << count;
        const FRAME_PRO frame = nextFrame();
        ASSERT_NO_FATAL_FAILURE(expectSoundFrame(frame)) << count;
        EXPECT_EQ(frame.frame[1], 15) << count;
        EXPECT_EQ(deal(writeEcho(frame)), static_cast<int>(ReplyAccepted)) << count;
        EXPECT_EQ(getData(1, "0x", 10 + count - 1, 2, 2), payload("01 00")) << count;
    }
}

TEST_F(WriteBounds, CoilWritesOf1024AreStillExact)
{
    Bytes coils = pattern(1024, 0);
    coils[0] = 1;
    coils[1023] = 1;
    setData(1, "0x", 0, 1024, coils);
    const FRAME_PRO frame = nextFrame();
    ASSERT_EQ(frame.frameLen, 128 + 9);
    EXPECT_EQ(frame.frame[6], 128);
    EXPECT_EQ(frame.frame[7], 0x01);
    EXPECT_EQ(frame.frame[7 + 127], 0x80);
}

TEST_F(WriteBounds, BitWritesOverManyRegistersStayInsideTheirArrays)
{
    for (int count : BitCounts)
        for (int start : {0, 5, 15}) {
            init("1#0#0#1#100000");
            setData(1, "4x_bit", start, count, pattern(2 * count, 1));
            ASSERT_EQ(driver.writeList.size(), 1) << count;
            ASSERT_NO_FATAL_FAILURE(answerAll()) << count;
            EXPECT_TRUE(driver.writeList.isEmpty()) << count;
            EXPECT_EQ(getData(1, "4x_bit", start + count - 1, 2, 2), payload("01 00")) << count;
        }
}

TEST_F(WriteBounds, BitWritesUpTo127RegistersAreExact)
{
    init("1#0#0#1#100000");
    const int count = 1019; // what the payload holds, from bit 5 of register 0 on
    setData(1, "4x_bit", 5, count, pattern(2 * count, 1));
    ASSERT_EQ(nextRequest(), adu("01 03 00 00 00 40"));
    QByteArray reply = bytes("01 03 80");
    reply.append(QByteArray(128, '\0'));
    EXPECT_EQ(deal(withCrc(reply)), static_cast<int>(ReplyAccepted));
    QByteArray write = bytes("01 10 00 00 00 40 80 FF E0");
    write.append(QByteArray(126, '\xFF'));
    EXPECT_EQ(nextRequest(), withCrc(write));
}

TEST_F(WriteBounds, UnsplitWritesStayInsideTheirArrays)
{
    const char *const properties[] = {"1#0#0#1#0", "1#0#0#1#-601", "1#0#0#1#-2147483648"};
    const char *const types[] = {"4x", "4x_double", "4x_bit"};
    for (const char *property : properties)
        for (const char *type : types) {
            init(property);
            const int count = 600;
            setData(1, type, 0, count, pattern(2 * count, 1));
            ASSERT_EQ(driver.writeList.size(), 1) << property << type;
            EXPECT_EQ(driver.writeList.at(0).count, count);
            ASSERT_NO_FATAL_FAILURE(answerAll()) << property << type;
            const int bytesOfTwo = QString::fromLatin1(type) == QString::fromLatin1("4x_bit") ? 2 : 4;
            EXPECT_EQ(getData(1, type, 598, 2, bytesOfTwo), pattern(bytesOfTwo, 1)) << property << type;
        }
}

TEST_F(WriteBounds, SplitWritesAreReadFromTheirOwnPartOfTheHostBuffer)
{
    const int limits[] = {1, 2, 7, 123, 511, 512, 513};
    for (int limit : limits) {
        const std::string property = "1#0#0#1#" + std::to_string(limit);
        init(property.c_str());
        const int count = 1300;
        setData(1, "4x", 0, count, pattern(2 * count, 0x5A));
        setData(1, "4x_bit", 0, count, pattern(2 * count, 1));
        EXPECT_LE(driver.writeList.size(), 513);
        EXPECT_EQ(getData(1, "4x", count - 1, 2, 4), payload("5A 5A 00 00"));
    }
}

TEST_F(WriteBounds, GivenUpLongWritesAreRolledBack)
{
    struct Write
    {
        const char *type;
        int count;
        int size;
    };
    const Write writes[] = {{"4x", 600, 1200}, {"4x_double", 600, 1200}, {"0x", 3000, 3000}, {"4x_bit", 9000, 18000}};
    for (const Write &w : writes) {
        init("1#0#0#2#100000");
        setData(1, w.type, 0, w.count, pattern(w.size, 1));
        EXPECT_EQ(exchangeUntilGivenUp(), 2) << w.type;
        EXPECT_TRUE(driver.writeList.isEmpty()) << w.type;
        EXPECT_EQ(getData(1, w.type, w.count - 2, 2, 4).at(0), 0) << w.type;
    }
}

TEST_F(WriteBounds, NegativeCountsSendNothingOutOfBounds)
{
    const char *const types[] = {"0x", "4x", "4x_bit", "4x_double"};
    const int counts[] = {0, -1, -15, -16, -17, -99, -1000, -65536, INT_MIN + 1, INT_MIN};
    const int starts[] = {0, 5, -5, 65535, INT_MAX, INT_MIN};
    const char *const properties[] = {"1#0#0#1#100", "1#0#0#1#0", "1#0#0#1#-7", "1#0#0#1#2147483647"};
    for (const char *property : properties)
        for (const char *type : types)
            for (int count : counts)
                for (int start : starts) {
                    init(property);
                    EXPECT_EQ(setData(1, type, start, count, ""), 1);
                    const FRAME_PRO frame = nextFrame();
                    if (frame.frameLen == 0)
                        continue;
                    ASSERT_NO_FATAL_FAILURE(expectSoundFrame(frame)) << type << " " << start << " " << count;
                    deal(writeEcho(frame));
                }
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(WriteBounds, AddressesAtTheLimitsDoNotTrap)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};
    const int starts[] = {INT_MAX, INT_MAX - 1, INT_MIN, INT_MIN + 1, -1, 65535, 1048575};
    const char *const properties[] = {"1#0#0#1#1", "1#0#0#1#100", "1#0#0#1#2147483647"};
    for (const char *property : properties)
        for (const char *type : types)
            for (int start : starts) {
                init(property);
                plan(Keys() << key(1, type, start, 4));
                EXPECT_EQ(setData(1, type, start, 4, "01 00 01 00 01 00 01 00"), 1);
                getData(1, type, start, 4, 8);
                for (int step = 0; step < 12; ++step) {
                    nextFrame();
                    deal(QByteArray());
                }
            }
}

// A count beyond every address space: the walk ends, and the buffer that holds
// all bits of all registers of a station is not overrun.
TEST_F(WriteBounds, HugeCountsEnd)
{
    const int everyBit = 65536 * 16;
    init("1#0#0#1#100");
    EXPECT_EQ(setData(1, "4x_bit", 0, INT_MAX, pattern(2 * everyBit, 1)), 1);
    EXPECT_LE(driver.writeList.size(), 513);
    EXPECT_EQ(getData(1, "4x_bit", 1048575, 1, 1), payload("01"));
    EXPECT_EQ(getData(1, "3x_bit", 0, INT_MAX, everyBit).back(), 0);
}

} // namespace
