// Finding and creating data areas, bits, and what a change is reported as.

#include "cache/data_areas.h"
#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

// --- look-up ----------------------------------------------------------------------

class AreaLookUp : public DriverFixture
{
protected:
    int positionOf(int station, const char *type, int areaIndex)
    {
        return driver.getIndexOfDataArea(station, QString::fromLatin1(type), areaIndex, driver.dataAreas);
    }
};

TEST_F(AreaLookUp, AbsentAreaIsAppendedAndFoundAgain)
{
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(1, "4x", 11), 1);
    EXPECT_EQ(driver.dataAreas.size(), 2);
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(1, "4x", 11), 1);
    EXPECT_EQ(driver.dataAreas.size(), 2);
}

TEST_F(AreaLookUp, NewAreaHasItsKeysAndNothingElse)
{
    positionOf(7, "3x", 65535);
    const _DATA_ area = driver.dataAreas.at(0);
    EXPECT_EQ(area.station, 7);
    EXPECT_EQ(area.regType, QString::fromLatin1("3x"));
    EXPECT_EQ(area.areaIndex, 65535);
    EXPECT_EQ(area.errorFlag, 0);
    EXPECT_EQ(area.writtenFlag, 0);
    EXPECT_EQ(area.bitWriteState, 0);
    EXPECT_EQ(area.wordMonitor, 0);
    EXPECT_EQ(area.bitMonitor, 0);
    EXPECT_EQ(area.readValue, 0);
    EXPECT_EQ(area.writtenValue, 0);
}

TEST_F(AreaLookUp, EveryKeyTellsAreasApart)
{
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(2, "4x", 10), 1);
    EXPECT_EQ(positionOf(1, "3x", 10), 2);
    EXPECT_EQ(positionOf(1, "4x", -10), 3);
    EXPECT_EQ(positionOf(-1, "4x", 10), 4);
    EXPECT_EQ(positionOf(1, "", 10), 5);
    EXPECT_EQ(positionOf(1, "4x ", 10), 6);
    EXPECT_EQ(positionOf(INT_MIN, "4x", INT_MAX), 7);
    EXPECT_EQ(positionOf(INT_MAX, "4x", INT_MIN), 8);
    EXPECT_EQ(driver.dataAreas.size(), 9);
}

TEST_F(AreaLookUp, LetterCaseTellsAreasApart)
{
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(1, "4X", 10), 1);
    EXPECT_EQ(positionOf(1, "4x", 10), 0);
    EXPECT_EQ(positionOf(1, "4X", 10), 1);
}

TEST_F(AreaLookUp, AnyListIsServed)
{
    QList<_DATA_> own;
    const QString type = QString::fromLatin1("4x");
    EXPECT_EQ(driver.getIndexOfDataArea(1, type, 10, own), 0);
    EXPECT_EQ(driver.getIndexOfDataArea(1, type, 11, own), 1);
    EXPECT_EQ(driver.getIndexOfDataArea(1, type, 10, own), 0);
    EXPECT_EQ(own.size(), 2);
    EXPECT_TRUE(driver.dataAreas.isEmpty());
}

TEST_F(AreaLookUp, FirstOfEqualAreasIsFound)
{
    QList<_DATA_> own;
    const QString type = QString::fromLatin1("4x");
    driver.getIndexOfDataArea(1, type, 10, own);
    const _DATA_ first = own.at(0);
    own << first << first;
    EXPECT_EQ(driver.getIndexOfDataArea(1, type, 10, own), 0);
    EXPECT_EQ(own.size(), 3);
}

// --- bits -------------------------------------------------------------------------

TEST(SetBitValue, SetsAndClears)
{
    EXPECT_EQ(_setBitValue(0, 0, 1), 1);
    EXPECT_EQ(_setBitValue(0, 15, 1), 0x8000);
    EXPECT_EQ(_setBitValue(0, 30, 1), 0x40000000);
    EXPECT_EQ(_setBitValue(0xFFFF, 3, 0), 0xFFF7);
    EXPECT_EQ(_setBitValue(0xFFFF, 3, 1), 0xFFFF);
    EXPECT_EQ(_setBitValue(0, 3, 0), 0);
}

