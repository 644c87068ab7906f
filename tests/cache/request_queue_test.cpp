// What is queued for the slaves, asked for through host writes: the pieces of a range, and the bounds of the queue.

#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

typedef std::vector<unsigned char> Bytes;

// Distinct bytes, so that a slice tells where it was taken from.
Bytes numbered(int size)
{
    Bytes data(static_cast<size_t>(size));
    for (int i = 0; i < size; ++i)
        data[static_cast<size_t>(i)] = static_cast<unsigned char>(i * 11 + (i >> 8) + 1);
    return data;
}

// A whole payload: `size` bytes of a value, then zeros.
Bytes padded(int size, unsigned char value)
{
    Bytes whole(static_cast<size_t>(size), value);
    whole.resize(ModbusRtuRecordBytes, 0);
    return whole;
}

class WriteQueue : public DriverFixture
{
protected:
    static int queued() { return static_cast<int>(driver.writeList.size()); }

    static void expectUnit(int position, const char *type, int startAddr, int count)
    {
        ASSERT_LT(position, queued());
        const VARIABLE &unit = driver.writeList.at(position);
        EXPECT_EQ(unit.regType, QString::fromLatin1(type));
        EXPECT_EQ(unit.startAddr, startAddr);
        EXPECT_EQ(unit.count, count);
    }

    static Bytes unitData(int position, int size)
    {
        const VARIABLE &unit = driver.writeList.at(position);
        return Bytes(unit.data, unit.data + size);
    }

    // Fills the queue with writes to different registers.
    void fillQueue(int entries)
    {
        for (int i = 0; i < entries; ++i)
            setData(1, "4x", 1000 + 2 * i, 1, "07 00", i);
    }
};

// --- requests --------------------------------------------------------------

TEST_F(WriteQueue, ResultIsAlwaysOne)
{
    EXPECT_EQ(setData(1, "4x", 0, 1, "01 00"), 1);
    EXPECT_EQ(setData(1, "3x", 0, 1, "01 00"), 1);
    EXPECT_EQ(setData(1, "5x", 0, 1, "01 00"), 1);
    EXPECT_EQ(setData(1, "4x", 0, 0, ""), 1);
    driver.localWriteOnly = 1;
    EXPECT_EQ(setData(1, "4x", 0, 1, "01 00"), 1);
}

TEST_F(WriteQueue, UnitCarriesTheRequest)
{
    setData(9, "4x", 3, 2, "34 12 78 56", 4711);
    ASSERT_EQ(queued(), 1);
    const VARIABLE unit = driver.writeList.at(0);
    EXPECT_EQ(unit.userData, 4711);
    EXPECT_EQ(unit.station, 9);
    expectUnit(0, "4x", 3, 2);
    EXPECT_EQ(unitData(0, 4), payload("34 12 78 56"));
}

TEST_F(WriteQueue, RegistersAreSplitByTheRequestLimit)
{
    init("1#0#0#3#120");
    const Bytes data = numbered(500);
    setData(1, "4x", 10, 250, data, 5);
    ASSERT_EQ(queued(), 3);
    expectUnit(0, "4x", 10, 120);
    expectUnit(1, "4x", 130, 120);
    expectUnit(2, "4x", 250, 10);
    EXPECT_EQ(unitData(0, 240), Bytes(data.begin(), data.begin() + 240));
    EXPECT_EQ(unitData(1, 240), Bytes(data.begin() + 240, data.begin() + 480));
    EXPECT_EQ(unitData(2, 20), Bytes(data.begin() + 480, data.end()));
    EXPECT_EQ(driver.writeList.at(2).userData, 5);
}

TEST_F(WriteQueue, WholeMultiplesOfTheLimitHaveNoRemainder)
{
    setData(1, "4x", 0, 100, numbered(200));
    setData(1, "4x", 1000, 200, numbered(400));
    ASSERT_EQ(queued(), 3);
    expectUnit(0, "4x", 0, 100);
    expectUnit(1, "4x", 1000, 100);
    expectUnit(2, "4x", 1100, 100);
}

