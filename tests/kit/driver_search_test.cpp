#include "kit/driver/driver_search.h"

#include "kit/temporary_folder.h"

#include <gtest/gtest.h>

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace {

using Folders = std::vector<std::string>;

const char *const Name = "libmodbus_rtu_master.so.1";

TEST(DriverSearch, LooksBesideTheProgramFirst)
{
    const test_line::TemporaryFolder folder;
    const Folders beside = {"/opt/bin", "/opt/bin/lib", "/opt/bin/../lib", "/opt/bin/../" MODBUS_LIBDIR,
                            "/opt/bin/../../lib"};
    EXPECT_EQ(beside, rtu::foldersBeside("/opt/bin"));
    std::ofstream(folder.path() + "/" + Name) << "x";
    EXPECT_EQ(folder.path() + "/" + Name, rtu::findDriver(std::string(), folder.path()));
    EXPECT_EQ(0, ::access((rtu::executableFolder() + "/" + ::program_invocation_short_name).c_str(), X_OK));
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
    std::ofstream(folder.path() + "/" + Name) << "x";
    EXPECT_EQ(folder.path() + "/" + Name, rtu::findDriver(std::string(), "/nowhere"));
}

TEST(DriverSearch, ReadsTheSettingsOfTheSystemsLoader)
{
    const test_line::TemporaryFolder folder;
    const std::string settings = folder.path() + "/ld.conf";
    const std::string further = settings + ".d";
    ASSERT_EQ(0, ::mkdir(further.c_str(), 0700));
    std::ofstream(settings) << "include whatever\n/last\n";
    std::ofstream(further + "/b.conf") << "# a comment\n\n/second\n/third\n";
    std::ofstream(further + "/a.conf") << "/first";
    std::ofstream(further + "/c.text") << "/not/looked/at\n";
    const Folders expected = {
        "/given", "/first", "/second", "/third", "/last", "/usr/local/lib", "/lib", "/usr/lib", "/usr/" MODBUS_LIBDIR};
    {
        const test_line::Environment paths("LD_LIBRARY_PATH", ":/given");
        EXPECT_EQ(expected, rtu::systemLibraryFolders(settings));
        ::unsetenv("LD_LIBRARY_PATH");
        EXPECT_EQ(Folders(expected.begin() + 1, expected.end()), rtu::systemLibraryFolders(settings));
        EXPECT_EQ(Folders(expected.begin() + 5, expected.end()), rtu::systemLibraryFolders("/nowhere/ld.conf"));
    }
    for (const std::string &name : test_line::namesIn(further))
        ::unlink((further + "/" + name).c_str());
    ::rmdir(further.c_str());
}

TEST(DriverSearch, ReadsTheSettingsOfThisSystem)
{
    const Folders folders = rtu::systemLibraryFolders();
    EXPECT_EQ(rtu::systemLibraryFolders("/etc/ld.so.conf"), folders);
}

} // namespace
