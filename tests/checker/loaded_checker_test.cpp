// The built checker, loaded in the place of the driver.

#include "loaded/elf_file.h"
#include "loaded/loaded_driver.h"
#include "support/file_content.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

namespace {

std::vector<std::string> filesIn(const std::string &folder)
{
    std::vector<std::string> names;
    DIR *open = ::opendir(folder.c_str());
    while (const dirent *entry = ::readdir(open)) {
        if (entry->d_name[0] != '.')
            names.push_back(entry->d_name);
    }
    ::closedir(open);
    return names;
}

/** Memory files that are mapped into this process. */
int memoryFiles()
{
    std::ifstream maps("/proc/self/maps");
    std::vector<std::string> names;
    for (std::string line; std::getline(maps, line);) {
        const std::size_t at = line.find("/memfd:libmodbus_rtu_master");
        if (at != std::string::npos && line.find(" 00000000 ") != std::string::npos)
            names.push_back(line.substr(at));
    }
    return static_cast<int>(names.size());
}

class LoadedChecker : public ::testing::Test
{
protected:
    LoadedChecker()
    {
        char pattern[] = "/tmp/checker-test.XXXXXX";
        folder = ::mkdtemp(pattern);
        output = folder + "/findings";
        ::setenv("MODBUS_RTU_CHECK_OUTPUT", output.c_str(), 1);
    }
    ~LoadedChecker() override
    {
        for (const char *name : {"MODBUS_RTU_CHECK_OUTPUT", "MODBUS_RTU_CHECK_IGNORE", "MODBUS_RTU_CHECK_ABORT",
                                 "MODBUS_RTU_DRIVER", "TMPDIR"})
            ::unsetenv(name);
        for (const std::string &name : filesIn(folder))
            ::unlink((folder + "/" + name).c_str());
        ::rmdir(folder.c_str());
    }

    std::string told() const { return support::fileContent(output); }

    std::string copyOfChecker(const std::string &name) const
    {
        const std::string path = folder + "/" + name;
        std::ofstream(path, std::ios::binary) << support::fileContent(DRIVER_LIBRARY_FILE);
        return path;
    }

