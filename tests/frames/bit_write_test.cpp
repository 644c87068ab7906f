// Writing of bits in holding registers: the registers are read, the bits changed
// in the bytes of the reply, and the registers written back.

#include "support/slave_fixture.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using support::adu;
using support::Change;
using support::Changes;
using support::payload;
using support::requestBytes;
using support::unitsText;
using support::variable;
using support::wordsReply;

namespace {

class BitWrite : public support::SlaveFixture
{
protected:
    /** Queues a write of bits; the driver copies two bytes a bit. */
    void writeBits(int start, const std::vector<unsigned char> &bits)
    {
        std::vector<unsigned char> data(bits);
        data.resize(2 * bits.size());
        setData(1, "4x_bit", start, static_cast<int>(bits.size()), data);
        recorder.take();
    }

    /** Hands out the read half and answers it; the reply as the driver left it. */
    QByteArray answerReadHalf(QByteArray reply)
    {
        nextFrame();
        QString text;
        EXPECT_EQ(intf_dealRcvFrame(&reply, &text), ReplyAccepted);
        EXPECT_EQ(text, QString());
        return reply;
    }

    static Change bitChange(int address)
    {
        const Change made = {1, 1, QString::fromLatin1("4x_bit"), address};
        return made;
    }
};

typedef std::vector<unsigned char> Bits;

struct BitWriteCase
{
    const char *name;
    int start;
    Bits bits;
    const char *readRequest;
    std::vector<int> registers;
    const char *changedData; ///< data bytes of the reply as the driver leaves them
    const char *writeRequest;
};

void PrintTo(const BitWriteCase &c, std::ostream *out)
{
    *out << c.name;
}

class BitWriteCases : public BitWrite, public ::testing::WithParamInterface<BitWriteCase>
{
};

std::string bitWriteCaseName(const ::testing::TestParamInfo<BitWriteCase> &info)
{
    return info.param.name;
}

} // namespace

