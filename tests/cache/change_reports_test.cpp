// What a change is reported as.

#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

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
