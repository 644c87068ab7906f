// The end of a host write: confirmed or rolled back.

#include "support/driver_fixture.h"

#include <climits>

namespace {

using namespace support;

class WriteCompletion : public DriverFixture
{
protected:
    enum Outcome { Failed = 0, Succeeded = 1 };
    enum { PlainWord = 1, FirstOfDouble = 2, SecondOfDouble = 4 };

    // An area that shows `written` while `read` is what the slave gave last.
    static _DATA_ &writtenArea(const char *type, int areaIndex, int read, int written)
    {
        _DATA_ &result = makeArea(1, type, areaIndex);
        result.readValue = read;
        result.writtenValue = written;
        result.writtenFlag = 1;
        return result;
    }

    void complete(const char *type, int address, int count, int ok)
    {
        driver._write_FailOrSuc(1, QString::fromLatin1(type), address, count, ok);
    }

    static Change change(const char *type, int address) { return Change{1, 1, QString::fromLatin1(type), address}; }
};

typedef WriteCompletion CoilCompletion;
typedef WriteCompletion RegisterCompletion;
typedef WriteCompletion DoubleCompletion;
typedef WriteCompletion BitCompletion;

// --- coils ------------------------------------------------------------------------

TEST_F(CoilCompletion, SuccessTakesTheWrittenValueSilently)
{
    writtenArea("0x", 5, 0, 1);
    writtenArea("0x", 6, 1, 0);
    complete("0x", 5, 2, Succeeded);
    EXPECT_EQ(area(1, "0x", 5).readValue, 1);
    EXPECT_EQ(area(1, "0x", 6).readValue, 0);
    EXPECT_EQ(area(1, "0x", 5).writtenFlag, 0);
    EXPECT_EQ(area(1, "0x", 6).writtenFlag, 0);
    EXPECT_EQ(recorder.take(), Changes());
}

TEST_F(CoilCompletion, FailureReportsEveryCoilEvenIfEqual)
{
    writtenArea("0x", 5, 0, 1);
    writtenArea("0x", 6, 1, 1);
    complete("0x", 5, 3, Failed);
    EXPECT_EQ(recorder.take(), (Changes{change("0x", 5), change("0x", 6), change("0x", 7)}));
    EXPECT_EQ(area(1, "0x", 5).readValue, 0);
    EXPECT_EQ(area(1, "0x", 5).writtenFlag, 0);
    EXPECT_EQ(getData(1, "0x", 5, 3, 3), payload("00 01 00"));
}

TEST_F(CoilCompletion, CountBelowOneDoesNothing)
{
    writtenArea("0x", 5, 0, 1);
    const int counts[] = {0, -1, INT_MIN};
    for (int count : counts)
        complete("0x", 5, count, Failed);
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(area(1, "0x", 5).writtenFlag, 1);
}

// --- registers --------------------------------------------------------------------

TEST_F(RegisterCompletion, SuccessTakesTheWrittenValuesSilently)
{
    writtenArea("4x", 5, 0x1111, 0x1234).wordMonitor = PlainWord;
    writtenArea("4x", 6, 0x2222, 0x5678).bitMonitor = 0xFFFF;
    complete("4x", 5, 2, Succeeded);
    EXPECT_EQ(area(1, "4x", 5).readValue, 0x1234);
    EXPECT_EQ(area(1, "4x", 6).readValue, 0x5678);
    EXPECT_EQ(area(1, "4x", 5).writtenFlag, 0);
    EXPECT_EQ(area(1, "4x", 6).writtenFlag, 0);
    EXPECT_EQ(recorder.take(), Changes());
}

TEST_F(RegisterCompletion, FailureReportsAMonitoredWordOnce)
{
    writtenArea("4x", 7, 3, 5).wordMonitor = PlainWord;
    complete("4x", 7, 1, Failed);
    EXPECT_EQ(recorder.take(), Changes{change("4x", 7)});
    EXPECT_EQ(area(1, "4x", 7).readValue, 3);
    EXPECT_EQ(getData(1, "4x", 7, 1, 2), payload("03 00"));
}

TEST_F(RegisterCompletion, FailureOfAnUnmonitoredWordIsSilent)
{
    writtenArea("4x", 7, 3, 5);
    complete("4x", 7, 1, Failed);
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(area(1, "4x", 7).writtenFlag, 0);
}

TEST_F(RegisterCompletion, FailureReportsBitsWordAndDoublesThatDiffer)
{
    _DATA_ &monitored = writtenArea("4x", 7, 0x0003, 0x0005);
    monitored.wordMonitor = PlainWord | FirstOfDouble | SecondOfDouble;
    monitored.bitMonitor = 0x000F;
    complete("4x", 7, 1, Failed);
    EXPECT_EQ(recorder.take(), (Changes{change("4x_bit", 113), change("4x_bit", 114), change("4x", 7),
                                        change("4x_double", 7), change("4x_double", 6)}));
}

TEST_F(RegisterCompletion, FailureOfAnEqualValueIsSilent)
{
    writtenArea("4x", 7, 5, 5).wordMonitor = PlainWord;
    complete("4x", 7, 1, Failed);
    EXPECT_EQ(recorder.take(), Changes());
}

TEST_F(RegisterCompletion, AnyOutcomeButOneIsAFailure)
{
    const int outcomes[] = {0, 2, -1, 255, INT_MIN};
    for (int outcome : outcomes) {
        writtenArea("4x", 7, 3, 5).wordMonitor = PlainWord;
        complete("4x", 7, 1, outcome);
        EXPECT_EQ(recorder.take(), Changes{change("4x", 7)}) << outcome;
        EXPECT_EQ(area(1, "4x", 7).readValue, 3) << outcome;
    }
}

TEST_F(RegisterCompletion, OnlyTheRegistersOfTheRequestAreTouched)
{
    for (int address = 4; address < 9; ++address)
        writtenArea("4x", address, 1, 2);
    complete("4x", 5, 3, Succeeded);
    EXPECT_EQ(area(1, "4x", 4).writtenFlag, 1);
    EXPECT_EQ(area(1, "4x", 8).writtenFlag, 1);
    EXPECT_EQ(area(1, "4x", 4).readValue, 1);
    EXPECT_EQ(area(1, "4x", 8).readValue, 1);
    for (int address = 5; address < 8; ++address)
        EXPECT_EQ(area(1, "4x", address).readValue, 2) << address;
}

TEST_F(RegisterCompletion, WriteStateOfBitsIsLeftAlone)
{
    writtenArea("4x", 5, 1, 2).bitWriteState = 0x40;
    complete("4x", 5, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 5).bitWriteState, 0x40);
    EXPECT_EQ(area(1, "4x", 5).writtenFlag, 0);
}

