// What a callback sees when it reads the value it is told about.
//
// Reads and host writes report before they store; a read and the end of a write
// clear the written flag before they report.

#include "support/driver_fixture.h"

namespace {

using namespace support;

typedef std::vector<unsigned char> Bytes;

class CallbackOrder : public DriverFixture
{
protected:
    enum { PlainWord = 1, FirstOfDouble = 2, SecondOfDouble = 4 };

    // Reads the value of `type` and `address` inside every callback.
    void watch(const char *type, int address, int count, int size)
    {
        recorder.hook = [=](const Change &) { seen.push_back(getData(1, type, address, count, size)); };
    }

    // A register that shows `written` while `read` was read last.
    static void showWritten(const char *type, int address, int read, int written)
    {
        _DATA_ &shown = makeArea(1, type, address);
        shown.readValue = read;
        shown.writtenValue = written;
        shown.writtenFlag = 1;
    }

    std::vector<Bytes> seen;
};

// --- reads ------------------------------------------------------------------------

TEST_F(CallbackOrder, ReadOfARegisterReportsBeforeItStores)
{
    plan(Keys() << key(1, "4x", 5, 1));
    cacheRegisters(1, "4x", 5, {3});
    watch("4x", 5, 1, 2);
    EXPECT_EQ(exchange(wordsReply(1, 3, {9})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(seen, std::vector<Bytes>{payload("03 00")});
    EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("09 00"));
}

TEST_F(CallbackOrder, ReadOfARegisterClearsTheFlagBeforeItReports)
{
    const char *const types[] = {"3x", "4x"};
    for (const char *type : types) {
        init("1#0#0#3#100");
        plan(Keys() << key(1, type, 5, 1));
        showWritten(type, 5, 3, 7);
        seen.clear();
        watch(type, 5, 1, 2);
        EXPECT_EQ(exchange(wordsReply(1, 3, {9})), static_cast<int>(ReplyAccepted));
        EXPECT_EQ(seen, std::vector<Bytes>{payload("03 00")}) << type << ": neither 7 nor 9";
        EXPECT_EQ(getData(1, type, 5, 1, 2), payload("09 00")) << type;
    }
}

TEST_F(CallbackOrder, ReadOfADoubleStoresRegisterByRegister)
{
    plan(Keys() << key(1, "4x_double", 5, 2));
    watch("4x_double", 5, 2, 4);
    EXPECT_EQ(exchange(wordsReply(1, 3, {0x1234, 0x5678})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(seen, (std::vector<Bytes>{payload("00 00 00 00"), payload("00 00 34 12")}));
    EXPECT_EQ(getData(1, "4x_double", 5, 2, 4), payload("78 56 34 12"));
}

TEST_F(CallbackOrder, ReadOfACoilReportsBeforeItStores)
{
    plan(Keys() << key(1, "0x", 5, 2));
    makeArea(1, "0x", 6).writtenValue = 1;
    makeArea(1, "0x", 6).writtenFlag = 1;
    watch("0x", 5, 2, 2);
    EXPECT_EQ(exchange(bitsReply(1, 1, {1, 1})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(seen, (std::vector<Bytes>{payload("00 01"), payload("01 00")}));
    EXPECT_EQ(getData(1, "0x", 5, 2, 2), payload("01 01"));
}

// --- host writes ------------------------------------------------------------------

TEST_F(CallbackOrder, WriteOfACoilReportsBeforeItStores)
{
    watch("0x", 5, 2, 2);
    setData(1, "0x", 5, 2, "01 01");
    EXPECT_EQ(seen, (std::vector<Bytes>{payload("00 00"), payload("01 00")}));
    EXPECT_EQ(getData(1, "0x", 5, 2, 2), payload("01 01"));
}

TEST_F(CallbackOrder, WriteOfARegisterReportsBeforeItStores)
{
    makeArea(1, "4x", 5).wordMonitor = PlainWord;
    cacheRegisters(1, "4x", 5, {3});
    watch("4x", 5, 1, 2);
    setData(1, "4x", 5, 1, "09 00");
    setData(1, "4x", 5, 1, "0A 00");
    EXPECT_EQ(seen, (std::vector<Bytes>{payload("03 00"), payload("09 00")}));
    EXPECT_EQ(getData(1, "4x", 5, 1, 2), payload("0A 00"));
}

TEST_F(CallbackOrder, WriteOfADoubleReportsBeforeItStores)
{
    makeArea(1, "4x", 5).wordMonitor = FirstOfDouble;
    makeArea(1, "4x", 6).wordMonitor = SecondOfDouble;
    watch("4x_double", 5, 2, 4);
    setData(1, "4x_double", 5, 2, "78 56 34 12");
    EXPECT_EQ(seen, (std::vector<Bytes>{payload("00 00 00 00"), payload("00 00 34 12")}));
}

TEST_F(CallbackOrder, WriteOfABitReportsBeforeItStores)
{
    const char *const types[][2] = {{"3x_bit", "3x"}, {"4x_bit", "4x"}};
    for (const auto &type : types) {
        makeArea(1, type[1], 2).wordMonitor = PlainWord;
        seen.clear();
        watch(type[0], 35, 1, 1);
        setData(1, type[0], 35, 1, "01 00");
        EXPECT_EQ(seen, std::vector<Bytes>{payload("00")}) << type[0];
        EXPECT_EQ(getData(1, type[0], 35, 1, 1), payload("01")) << type[0];
    }
}

TEST_F(CallbackOrder, WriteIsQueuedBeforeItIsReported)
{
    int queuedInCallback = -1;
    recorder.hook = [&](const Change &) { queuedInCallback = static_cast<int>(driver.writeList.size()); };
    setData(1, "0x", 5, 1, "01");
    EXPECT_EQ(queuedInCallback, 1);
}

// --- end of a write ---------------------------------------------------------------

TEST_F(CallbackOrder, FailedCoilWriteShowsTheReadValueInTheCallback)
{
    setData(1, "0x", 5, 2, "01 01");
    watch("0x", 5, 2, 2);
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(seen, (std::vector<Bytes>{payload("00 01"), payload("00 00")}));
}

TEST_F(CallbackOrder, FailedRegisterWriteShowsTheReadValueInTheCallback)
{
    makeArea(1, "4x", 5).wordMonitor = PlainWord;
    cacheRegisters(1, "4x", 5, {3});
    setData(1, "4x", 5, 1, "09 00");
    watch("4x", 5, 1, 2);
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(seen, std::vector<Bytes>{payload("03 00")});
}

TEST_F(CallbackOrder, ConfirmedBitIsStoredBeforeItIsReported)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    EXPECT_EQ(exchange(wordsReply(1, 3, {0})), static_cast<int>(ReplyAccepted));
    int readValue = -1;
    int flag = -1;
    recorder.hook = [&](const Change &) {
        readValue = area(1, "4x", 2).readValue;
        flag = area(1, "4x", 2).writtenFlag;
    };
    EXPECT_EQ(exchangeEcho(), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(readValue, 8);
    EXPECT_EQ(flag, 0);
}

TEST_F(CallbackOrder, FailedBitWriteShowsTheReadValueInTheCallback)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    watch("4x_bit", 35, 1, 1);
    EXPECT_EQ(exchangeUntilGivenUp(), 3);
    EXPECT_EQ(seen, std::vector<Bytes>{payload("00")});
}

// --- callbacks that change the cache under the call -------------------------------

// A hundred new areas make the list move; nothing may hold on to its old place.
TEST_F(CallbackOrder, AreasMayBeAddedInsideACallback)
{
    int fresh = 1000;
    recorder.hook = [&](const Change &) {
        const int first = fresh;
        fresh += 100;
        getData(2, "4x", first, 100, 200);
    };
    plan(Keys() << key(1, "0x", 0, 4) << key(1, "4x_double", 0, 4) << key(1, "4x_bit", 0, 32));
    setData(1, "0x", 0, 4, "01 01 01 01");
    setData(1, "4x_double", 0, 4, "01 00 02 00 03 00 04 00");
    setData(1, "4x_bit", 14, 3, "01 01 01 00 00 00");
    EXPECT_EQ(getData(1, "0x", 0, 4, 4), payload("01 01 01 01"));
    EXPECT_EQ(getData(1, "4x", 0, 4, 8), payload("02 C0 01 00 04 00 03 00"));
    while (!driver.writeList.isEmpty())
        exchangeUntilGivenUp();
    EXPECT_EQ(getData(1, "0x", 0, 4, 4), payload("00 00 00 00"));
    EXPECT_EQ(getData(1, "4x", 0, 4, 8), payload("00 00 00 00 00 00 00 00"));
    ASSERT_EQ(nextRequest(), adu("01 01 00 00 00 04"));
    EXPECT_EQ(deal(bitsReply(1, 1, {1, 1, 1, 1})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(getData(1, "0x", 0, 4, 4), payload("01 01 01 01"));
}

// The host starts over from inside a callback: the rest of the call goes on
// with areas of its own.
TEST_F(CallbackOrder, CacheMayBeEmptiedInsideACallback)
{
    bool emptied = false;
    recorder.hook = [&](const Change &) {
        if (emptied)
            return;
        emptied = true;
        init("1#0#0#3#100");
    };
    for (int i = 0; i < 100; ++i)
        makeArea(3, "4x", i);
    setData(1, "0x", 0, 4, "01 01 01 01");
    EXPECT_TRUE(emptied);
    EXPECT_EQ(getData(1, "0x", 0, 4, 4), payload("01 01 01 01"));

    emptied = false;
    plan(Keys() << key(1, "4x", 0, 4));
    nextFrame();
    deal(wordsReply(1, 3, {1, 2, 3, 4}));
    EXPECT_TRUE(emptied);
    EXPECT_EQ(nextRequest(), QByteArray());
}

} // namespace
