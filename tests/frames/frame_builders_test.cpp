// Request frames, among them the read half and the write half of bit writes.

#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

typedef std::vector<unsigned char> Bytes;

// Builds with a driver object of its own: the builders need no host.
class FrameBuilders : public ::testing::Test
{
protected:
    const FRAME_PRO &read(const VARIABLE &unit)
    {
        master.frameList.clear();
        master.getReadFrame(unit);
        return onlyFrame();
    }

    const FRAME_PRO &write(const VARIABLE &unit)
    {
        master.frameList.clear();
        master.getWriteFrame(unit);
        return onlyFrame();
    }

    const FRAME_PRO &onlyFrame()
    {
        static const FRAME_PRO none = FRAME_PRO();
        EXPECT_EQ(master.frameList.size(), 1);
        return master.frameList.isEmpty() ? none : master.frameList.first();
    }

    void expectNoWrite(const VARIABLE &unit)
    {
        master.frameList.clear();
        master.getWriteFrame(unit);
        EXPECT_TRUE(master.frameList.isEmpty())
            << unit.regType.toStdString() << ", station " << unit.station << ", count " << unit.count;
    }

    Modbus_rtu_master master;
};

typedef FrameBuilders ReadFrames;
typedef FrameBuilders WriteFrames;
typedef FrameBuilders BitWriteFrames;

const char *const AllTypes[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};

// --- golden frames ----------------------------------------------------------------

struct Golden
{
    const char *name;
    const char *type;
    int startAddr;
    int count;
    const char *data; // null for a read
    const char *frame;
};

// The worked examples of the public protocol description, asked of station 17.
const Golden goldenFrames[] = {
    {"read coils 20-38", "0x", 19, 19, nullptr, "11 01 00 13 00 13 8E 92"},
    {"read discrete inputs 197-218", "1x", 196, 22, nullptr, "11 02 00 C4 00 16 BA A9"},
    {"read holding registers 108-110", "4x", 107, 3, nullptr, "11 03 00 6B 00 03 76 87"},
    {"read input register 9", "3x", 8, 1, nullptr, "11 04 00 08 00 01 B2 98"},
    {"write coil 173 on", "0x", 172, 1, "01", "11 05 00 AC FF 00 4E 8B"},
    {"write register 2 to 3", "4x", 1, 1, "03 00", "11 06 00 01 00 03 9A 9B"},
    {"write coils 20-29", "0x", 19, 10, "01 00 01 01 00 00 01 01 01 00", "11 0F 00 13 00 0A 02 CD 01 BF 0B"},
    {"write registers 2-3", "4x", 1, 2, "0A 00 02 01", "11 10 00 01 00 02 04 00 0A 01 02 C6 F0"},
    // No example of the description, which knows no such request; a host that asks for it gets it.
    {"write no coils at 20", "0x", 19, 0, "", "11 0F 00 13 00 00 00 1E 7A"},
};

TEST_F(FrameBuilders, GoldenFrames)
{
    for (const Golden &golden : goldenFrames) {
        const bool isRead = golden.data == nullptr;
        const VARIABLE unit =
            variable(17, golden.type, golden.startAddr, golden.count, isRead ? Bytes() : payload(golden.data));
        EXPECT_EQ(requestBytes(isRead ? read(unit) : write(unit)), bytes(golden.frame)) << golden.name;
    }
}

// The answers of the same examples are good, and each with a flipped bit is bad.
TEST_F(FrameBuilders, GoldenReplies)
{
    const char *const replies[] = {"11 01 03 CD 6B 05", "11 02 03 AC DB 35", "11 03 06 02 2B 00 00 00 64",
                                   "11 04 02 00 0A",    "11 05 00 AC FF 00", "11 06 00 01 00 03",
                                   "11 0F 00 13 00 0A", "11 10 00 01 00 02", "11 0F 00 13 00 00"};
    static_assert(std::size(replies) == std::size(goldenFrames), "each example has its answer");
    for (size_t i = 0; i < std::size(replies); ++i) {
        const Golden &golden = goldenFrames[i];
        const bool isRead = golden.data == nullptr;
        const VARIABLE unit =
            variable(17, golden.type, golden.startAddr, golden.count, isRead ? Bytes() : payload(golden.data));
        isRead ? read(unit) : write(unit);
        QByteArray reply = adu(replies[i]);
        const unsigned char *content = reinterpret_cast<const unsigned char *>(reply.constData());
        const int length = static_cast<int>(reply.size());
        EXPECT_EQ(master.check_rcv_data(content, length), isRead ? 1 : 2) << golden.name;
        for (int bit = 0; bit < 8 * length; ++bit) {
            QByteArray damaged = reply;
            damaged[bit / 8] = static_cast<char>(damaged.at(bit / 8) ^ (1 << bit % 8));
            EXPECT_EQ(master.check_rcv_data(reinterpret_cast<const unsigned char *>(damaged.constData()), length), 0)
                << golden.name << ", bit " << bit;
        }
    }
}