    std::string folder;
    std::string output;
};

void setUp(const LoadedDriver &driver)
{
    ENTRY(driver, intf_initProperty)(nullptr, 0, nullptr, nullptr, "1#0#0#3#32", nullptr);
}

int write(const LoadedDriver &driver, int value)
{
    QString type = QLatin1String("4x");
    unsigned char bytes[2] = {static_cast<unsigned char>(value), 0};
    return ENTRY(driver, intf_setData)(1, &type, 0, 1, bytes, 0);
}

int valueIn(const LoadedDriver &driver)
{
    QString type = QLatin1String("4x");
    unsigned char bytes[2] = {0, 0};
    ENTRY(driver, intf_getData)(1, &type, 0, 1, bytes);
    return bytes[0];
}

/** Something that is found and does no harm. */
void misuse(const LoadedDriver &driver)
{
    QString type = QLatin1String("5x");
    unsigned char bytes[2] = {0, 0};
    ENTRY(driver, intf_getData)(1, &type, 0, 1, bytes);
}

// --- the file ---------------------------------------------------------------------------

TEST_F(LoadedChecker, ExportsWhatTheDriverExports)
{
    const std::vector<std::string> own = ElfFile(DRIVER_LIBRARY_FILE).definedDynamicSymbols();
    const std::vector<std::string> driver = ElfFile(REAL_DRIVER_FILE).definedDynamicSymbols();
    EXPECT_EQ(std::set<std::string>(own.begin(), own.end()), std::set<std::string>(driver.begin(), driver.end()));
    EXPECT_EQ(own.size(), 18u);
    EXPECT_EQ(ElfFile(DRIVER_LIBRARY_FILE).soname(), "libmodbus_rtu_master_check.so.1");
}

// --- the driver behind it -----------------------------------------------------------------

TEST_F(LoadedChecker, FindsTheDriverBesideItself)
{
    const LoadedDriver checker;
    setUp(checker);
    write(checker, 7);
    EXPECT_EQ(valueIn(checker), 7);
    FRAME_PRO frame = FRAME_PRO();
    EXPECT_EQ(ENTRY(checker, intf_getSendFrame)(&frame), 1);
    EXPECT_EQ(frame.frame[1], 6);
    EXPECT_EQ(told(), "");
}

TEST_F(LoadedChecker, TakesTheDriverThatTheEnvironmentNames)
{
    ::setenv("MODBUS_RTU_DRIVER", REAL_DRIVER_FILE, 1);
    const LoadedDriver checker(copyOfChecker("elsewhere.so"));
    setUp(checker);
    write(checker, 7);
    EXPECT_EQ(valueIn(checker), 7);
    EXPECT_EQ(told(), "");
}

TEST_F(LoadedChecker, FindsTheDriverBesideAnotherCheckerThatIsLoaded)
{
    const LoadedDriver original;
    const LoadedDriver copy(copyOfChecker("elsewhere.so"));
    setUp(copy);
    write(copy, 7);
    EXPECT_EQ(valueIn(copy), 7);
    EXPECT_EQ(told(), "");
}

TEST_F(LoadedChecker, HasADriverOfItsOwnInEveryCopy)
{
    ::setenv("MODBUS_RTU_DRIVER", REAL_DRIVER_FILE, 1);
    const LoadedDriver driver(REAL_DRIVER_FILE);
    setUp(driver);
    std::vector<std::unique_ptr<LoadedDriver>> checkers;
    for (int i = 0; i < 16; ++i) {
        checkers.push_back(std::make_unique<LoadedDriver>(copyOfChecker("copy" + std::to_string(i) + ".so")));
        setUp(*checkers.back());
        write(*checkers.back(), 10 + i);
    }
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(valueIn(*checkers[static_cast<std::size_t>(i)]), 10 + i);
    EXPECT_EQ(valueIn(driver), 0);
    EXPECT_EQ(told(), "");
}

TEST_F(LoadedChecker, LeavesNothingBehind)
{
    ::setenv("TMPDIR", folder.c_str(), 1);
    const std::size_t descriptors = filesIn("/proc/self/fd").size();
    for (int i = 0; i < 5; ++i) {
        const LoadedDriver checker;
        setUp(checker);
        EXPECT_EQ(memoryFiles(), 1);
    }
    EXPECT_EQ(filesIn("/proc/self/fd").size(), descriptors);
    EXPECT_EQ(memoryFiles(), 0);
    EXPECT_EQ(filesIn(folder), std::vector<std::string>(1, "findings"));
    EXPECT_FALSE(LoadedDriver::isLoaded());
}

TEST_F(LoadedChecker, TellsOfADriverThatIsNotThereAndDoesNothing)
{
    ::setenv("MODBUS_RTU_DRIVER", "/nowhere/libmodbus_rtu_master.so.1", 1);
    const LoadedDriver checker;
    EXPECT_NE(told().find("driver-missing"), std::string::npos) << told();
    FRAME_PRO frame = FRAME_PRO();
    EXPECT_EQ(ENTRY(checker, intf_initProperty)(nullptr, 0, nullptr, nullptr, "1#0#0#3#32", nullptr), 0);
    EXPECT_EQ(ENTRY(checker, intf_getSendFrame)(&frame), 0);
    EXPECT_EQ(write(checker, 7), 0);
}

TEST_F(LoadedChecker, DoesNotTakeACheckerForADriver)
{
    ::setenv("MODBUS_RTU_DRIVER", DRIVER_LIBRARY_FILE, 1);
    const LoadedDriver checker;
    EXPECT_NE(told().find("is a checker, not a driver"), std::string::npos) << told();
}

TEST_F(LoadedChecker, TellsOfAFileThatIsNoLibrary)
{
    std::ofstream(folder + "/text") << "no library";
    ::setenv("MODBUS_RTU_DRIVER", (folder + "/text").c_str(), 1);
    const LoadedDriver checker;
    EXPECT_NE(told().find("driver-missing"), std::string::npos) << told();
}

// --- what is told -------------------------------------------------------------------------

TEST_F(LoadedChecker, TellsEachFindingOnceAndCountsItAtTheEnd)
{
    {
        const LoadedDriver checker;
        setUp(checker);
        for (int i = 0; i < 5; ++i)
            misuse(checker);
    }
    EXPECT_EQ(told(),
              "modbus_rtu_master_check, link 1: error unknown-type: intf_getData, regType: there is no register "
              "type \"5x\". Right: give one of 0x, 1x, 3x, 4x, 3x_bit, 4x_bit, 3x_double, 4x_double, in these "
              "letters. See docs/address-language.md\n"
              "modbus_rtu_master_check, link 1: unknown-type: intf_getData: 5 times in all\n");
}

TEST_F(LoadedChecker, KeepsQuietAboutWhatIsToBeIgnored)
{
    ::setenv("MODBUS_RTU_CHECK_IGNORE", "half-double,unknown-type", 1);
    {
        const LoadedDriver checker;
        setUp(checker);
        misuse(checker);
    }
    EXPECT_EQ(told(), "");
}

TEST_F(LoadedChecker, AbortsAtTheFirstFindingThatMattersEnough)
{
    ::setenv("MODBUS_RTU_CHECK_ABORT", "warning", 1);
    ::setenv("MODBUS_RTU_CHECK_OUTPUT", "stderr", 1);
    const LoadedDriver checker;
    ENTRY(checker, intf_initProperty)(nullptr, 0, nullptr, nullptr, "1#1#0#3#32", nullptr); // a hint
    EXPECT_DEATH(misuse(checker), "unknown-type");
}

std::atomic<bool> inside{false};

int stayInside(int, int, QString *, int)
{
    inside = true;
    for (;;)
        ::pause();
}

/** Unloads while another thread is in the callback; the process must end before that thread goes on. */
void unloadWithThreadInside()
{
    LoadedDriver *checker = new LoadedDriver;
    ENTRY(*checker, intf_setAddrValueChangeCallBack)(&stayInside);
    setUp(*checker);
    std::thread([checker] {
        QString type = QLatin1String("0x"); // coils are reported, watched or not
        unsigned char on = 1;
        ENTRY(*checker, intf_setData)(1, &type, 0, 1, &on, 0);
    }).detach();
    while (!inside)
        std::this_thread::yield();
    delete checker;
    ::_exit(0);
}

TEST_F(LoadedChecker, TellsOfUnloadingWithAThreadInside)
{
    if (EMULATED)
        GTEST_SKIP() << "an emulated program cannot start itself again";
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    ::setenv("MODBUS_RTU_CHECK_OUTPUT", "stderr", 1);
    EXPECT_EXIT(unloadWithThreadInside(), ::testing::ExitedWithCode(0),
                "unload-with-thread-inside: dlclose: a thread is still inside intf_setData");
}

} // namespace