TEST_F(RegisterCompletion, CountBelowOneDoesNothing)
{
    writtenArea("4x", 5, 1, 2).wordMonitor = PlainWord;
    const int counts[] = {0, -1, INT_MIN};
    for (int count : counts)
        complete("4x", 5, count, Failed);
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(area(1, "4x", 5).writtenFlag, 1);
}

TEST_F(RegisterCompletion, OtherTypesAreIgnored)
{
    const char *const types[] = {"1x", "3x", "3x_bit", "3x_double", "5x", "", "4X"};
    writtenArea("1x", 5, 0, 1);
    writtenArea("3x", 5, 0, 1);
    writtenArea("3x", 0, 0, 1);
    for (const char *type : types) {
        complete(type, 5, 2, Succeeded);
        complete(type, 5, 2, Failed);
    }
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(driver.dataAreas.size(), 3);
    EXPECT_EQ(area(1, "1x", 5).writtenFlag, 1);
    EXPECT_EQ(area(1, "3x", 5).writtenFlag, 1);
    EXPECT_EQ(area(1, "3x", 0).writtenFlag, 1);
}

TEST_F(RegisterCompletion, AbsentAreasAreCreated)
{
    complete("4x", 5, 2, Succeeded);
    EXPECT_EQ(driver.dataAreas.size(), 2);
    EXPECT_EQ(area(1, "4x", 6).readValue, 0);
}

// --- doubles ----------------------------------------------------------------------

TEST_F(DoubleCompletion, SuccessConfirmsBothRegisters)
{
    writtenArea("4x", 5, 0, 0x1234);
    writtenArea("4x", 6, 0, 0x5678);
    complete("4x_double", 5, 2, Succeeded);
    EXPECT_EQ(area(1, "4x", 5).readValue, 0x1234);
    EXPECT_EQ(area(1, "4x", 6).readValue, 0x5678);
    EXPECT_EQ(area(1, "4x", 5).writtenFlag, 0);
    EXPECT_EQ(area(1, "4x", 6).writtenFlag, 0);
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(findArea(1, "4x_double", 5), -1);
}