// --- reads ------------------------------------------------------------------------

TEST_F(ReadFrames, TenHoldingRegisters)
{
    const FRAME_PRO &frame = read(variable(1, "4x", 0, 10));
    EXPECT_EQ(requestBytes(frame), bytes("01 03 00 00 00 0A C5 CD"));
    EXPECT_EQ(frame.frameLen, 8);
    EXPECT_EQ(frame.replyLen, 25);
    EXPECT_EQ(frame.frameKind, 3);
    EXPECT_EQ(frame.dataLen, 20);
}

TEST_F(ReadFrames, TenCoils)
{
    const FRAME_PRO &frame = read(variable(1, "0x", 0, 10));
    EXPECT_EQ(requestBytes(frame), adu("01 01 00 00 00 0A"));
    EXPECT_EQ(frame.frameLen, 8);
    EXPECT_EQ(frame.replyLen, 7);
    EXPECT_EQ(frame.frameKind, 3);
    EXPECT_EQ(frame.dataLen, 10);
}

TEST_F(ReadFrames, ReplyLengthOfCoilsIsRoundedUp)
{
    const int counts[][2] = {{1, 6}, {7, 6}, {8, 6}, {9, 7}, {16, 7}, {17, 8}, {2000, 255}};
    for (const auto &count : counts)
        for (const char *type : {"0x", "1x"}) {
            const FRAME_PRO &frame = read(variable(1, type, 0, count[0]));
            EXPECT_EQ(frame.replyLen, count[1]) << type << " " << count[0];
            EXPECT_EQ(frame.dataLen, count[0]) << type << " " << count[0];
        }
}

TEST_F(ReadFrames, FunctionCodes)
{
    const int functions[] = {1, 2, 4, 3, 4, 3, 4, 3};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(read(variable(1, AllTypes[i], 0, 2)).frame[1], functions[i]) << AllTypes[i];
    EXPECT_EQ(read(variable(1, "5x", 0, 2)).frame[1], 3);
    EXPECT_EQ(read(variable(1, "", 0, 2)).frame[1], 3);
}

TEST_F(ReadFrames, UnknownTypesExpectRegisters)
{
    const FRAME_PRO &frame = read(variable(1, "5x", 0, 2));
    EXPECT_EQ(frame.replyLen, 9);
    EXPECT_EQ(frame.dataLen, 4);
}

TEST_F(ReadFrames, Station0BuildsNothing)
{
    for (const char *type : AllTypes) {
        master.getReadFrame(variable(0, type, 0, 2));
        EXPECT_TRUE(master.frameList.isEmpty()) << type;
    }
}

TEST_F(ReadFrames, FieldsTakeTheirLowBits)
{
    EXPECT_EQ(requestBytes(read(variable(0x1FE, "4x", 0x1ABCD, 0x21234))), adu("FE 03 AB CD 12 34"));
    EXPECT_EQ(requestBytes(read(variable(-1, "4x", -1, 1))), adu("FF 03 FF FF 00 01"));
    EXPECT_EQ(requestBytes(read(variable(256, "4x", 0, 1))), adu("00 03 00 00 00 01"));
}

TEST_F(ReadFrames, CountOfZeroExpectsAnEmptyAnswer)
{
    for (const char *type : AllTypes) {
        const FRAME_PRO &frame = read(variable(1, type, 0, 0));
        EXPECT_EQ(frame.replyLen, 5) << type;
        EXPECT_EQ(frame.dataLen, 0) << type;
        const QByteArray reply = adu("01 03 00");
        EXPECT_EQ(master.check_rcv_data(reinterpret_cast<const unsigned char *>(reply.constData()), 5),
                  static_cast<int>(GoodReplyWithoutData));
    }
}

