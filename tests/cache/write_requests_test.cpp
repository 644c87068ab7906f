// Host writes: what the cache shows at once.

#include "support/driver_fixture.h"

namespace {

using namespace support;

class WriteRequests : public DriverFixture
{
protected:
    enum { PlainWord = 1, FirstOfDouble = 2, SecondOfDouble = 4 };

    static int queued() { return static_cast<int>(driver.writeList.size()); }

    static Change change(const char *type, int address) { return Change{1, 1, QString::fromLatin1(type), address}; }
};

typedef WriteRequests WriteToCache;
typedef WriteRequests BitWriteToCache;

// --- cache: coils -----------------------------------------------------------------

TEST_F(WriteToCache, CoilsAreReportedWhenTheyDiffer)
{
    makeArea(1, "0x", 5).readValue = 1;
    setData(1, "0x", 4, 4, "01 01 00 01");
    EXPECT_EQ(recorder.take(), (Changes{change("0x", 4), change("0x", 7)}));
    EXPECT_EQ(getData(1, "0x", 4, 4, 4), payload("01 01 00 01"));
    for (int coil = 4; coil < 8; ++coil)
        EXPECT_EQ(area(1, "0x", coil).writtenFlag, 1) << coil;
    EXPECT_EQ(area(1, "0x", 5).readValue, 1);
    EXPECT_EQ(area(1, "0x", 4).readValue, 0);
}

TEST_F(WriteToCache, CoilsAreComparedWithTheShownValue)
{
    setData(1, "0x", 4, 1, "01");
    recorder.take();
    setData(1, "0x", 4, 1, "01");
    EXPECT_EQ(recorder.take(), Changes());
    setData(1, "0x", 4, 1, "00");
    EXPECT_EQ(recorder.take(), Changes{change("0x", 4)});
    EXPECT_EQ(getData(1, "0x", 4, 1, 1), payload("00"));
}

TEST_F(WriteToCache, DiscreteInputsAreShownThoughNothingIsSent)
{
    setData(1, "1x", 9, 2, "01 00");
    EXPECT_EQ(recorder.take(), Changes{change("1x", 9)});
    EXPECT_EQ(getData(1, "1x", 9, 2, 2), payload("01 00"));
    EXPECT_EQ(queued(), 0);
}

TEST_F(WriteToCache, CoilBytesAreStoredAsTheyAre)
{
    setData(1, "0x", 4, 2, "02 FF");
    EXPECT_EQ(recorder.take(), (Changes{change("0x", 4), change("0x", 5)}));
    EXPECT_EQ(getData(1, "0x", 4, 2, 2), payload("02 FF"));
}

// --- cache: registers -------------------------------------------------------------

TEST_F(WriteToCache, RegistersAreStoredAndFlagged)
{
    const char *const types[] = {"3x", "4x"};
    for (const char *type : types) {
        cacheRegisters(1, type, 5, {0x1111, 0x2222});
        setData(1, type, 5, 2, "34 12 78 56");
        EXPECT_EQ(area(1, type, 5).writtenValue, 0x1234) << type;
        EXPECT_EQ(area(1, type, 6).writtenValue, 0x5678) << type;
        EXPECT_EQ(area(1, type, 5).writtenFlag, 1) << type;
        EXPECT_EQ(area(1, type, 6).writtenFlag, 1) << type;
        EXPECT_EQ(area(1, type, 5).readValue, 0x1111) << type;
        EXPECT_EQ(getData(1, type, 5, 2, 4), payload("34 12 78 56")) << type;
    }
    EXPECT_EQ(queued(), 1);
    EXPECT_EQ(recorder.take(), Changes()) << "nothing is monitored";
}

TEST_F(WriteToCache, MonitoredRegistersAreReportedInAllTheirRoles)
{
    _DATA_ &monitored = makeArea(1, "4x", 5);
    monitored.wordMonitor = PlainWord | FirstOfDouble | SecondOfDouble;
    monitored.bitMonitor = 0x0005;
    setData(1, "4x", 5, 1, "05 00");
    EXPECT_EQ(recorder.take(), (Changes{change("4x_bit", 80), change("4x_bit", 82), change("4x", 5),
                                        change("4x_double", 5), change("4x_double", 4)}));
}

TEST_F(WriteToCache, EqualRegistersAreNotReportedButFlagged)
{
    _DATA_ &monitored = makeArea(1, "4x", 5);
    monitored.wordMonitor = PlainWord;
    monitored.readValue = 7;
    setData(1, "4x", 5, 1, "07 00");
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(area(1, "4x", 5).writtenFlag, 1);
    EXPECT_EQ(area(1, "4x", 5).writtenValue, 7);
}

TEST_F(WriteToCache, RegistersAreComparedWithTheShownValue)
{
    _DATA_ &monitored = makeArea(1, "4x", 5);
    monitored.wordMonitor = PlainWord;
    monitored.readValue = 7;
    setData(1, "4x", 5, 1, "08 00");
    EXPECT_EQ(recorder.take(), Changes{change("4x", 5)});
    setData(1, "4x", 5, 1, "08 00");
    EXPECT_EQ(recorder.take(), Changes());
    setData(1, "4x", 5, 1, "07 00");
    EXPECT_EQ(recorder.take(), Changes{change("4x", 5)}) << "8 was shown, although 7 was read";
}

TEST_F(WriteToCache, DoubleGoesHighWordFirst)
{
    setData(1, "4x_double", 5, 2, "78 56 34 12");
    EXPECT_EQ(area(1, "4x", 5).writtenValue, 0x1234);
    EXPECT_EQ(area(1, "4x", 6).writtenValue, 0x5678);
    EXPECT_EQ(area(1, "4x", 5).writtenFlag, 1);
    EXPECT_EQ(area(1, "4x", 6).writtenFlag, 1);
    EXPECT_EQ(getData(1, "4x_double", 5, 2, 4), payload("78 56 34 12"));
    EXPECT_EQ(findArea(1, "4x_double", 5), -1);
}

TEST_F(WriteToCache, InputDoublesUseTheInputRegisters)
{
    setData(1, "3x_double", 5, 4, "78 56 34 12 DD CC BB AA");
    EXPECT_EQ(area(1, "3x", 5).writtenValue, 0x1234);
    EXPECT_EQ(area(1, "3x", 6).writtenValue, 0x5678);
    EXPECT_EQ(area(1, "3x", 7).writtenValue, 0xAABB);
    EXPECT_EQ(area(1, "3x", 8).writtenValue, 0xCCDD);
    EXPECT_EQ(queued(), 0);
}

TEST_F(WriteToCache, OddRegisterOfDoublesIsDropped)
{
    setData(1, "4x_double", 5, 3, "78 56 34 12 99 99");
    EXPECT_EQ(findArea(1, "4x", 7), -1);
    EXPECT_EQ(getData(1, "4x_double", 5, 2, 4), payload("78 56 34 12"));
    setData(1, "4x_double", 50, 1, "78 56");
    EXPECT_EQ(findArea(1, "4x", 50), -1);
    ASSERT_EQ(queued(), 2);
    EXPECT_EQ(driver.writeList.at(0).count, 3) << "the slave gets it all the same";
    EXPECT_EQ(driver.writeList.at(1).count, 1);
}

TEST_F(WriteToCache, DoublesReportRegisterByRegister)
{
    makeArea(1, "4x", 5).wordMonitor = FirstOfDouble;
    makeArea(1, "4x", 6).wordMonitor = SecondOfDouble | PlainWord;
    setData(1, "4x_double", 5, 2, "78 56 34 12");
    EXPECT_EQ(recorder.take(), (Changes{change("4x_double", 5), change("4x", 6), change("4x_double", 5)}));
    setData(1, "4x_double", 5, 2, "79 56 34 12");
    EXPECT_EQ(recorder.take(), (Changes{change("4x", 6), change("4x_double", 5)}));
}

TEST_F(WriteToCache, UnknownTypesDoNothing)
{
    setData(1, "5x", 5, 1, "01 00");
    setData(1, "", 5, 1, "01 00");
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(WriteToCache, TwoFramesOfOneStationWriteTheirOwnStationOnly)
{
    setData(1, "4x", 5, 1, "01 00");
    setData(2, "4x", 5, 1, "02 00");
    EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("01 00"));
    EXPECT_EQ(getData(2, "4x", 5, 1, 2), payload("02 00"));
}

// --- cache: bits of registers -----------------------------------------------------

TEST_F(BitWriteToCache, BitGoesToItsByte)
{
    setData(1, "4x_bit", 17, 1, "01 00");
    EXPECT_EQ(area(1, "4x", 1).writtenValue, 0x0002);
    EXPECT_EQ(area(1, "4x", 1).writtenFlag, 1);
    setData(1, "4x_bit", 16 + 13, 1, "01 00");
    EXPECT_EQ(area(1, "4x", 1).writtenValue, 0x2002);
    EXPECT_EQ(findArea(1, "4x_bit", 1), -1);
}

TEST_F(BitWriteToCache, OnlyTheValueOneIsOn)
{
    cacheRegisters(1, "4x", 0, {0x00FF});
    setData(1, "4x_bit", 0, 4, "02 FF 01 00 00 00 00 00");
    EXPECT_EQ(area(1, "4x", 0).writtenValue, 0x00F4);
    cacheRegisters(1, "3x", 0, {0x00FF});
    setData(1, "3x_bit", 0, 4, "02 FF 01 00");
    EXPECT_EQ(area(1, "3x", 0).writtenValue, 0x00F4);
}

TEST_F(BitWriteToCache, FirstWriteTakesTheOtherByteFromTheReadValue)
{
    const char *const types[][2] = {{"4x_bit", "4x"}, {"3x_bit", "3x"}};
    for (const auto &type : types) {
        makeArea(1, type[1], 2).readValue = 0x1234;
        makeArea(1, type[1], 2).writtenValue = 0x9999; // of a write completed long ago
        setData(1, type[0], 32, 1, "01 00");
        EXPECT_EQ(area(1, type[1], 2).writtenValue, 0x1235) << type[0];
        EXPECT_EQ(area(1, type[1], 2).readValue, 0x1234) << type[0];
    }
}

TEST_F(BitWriteToCache, EarlierWritesToTheOtherByteSurviveInHoldingRegisters)
{
    cacheRegisters(1, "4x", 2, {0x1234});
    setData(1, "4x_bit", 32 + 15, 1, "01 00");
    EXPECT_EQ(area(1, "4x", 2).writtenValue, 0x9234);
    setData(1, "4x_bit", 32 + 0, 1, "01 00");
    EXPECT_EQ(area(1, "4x", 2).writtenValue, 0x9235);
}

TEST_F(BitWriteToCache, EarlierWritesToTheOtherByteAreLostInInputRegisters)
{
    cacheRegisters(1, "3x", 2, {0x1234});
    setData(1, "3x_bit", 32 + 15, 1, "01");
    EXPECT_EQ(area(1, "3x", 2).writtenValue, 0x9234);
    setData(1, "3x_bit", 32 + 0, 1, "01");
    EXPECT_EQ(area(1, "3x", 2).writtenValue, 0x1235);
}

TEST_F(BitWriteToCache, EarlierWritesToTheSameByteSurvive)
{
    const char *const types[][2] = {{"4x_bit", "4x"}, {"3x_bit", "3x"}};
    for (const auto &type : types) {
        setData(1, type[0], 32, 1, "01 00");
        setData(1, type[0], 33, 1, "01 00");
        EXPECT_EQ(area(1, type[1], 2).writtenValue, 0x0003) << type[0];
    }
}

TEST_F(BitWriteToCache, BitsRunOverBytesAndRegisters)
{
    setData(1, "4x_bit", 6, 12, "01 01 01 00 00 00 00 00 00 01 01 01  00 00 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(area(1, "4x", 0).writtenValue, 0x81C0);
    EXPECT_EQ(area(1, "4x", 1).writtenValue, 0x0003);
}

TEST_F(BitWriteToCache, RegisterIsReportedInItsRoles)
{
    _DATA_ &monitored = makeArea(1, "4x", 2);
    monitored.wordMonitor = PlainWord | FirstOfDouble;
    monitored.bitMonitor = 0x0008;
    setData(1, "4x_bit", 35, 1, "01 00");
    EXPECT_EQ(recorder.take(), (Changes{change("4x_bit", 35), change("4x", 2), change("4x_double", 2)}));
    setData(1, "4x_bit", 35, 1, "01 00");
    EXPECT_EQ(recorder.take(), Changes()) << "no change, no report";
    setData(1, "4x_bit", 36, 1, "01 00");
    EXPECT_EQ(recorder.take(), (Changes{change("4x", 2), change("4x_double", 2)})) << "bit 4 is not monitored";
}

TEST_F(BitWriteToCache, EachBitOfARequestIsReportedInTurn)
{
    makeArea(1, "3x", 2).wordMonitor = PlainWord;
    setData(1, "3x_bit", 32, 3, "01 00 01");
    EXPECT_EQ(recorder.take(), (Changes{change("3x", 2), change("3x", 2)}));
}

TEST_F(BitWriteToCache, NegativeBitAddressesChangeNoValue)
{
    cacheRegisters(1, "4x", 0, {0x1234});
    setData(1, "4x_bit", -3, 1, "01 00");
    EXPECT_EQ(getData(1, "4x", 0, 1, 2), payload("34 12"));
    EXPECT_EQ(area(1, "4x", 0).bitWriteState, 0);
}

// --- pending bit writes -----------------------------------------------------------

TEST_F(BitWriteToCache, FirstWriteIsPending)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 1 << 6);
    setData(1, "4x_bit", 47, 1, "01 00");
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, (1 << 6) | (1 << 30));
}