TEST_F(DoubleCompletion, OddRegisterIsDropped)
{
    for (int address = 5; address < 8; ++address)
        writtenArea("4x", address, 1, 2);
    complete("4x_double", 5, 3, Succeeded);
    EXPECT_EQ(area(1, "4x", 5).readValue, 2);
    EXPECT_EQ(area(1, "4x", 6).readValue, 2);
    EXPECT_EQ(area(1, "4x", 7).readValue, 1);
    EXPECT_EQ(area(1, "4x", 7).writtenFlag, 1);
}

TEST_F(DoubleCompletion, CountBelowTwoDoesNothing)
{
    writtenArea("4x", 5, 1, 2);
    const int counts[] = {1, 0, -1, -2, INT_MIN};
    for (int count : counts)
        complete("4x_double", 5, count, Succeeded);
    EXPECT_EQ(area(1, "4x", 5).readValue, 1);
    EXPECT_EQ(area(1, "4x", 5).writtenFlag, 1);
}

TEST_F(DoubleCompletion, FailureIsReportedRegisterByRegister)
{
    writtenArea("4x", 5, 1, 2).wordMonitor = FirstOfDouble | PlainWord;
    writtenArea("4x", 6, 3, 4).wordMonitor = SecondOfDouble;
    complete("4x_double", 5, 2, Failed);
    EXPECT_EQ(recorder.take(), (Changes{change("4x", 5), change("4x_double", 5), change("4x_double", 5)}));
    EXPECT_EQ(area(1, "4x", 5).readValue, 1);
    EXPECT_EQ(area(1, "4x", 6).readValue, 3);
}

// --- bits of registers ------------------------------------------------------------

TEST_F(BitCompletion, TwoWritesOfABitAreUndoneOneByOne)
{
    writtenArea("4x", 2, 0, 8).bitWriteState = (1 << 6) | (1 << 7);
    complete("4x_bit", 35, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 1 << 7);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 1);
    complete("4x_bit", 35, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 0);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 0);
}

TEST_F(BitCompletion, FlagStaysWhileAnotherBitIsPending)
{
    writtenArea("4x", 2, 0, 0x8008).bitWriteState = (1 << 6) | static_cast<int>(1u << 30);
    complete("4x_bit", 35, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 1 << 30);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 1);
    complete("4x_bit", 47, 1, Failed);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 0);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 0);
}

TEST_F(BitCompletion, HighestStateBitsAreCleared)
{
    writtenArea("4x", 0, 0, 0x8000).bitWriteState = static_cast<int>(0xC0000000u);
    complete("4x_bit", 15, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 0).bitWriteState, INT_MIN);
    complete("4x_bit", 15, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 0).bitWriteState, 0);
}

TEST_F(BitCompletion, SuccessTakesOnlyTheBitOfTheRequest)
{
    writtenArea("4x", 2, 0x00F0, 0xFF0F);
    complete("4x_bit", 32 + 9, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 2).readValue, 0x02F0);
    complete("4x_bit", 32 + 4, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 2).readValue, 0x02E0) << "a bit that was written off";
}

TEST_F(BitCompletion, FailureLeavesTheReadValue)
{
    writtenArea("4x", 2, 0x00F0, 0xFF0F).bitWriteState = 1 << 6;
    complete("4x_bit", 35, 1, Failed);
    EXPECT_EQ(area(1, "4x", 2).readValue, 0x00F0);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 0);
    EXPECT_EQ(getData(1, "4x_bit", 35, 1, 1), payload("00"));
}

TEST_F(BitCompletion, EveryBitIsReportedWithTheStartAddress)
{
    complete("4x_bit", 35, 3, Succeeded);
    EXPECT_EQ(recorder.take(), (Changes{change("4x_bit", 35), change("4x_bit", 35), change("4x_bit", 35)}));
    complete("4x_bit", 35, 3, Failed);
    EXPECT_EQ(recorder.take(), (Changes{change("4x_bit", 35), change("4x_bit", 35), change("4x_bit", 35)}));
}

TEST_F(BitCompletion, BitsRunIntoTheNextRegister)
{
    writtenArea("4x", 2, 0, 0x8000).bitWriteState = static_cast<int>(1u << 30);
    writtenArea("4x", 3, 0, 0x0001).bitWriteState = 1;
    complete("4x_bit", 47, 2, Succeeded);
    EXPECT_EQ(area(1, "4x", 2).readValue, 0x8000);
    EXPECT_EQ(area(1, "4x", 3).readValue, 0x0001);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 0);
    EXPECT_EQ(area(1, "4x", 3).writtenFlag, 0);
    EXPECT_EQ(recorder.take(), (Changes{change("4x_bit", 47), change("4x_bit", 47)}));
}