TEST_F(ReadFrames, UnitIsCarried)
{
    VARIABLE unit = variable(1, "3x_double", 7, 4, payload("01 02 03"));
    unit.userData = 42;
    unit.data[1023] = 0x99;
    const FRAME_PRO &frame = read(unit);
    EXPECT_EQ(frame.var.userData, 42);
    EXPECT_EQ(frame.var.station, 1);
    EXPECT_EQ(frame.var.regType, QString::fromLatin1("3x_double"));
    EXPECT_EQ(frame.var.startAddr, 7);
    EXPECT_EQ(frame.var.count, 4);
    EXPECT_EQ(frame.var.data[2], 3);
    EXPECT_EQ(frame.var.data[1023], 0x99);
}

TEST_F(ReadFrames, FramesAreAppended)
{
    master.getReadFrame(variable(1, "4x", 0, 1));
    master.getReadFrame(variable(2, "4x", 0, 1));
    ASSERT_EQ(master.frameList.size(), 2);
    EXPECT_EQ(master.frameList.at(0).frame[0], 1);
    EXPECT_EQ(master.frameList.at(1).frame[0], 2);
}

TEST_F(ReadFrames, CountsAtTheLimitsDoNotTrap)
{
    const int counts[] = {INT_MAX, INT_MAX - 1, INT_MIN, INT_MIN + 1, -1, -8, 0x40000000, 0x7FFFFFFD};
    for (const char *type : AllTypes)
        for (int count : counts) {
            const FRAME_PRO &frame = read(variable(1, type, INT_MIN, count));
            EXPECT_EQ(frame.frameLen, 8) << type << " " << count;
            EXPECT_EQ(requestBytes(frame), withCrc(requestBytes(frame).left(6))) << type << " " << count;
        }
}

// --- writes of coils --------------------------------------------------------------

TEST_F(WriteFrames, SingleCoil)
{
    const FRAME_PRO &frame = write(variable(1, "0x", 3, 1, payload("01")));
    EXPECT_EQ(requestBytes(frame), bytes("01 05 00 03 FF 00 7C 3A"));
    EXPECT_EQ(frame.frameLen, 8);
    EXPECT_EQ(frame.replyLen, 8);
    EXPECT_EQ(frame.frameKind, 0);
    EXPECT_EQ(frame.dataLen, 0);
}

TEST_F(WriteFrames, SingleCoilIsOnForTheValueOneOnly)
{
    for (int value = 0; value < 256; ++value) {
        const Bytes data(1, static_cast<unsigned char>(value));
        EXPECT_EQ(requestBytes(write(variable(1, "0x", 3, 1, data))),
                  adu(value == 1 ? "01 05 00 03 FF 00" : "01 05 00 03 00 00"))
            << value;
    }
}

TEST_F(WriteFrames, CoilsArePackedFromBit0)
{
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 2, payload("01 00")))), adu("01 0F 00 00 00 02 01 01"));
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 8, payload("00 00 00 00 00 00 00 01")))),
              adu("01 0F 00 00 00 08 01 80"));
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 9, payload("01 01 01 01 01 01 01 01 01")))),
              adu("01 0F 00 00 00 09 02 FF 01"));
}

TEST_F(WriteFrames, LastByteHoldsOnlyTheRemainingCoils)
{
    const Bytes ones(16, 1); // the payload goes on behind the count
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 11, ones))), adu("01 0F 00 00 00 0B 02 FF 07"));
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 16, ones))), adu("01 0F 00 00 00 10 02 FF FF"));
}

TEST_F(WriteFrames, OtherCoilValuesSpillIntoTheNextBits)
{
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 3, payload("02 00 00")))), adu("01 0F 00 00 00 03 01 02"));
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 3, payload("03 01 00")))), adu("01 0F 00 00 00 03 01 05"));
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 2, payload("FF 01")))), adu("01 0F 00 00 00 02 01 01"));
    EXPECT_EQ(requestBytes(write(variable(1, "0x", 0, 9, payload("00 00 00 00 00 00 00 02 00")))),
              adu("01 0F 00 00 00 09 02 00 00"))
        << "never into the next byte";
}

