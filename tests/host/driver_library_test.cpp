#include "driver_test.h"

#include <stdlib.h>
#include <unistd.h>

namespace {

using namespace test_host;

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

class Changes : public DriverTest
{
};

TEST_F(Changes, ReachTheListener)
{
    std::vector<rtu::ValueChange> changes;
    driver.setChangeListener([&](const rtu::ValueChange &change) { changes.push_back(change); });
    rtu::DriverProperty property;
    property.linkId = 7;
    session.configure(property);
    session.plan(std::vector<rtu::Tag>(1, tag("4x5@3")));
    rtu::TagWrite write;
    write.tag = tag("4x5@3");
    write.raw.push_back(9);
    rtu::writeTag(driver, write, 120, 1);
    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(7, changes[0].linkId);
    EXPECT_EQ(3, changes[0].station);
    EXPECT_EQ("4x", changes[0].regType.toStdString());
    EXPECT_EQ(4, changes[0].address);
}

class Catalog : public DriverTest
{
};

TEST_F(Catalog, KnowsTheDriversEightTypes)
{
    EXPECT_EQ("0x, 1x, 3x_bit, 4x_bit, 3x, 4x, 3x_double, 4x_double", catalog.names());
    ASSERT_NE(nullptr, catalog.find("4x_bit"));
    EXPECT_TRUE(catalog.find("4x_bit")->bitInRegister);
    EXPECT_TRUE(catalog.find("4x_bit")->isBit());
    EXPECT_TRUE(catalog.find("4x_double")->isDouble());
    EXPECT_EQ(2, catalog.find("4x_double")->unitsPerValue());
    EXPECT_FALSE(catalog.find("3x")->writable);
    EXPECT_EQ(nullptr, catalog.find("5x"));
}

TEST_F(Catalog, FindsTheLongestTypeInFront)
{
    EXPECT_EQ("4x", catalog.prefixOf("4x100")->name);
    EXPECT_EQ("4x_double", catalog.prefixOf("4x_double7")->name);
    EXPECT_EQ("4x_bit", catalog.prefixOf("4x_bit3.5")->name);
    EXPECT_EQ(nullptr, catalog.prefixOf("9x1"));
}

TEST_F(Catalog, WritesAddressesAsTheDriverReadsThem)
{
    EXPECT_EQ("100", rtu::addressText(*catalog.find("4x"), 99));
    EXPECT_EQ("3.5", rtu::addressText(*catalog.find("4x_bit"), 37));
}

} // namespace
