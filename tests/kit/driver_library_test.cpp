#include "kit/driver/driver_library.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

std::string loadFailure(const std::string &path)
{
    try {
        rtu::DriverLibrary driver(path);
    } catch (const std::runtime_error &error) {
        return error.what();
    }
    return "nothing thrown";
}

TEST(DriverLibrary, LoadsAFileAndAFolder)
{
    const std::string file = TEST_DRIVER;
    EXPECT_EQ(file, rtu::DriverLibrary(file).path());
    const std::string folder = file.substr(0, file.rfind('/'));
    EXPECT_EQ(folder + "/libmodbus_rtu_master.so.1", rtu::DriverLibrary(folder).path());
}

TEST(DriverLibrary, SaysWhichFileIsMissing)
{
    const std::string failure = loadFailure("/nowhere/at/all.so");
    EXPECT_TRUE(contains(failure, "/nowhere/at/all.so")) << failure;
}

TEST(DriverLibrary, SaysWhichEntryPointAnotherLibraryLacks)
{
    EXPECT_EQ("libm.so.6 is not a driver: it has no entry point intf_getProtocolType", loadFailure("libm.so.6"));
}

TEST(DriverLibrary, HasEachEntryPointByItsName)
{
    const rtu::DriverLibrary driver(TEST_DRIVER);
    const rtu::LoadedLibrary library(TEST_DRIVER, rtu::LibraryUse::Shared);
    const auto isOf = [&library](const char *name, auto function) {
        ASSERT_NE(nullptr, function) << name;
        EXPECT_EQ(library.symbol(name), reinterpret_cast<void *>(function)) << name;
    };
    isOf("intf_getProtocolType", driver.getProtocolType);
    isOf("intf_getDriverParameter", driver.getDriverParameter);
    isOf("intf_getDriverPropertyPage", driver.getDriverPropertyPage);
    isOf("intf_SetDriverPropertyPage", driver.setDriverPropertyPage);
    isOf("intf_setAddrValueChangeCallBack", driver.setAddrValueChangeCallBack);
    isOf("intf_initProperty", driver.initProperty);
    isOf("intf_checkAddrValidity", driver.checkAddrValidity);
    isOf("intf_checkAddr", driver.checkAddr);
    isOf("intf_getRegListByType", driver.getRegListByType);
    isOf("intf_getRegDiscription", driver.getRegDiscription);
    isOf("intf_multiCopy", driver.multiCopy);
    isOf("intf_setRcpAddress", driver.setRcpAddress);
    isOf("intf_addrMerge", driver.addrMerge);
    isOf("intf_addConditionRead", driver.addConditionRead);
    isOf("intf_getSendFrame", driver.getSendFrame);
    isOf("intf_dealRcvFrame", driver.dealRcvFrame);
    isOf("intf_getData", driver.getData);
    isOf("intf_setData", driver.setData);
}

TEST(DriverLibrary, LoadsAndUnloadsManyTimes)
{
    for (int i = 0; i < 20; ++i) {
        rtu::DriverLibrary driver(TEST_DRIVER);
        int type = -1;
        driver.getProtocolType(&type);
        EXPECT_EQ(0, type);
    }
}

/** Lets the driver report one change. */
void writeValue(rtu::DriverLibrary &driver)
{
    int status = 0;
    driver.initProperty(nullptr, 0, nullptr, &status, "7#0#0#3#120", nullptr);
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = 1;
    key.regType = QString::fromLatin1("4x");
    key.startAddr = 4;
    key.count = 1;
    QList<KEY_ADDRESS> keys;
    keys << key;
    driver.addrMerge(&keys);
    QString type = key.regType;
    unsigned char bytes[4] = {9, 0, 0, 0};
    driver.setData(1, &type, 4, 1, bytes, 1);
}

TEST(DriverLibrary, CopiesReportToListenersOfTheirOwn)
{
    rtu::DriverLibrary first(TEST_DRIVER, rtu::LibraryUse::OwnCopy);
    rtu::DriverLibrary second(TEST_DRIVER, rtu::LibraryUse::OwnCopy);
    EXPECT_EQ(TEST_DRIVER, first.path());
    int changes[2] = {0, 0};
    first.setChangeListener([&](const rtu::ValueChange &) { ++changes[0]; });
    second.setChangeListener([&](const rtu::ValueChange &) { ++changes[1]; });
    writeValue(first);
    EXPECT_EQ(1, changes[0]);
    EXPECT_EQ(0, changes[1]);
    first.setChangeListener([&](const rtu::ValueChange &) { changes[0] += 10; });
    writeValue(first);
    EXPECT_EQ(11, changes[0]);
    writeValue(second);
    EXPECT_EQ(1, changes[1]);
}

TEST(DriverLibrary, ReportsToNobodyOnceItsListenerHasGone)
{
    rtu::DriverLibrary staying(TEST_DRIVER);
    int changes[2] = {0, 0};
    {
        rtu::DriverLibrary going(TEST_DRIVER);
        going.setChangeListener([&](const rtu::ValueChange &) { ++changes[0]; });
        writeValue(staying);
        EXPECT_EQ(1, changes[0]);
    }
    // It is given the callback that has become free, which the shared driver must not know any more.
    rtu::DriverLibrary other(TEST_DRIVER, rtu::LibraryUse::OwnCopy);
    other.setChangeListener([&](const rtu::ValueChange &) { ++changes[1]; });
    writeValue(staying);
    EXPECT_EQ(1, changes[0]);
    EXPECT_EQ(0, changes[1]);
}

} // namespace