TEST_F(WriteQueue, DoublesAreSplitLikeRegisters)
{
    init("1#0#0#3#25");
    const Bytes data = numbered(60);
    setData(1, "4x_double", 10, 30, data);
    ASSERT_EQ(queued(), 2);
    expectUnit(0, "4x_double", 10, 25);
    expectUnit(1, "4x_double", 35, 5);
    EXPECT_EQ(unitData(1, 10), Bytes(data.begin() + 50, data.end()));
}

// Bits are counted and copied like registers: two bytes each.
TEST_F(WriteQueue, BitsAreSplitByTheRegisterLimitAndCopiedTwoBytesEach)
{
    const Bytes data = numbered(300);
    setData(1, "4x_bit", 5, 150, data);
    ASSERT_EQ(queued(), 2);
    expectUnit(0, "4x_bit", 5, 100);
    expectUnit(1, "4x_bit", 105, 50);
    EXPECT_EQ(unitData(0, 200), Bytes(data.begin(), data.begin() + 200));
    EXPECT_EQ(unitData(1, 100), Bytes(data.begin() + 200, data.end()));
}

TEST_F(WriteQueue, SingleBitIsOneUnit)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    ASSERT_EQ(queued(), 1);
    expectUnit(0, "4x_bit", 35, 1);
    EXPECT_EQ(unitData(0, 1), payload("01"));
}

TEST_F(WriteQueue, SingleCoilIsOneUnit)
{
    setData(1, "0x", 3, 1, "01");
    ASSERT_EQ(queued(), 1);
    expectUnit(0, "0x", 3, 1);
    EXPECT_EQ(unitData(0, 1), payload("01"));
    EXPECT_EQ(nextRequest(), bytes("01 05 00 03 FF 00 7C 3A"));
}

// Negative limits divide as signed numbers do, toward zero.
TEST_F(WriteQueue, NegativeLimitQueuesNothingOfALongerWrite)
{
    init("1#0#0#3#-10");
    setData(1, "4x", 7, 25, numbered(50));
    setData(1, "4x", 7, 10, numbered(20));
    setData(1, "4x", 7, 0, "");
    EXPECT_EQ(queued(), 0);
    EXPECT_EQ(getData(1, "4x", 7, 1, 2), payload("01 0C")) << "the cache shows it all the same";
}

TEST_F(WriteQueue, NegativeLimitQueuesAShorterWriteWhole)
{
    init("1#0#0#3#-10");
    const Bytes data = numbered(10);
    setData(1, "4x", 7, 5, data);
    ASSERT_EQ(queued(), 1);
    expectUnit(0, "4x", 7, 5);
    EXPECT_EQ(unitData(0, 10), data);
}

TEST_F(WriteQueue, NegativeLimitAndNegativeCountGiveNegativePiecesWithoutBytes)
{
    init("1#0#0#3#-10");
    setData(1, "4x", 100, -25, "");
    ASSERT_EQ(queued(), 3);
    expectUnit(0, "4x", 100, -10);
    expectUnit(1, "4x", 90, -10);
    expectUnit(2, "4x", 80, -5);
    EXPECT_EQ(unitData(2, 1024), Bytes(1024, 0));
}

TEST_F(WriteQueue, NegativeLimitOfOneAndTheLowestCounts)
{
    init("1#0#0#3#-1");
    setData(1, "4x", 100, INT_MIN, "");
    EXPECT_EQ(queued(), 0) << "as many requests as no 32-bit number holds";
    setData(1, "4x", 100, INT_MIN + 1, "");
    ASSERT_EQ(queued(), 513);
    expectUnit(511, "4x", 100 - 511, -1);
    expectUnit(512, "4x", INT_MIN + 100 + 2, -1);
}

