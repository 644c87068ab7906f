#include "kit/driver/driver_search.h"

#include "kit/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace {

const char *const Name = "libmodbus_rtu_master.so.1";

TEST(DriverSearch, LooksBesideTheProgramFirst)
{
    const std::vector<std::string> paths = rtu::driverSearchPath("/opt/bin");
    ASSERT_GE(paths.size(), 3u);
    EXPECT_EQ("/opt/bin/libmodbus_rtu_master.so.1", paths[0]);
    EXPECT_EQ("/opt/bin/lib/libmodbus_rtu_master.so.1", paths[1]);
    EXPECT_EQ("/opt/bin/../lib/libmodbus_rtu_master.so.1", paths[2]);
}

TEST(DriverSearch, TakesAFileAndAFolder)
{
    const test_line::TemporaryFolder folder;
    EXPECT_EQ(folder.path() + "/" + Name, rtu::findDriver(folder.path()));
    EXPECT_EQ("/nowhere/at/all.so", rtu::findDriver("/nowhere/at/all.so"));
}

TEST(DriverSearch, LooksWhereTheSystemLooks)
{
    const test_line::TemporaryFolder folder;
    const std::string missing = rtu::findDriver(std::string());
    const test_line::Environment paths("LD_LIBRARY_PATH", ":/nowhere:" + folder.path());
    const std::vector<std::string> folders = rtu::systemLibraryFolders();
    EXPECT_EQ("/nowhere", folders[0]);
    EXPECT_EQ(folder.path(), folders[1]);
    EXPECT_LE(1, std::count(folders.begin(), folders.end(), "/usr/local/lib"));
    std::ofstream(folder.path() + "/" + Name) << "x";
    const std::string found = rtu::findDriver(std::string());
    if (missing == Name || missing.compare(0, 4, "/usr") == 0) // nothing beside this program
        EXPECT_EQ(folder.path() + "/" + Name, found);
    else
        EXPECT_EQ(missing, found);
}

} // namespace