TEST_F(BitCompletion, MonitorFlagsAreNotConsulted)
{
    writtenArea("4x", 2, 0, 8).wordMonitor = PlainWord;
    complete("4x_bit", 35, 1, Failed);
    EXPECT_EQ(recorder.take(), Changes{change("4x_bit", 35)});
}

TEST_F(BitCompletion, CountBelowOneDoesNothing)
{
    writtenArea("4x", 2, 0, 8).bitWriteState = 1 << 6;
    const int counts[] = {0, -1, INT_MIN};
    for (int count : counts)
        complete("4x_bit", 35, count, Succeeded);
    EXPECT_EQ(recorder.take(), Changes());
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 1 << 6);
}

TEST_F(BitCompletion, NegativeAddressesChangeNoValue)
{
    writtenArea("4x", 0, 0, 0xFFFF).bitWriteState = 0x5555;
    complete("4x_bit", -3, 1, Succeeded);
    EXPECT_EQ(area(1, "4x", 0).readValue, 0);
    EXPECT_EQ(area(1, "4x", 0).bitWriteState, 0x5555);
    EXPECT_EQ(recorder.take(), Changes{change("4x_bit", -3)});
}

// --- from the host's call to the slave's answer -----------------------------------

TEST_F(WriteCompletion, AcknowledgedRegisterWriteIsShownAndConfirmed)
{
    setData(1, "4x", 5, 2, "34 12 78 56");
    EXPECT_EQ(exchangeEcho(), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(area(1, "4x", 5).readValue, 0x1234);
    EXPECT_EQ(area(1, "4x", 6).readValue, 0x5678);
    EXPECT_EQ(area(1, "4x", 5).writtenFlag, 0);
    EXPECT_EQ(getData(1, "4x", 5, 2, 4), payload("34 12 78 56"));
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_EQ(recorder.take(), Changes());
}

TEST_F(WriteCompletion, RegisterWriteGivenUpIsRolledBackAndReported)
{
    plan(Keys() << key(1, "4x", 5, 1));
    EXPECT_EQ(exchange(wordsReply(1, 3, {3})), static_cast<int>(ReplyAccepted));
    recorder.take();
    setData(1, "4x", 5, 1, "05 00");
    EXPECT_EQ(recorder.take(), Changes{change("4x", 5)});
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(recorder.take(), Changes{change("4x", 5)});
    EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("03 00"));
    EXPECT_EQ(errorText, QString::fromLatin1("W,1#4x6(1)"));
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(WriteCompletion, CoilWriteGivenUpIsReported)
{
    setData(1, "0x", 5, 3, "01 00 01");
    recorder.take();
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(recorder.take(), (Changes{change("0x", 5), change("0x", 6), change("0x", 7)}));
    EXPECT_EQ(getData(1, "0x", 5, 3, 3), payload("00 00 00"));
}

TEST_F(WriteCompletion, BitWriteIsReadModifyWriteAndConfirmed)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    ASSERT_EQ(nextRequest(), adu("01 03 00 02 00 01"));
    EXPECT_EQ(deal(wordsReply(1, 3, {0x8004})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(recorder.take(), Changes()) << "nothing is reported between the two halves";
    const FRAME_PRO write = nextFrame();
    EXPECT_EQ(requestBytes(write), adu("01 10 00 02 00 01 02 80 0C"));
    EXPECT_EQ(deal(writeEcho(write)), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(recorder.take(), Changes{change("4x_bit", 35)});
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, 0);
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 0);
    EXPECT_EQ(getData(1, "4x_bit", 35, 1, 1), payload("01"));
}

TEST_F(WriteCompletion, TwoBitWritesInARowEndWithTheSecond)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    ASSERT_EQ(nextRequest(), adu("01 03 00 02 00 01"));
    setData(1, "4x_bit", 35, 1, "00 00");
    EXPECT_EQ(deal(wordsReply(1, 3, {0})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(exchangeEcho(), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 1) << "the second write is still to come";
    EXPECT_EQ(getData(1, "4x_bit", 35, 1, 1), payload("00"));
    EXPECT_EQ(exchange(wordsReply(1, 3, {8})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(exchangeEcho(), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(area(1, "4x", 2).writtenFlag, 0);
    EXPECT_EQ(getData(1, "4x_bit", 35, 1, 1), payload("00"));
    EXPECT_TRUE(driver.writeList.isEmpty());
}

} // namespace