TEST(SetBitValue, AnyNonzeroMeansOn)
{
    EXPECT_EQ(_setBitValue(0, 4, 2), 0x10);
    EXPECT_EQ(_setBitValue(0, 4, -1), 0x10);
    EXPECT_EQ(_setBitValue(0, 4, INT_MIN), 0x10);
}

TEST(SetBitValue, Bit31IsTheSignBit)
{
    EXPECT_EQ(_setBitValue(0, 31, 1), INT_MIN);
    EXPECT_EQ(_setBitValue(-1, 31, 0), INT_MAX);
}

TEST(SetBitValue, NumbersFrom32To255ChangeNothing)
{
    const int value = 0x1234;
    for (int bit = 32; bit <= 255; ++bit) {
        EXPECT_EQ(_setBitValue(value, bit, 1), value) << bit;
        EXPECT_EQ(_setBitValue(value, bit, 0), value) << bit;
    }
    EXPECT_EQ(_setBitValue(value, 40, 1), value);
}

TEST(SetBitValue, OnlyTheLowByteOfTheNumberCounts)
{
    EXPECT_EQ(_setBitValue(0, 256, 1), 1);
    EXPECT_EQ(_setBitValue(0, 256 + 31, 1), INT_MIN);
    EXPECT_EQ(_setBitValue(7, 256 + 32, 1), 7);
    EXPECT_EQ(_setBitValue(7, -1, 1), 7);    // 255
    EXPECT_EQ(_setBitValue(7, -256, 0), 6);  // 0
    EXPECT_EQ(_setBitValue(7, -253, 1), 15); // 3
    EXPECT_EQ(_setBitValue(7, INT_MIN, 0), 6);
    EXPECT_EQ(_setBitValue(7, INT_MAX, 0), 7);
}

// --- changes of registers ---------------------------------------------------------

class Changed : public DriverFixture
{
protected:
    enum { PlainWord = 1, FirstOfDouble = 2, SecondOfDouble = 4 };

    static void monitor(const char *type, int address, int words, int bits)
    {
        _DATA_ &monitored = makeArea(1, type, address);
        monitored.wordMonitor = words;
        monitored.bitMonitor = bits;
    }

    Changes wordChange(int oldValue, int newValue, const char *type, int address, int noBits = 0)
    {
        driver._wordDataChange(&oldValue, &newValue, 1, QString::fromLatin1(type), address, noBits);
        return recorder.take();
    }

    Changes byteChange(unsigned char oldValue, unsigned char newValue, const char *type, int address, int noBits = 0)
    {
        driver._byteDataChange(&oldValue, &newValue, 1, QString::fromLatin1(type), address, noBits);
        return recorder.take();
    }

    static Change change(const char *type, int address) { return Change{1, 1, QString::fromLatin1(type), address}; }
};

typedef Changed WordDataChange;
typedef Changed ByteDataChange;

TEST_F(WordDataChange, EqualValuesCallNothingButCreateTheArea)
{
    EXPECT_EQ(wordChange(5, 5, "4x", 77), Changes());
    EXPECT_EQ(findArea(1, "4x", 77), 0);
    monitor("4x", 78, PlainWord | FirstOfDouble | SecondOfDouble, 0xFFFF);
    EXPECT_EQ(wordChange(0xFFFF, 0xFFFF, "4x", 78), Changes());
}

TEST_F(WordDataChange, NothingMonitoredNothingReported)
{
    EXPECT_EQ(wordChange(0, 0xFFFF, "4x", 77), Changes());
    EXPECT_EQ(findArea(1, "4x", 77), 0);
}