TEST_F(BitWriteToCache, WriteBehindTheOneInFlightIsSecondPending)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    setData(1, "4x_bit", 35, 1, "00 00");
    ASSERT_EQ(queued(), 2);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, (1 << 6) | (1 << 7));
    setData(1, "4x_bit", 35, 1, "01 00");
    ASSERT_EQ(queued(), 2);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, (1 << 6) | (1 << 7));
}

TEST_F(BitWriteToCache, HighestBitUsesTheHighestStateBits)
{
    setData(1, "4x_bit", 15, 1, "01 00");
    setData(1, "4x_bit", 15, 1, "00 00");
    EXPECT_EQ(area(1, "4x", 0).bitWriteState, static_cast<int>(0xC0000000u));
}

TEST_F(BitWriteToCache, ReplacedWriteIsNotSecondPending)
{
    setData(1, "4x", 900, 1, "01 00"); // at the head
    setData(1, "4x_bit", 35, 1, "01 00");
    setData(1, "4x_bit", 35, 1, "00 00"); // replaces: one entry only
    ASSERT_EQ(queued(), 2);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 1 << 6);
}

TEST_F(BitWriteToCache, SecondPendingCountsRequestsOfTheSameRange)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    setData(1, "4x_bit", 35, 2, "01 01 00 00"); // another length
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, (1 << 6) | (1 << 8));
    setData(1, "4x_bit", 35, 2, "00 00 00 00"); // replaces the one at position 1
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, (1 << 6) | (1 << 8));
}

