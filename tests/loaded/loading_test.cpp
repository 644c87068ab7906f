// Loading, unloading and the first calls, as a host does them.

#include "allocated_bytes.h"
#include "loaded_driver.h"
#include "support/host_memory.h"
#include "support/records.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <vector>

namespace {

const int stations = 4;
const int conditionReads = 100;

/** Fills every list of the driver: settings, plan, cache, queues, recipe rows, a frame in flight. */
void fill(const LoadedDriver &loaded, support::HostMemory &memory)
{
    int status = -1;
    ENTRY(loaded, intf_initProperty)
    (memory.hostArea.data(), 0, memory.hostWords.data(), &status, "1#0#0#3#32#0_1,2,3", &memory.hostMutex);
    QList<KEY_ADDRESS> keys;
    QVector<_RCP_VAR_PRO> rows;
    for (int station = 1; station <= stations; ++station) {
        for (int address = 0; address < 50; ++address)
            keys << support::key(station, "4x", address * 3, 1);
        rows << support::row(1, station, "4x", 0, 2, station * 2);
    }
    ASSERT_EQ(ENTRY(loaded, intf_setRcpAddress)(&rows), stations);
    ASSERT_GT(ENTRY(loaded, intf_addrMerge)(&keys), 0);
    QString type = "4x";
    unsigned char value[2] = {0x34, 0x12};
    ASSERT_EQ(ENTRY(loaded, intf_setData)(1, &type, 9, 1, value, 0), 1);
    for (int i = 0; i < conditionReads; ++i) {
        KEY_ADDRESS once = support::key(2, "4x", 500 + i, 1);
        ASSERT_EQ(ENTRY(loaded, intf_addConditionRead)(&once, 0), 1);
    }
    std::vector<FRAME_PRO> frame(1);
    ASSERT_EQ(ENTRY(loaded, intf_getSendFrame)(frame.data()), 1);
}

void loadFillAndUnload()
{
    support::HostMemory memory(64);
    {
        const LoadedDriver loaded;
        fill(loaded, memory);
    }
    ASSERT_FALSE(LoadedDriver::isLoaded());
}

TEST(Loading, UnloadingTakesTheLibraryOutOfTheProcess)
{
    ASSERT_FALSE(LoadedDriver::isLoaded());
    {
        const LoadedDriver loaded;
        EXPECT_TRUE(LoadedDriver::isLoaded());
    }
    EXPECT_FALSE(LoadedDriver::isLoaded());
}

/** What the C library, the loader and Qt set up once for the process is not a leak. */
void warmUp()
{
    for (int i = 0; i < 5; ++i)
        loadFillAndUnload();
}

TEST(Loading, AHundredLoadsLeakNothing)
{
    warmUp();
    const std::size_t before = allocatedBytes();
    for (int i = 0; i < 100; ++i)
        loadFillAndUnload();
    EXPECT_LE(allocatedBytes(), before + bookkeeping(100));
    EXPECT_FALSE(hasLeaks());
}

TEST(Loading, UnloadingReleasesWhatTheDriverHolds)
{
    warmUp();
    support::HostMemory memory(64);
    const std::size_t before = allocatedBytes();
    {
        const LoadedDriver loaded;
        fill(loaded, memory);
        // Without the driver's requests in the count the check below would prove nothing.
        EXPECT_GT(allocatedBytes(), before + conditionReads * sizeof(VARIABLE));
    }
    EXPECT_LE(allocatedBytes(), before + bookkeeping(1));
}

TEST(Loading, EachLoadStartsFromNothing)
{
    loadFillAndUnload();
    const LoadedDriver loaded;
    std::vector<FRAME_PRO> frame(1);
    EXPECT_EQ(ENTRY(loaded, intf_getSendFrame)(frame.data()), 0);
    QString type = "4x";
    unsigned char value[2] = {0xAA, 0xAA};
    EXPECT_EQ(ENTRY(loaded, intf_getData)(1, &type, 9, 1, value), 1);
    EXPECT_EQ(value[0] + value[1], 0);
}

TEST(Loading, TwoLoadsShareOneDriver)
{
    const LoadedDriver first;
    const LoadedDriver second;
    int status = -1;
    // Local writes only, so that no request is queued.
    ENTRY(first, intf_initProperty)(nullptr, 0, nullptr, &status, "1#1#0#3#32", nullptr);
    QString type = "4x";
    unsigned char value[2] = {0x34, 0x12};
    ENTRY(first, intf_setData)(1, &type, 9, 1, value, 0);
    unsigned char seen[2] = {0, 0};
    ENTRY(second, intf_getData)(1, &type, 9, 1, seen);
    EXPECT_EQ(seen[0], 0x34);
    EXPECT_EQ(seen[1], 0x12);
}

// --- every call, first after loading ------------------------------------------------

struct FirstCall
{
    const char *name;
    void (*run)(const LoadedDriver &loaded);
};

void PrintTo(const FirstCall &call, std::ostream *out)
{
    *out << call.name;
}

QString type4x()
{
    return QString("4x");
}

const FirstCall firstCalls[] = {
    {"getProtocolType",
     [](const LoadedDriver &loaded) {
         int type = -1;
         ENTRY(loaded, intf_getProtocolType)(&type);
         EXPECT_EQ(type, 0);
     }},
    {"getDriverParameter",
     [](const LoadedDriver &loaded) {
         QString text;
         ENTRY(loaded, intf_getDriverParameter)(&text);
         EXPECT_EQ(text.split(",").size(), 18);
     }},
    {"getDriverPropertyPage",
     [](const LoadedDriver &loaded) {
         QString text;
         ENTRY(loaded, intf_getDriverPropertyPage)(&text);
         EXPECT_TRUE(text == "0_0");
     }},
    {"SetDriverPropertyPage",
     [](const LoadedDriver &loaded) {
         QString text("before");
         ENTRY(loaded, intf_SetDriverPropertyPage)(&text);
         EXPECT_TRUE(text.isEmpty());
     }},
    {"setAddrValueChangeCallBack",
     [](const LoadedDriver &loaded) {
         const auto setCallBack = ENTRY(loaded, intf_setAddrValueChangeCallBack);
         setCallBack(nullptr);
     }},
    {"initProperty",
     [](const LoadedDriver &loaded) {
         int status = -1;
         EXPECT_EQ(ENTRY(loaded, intf_initProperty)(nullptr, 0, nullptr, &status, "", nullptr), 1);
         EXPECT_EQ(status, 0);
     }},
    {"checkAddrValidity",
     [](const LoadedDriver &loaded) {
         QString type = type4x(), address("10");
         int out = -1;
         EXPECT_EQ(ENTRY(loaded, intf_checkAddrValidity)(&type, &address, &out, 1, 1), 0);
         EXPECT_EQ(out, 9);
     }},
    {"checkAddr",
     [](const LoadedDriver &loaded) {
         QString type = type4x(), address("10");
         int out = -1;
         EXPECT_EQ(ENTRY(loaded, intf_checkAddr)(&type, &address, &out, 0, 1, 1), 0);
         EXPECT_EQ(out, 9);
     }},
    {"getRegListByType",
     [](const LoadedDriver &loaded) {
         QList<QString> list;
         EXPECT_EQ(ENTRY(loaded, intf_getRegListByType)(0, &list), 1);
         EXPECT_FALSE(list.isEmpty());
     }},
    {"getRegDiscription",
     [](const LoadedDriver &loaded) {
         QString type = type4x();
         QList<QString> list;
         ENTRY(loaded, intf_getRegDiscription)(&type, &list);
         EXPECT_EQ(list.size(), 5);
     }},
    {"multiCopy",
     [](const LoadedDriver &loaded) {
         QString type = type4x();
         QVector<QString> texts;
         QVector<int> addresses;
         EXPECT_EQ(ENTRY(loaded, intf_multiCopy)(&type, 0, 3, 1, &texts, &addresses), 1);
         EXPECT_EQ(addresses.size(), 3);
     }},
    {"setRcpAddress",
     [](const LoadedDriver &loaded) {
         QVector<_RCP_VAR_PRO> rows;
         EXPECT_EQ(ENTRY(loaded, intf_setRcpAddress)(&rows), 0);
     }},
    {"addrMerge",
     [](const LoadedDriver &loaded) {
         QList<KEY_ADDRESS> keys;
         EXPECT_EQ(ENTRY(loaded, intf_addrMerge)(&keys), 0);
     }},
    {"addrMergeOfOneKey",
     [](const LoadedDriver &loaded) {
         QList<KEY_ADDRESS> keys;
         keys << support::key(1, "4x", 0, 1);
         EXPECT_EQ(ENTRY(loaded, intf_addrMerge)(&keys), 1);
     }},
    {"addConditionRead",
     [](const LoadedDriver &loaded) {
         KEY_ADDRESS key = support::key(1, "4x", 0, 1);
         EXPECT_EQ(ENTRY(loaded, intf_addConditionRead)(&key, 0), 1);
     }},
    {"getSendFrame",
     [](const LoadedDriver &loaded) {
         std::vector<FRAME_PRO> frame(1);
         EXPECT_EQ(ENTRY(loaded, intf_getSendFrame)(frame.data()), 0);
     }},
    {"dealRcvFrame",
     [](const LoadedDriver &loaded) {
         QByteArray reply("\x01\x03\x02", 3);
         QString text;
         EXPECT_EQ(ENTRY(loaded, intf_dealRcvFrame)(&reply, &text), 0);
     }},
    {"getData",
     [](const LoadedDriver &loaded) {
         QString type = type4x();
         unsigned char value[2] = {0xAA, 0xAA};
         EXPECT_EQ(ENTRY(loaded, intf_getData)(1, &type, 0, 1, value), 1);
         EXPECT_EQ(value[0] + value[1], 0);
     }},
    {"setData",
     [](const LoadedDriver &loaded) {
         QString type = type4x();
         unsigned char value[2] = {1, 0};
         EXPECT_EQ(ENTRY(loaded, intf_setData)(1, &type, 0, 1, value, 0), 1);
     }},
};

class FirstCallTest : public ::testing::TestWithParam<FirstCall>
{
};

TEST_P(FirstCallTest, IsSafeStraightAfterLoading)
{
    const LoadedDriver loaded;
    GetParam().run(loaded);
}

INSTANTIATE_TEST_SUITE_P(EveryEntryPoint, FirstCallTest, ::testing::ValuesIn(firstCalls),
                         [](const ::testing::TestParamInfo<FirstCall> &call) { return std::string(call.param.name); });

} // namespace