TEST_F(WriteFrames, CoilFrameCounts)
{
    const int counts[][2] = {{2, 10}, {8, 10}, {9, 11}, {1016, 136}, {1024, 137}};
    for (const auto &count : counts) {
        const FRAME_PRO &frame = write(variable(1, "0x", 0, count[0]));
        EXPECT_EQ(frame.frameLen, count[1]) << count[0];
        EXPECT_EQ(frame.frame[6], count[1] - 9) << count[0];
        EXPECT_EQ(frame.replyLen, 8) << count[0];
        EXPECT_EQ(frame.frameKind, 0) << count[0];
        EXPECT_EQ(frame.dataLen, 0) << count[0];
    }
}

// --- writes of registers ----------------------------------------------------------

TEST_F(WriteFrames, SingleRegister)
{
    const FRAME_PRO &frame = write(variable(1, "4x", 0x10, 1, payload("34 12")));
    EXPECT_EQ(requestBytes(frame), adu("01 06 00 10 12 34"));
    EXPECT_EQ(frame.frameLen, 8);
    EXPECT_EQ(frame.replyLen, 8);
    EXPECT_EQ(frame.frameKind, 0);
    EXPECT_EQ(frame.dataLen, 0);
    EXPECT_EQ(requestBytes(write(variable(1, "4x_double", 0x10, 1, payload("34 12")))), adu("01 06 00 10 12 34"));
}

TEST_F(WriteFrames, RegistersHaveTheHighByteFirst)
{
    const FRAME_PRO &frame = write(variable(1, "4x", 0x1234, 3, payload("02 01 04 03 06 05")));
    EXPECT_EQ(requestBytes(frame), adu("01 10 12 34 00 03 06 01 02 03 04 05 06"));
    EXPECT_EQ(frame.frameLen, 15);
    EXPECT_EQ(frame.replyLen, 8);
    EXPECT_EQ(frame.frameKind, 0);
    EXPECT_EQ(frame.dataLen, 0);
}

TEST_F(WriteFrames, DoublesHaveTheHighWordFirst)
{
    EXPECT_EQ(requestBytes(write(variable(1, "4x_double", 0, 2, payload("78 56 34 12")))),
              adu("01 10 00 00 00 02 04 12 34 56 78"));
    EXPECT_EQ(requestBytes(write(variable(1, "4x_double", 0, 4, payload("78 56 34 12 F0 DE BC 9A")))),
              adu("01 10 00 00 00 04 08 12 34 56 78 9A BC DE F0"));
}

TEST_F(WriteFrames, TrailingOddRegisterOfDoublesGoesPlain)
{
    EXPECT_EQ(requestBytes(write(variable(1, "4x_double", 0, 3, payload("78 56 34 12 CD AB EE EE")))),
              adu("01 10 00 00 00 03 06 12 34 56 78 AB CD"));
}

TEST_F(WriteFrames, ByteCountOfManyRegistersWraps)
{
    const int counts[] = {2, 100, 123, 126, 127, 128, 129, 200, 255, 256, 257, 383, 384, 500, 507, 508, 509, 512};
    for (const char *type : {"4x", "4x_double"})
        for (int count : counts) {
            VARIABLE unit = variable(1, type, 0, count);
            for (int i = 0; i < ModbusRtuRecordBytes; ++i)
                unit.data[i] = static_cast<unsigned char>(i * 3 + 1);
            const FRAME_PRO &frame = write(unit);
            const int byteCount = (count * 2) & 0xFF;
            EXPECT_EQ(frame.frame[6], byteCount) << type << " " << count;
            EXPECT_EQ(frame.frameLen, byteCount + 9) << type << " " << count;
            EXPECT_EQ(requestBytes(frame), withCrc(requestBytes(frame).left(byteCount + 7))) << type << " " << count;
            EXPECT_EQ(frame.frame[4] * 256 + frame.frame[5], count) << type << " " << count;
            EXPECT_EQ(frame.replyLen, 8) << type << " " << count;
        }
}

TEST_F(WriteFrames, RegistersOfAWrappedFrameAreTheFirstOnes)
{
    VARIABLE unit = variable(1, "4x", 0, 130, payload("02 01 04 03 06 05"));
    EXPECT_EQ(requestBytes(write(unit)), adu("01 10 00 00 00 82 04 01 02 03 04"));
    unit.count = 128;
    EXPECT_EQ(requestBytes(write(unit)), adu("01 10 00 00 00 80 00"));
}