TEST_F(WordDataChange, OnlyMonitoredBitsThatDifferAreReported)
{
    monitor("4x", 10, 0, 0x8001);
    EXPECT_EQ(wordChange(0x0001, 0x8001, "4x", 10), Changes{change("4x_bit", 10 * 16 + 15)});
    EXPECT_EQ(wordChange(0x0001, 0x7FFF, "4x", 10), Changes());
    monitor("3x", 10, 0, 0x0010);
    EXPECT_EQ(wordChange(0, 0xFFFF, "3x", 10), Changes{change("3x_bit", 10 * 16 + 4)});
}

TEST_F(WordDataChange, BitsComeInAscendingOrderBothWays)
{
    monitor("4x", 2, 0, 0xFFFF);
    Changes all;
    for (int bit = 0; bit < 16; ++bit)
        all.push_back(change("4x_bit", 32 + bit));
    EXPECT_EQ(wordChange(0x0000, 0xFFFF, "4x", 2), all);
    EXPECT_EQ(wordChange(0xFFFF, 0x0000, "4x", 2), all);
}

TEST_F(WordDataChange, WordIsReportedForItsRoleOnly)
{
    monitor("4x", 10, PlainWord, 0);
    EXPECT_EQ(wordChange(1, 2, "4x", 10), Changes{change("4x", 10)});
    monitor("4x", 11, ~(PlainWord | FirstOfDouble | SecondOfDouble) & 0xFF, 0);
    EXPECT_EQ(wordChange(1, 2, "4x", 11), Changes());
}

TEST_F(WordDataChange, FirstHalfOfADoubleIsReportedAtItsAddress)
{
    monitor("4x", 10, FirstOfDouble, 0);
    EXPECT_EQ(wordChange(1, 2, "4x", 10), Changes{change("4x_double", 10)});
    monitor("3x", 0, FirstOfDouble, 0);
    EXPECT_EQ(wordChange(1, 2, "3x", 0), Changes{change("3x_double", 0)});
}

TEST_F(WordDataChange, SecondHalfOfADoubleIsReportedOneLower)
{
    monitor("4x", 11, SecondOfDouble, 0);
    EXPECT_EQ(wordChange(1, 2, "4x", 11), Changes{change("4x_double", 10)});
}

TEST_F(WordDataChange, SecondHalfAtAddress0HasNoDouble)
{
    monitor("4x", 0, SecondOfDouble, 0);
    EXPECT_EQ(wordChange(1, 2, "4x", 0), Changes());
    monitor("4x", 0, FirstOfDouble | SecondOfDouble, 0);
    EXPECT_EQ(wordChange(1, 2, "4x", 0), Changes{change("4x_double", 0)});
}

TEST_F(WordDataChange, NegativeAddressesHaveNoDoubles)
{
    monitor("4x", -1, PlainWord | FirstOfDouble | SecondOfDouble, 1);
    EXPECT_EQ(wordChange(0, 1, "4x", -1), (Changes{change("4x_bit", -16), change("4x", -1)}));
    monitor("4x", INT_MIN, FirstOfDouble | SecondOfDouble, 0);
    EXPECT_EQ(wordChange(0, 1, "4x", INT_MIN), Changes());
}

TEST_F(WordDataChange, BitsThenWordThenDoubles)
{
    monitor("4x", 5, PlainWord | FirstOfDouble | SecondOfDouble, 0x0003);
    EXPECT_EQ(wordChange(0, 3, "4x", 5), (Changes{change("4x_bit", 80), change("4x_bit", 81), change("4x", 5),
                                                  change("4x_double", 5), change("4x_double", 4)}));
}

TEST_F(WordDataChange, NoBitsSuppressesTheBitsOnly)
{
    monitor("4x", 5, PlainWord | FirstOfDouble | SecondOfDouble, 0x0003);
    const Changes withoutBits = {change("4x", 5), change("4x_double", 5), change("4x_double", 4)};
    EXPECT_EQ(wordChange(0, 3, "4x", 5, 1), withoutBits);
    EXPECT_EQ(wordChange(0, 3, "4x", 5, -1), withoutBits);
}

