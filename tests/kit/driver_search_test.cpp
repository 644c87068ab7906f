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
    const test_line::TemporaryFolder folder;
    EXPECT_EQ("/opt/bin", rtu::foldersBeside("/opt/bin")[0]);
    EXPECT_EQ("/opt/bin/lib", rtu::foldersBeside("/opt/bin")[1]);
    EXPECT_EQ("/opt/bin/../lib", rtu::foldersBeside("/opt/bin")[2]);
    std::ofstream(folder.path() + "/" + Name) << "x";
    EXPECT_EQ(folder.path() + "/" + Name, rtu::findDriver(std::string(), folder.path()));
    EXPECT_FALSE(rtu::executableFolder().empty());
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
    const std::string missing = rtu::findDriver(std::string(), "/nowhere");
    EXPECT_TRUE(missing == Name || missing.front() == '/') << "where this machine has one installed";
    const test_line::Environment paths("LD_LIBRARY_PATH", ":/nowhere:" + folder.path());
    const std::vector<std::string> folders = rtu::systemLibraryFolders();
    EXPECT_EQ("/nowhere", folders[0]);
    EXPECT_EQ(folder.path(), folders[1]);
    EXPECT_LE(1, std::count(folders.begin(), folders.end(), "/usr/local/lib"));
    std::ofstream(folder.path() + "/" + Name) << "x";
    EXPECT_EQ(folder.path() + "/" + Name, rtu::findDriver(std::string(), "/nowhere"));
}

} // namespace