TEST_F(WriteQueue, LongWriteGivesItsBytesToEveryEqualEntryOfTheFullQueue)
{
    init("1#0#0#3#1");
    fillQueue(513); // registers 1000, 1002, 1004...
    Bytes data = numbered(2 * 2000);
    setData(1, "4x", 1003, 2000, data, 7000);
    EXPECT_EQ(driver.writeList.at(1).userData, 1) << "register 1002";
    EXPECT_EQ(driver.writeList.at(2).userData, 7000) << "register 1004";
    EXPECT_EQ(unitData(2, 2), Bytes(data.begin() + 2, data.begin() + 4));
    EXPECT_EQ(unitData(511, 2), Bytes(data.begin() + 2 * 1019, data.begin() + 2 * 1020));
    expectUnit(512, "4x", 3002, 1);
    EXPECT_EQ(unitData(512, 2), Bytes(data.end() - 2, data.end()));
}

TEST_F(WriteQueue, LimitOfOneGivesOneRequestARegister)
{
    init("1#0#0#3#1");
    setData(1, "4x", 10, 3, "01 00 02 00 03 00");
    ASSERT_EQ(queued(), 3);
    for (int i = 0; i < 3; ++i) {
        expectUnit(i, "4x", 10 + i, 1);
        EXPECT_EQ(unitData(i, 1), Bytes(1, static_cast<unsigned char>(i + 1)));
    }
}

TEST_F(WriteQueue, CoilsAreNotSplit)
{
    init("1#0#0#3#10");
    const Bytes data = numbered(500);
    setData(1, "0x", 3, 500, data);
    ASSERT_EQ(queued(), 1);
    expectUnit(0, "0x", 3, 500);
    EXPECT_EQ(unitData(0, 500), data);
}

TEST_F(WriteQueue, LimitOfZeroGivesOneUnsplitRequestAndTheLowestAsWell)
{
    const char *const properties[] = {"1#0#0#3#0", "1#0#0#3#-2147483648"};
    for (const char *property : properties) {
        init(property);
        const Bytes data = numbered(500);
        setData(1, "4x", 10, 250, data);
        ASSERT_EQ(queued(), 1) << property;
        expectUnit(0, "4x", 10, 250);
        EXPECT_EQ(unitData(0, 500), data) << property;
        setData(1, "4x_bit", 0, 20, numbered(40));
        setData(1, "4x_double", 50, 30, numbered(60));
        EXPECT_EQ(queued(), 3) << property;
    }
}

TEST_F(WriteQueue, LimitOfZeroQueuesSinglesAndSkipsNothings)
{
    const char *const types[] = {"4x", "4x_bit", "4x_double"};
    for (const char *type : types) {
        init("1#0#0#3#0");
        setData(1, type, 10, 0, "");
        setData(1, type, 10, -1, "");
        setData(1, type, 10, -25, "");
        EXPECT_EQ(queued(), 0) << type;
        setData(1, type, 10, 1, "01 00");
        ASSERT_EQ(queued(), 1) << type;
        expectUnit(0, type, 10, 1);
    }
}

TEST_F(WriteQueue, PayloadBehindTheValuesIsZero)
{
    setData(1, "4x", 0, 150, Bytes(300, 0x77));
    setData(1, "0x", 0, 3, "01 01 01");
    ASSERT_EQ(queued(), 3);
    EXPECT_EQ(unitData(0, 1024), padded(200, 0x77));
    EXPECT_EQ(unitData(1, 1024), padded(100, 0x77));
    EXPECT_EQ(unitData(2, 1024), padded(3, 1));
}

TEST_F(WriteQueue, ReadOnlyAndUnknownTypesAreNotQueued)
{
    setData(1, "1x", 0, 1, "01");
    setData(1, "3x", 0, 1, "01 00");
    setData(1, "3x_bit", 0, 1, "01 00");
    setData(1, "3x_double", 0, 2, "01 00 00 00");
    setData(1, "5x", 0, 1, "01 00");
    setData(1, "", 0, 1, "01 00");
    setData(1, "4X", 0, 1, "01 00");
    EXPECT_EQ(queued(), 0);
}

