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

std::string failureOf(const std::string &path)
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
    const std::string failure = failureOf("/nowhere/at/all.so");
    EXPECT_TRUE(contains(failure, "/nowhere/at/all.so")) << failure;
    EXPECT_TRUE(contains(failure, "--driver PATH")) << failure;
}

TEST(DriverLibrary, SaysWhichEntryPointAnotherLibraryLacks)
{
    const std::string failure = failureOf("libm.so.6");
    EXPECT_TRUE(contains(failure, "not a driver")) << failure;
    EXPECT_TRUE(contains(failure, "intf_getProtocolType")) << failure;
}

TEST(DriverLibrary, LooksBesideTheProgramFirst)
{
    const std::vector<std::string> paths = rtu::driverSearchPath("/opt/bin");
    ASSERT_GE(paths.size(), 3u);
    EXPECT_EQ("/opt/bin/libmodbus_rtu_master.so.1", paths[0]);
    EXPECT_EQ("/opt/bin/lib/libmodbus_rtu_master.so.1", paths[1]);
    EXPECT_EQ("/opt/bin/../lib/libmodbus_rtu_master.so.1", paths[2]);
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

} // namespace
