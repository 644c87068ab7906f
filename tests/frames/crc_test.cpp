// The CRC of the serial line.

#include "frames/crc.h"
#include "support/driver_fixture.h"

#include <random>

namespace {

using namespace support;

typedef std::vector<unsigned char> Bytes;

unsigned int crcOf(const Bytes &content)
{
    return modbusCrc16(content.data(), static_cast<int>(content.size()));
}

// Worked examples of public documents, sent low byte first.
TEST(Crc, PublicExamples)
{
    EXPECT_EQ(crcOf(payload("02 07")), 0x1241u) << "serial line guide, appendix B";
    EXPECT_EQ(crcOf(payload("31 32 33 34 35 36 37 38 39")), 0x4B37u) << "the check value of the CRC catalogues";
    EXPECT_EQ(crcOf(payload("01 03 00 00 00 0A")), 0xCDC5u);
    EXPECT_EQ(crcOf(payload("01 05 00 03 FF 00")), 0x3A7Cu);
    EXPECT_EQ(crcOf(payload("11 03 00 6B 00 03")), 0x8776u);
    EXPECT_EQ(crcOf(payload("11 10 00 01 00 02 04 00 0A 01 02")), 0xF0C6u);
}

TEST(Crc, NothingGivesTheInitialValue)
{
    const unsigned char byte = 0x55;
    EXPECT_EQ(modbusCrc16(&byte, 0), 0xFFFFu);
    EXPECT_EQ(modbusCrc16(nullptr, 0), 0xFFFFu);
    EXPECT_EQ(modbusCrc16(&byte, -1), 0xFFFFu);
    EXPECT_EQ(modbusCrc16(&byte, -2147483647 - 1), 0xFFFFu);
}

TEST(Crc, EverySingleByte)
{
    for (int value = 0; value < 256; ++value) {
        const unsigned char byte = static_cast<unsigned char>(value);
        EXPECT_EQ(modbusCrc16(&byte, 1), support::crcOf(&byte, 1)) << value;
    }
}

// Exact allocations, so that reading ahead of the end is seen, at every
// alignment that a frame can have.
TEST(Crc, EqualsTheBitwiseDefinitionForEveryLength)
{
    const unsigned int seed = 19791029;
    std::mt19937 random(seed);
    for (int length = 0; length <= 1024; ++length)
        for (int shift = 0; shift < 4; ++shift) {
            Bytes content(static_cast<size_t>(length + shift));
            for (size_t i = 0; i < content.size(); ++i)
                content[i] = static_cast<unsigned char>(random());
            const unsigned char *start = content.data() + shift;
            ASSERT_EQ(modbusCrc16(start, length), support::crcOf(start, length))
                << "length " << length << ", shift " << shift << ", seed " << seed;
        }
}

TEST(Crc, UniformContentOfEveryLength)
{
    for (int value : {0x00, 0xFF, 0x80, 0x01}) {
        const Bytes content(1024, static_cast<unsigned char>(value));
        for (int length = 0; length <= 1024; ++length)
            ASSERT_EQ(modbusCrc16(content.data(), length), support::crcOf(content.data(), length)) << value << length;
    }
}

TEST(Crc, EveryFlippedBitIsSeen)
{
    Bytes frame = payload("01 03 14 00 01 00 02 00 03 00 04 00 05 00 06 00 07 00 08 00 09 00 0A");
    const unsigned int right = crcOf(frame);
    for (size_t i = 0; i < frame.size(); ++i)
        for (int bit = 0; bit < 8; ++bit) {
            frame[i] = static_cast<unsigned char>(frame[i] ^ (1 << bit));
            EXPECT_NE(crcOf(frame), right) << "byte " << i << " bit " << bit;
            frame[i] = static_cast<unsigned char>(frame[i] ^ (1 << bit));
        }
}

TEST(Crc, OfAFrameWithItsCrcIsZero)
{
    const QByteArray frame = adu("01 03 00 00 00 0A");
    EXPECT_EQ(modbusCrc16(reinterpret_cast<const unsigned char *>(frame.constData()), 8), 0u);
}

TEST(Crc, IsAppendedLowByteFirst)
{
    Bytes frame = payload("01 03 00 00 00 0A EE EE");
    appendCrc(frame.data(), 6);
    EXPECT_EQ(frame, payload("01 03 00 00 00 0A C5 CD"));
}

} // namespace