TEST_F(WordDataChange, ComparesAll32Bits)
{
    monitor("4x", 5, PlainWord, -1);
    EXPECT_EQ(wordChange(0x00000001, 0x00010001, "4x", 5), Changes{change("4x", 5)});
    EXPECT_EQ(wordChange(0, INT_MIN, "4x", 5), Changes{change("4x", 5)});
}

TEST_F(WordDataChange, SuffixesAreAddedToAnyTypeText)
{
    monitor("abc", 5, FirstOfDouble, 1);
    EXPECT_EQ(wordChange(0, 1, "abc", 5), (Changes{change("abc_bit", 80), change("abc_double", 5)}));
}

TEST_F(WordDataChange, CarriesTheLinkAndTheStation)
{
    init("9#0#0#3#100");
    makeArea(17, "4x", 5).wordMonitor = PlainWord;
    const int oldValue = 1;
    const int newValue = 2;
    driver._wordDataChange(&oldValue, &newValue, 17, QString::fromLatin1("4x"), 5, 0);
    EXPECT_EQ(recorder.changes, (Changes{Change{9, 17, QString::fromLatin1("4x"), 5}}));
}

TEST_F(WordDataChange, ResultOfTheCallbackIsIgnored)
{
    monitor("4x", 5, PlainWord, 3);
    int values[] = {0, 3};
    intf_setAddrValueChangeCallBack([](int, int, QString *type, int address) {
        QString own = *type;
        ChangeRecorder::callBack(1, 1, &own, address);
        *type = QString::fromLatin1("scribbled");
        return -1;
    });
    driver._wordDataChange(&values[0], &values[1], 1, QString::fromLatin1("4x"), 5, 0);
    EXPECT_EQ(recorder.changes, (Changes{change("4x_bit", 80), change("4x_bit", 81), change("4x", 5)}));
}

TEST_F(WordDataChange, ChangesNoValueOfTheArea)
{
    monitor("4x", 5, PlainWord, 0);
    makeArea(1, "4x", 5).readValue = 7;
    wordChange(1, 2, "4x", 5);
    EXPECT_EQ(area(1, "4x", 5).readValue, 7);
    EXPECT_EQ(area(1, "4x", 5).writtenValue, 0);
}

// --- changes of eight coils -------------------------------------------------------

TEST_F(ByteDataChange, MonitoredBitsThatDifferAreReportedWithoutSuffix)
{
    monitor("0x", 8, 0, 0xA5);
    EXPECT_EQ(byteChange(0x00, 0xFF, "0x", 8),
              (Changes{change("0x", 8), change("0x", 10), change("0x", 13), change("0x", 15)}));
    EXPECT_EQ(byteChange(0x01, 0x81, "0x", 8), Changes{change("0x", 15)});
    EXPECT_EQ(byteChange(0x00, 0x5A, "0x", 8), Changes());
}

TEST_F(ByteDataChange, EqualBytesCallNothingButCreateTheArea)
{
    EXPECT_EQ(byteChange(3, 3, "1x", 16), Changes());
    EXPECT_EQ(findArea(1, "1x", 16), 0);
}

TEST_F(ByteDataChange, NothingMonitoredNothingReported)
{
    EXPECT_EQ(byteChange(0, 0xFF, "1x", 16), Changes());
    EXPECT_EQ(findArea(1, "1x", 16), 0);
}

TEST_F(ByteDataChange, NoBitsSuppressesEverything)
{
    monitor("0x", 8, Changed::PlainWord, 0xFF);
    EXPECT_EQ(byteChange(0, 0xFF, "0x", 8, 1), Changes());
    EXPECT_EQ(byteChange(0, 0xFF, "0x", 8, -3), Changes());
    EXPECT_EQ(byteChange(0, 0xFF, "0x", 24, 1), Changes());
    EXPECT_GE(findArea(1, "0x", 24), 0) << "the area is created before any test";
}

TEST_F(ByteDataChange, OnlyEightBitsAreLookedAt)
{
    monitor("0x", 8, 0, 0xFF00);
    EXPECT_EQ(byteChange(0, 0xFF, "0x", 8), Changes());
}

} // namespace
