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
    const std::string failure = loadFailure("libm.so.6");
    EXPECT_TRUE(contains(failure, "not a driver")) << failure;
    EXPECT_TRUE(contains(failure, "intf_getProtocolType")) << failure;
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

} // namespace