TEST_F(WriteFrames, NoRegistersNoFrame)
{
    const int counts[] = {0, -1, -2, -128, -256, INT_MIN + 1, INT_MIN};
    for (int count : counts) {
        expectNoWrite(variable(1, "4x", 0, count));
        expectNoWrite(variable(1, "4x_double", 0, count));
        expectNoWrite(variable(0, "4x", 0, count));
    }
}

TEST_F(WriteFrames, OtherTypesBuildNothing)
{
    const char *const types[] = {"1x", "3x", "3x_bit", "3x_double", "5x", "", "4X", "0X", "4x_Bit", "4x_double "};
    for (const char *type : types)
        for (int station : {0, 1})
            for (int count : {1, 2})
                expectNoWrite(variable(station, type, 0, count));
}

TEST_F(WriteFrames, BroadcastsExpectNoReply)
{
    struct Broadcast
    {
        const char *type;
        int count;
        const char *data;
        const char *frame;
    };
    const Broadcast broadcasts[] = {
        {"0x", 1, "01", "00 05 00 07 FF 00"},
        {"0x", 3, "01 00 01", "00 0F 00 07 00 03 01 05"},
        {"4x", 1, "34 12", "00 06 00 07 12 34"},
        {"4x", 2, "34 12 78 56", "00 10 00 07 00 02 04 12 34 56 78"},
        {"4x_double", 1, "34 12", "00 06 00 07 12 34"},
        {"4x_double", 2, "34 12 78 56", "00 10 00 07 00 02 04 56 78 12 34"},
    };
    for (const Broadcast &b : broadcasts) {
        const FRAME_PRO &frame = write(variable(0, b.type, 7, b.count, payload(b.data)));
        EXPECT_EQ(requestBytes(frame), adu(b.frame)) << b.frame;
        EXPECT_EQ(frame.replyLen, 0) << b.frame;
        EXPECT_EQ(frame.dataLen, 0) << b.frame;
    }
}

TEST_F(WriteFrames, UnitIsCarried)
{
    VARIABLE unit = variable(1, "4x", 7, 2, payload("01 02 03 04"));
    unit.userData = 42;
    unit.data[1023] = 0x99;
    const FRAME_PRO &frame = write(unit);
    EXPECT_EQ(frame.var.userData, 42);
    EXPECT_EQ(frame.var.regType, QString::fromLatin1("4x"));
    EXPECT_EQ(frame.var.startAddr, 7);
    EXPECT_EQ(frame.var.count, 2);
    EXPECT_EQ(frame.var.data[1023], 0x99);
}

// --- bits of registers: read, then write ------------------------------------------

TEST_F(BitWriteFrames, ReadThenWriteOfTheSameRegister)
{
    master.getWriteFrame(variable(1, "4x_bit", 0x25, 4, payload("01 00 01 01")));
    ASSERT_EQ(master.frameList.size(), 2);
    const FRAME_PRO &readHalf = master.frameList.at(0);
    EXPECT_EQ(requestBytes(readHalf), adu("01 03 00 02 00 01"));
    EXPECT_EQ(readHalf.frameLen, 8);
    EXPECT_EQ(readHalf.replyLen, 7);
    EXPECT_EQ(readHalf.frameKind, 3);
    EXPECT_EQ(readHalf.dataLen, 2);
    const FRAME_PRO &writeHalf = master.frameList.at(1);
    EXPECT_EQ(requestBytes(writeHalf), adu("01 10 00 02 00 01 02 00 01"));
    EXPECT_EQ(writeHalf.frameLen, 11);
    EXPECT_EQ(writeHalf.replyLen, 8);
    EXPECT_EQ(writeHalf.frameKind, 0);
    EXPECT_EQ(writeHalf.dataLen, 0);
}

