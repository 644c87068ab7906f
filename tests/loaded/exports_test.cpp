// What a host's dynamic linker sees of the built library.

#include "elf_file.h"

#include "version.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

const char *const entryPoints[] = {
    "intf_SetDriverPropertyPage",
    "intf_addConditionRead",
    "intf_addrMerge",
    "intf_checkAddr",
    "intf_checkAddrValidity",
    "intf_dealRcvFrame",
    "intf_getData",
    "intf_getDriverParameter",
    "intf_getDriverPropertyPage",
    "intf_getProtocolType",
    "intf_getRegDiscription",
    "intf_getRegListByType",
    "intf_getSendFrame",
    "intf_initProperty",
    "intf_multiCopy",
    "intf_setAddrValueChangeCallBack",
    "intf_setData",
    "intf_setRcpAddress",
};

std::vector<std::string> sorted(std::vector<std::string> names)
{
    std::sort(names.begin(), names.end());
    return names;
}

/** True for the libraries that every panel has: Qt core, C, maths, the C++ runtime. */
bool isExpected(const std::string &library)
{
    const char *const beginnings[] = {
        "libQtCore.so.4", "libQt5Core.so.5", "libQt6Core.so.6", "libc.so.",       "libm.so.",
        "libstdc++.so.",  "libgcc_s.so.",    "ld-linux",        "libpthread.so.",
    };
    return std::any_of(std::begin(beginnings), std::end(beginnings),
                       [&](const char *beginning) { return library.rfind(beginning, 0) == 0; });
}

bool isSanitizer(const std::string &library)
{
    return library.find("san.so.") != std::string::npos;
}

class BuiltLibrary : public ::testing::Test
{
protected:
    ElfFile library{DRIVER_LIBRARY_FILE};
};

TEST_F(BuiltLibrary, ExportsTheEntryPointsAndNothingElse)
{
    const std::vector<std::string> expected(std::begin(entryPoints), std::end(entryPoints));
    ASSERT_EQ(expected.size(), 18u);
    EXPECT_EQ(sorted(library.definedDynamicSymbols()), sorted(expected));
}

TEST_F(BuiltLibrary, CarriesTheNameThatHostsLoad)
{
    EXPECT_EQ(library.soname(), "libmodbus_rtu_master.so.1");
}

void expectOnlyQtCoreAndTheLanguageRuntime(const std::set<std::string> &needed)
{
    EXPECT_FALSE(needed.empty());
    for (const std::string &name : needed)
        EXPECT_TRUE(isExpected(name) || isSanitizer(name)) << name;
    EXPECT_EQ(std::count_if(needed.begin(), needed.end(),
                            [](const std::string &name) { return name.find("Core.so.") != std::string::npos; }),
              1);
}

TEST_F(BuiltLibrary, NeedsOnlyQtCoreAndTheLanguageRuntime)
{
    expectOnlyQtCoreAndTheLanguageRuntime(library.neededLibraries());
}

TEST_F(BuiltLibrary, IsPositionIndependentThroughout)
{
    EXPECT_FALSE(library.hasDynamicEntry(DT_TEXTREL));
}

TEST_F(BuiltLibrary, TellsTheVersionItWasBuiltFrom)
{
    EXPECT_EQ(library.textAfter("@(#)modbus_rtu_master "), MODBUS_RTU_VERSION_TEXT);
}

#ifdef KIT_LIBRARY_FILE

class BuiltKit : public ::testing::Test
{
protected:
    bool uses(const std::string &name) const { return std::find(used.begin(), used.end(), name) != used.end(); }

    ElfFile library{KIT_LIBRARY_FILE};
    std::vector<std::string> used = library.undefinedDynamicSymbols();
};

TEST_F(BuiltKit, NeedsOnlyQtCoreAndTheLanguageRuntime)
{
    expectOnlyQtCoreAndTheLanguageRuntime(library.neededLibraries());
}

// Someone who sets the clock, or a time server, must not hold up a line or hurry it: all times
// are those since the start of the machine.
TEST_F(BuiltKit, KnowsNoClockThatJumps)
{
    EXPECT_TRUE(uses("_ZNSt6chrono3_V212steady_clock3nowEv")) << "or the names are not found";
    for (const char *const name : {"_ZNSt6chrono3_V212system_clock3nowEv", "clock_gettime", "gettimeofday", "time",
                                   "pthread_cond_timedwait", "nanosleep", "usleep", "poll", "select"})
        EXPECT_FALSE(uses(name)) << name;
}

TEST_F(BuiltKit, HasNoObjectsAndNoEventLoopOfQt)
{
    EXPECT_FALSE(used.empty());
    for (const std::string &name : used) {
        for (const char *const part : {"QObject", "QMetaObject", "QEventLoop", "QCoreApplication", "QThread", "QTimer"})
            EXPECT_EQ(std::string::npos, name.find(part)) << name;
    }
}

TEST_F(BuiltKit, TakesNoConnections)
{
    EXPECT_TRUE(uses("connect")) << "or the names are not found";
    for (const char *const name : {"bind", "listen", "accept", "accept4"})
        EXPECT_FALSE(uses(name)) << name;
}

#endif

TEST(ElfFileTest, RefusesWhatIsNoLibrary)
{
    EXPECT_THROW(ElfFile("/dev/null"), std::runtime_error);
    EXPECT_THROW(ElfFile("/nonexistent"), std::runtime_error);
}

} // namespace