TEST_P(BitWriteCases, ReadsAndWritesBack)
{
    const BitWriteCase &c = GetParam();
    writeBits(c.start, c.bits);
    EXPECT_EQ(nextRequest(), adu(c.readRequest));

    const QByteArray reply = wordsReply(1, 3, c.registers);
    const QByteArray left = answerReadHalf(reply);
    const int dataBytes = static_cast<int>(2 * c.registers.size());
    EXPECT_EQ(left.mid(3, dataBytes), support::bytes(c.changedData)) << "registers low byte first, bits changed";
    EXPECT_EQ(left.left(3), reply.left(3));
    EXPECT_EQ(left.mid(3 + dataBytes), reply.mid(3 + dataBytes)) << "the CRC of the reply stays";

    const FRAME_PRO write = nextFrame();
    EXPECT_EQ(requestBytes(write), adu(c.writeRequest));
    EXPECT_EQ(write.replyLen, 8);
    EXPECT_EQ(deal(support::writeEcho(write)), ReplyAccepted);
    EXPECT_TRUE(driver.writeList.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Bits, BitWriteCases,
    ::testing::Values(
        BitWriteCase{
            "SetInTheLowByte", 0x25, Bits{1}, "01 03 00 02 00 01", {0x1240}, "60 12", "01 10 00 02 00 01 02 12 60"},
        BitWriteCase{
            "ClearInTheLowByte", 0x25, Bits{0}, "01 03 00 02 00 01", {0xFFFF}, "DF FF", "01 10 00 02 00 01 02 FF DF"},
        BitWriteCase{
            "SetInTheHighByte", 0x2D, Bits{1}, "01 03 00 02 00 01", {0x0001}, "01 20", "01 10 00 02 00 01 02 20 01"},
        BitWriteCase{
            "ClearInTheHighByte", 0x2F, Bits{0}, "01 03 00 02 00 01", {0xFFFF}, "FF 7F", "01 10 00 02 00 01 02 7F FF"},
        BitWriteCase{"AlreadySet", 0x20, Bits{1}, "01 03 00 02 00 01", {0xFFFF}, "FF FF", "01 10 00 02 00 01 02 FF FF"},
        BitWriteCase{"SeveralInOneRegister",
                     0x24,
                     Bits{1, 0, 1, 0, 1, 0},
                     "01 03 00 02 00 01",
                     {0x00F0},
                     "50 01",
                     "01 10 00 02 00 01 02 01 50"},
        BitWriteCase{"AcrossTwoRegisters",
                     0x2E,
                     Bits{1, 0, 1, 0},
                     "01 03 00 02 00 02",
                     {0x8001, 0xFF02},
                     "01 40 01 FF",
                     "01 10 00 02 00 02 04 40 01 FF 01"},
        BitWriteCase{"LastBitAndWholeNextRegister",
                     0x1F,
                     Bits(17, 1),
                     "01 03 00 01 00 02",
                     {0x0000, 0x0000},
                     "00 80 FF FF",
                     "01 10 00 01 00 02 04 80 00 FF FF"},
        BitWriteCase{"ExactlyOneRegister",
                     0x10,
                     Bits(16, 0),
                     "01 03 00 01 00 01",
                     {0xABCD},
                     "00 00",
                     "01 10 00 01 00 01 02 00 00"},
        BitWriteCase{
            "AnyNonzeroByteIsOn", 0x25, Bits{2}, "01 03 00 02 00 01", {0x0000}, "20 00", "01 10 00 02 00 01 02 00 20"},
        BitWriteCase{"HighestBitByteIsOn",
                     0x25,
                     Bits{0x80},
                     "01 03 00 02 00 01",
                     {0x0000},
                     "20 00",
                     "01 10 00 02 00 01 02 00 20"}),
    bitWriteCaseName);

// --- end to end ------------------------------------------------------------------------

TEST_F(BitWrite, NeighbourBitsAreUntouchedWhateverTheRegistersHold)
{
    support::SlaveTables &tables = slaves.station(1);
    for (int start = 0; start < 34; ++start) {
        for (int count : {1, 2, 7, 16, 17}) {
            for (int pattern : {0x0000, 0xFFFF, 0xA5C3}) {
                SCOPED_TRACE(::testing::Message() << start << "+" << count << " over " << pattern);
                tables.setHolding(0, {pattern, pattern, pattern, pattern});
                Bits bits;
                std::vector<int> expected(4, pattern);
                for (int k = 0; k < count; ++k) {
                    const int on = (k * 5 + start) % 3 == 0 ? 1 : 0;
                    const size_t at = static_cast<size_t>((start + k) / 16);
                    const int mask = 1 << ((start + k) % 16);
                    bits.push_back(static_cast<unsigned char>(on));
                    expected[at] = on != 0 ? expected[at] | mask : expected[at] & ~mask;
                }
                writeBits(start, bits);
                ASSERT_EQ(trace(3), "WW-");
                ASSERT_EQ(tables.holding(0, 4), expected);
            }
        }
    }
}

TEST_F(BitWrite, CacheFollowsTheAcknowledgedWrite)
{
    slaves.station(1).setHolding(2, {0x0F0F});
    writeBits(0x25, Bits{1});
    EXPECT_EQ(getData(1, "4x_bit", 0x25, 1, 1), payload("01"));
    EXPECT_EQ(trace(2), "WW");
    EXPECT_EQ(recorder.take(), Changes({bitChange(0x25)}));
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 0);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 0);
    EXPECT_EQ(getData(1, "4x_bit", 0x25, 1, 1), payload("01"));
}

TEST_F(BitWrite, EveryBitIsReportedWithTheStartOfTheRequest)
{
    slaves.station(1);
    writeBits(35, Bits{1, 0, 1});
    EXPECT_EQ(trace(2), "WW");
    EXPECT_EQ(recorder.take(), Changes({bitChange(35), bitChange(35), bitChange(35)}));
}

TEST_F(BitWrite, ValueOtherThanOneIsOnForTheSlaveAndOffInTheCache)
{
    slaves.station(1);
    writeBits(0x25, Bits{2});
    EXPECT_EQ(getData(1, "4x_bit", 0x25, 1, 1), payload("00"));
    EXPECT_EQ(trace(2), "WW");
    EXPECT_EQ(slaves.station(1).holding(2, 1), std::vector<int>(1, 0x20));
}

// --- the read half ---------------------------------------------------------------------

TEST_F(BitWrite, ReadHalfReportsNothingAndCachesNothing)
{
    writeBits(0x2E, Bits{1, 0, 1, 0});
    for (int address : {2, 3}) {
        makeArea(1, "4x", address).errorFlag = 1;
        makeArea(1, "4x", address).wordMonitor = 1;
        makeArea(1, "4x", address).bitMonitor = 0xFFFF;
    }
    const int areas = static_cast<int>(driver.dataAreas.size());
    const int writtenValue = area(1, "4x", 2).writtenValue;
    answerReadHalf(wordsReply(1, 3, {0x1234, 0x5678}));
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(driver.dataAreas.size(), areas);
    EXPECT_EQ(area(1, "4x", 2).readValue, 0);
    EXPECT_EQ(area(1, "4x", 2).writtenValue, writtenValue);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 1);
    EXPECT_EQ(area(1, "4x", 2).errorFlag, 0) << "the first register is alive again";
    EXPECT_EQ(area(1, "4x", 3).errorFlag, 1) << "only the first";
}