struct OtherWrite
{
    int station;
    const char *type;
    int startAddr;
    int count;
};

// Queued between the two writes of a bit, none of these is counted as a third
// one, and each alike in all but one part.
TEST_F(BitWriteToCache, SecondPendingCountsRequestsOfTheSamePlaceOnly)
{
    const OtherWrite others[] = {
        {2, "4x_bit", 35, 1}, {1, "4x", 35, 1}, {1, "0x", 35, 1}, {1, "4x_bit", 36, 1}, {1, "4x_bit", 35, 2},
    };
    for (const OtherWrite &other : others) {
        init("1#0#0#3#100");
        setData(1, "4x_bit", 35, 1, "01 00");
        setData(other.station, other.type, other.startAddr, other.count, "01 01 00 00");
        setData(1, "4x_bit", 35, 1, "00 00");
        ASSERT_EQ(queued(), 3);
        const int ofBit35 = (1 << 6) | (1 << 7);
        EXPECT_EQ(area(1, "4x", 2).bitWriteState & ofBit35, ofBit35)
            << other.station << other.type << other.startAddr << "+" << other.count;
    }
}

// And none of them is counted as the second one.
TEST_F(BitWriteToCache, WritesOfOtherPlacesAreNotTheSecondOfABit)
{
    const OtherWrite others[] = {
        {2, "4x_bit", 35, 1},
        {1, "4x", 35, 1},
        {1, "0x", 35, 1},
        {1, "4x_bit", 36, 1},
    };
    for (const OtherWrite &other : others) {
        init("1#0#0#3#100");
        setData(other.station, other.type, other.startAddr, other.count, "01 00"); // at the head
        setData(1, "4x_bit", 35, 1, "01 00");
        setData(1, "4x_bit", 35, 1, "00 00"); // replaces
        ASSERT_EQ(queued(), 2);
        EXPECT_EQ(area(1, "4x", 2).bitWriteState & (1 << 7), 0)
            << other.station << other.type << other.startAddr << "+" << other.count;
    }
}