TEST_F(WriteQueue, LocalWritesAreNotQueuedButShown)
{
    const char *const properties[] = {"1#1#0#3#100", "1#-1#0#3#100", "1#7#0#3#100"};
    for (const char *property : properties) {
        init(property);
        setData(1, "4x", 5, 1, "34 12");
        setData(1, "0x", 5, 1, "01");
        setData(1, "4x_bit", 0, 1, "01 00");
        setData(1, "4x_double", 8, 2, "78 56 34 12");
        EXPECT_EQ(queued(), 0) << property;
        EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("34 12")) << property;
        EXPECT_EQ(getData(1, "0x", 5, 1, 1), payload("01")) << property;
        EXPECT_EQ(getData(1, "4x_bit", 0, 1, 1), payload("01")) << property;
        EXPECT_EQ(getData(1, "4x_double", 8, 2, 4), payload("78 56 34 12")) << property;
    }
}

TEST_F(WriteQueue, CountsOfNothingFollowTheDivision)
{
    const int none[] = {0, -100, -150, -199, -200, -10000};
    for (int count : none)
        setData(1, "4x", 0, count, "");
    EXPECT_EQ(queued(), 0);
    setData(1, "4x", 0, -7, ""); // quotient 0 and a remainder: one request, of which no frame is built
    ASSERT_EQ(queued(), 1);
    expectUnit(0, "4x", 0, -7);
    EXPECT_EQ(nextRequest(), QByteArray());
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(WriteQueue, NegativeStationsAndAddressesAreCarried)
{
    setData(-3, "4x", -5, 2, "01 00 02 00");
    ASSERT_EQ(queued(), 1);
    EXPECT_EQ(driver.writeList.at(0).station, -3);
    expectUnit(0, "4x", -5, 2);
    EXPECT_EQ(getData(-3, "4x", -5, 2, 4), payload("01 00 02 00"));
}

TEST_F(WriteQueue, StartAddressesWrapAtTheLimit)
{
    init("1#0#0#3#2");
    setData(1, "4x", INT_MAX, 3, "01 00 02 00 03 00");
    ASSERT_EQ(queued(), 2);
    expectUnit(0, "4x", INT_MAX, 2);
    expectUnit(1, "4x", INT_MIN + 1, 1);
    EXPECT_EQ(getData(1, "4x", INT_MIN, 1, 2), payload("02 00"));
}

// --- replacing -------------------------------------------------------------

TEST_F(WriteQueue, HeadIsNeverReplaced)
{
    setData(1, "4x", 5, 1, "01 00", 1);
    setData(1, "4x", 5, 1, "02 00", 2);
    ASSERT_EQ(queued(), 2);
    EXPECT_EQ(unitData(0, 2), payload("01 00"));
    EXPECT_EQ(unitData(1, 2), payload("02 00"));
}

TEST_F(WriteQueue, QueuedWriteToTheSamePlaceIsReplacedWhole)
{
    setData(1, "4x", 1, 1, "09 00");
    setData(1, "4x", 5, 2, "01 00 02 00", 1);
    setData(1, "4x", 7, 1, "08 00");
    driver.writeList[1].data[1000] = 0x55;
    setData(1, "4x", 5, 2, "03 00 04 00", 2);
    ASSERT_EQ(queued(), 3);
    expectUnit(1, "4x", 5, 2);
    EXPECT_EQ(driver.writeList.at(1).userData, 2);
    EXPECT_EQ(unitData(1, 4), payload("03 00 04 00"));
    EXPECT_NE(driver.writeList.at(1).data[1000], 0x55);
    expectUnit(2, "4x", 7, 1);
}

TEST_F(WriteQueue, AppendedOnceBehindTheHeadThenReplacedThere)
{
    setData(1, "4x", 5, 1, "01 00");
    setData(1, "4x", 5, 1, "02 00");
    setData(1, "4x", 5, 1, "03 00");
    ASSERT_EQ(queued(), 2);
    EXPECT_EQ(unitData(0, 2), payload("01 00"));
    EXPECT_EQ(unitData(1, 2), payload("03 00"));
}

TEST_F(WriteQueue, OnlyEqualRangesAreReplaced)
{
    setData(1, "4x", 0, 1, "09 00");
    setData(1, "4x", 5, 2, "01 00 02 00");
    setData(2, "4x", 5, 2, "01 00 02 00");
    setData(1, "4x_double", 5, 2, "01 00 02 00");
    setData(1, "4x_bit", 5, 2, "01 00 00 00");
    setData(1, "0x", 5, 2, "01 00");
    setData(1, "4x", 6, 2, "01 00 02 00");
    setData(1, "4x", 5, 1, "01 00");
    EXPECT_EQ(queued(), 8);
}

TEST_F(WriteQueue, EachPieceOfASplitWriteReplacesItsOwn)
{
    setData(1, "4x", 9000, 1, "09 00");
    setData(1, "4x", 0, 150, numbered(300));
    const Bytes second(300, 0x77);
    setData(1, "4x", 0, 150, second);
    ASSERT_EQ(queued(), 3);
    EXPECT_EQ(unitData(1, 200), Bytes(200, 0x77));
    EXPECT_EQ(unitData(2, 100), Bytes(100, 0x77));
}

TEST_F(WriteQueue, HoldsAtMost513Entries)
{
    fillQueue(513);
    ASSERT_EQ(queued(), 513);
    setData(1, "4x", 9, 1, "42 00", 99);
    ASSERT_EQ(queued(), 513);
    expectUnit(512, "4x", 9, 1);
    EXPECT_EQ(driver.writeList.at(512).userData, 99);
    expectUnit(511, "4x", 1000 + 2 * 511, 1);
}

TEST_F(WriteQueue, FullQueueStillReplacesEqualRanges)
{
    fillQueue(513);
    for (int position : {1, 300, 512}) {
        setData(1, "4x", 1000 + 2 * position, 1, "42 00", 99);
        ASSERT_EQ(queued(), 513);
        EXPECT_EQ(driver.writeList.at(position).userData, 99) << position;
        EXPECT_EQ(unitData(position, 2), payload("42 00")) << position;
    }
}

TEST_F(WriteQueue, FullQueueKeepsALongerRequestWhereTheLastPieceBegins)
{
    setData(1, "4x", 9, 1, "09 00");
    setData(1, "4x", 7100, 100, numbered(200), 77);
    fillQueue(511);
    ASSERT_EQ(queued(), 513);
    setData(1, "4x", 7000, 150, numbered(300), 88);
    expectUnit(1, "4x", 7100, 100);
    EXPECT_EQ(driver.writeList.at(1).userData, 77);
    expectUnit(512, "4x", 7100, 50);
}

TEST_F(WriteQueue, FullQueueSparesTheHeadAndTakesTheLastPlace)
{
    fillQueue(513);
    setData(1, "4x", 1000, 1, "42 00", 99); // the range of the head
    ASSERT_EQ(queued(), 513);
    EXPECT_EQ(driver.writeList.at(0).userData, 0);
    expectUnit(512, "4x", 1000, 1);
    EXPECT_EQ(driver.writeList.at(512).userData, 99);
}

TEST_F(WriteQueue, Entry512IsAppendedAndEntry513Replaces)
{
    fillQueue(512);
    setData(1, "4x", 7, 1, "01 00");
    EXPECT_EQ(queued(), 513);
    expectUnit(512, "4x", 7, 1);
    setData(1, "4x", 8, 1, "01 00");
    EXPECT_EQ(queued(), 513);
    expectUnit(512, "4x", 8, 1);
}

TEST_F(WriteQueue, OverloadedWritesAreStillShown)
{
    fillQueue(513);
    setData(1, "4x", 9, 1, "42 00");
    setData(1, "4x", 10, 1, "43 00");
    EXPECT_EQ(getData(1, "4x", 9, 2, 4), payload("42 00 43 00"));
}

} // namespace