TEST_F(BitWriteFrames, QuantityCoversTheBits)
{
    const int ranges[][3] = {{0, 1, 1},   {0, 16, 1}, {0, 17, 2}, {15, 1, 1}, {15, 2, 2},    {15, 17, 2},
                             {15, 18, 3}, {5, 11, 1}, {5, 12, 2}, {35, 2, 1}, {0, 1024, 64}, {1, 1024, 65}};
    for (const auto &range : ranges) {
        master.frameList.clear();
        master.getWriteFrame(variable(1, "4x_bit", range[0], range[1]));
        ASSERT_EQ(master.frameList.size(), 2);
        for (int half = 0; half < 2; ++half) {
            const FRAME_PRO &frame = master.frameList.at(half);
            EXPECT_EQ(frame.frame[2] * 256 + frame.frame[3], range[0] / 16) << range[0] << " " << range[1];
            EXPECT_EQ(frame.frame[4] * 256 + frame.frame[5], range[2]) << range[0] << " " << range[1];
            EXPECT_EQ(requestBytes(frame), withCrc(requestBytes(frame).left(frame.frameLen - 2)));
        }
        EXPECT_EQ(master.frameList.at(0).replyLen, range[2] * 2 + 5);
        EXPECT_EQ(master.frameList.at(0).dataLen, range[2] * 2);
        EXPECT_EQ(master.frameList.at(1).frame[6], range[2] * 2);
        EXPECT_EQ(master.frameList.at(1).frameLen, range[2] * 2 + 9);
    }
}

TEST_F(BitWriteFrames, BothHalvesCarryTheUnitItself)
{
    VARIABLE unit = variable(1, "4x_bit", 0x25, 4, payload("01 00 01 01"));
    unit.userData = 42;
    master.getWriteFrame(unit);
    ASSERT_EQ(master.frameList.size(), 2);
    for (int half = 0; half < 2; ++half) {
        const VARIABLE &carried = master.frameList.at(half).var;
        EXPECT_EQ(carried.userData, 42);
        EXPECT_EQ(carried.station, 1);
        EXPECT_EQ(carried.regType, QString::fromLatin1("4x_bit"));
        EXPECT_EQ(carried.startAddr, 0x25);
        EXPECT_EQ(carried.count, 4);
        EXPECT_EQ(carried.data[3], 1);
    }
}

TEST_F(BitWriteFrames, Station0BuildsNothing)
{
    expectNoWrite(variable(0, "4x_bit", 0x25, 4));
    expectNoWrite(variable(0, "4x_bit", 0, 1));
}

struct NoRegistersCase
{
    int start;
    int count;
    const char *read;
    int replyLen;
    const char *write; ///< without CRC; a write too short for one has none
    int writeLen;
};

// No registers, or fewer: the quantities are what the sums give.
TEST_F(BitWriteFrames, RangesOfNoRegistersHaveBothHalves)
{
    const NoRegistersCase cases[] = {
        {32, 0, "01 03 00 02 00 00", 5, "01 10 00 02 00 00 00", 9},
        {-1, 1, "01 03 00 00 00 00", 5, "01 10 00 00 00 00 00", 9},
        {-20, 1, "01 03 FF FF 00 00", 5, "01 10 FF FF 00 00 00", 9},
        {32, -15, "01 03 00 02 00 00", 5, "01 10 00 02 00 00 00", 9},
        {32, -16, "01 03 00 02 FF FF", 3, "01 10 00 02 FF", 7},
        {32, -33, "01 03 00 02 FF FE", 1, "01 10 00", 5},
        {32, -48, "01 03 00 02 FF FD", -1, "01", 3},
        {32, -64, "01 03 00 02 FF FC", -3, "", 1},
        {32, -80, "01 03 00 02 FF FB", -5, "", 0},
    };
    for (const NoRegistersCase &c : cases) {
        SCOPED_TRACE(::testing::Message() << c.start << " " << c.count);
        master.frameList.clear();
        master.getWriteFrame(variable(1, "4x_bit", c.start, c.count, Bytes(1024, 1)));
        ASSERT_EQ(master.frameList.size(), 2);
        const FRAME_PRO &readHalf = master.frameList.at(0);
        EXPECT_EQ(requestBytes(readHalf), adu(c.read));
        EXPECT_EQ(readHalf.replyLen, c.replyLen);
        EXPECT_EQ(readHalf.dataLen, c.replyLen - 5);
        EXPECT_EQ(readHalf.frameKind, 3);
        const FRAME_PRO &writeHalf = master.frameList.at(1);
        EXPECT_EQ(writeHalf.frameLen, c.writeLen);
        EXPECT_EQ(writeHalf.replyLen, 8);
        if (c.writeLen > 2) {
            EXPECT_EQ(requestBytes(writeHalf), adu(c.write));
        }
    }
}