TEST_F(BitWrite, BothHalvesCarryTheRequestUnit)
{
    writeBits(0x2E, Bits{1, 0, 1, 0});
    const FRAME_PRO read = nextFrame();
    EXPECT_EQ(support::unitText(read.var), "1:4x_bit 46+4");
    EXPECT_EQ(read.var.data[2], 1);
    answerReadHalf(wordsReply(1, 3, {0, 0}));
    EXPECT_EQ(support::unitText(nextFrame().var), "1:4x_bit 46+4");
}

TEST_F(BitWrite, ReplyInHandHasItsRegistersTurnedRoundAndChangedAndNoByteMore)
{
    writeBits(0x25, Bits{1});
    const QByteArray reply = wordsReply(1, 3, {0x1240});
    QByteArray wanted = reply;
    wanted[3] = 0x60; // low byte first, bit 5 set; the CRC stays as it came
    wanted[4] = 0x12;
    EXPECT_EQ(answerReadHalf(reply), wanted);
}

TEST_F(BitWrite, HostsCopyOfTheReplyIsNotChangedWithIt)
{
    writeBits(0x25, Bits{1});
    const QByteArray kept = wordsReply(1, 3, {0x1240});
    const QByteArray shared = kept;
    answerReadHalf(shared);
    EXPECT_EQ(kept, wordsReply(1, 3, {0x1240}));
}

TEST_F(BitWrite, RepliesToOtherReadsAreLeftAlone)
{
    plan(support::keysOf("1:4x_bit 32+16"));
    nextFrame();
    QByteArray reply = wordsReply(1, 3, {0x1240});
    QString text;
    EXPECT_EQ(intf_dealRcvFrame(&reply, &text), ReplyAccepted);
    EXPECT_EQ(reply, wordsReply(1, 3, {0x1240}));
}

// --- failures ----------------------------------------------------------------------------

TEST_F(BitWrite, EachHalfHasItsOwnAttempts)
{
    slaves.station(1);
    writeBits(0x25, Bits{1});
    slaves.failNext(support::Silent, 2);
    slaves.failNext(support::NoFault);
    slaves.failNext(support::Silent, 2);
    EXPECT_EQ(trace(7), "wwWwwW-");
    EXPECT_EQ(slaves.station(1).holding(2, 1), std::vector<int>(1, 0x20));
}

TEST_F(BitWrite, FailedReadHalfDropsTheWriteHalfToo)
{
    makeArea(1, "4x", 2).readValue = 0x0001;
    writeBits(0x25, Bits{1});
    slaves.station(1);
    slaves.failNext(support::Silent, 3);
    EXPECT_EQ(trace(4), "www-");
    EXPECT_EQ(errorText, QString::fromLatin1("W,1#4x_bit3.5(1)"));
    EXPECT_EQ(slaves.requests.size(), 3u);
    EXPECT_EQ(recorder.take(), Changes({bitChange(0x25)}));
    EXPECT_EQ(getData(1, "4x_bit", 0x25, 1, 1), payload("00")) << "rolled back";
    EXPECT_TRUE(driver.writeList.isEmpty());
    // The area of the failure is named by the bit address of the request unit.
    EXPECT_EQ(area(1, "4x", 0x25).errorFlag, 1);
    EXPECT_EQ(area(1, "4x", 2).errorFlag, 0);
}

TEST_F(BitWrite, FailedWriteHalfIsRolledBackAndMarksNothing)
{
    slaves.station(1);
    writeBits(0x25, Bits{1});
    slaves.failNext(support::NoFault);
    slaves.failNext(support::Silent, 3);
    EXPECT_EQ(trace(5), "Wwww-");
    EXPECT_EQ(getData(1, "4x_bit", 0x25, 1, 1), payload("00"));
    for (int i = 0; i < static_cast<int>(driver.dataAreas.size()); ++i)
        EXPECT_EQ(driver.dataAreas.at(i).errorFlag, 0);
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(BitWrite, SecondWriteOfTheSameBitKeepsTheCacheWritten)
{
    slaves.station(1);
    writeBits(35, Bits{1});
    nextFrame();
    writeBits(35, Bits{0});
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 3 << 6);
    EXPECT_EQ(trace(2), "WW");
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 1 << 7);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 1);
    EXPECT_EQ(trace(2), "WW");
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 0);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 0);
    EXPECT_EQ(slaves.station(1).holding(2, 1), std::vector<int>(1, 0));
}

// --- what cannot be, and must not hurt ---------------------------------------------------------