TEST_F(BitWriteToCache, SecondPendingIsSetForEveryBitOfTheRequest)
{
    setData(1, "4x_bit", 47, 2, "01 01 00 00");
    setData(1, "4x_bit", 47, 2, "00 00 00 00");
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, static_cast<int>(0xC0000000u));
    EXPECT_EQ(area(1, "4x", 3).bitWriteState, 3);
}

TEST_F(BitWriteToCache, LocalWritesHaveNoSecondPending)
{
    driver.localWriteOnly = 1;
    setData(1, "4x_bit", 35, 1, "01 00");
    setData(1, "4x_bit", 35, 1, "00 00");
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 1 << 6);
}

TEST_F(BitWriteToCache, InputBitsHaveNoWriteState)
{
    setData(1, "3x_bit", 35, 1, "01");
    EXPECT_EQ(area(1, "3x", 2).bitWriteState, 0);
}

// --- locks ------------------------------------------------------------------------

TEST_F(WriteRequests, OnlyTheScanForPendingBitsTakesTheListMutex)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    QMutexLocker held(&driver.listMutex); // a second lock on this thread would never return
    setData(1, "0x", 5, 1, "01");
    setData(1, "1x", 5, 1, "01");
    setData(1, "4x", 5, 1, "01 00");
    setData(1, "3x", 5, 1, "01 00");
    setData(1, "4x_double", 5, 2, "01 00 00 00");
    setData(1, "3x_bit", 5, 1, "01");
    setData(1, "4x_bit", 36, 1, "01 00"); // first write of this bit: no scan
    EXPECT_EQ(queued(), 5);
}

TEST_F(WriteRequests, CallbacksRunOutsideTheListMutex)
{
    bool free = true;
    recorder.hook = [&](const Change &) {
        const bool locked = driver.listMutex.tryLock();
        free = free && locked;
        if (locked)
            driver.listMutex.unlock();
    };
    makeArea(1, "4x", 2).wordMonitor = PlainWord;
    setData(1, "0x", 5, 1, "01");
    setData(1, "4x", 2, 1, "01 00");
    setData(1, "4x_double", 2, 2, "01 00 07 00");
    setData(1, "4x_bit", 35, 1, "01 00");
    setData(1, "4x_bit", 35, 1, "00 00");
    EXPECT_EQ(recorder.changes.size(), 5u);
    EXPECT_TRUE(free);
}

} // namespace