TEST_F(BitWriteFrames, RangesOfAnySizeStayInsideTheFrame)
{
    const int counts[] = {8096, 8112, 8113, 8120, 8128, 9000, 65536, 1048576, INT_MAX, INT_MAX - 15, -1, -100, INT_MIN};
    const int starts[] = {0, 15, -1, INT_MAX, INT_MIN};
    for (int count : counts)
        for (int start : starts) {
            master.frameList.clear();
            master.getWriteFrame(variable(1, "4x_bit", start, count));
            ASSERT_EQ(master.frameList.size(), 2) << start << " " << count;
            for (int half = 0; half < master.frameList.size(); ++half) {
                const FRAME_PRO &frame = master.frameList.at(half);
                ASSERT_GE(frame.frameLen, 0);
                ASSERT_LE(frame.frameLen, 1024);
                if (frame.frameLen >= 2) {
                    EXPECT_EQ(requestBytes(frame), withCrc(requestBytes(frame).left(frame.frameLen - 2)));
                }
            }
        }
}

TEST_F(WriteFrames, CoilsOfAnySizeStayInsideTheFrame)
{
    const int counts[] = {1025, 2040, 2041, 8112, 8120, 8121, 8192, 65536, INT_MAX, INT_MAX - 7, 0, -1, -8, INT_MIN};
    for (int count : counts) {
        master.frameList.clear();
        master.getWriteFrame(variable(1, "0x", 0, count));
        for (int i = 0; i < master.frameList.size(); ++i) {
            const FRAME_PRO &frame = master.frameList.at(i);
            ASSERT_GE(frame.frameLen, 0) << count;
            ASSERT_LE(frame.frameLen, 1024) << count;
            if (frame.frameLen >= 2) {
                EXPECT_EQ(requestBytes(frame), withCrc(requestBytes(frame).left(frame.frameLen - 2))) << count;
            }
        }
    }
}

// As of bits: a count below zero has the lengths that its byte count gives.
TEST_F(WriteFrames, FewerCoilsThanNoneMakeTheFrameShorter)
{
    const struct
    {
        int count;
        const char *frame; // without CRC; one too short for it has none
        int length;
    } cases[] = {
        {0, "01 0F 00 20 00 00 00", 9},
        {-7, "01 0F 00 20 FF F9 00", 9},
        {-8, "01 0F 00 20 FF F8", 8},
        {-15, "01 0F 00 20 FF F1", 8},
        {-16, "01 0F 00 20 FF", 7},
        {-56, "", 2},
        {-64, "", 1},
        {-72, "", 0},
        {-80, "", 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.count);
        const FRAME_PRO &frame = write(variable(1, "0x", 32, c.count, Bytes(1024, 1)));
        EXPECT_EQ(frame.frameLen, c.length);
        EXPECT_EQ(frame.replyLen, 8);
        if (c.length >= 2) {
            EXPECT_EQ(requestBytes(frame), adu(c.frame));
        }
    }
}

TEST_F(WriteFrames, CoilsBehindThePayloadAreOff)
{
    const FRAME_PRO &frame = write(variable(1, "0x", 0, 1040, Bytes(1024, 1)));
    ASSERT_EQ(frame.frameLen, 130 + 9);
    EXPECT_EQ(frame.frame[7 + 127], 0xFF);
    EXPECT_EQ(frame.frame[7 + 128], 0x00);
    EXPECT_EQ(frame.frame[7 + 129], 0x00);
}

TEST_F(WriteFrames, RegistersOfAnySizeStayInsideTheFrame)
{
    const int counts[] = {508, 509, 511, 512, 513, 65535, 65536, 65537, INT_MAX, INT_MAX - 1, 0x40000001};
    for (const char *type : {"4x", "4x_double"})
        for (int count : counts) {
            const FRAME_PRO &frame = write(variable(1, type, 0, count));
            EXPECT_EQ(frame.frameLen, static_cast<int>((2u * static_cast<unsigned int>(count)) & 0xFFu) + 9) << count;
            EXPECT_EQ(requestBytes(frame), withCrc(requestBytes(frame).left(frame.frameLen - 2))) << count;
        }
}

} // namespace