TEST_F(BitWrite, MissingWriteHalfEndsTheTransaction)
{
    writeBits(0x25, Bits{1});
    nextFrame();
    driver.frameList.removeLast();
    EXPECT_EQ(deal(wordsReply(1, 3, {0x1240})), ReplyAccepted);
    EXPECT_TRUE(driver.frameList.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(BitWrite, WriteHalfLongerThanTheReplyIsFilledWithZeroes)
{
    writeBits(0x20, Bits(100, 1));
    EXPECT_EQ(nextFrame().replyLen, 19);
    driver.frameList[0].replyLen = 7;
    driver.frameList[0].dataLen = 2;
    EXPECT_EQ(deal(wordsReply(1, 3, {0x0000})), ReplyAccepted);
    const QByteArray written = nextRequest();
    EXPECT_EQ(written.mid(7, 2), support::bytes("FF FF"));
    EXPECT_EQ(written.mid(11, 10), QByteArray(10, '\0')) << "behind the last byte of the reply";
    EXPECT_EQ(written, support::withCrc(written.left(21)));
}

TEST_F(BitWrite, MoreBitsThanThePayloadHoldsStayInsideIt)
{
    init("1#0#0#3#2000");
    slaves.station(1);
    writeBits(0, Bits(1900, 1));
    EXPECT_EQ(trace(1), "W");
    const QByteArray request = nextRequest();
    EXPECT_EQ(request, support::withCrc(request.left(static_cast<int>(request.size()) - 2)));
    EXPECT_EQ(request.mid(7, 128), QByteArray(128, '\xFF')) << "the 1024 bits that the payload holds";
}

TEST_F(BitWrite, MoreRegistersThanAFrameHoldsStayInsideIt)
{
    init("1#0#0#3#20000");
    setData(1, "4x_bit", 0, 16000, std::vector<unsigned char>(32000, 1));
    const FRAME_PRO read = nextFrame();
    EXPECT_EQ(read.replyLen, 2005);
    EXPECT_EQ(deal(wordsReply(1, 3, std::vector<int>(1000, 0x5555))), ReplyAccepted);
    const FRAME_PRO write = nextFrame();
    EXPECT_LE(write.frameLen, 1024);
}

TEST_F(BitWrite, AddressesBelowZeroAreSurvived)
{
    for (int start : {-1, -3, -17, -2147483647 - 1}) {
        init("1#0#0#1#100");
        setData(1, "4x_bit", start, 20, std::vector<unsigned char>(40, 1));
        const FRAME_PRO read = nextFrame();
        if (read.frameLen == 0)
            continue;
        EXPECT_EQ(deal(wordsReply(1, 3, std::vector<int>(static_cast<size_t>(read.dataLen / 2), 0))), ReplyAccepted);
        const QByteArray request = nextRequest();
        EXPECT_EQ(request, support::withCrc(request.left(static_cast<int>(request.size()) - 2)));
    }
}

// --- no registers -------------------------------------------------------------------------

TEST_F(BitWrite, OfNothingEndsAndLetsTheNextWriteGo)
{
    slaves.station(1);
    setData(1, "4x_bit", 32, 0, "");
    writeBits(-1, Bits{1});
    setData(1, "4x", 7, 1, "05 00");
    ASSERT_EQ(driver.writeList.size(), 2) << "of no bits nothing is queued";
    EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 00"));
    EXPECT_EQ(deal(adu("01 03 00")), ReplyAccepted);
    EXPECT_EQ(nextRequest(), adu("01 10 00 00 00 00 00"));
    EXPECT_EQ(deal(adu("01 10 00 00 00 00")), ReplyAccepted);
    EXPECT_EQ(unitsText(driver.writeList), "1:4x 7+1");
    EXPECT_EQ(nextRequest(), adu("01 06 00 07 00 05"));
}

TEST_F(BitWrite, OfNothingThatNobodyAnswersIsGivenUp)
{
    writeBits(-1, Bits{1});
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(BitWrite, ShortestRepliesToFewerThanNoRegistersChangeNothing)
{
    init("1#0#0#3#-100");
    setData(1, "4x_bit", 32, -16, "");
    EXPECT_EQ(nextRequest(), adu("01 03 00 02 FF FF"));
    EXPECT_EQ(deal(adu("01")), ReplyAccepted);
    const FRAME_PRO write = nextFrame();
    EXPECT_EQ(requestBytes(write), adu("01 10 00 02 FF"));
    EXPECT_EQ(deal(support::writeEcho(write)), ReplyAccepted);
    EXPECT_TRUE(driver.writeList.isEmpty());
}
