// Copies of the driver in one process: apart from each other, gone when unloaded.

#include "kit/driver/loaded_library.h"

#include "kit/driver/elf_needs.h"
#include "kit/driver/private_copy.h"
#include "driver/modbus_rtu_interface.h"
#include "kit/temporary_folder.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <vector>

namespace {

using namespace test_line;
using rtu::CopyPlaces;
using rtu::LibraryUse;
using rtu::LoadedLibrary;
using Library = std::unique_ptr<LoadedLibrary>;

const char *const EntryPoint = "intf_getSendFrame";

Library copyOf(const std::string &path)
{
    return Library(new LoadedLibrary(path, LibraryUse::OwnCopy));
}

/** How many pieces of copies are mapped into this process. */
int mappedPieces()
{
    std::ifstream maps("/proc/self/maps");
    int pieces = 0;
    for (std::string line; std::getline(maps, line);)
        pieces += line.find("memfd:libmodbus_rtu_master") != std::string::npos ? 1 : 0;
    return pieces;
}

std::string failureOfLoading(const std::string &path, LibraryUse use, const CopyPlaces &places = CopyPlaces())
{
    return failureOf([&] { LoadedLibrary(path, use, places); });
}

TEST(LoadedLibrary, IsOneForAllWhoShareIt)
{
    const LoadedLibrary first(TEST_DRIVER, LibraryUse::Shared);
    const LoadedLibrary second(TEST_DRIVER, LibraryUse::Shared);
    EXPECT_NE(nullptr, first.symbol(EntryPoint));
    EXPECT_EQ(first.symbol(EntryPoint), second.symbol(EntryPoint));
    EXPECT_EQ(nullptr, first.symbol("intf_nothing"));
}

#ifdef TEST_CHECKER

TEST(LoadedLibrary, AsACopyOfTheCheckerFindsTheDriverBesideTheOriginal)
{
    ::unsetenv("MODBUS_RTU_DRIVER");
    const Library checker = copyOf(TEST_CHECKER);
    const Library again = copyOf(TEST_CHECKER);
    for (const LoadedLibrary *library : {checker.get(), again.get()}) {
        int type = -1;
        reinterpret_cast<decltype(&intf_getProtocolType)>(library->symbol("intf_getProtocolType"))(&type);
        EXPECT_EQ(0, type); // without a driver nothing is written
    }
}

TEST(LoadedLibrary, AsACopyOfTheCheckerTakesItsDriverAlong)
{
    const std::size_t descriptors = namesIn("/proc/self/fd").size();
    for (int i = 0; i < 3; ++i)
        copyOf(TEST_CHECKER);
    EXPECT_EQ(descriptors, namesIn("/proc/self/fd").size());
    EXPECT_EQ(0, mappedPieces());
}

#endif

TEST(LoadedLibrary, SixteenCopiesAreApart)
{
    const LoadedLibrary shared(TEST_DRIVER, LibraryUse::Shared);
    std::vector<Library> copies;
    std::set<void *> entryPoints = {shared.symbol(EntryPoint)};
    for (int i = 0; i < 16; ++i) {
        copies.push_back(copyOf(TEST_DRIVER));
        entryPoints.insert(copies.back()->symbol(EntryPoint));
    }
    EXPECT_LT(0, mappedPieces()) << "memory is the first choice";
    EXPECT_EQ(17u, entryPoints.size());
    EXPECT_EQ(0u, entryPoints.count(nullptr));
}

TEST(LoadedLibrary, CopiesComeAndGoInAnyOrder)
{
    const std::size_t descriptors = namesIn("/proc/self/fd").size();
    std::mt19937 random(1);
    std::vector<Library> copies(16);
    for (int i = 0; i < 300; ++i) {
        Library &copy = copies[random() % copies.size()];
        if (copy)
            copy.reset();
        else
            copy = copyOf(TEST_DRIVER);
        std::set<void *> entryPoints;
        std::size_t alive = 0;
        for (const Library &library : copies) {
            alive += library ? 1 : 0;
            if (library)
                entryPoints.insert(library->symbol(EntryPoint));
        }
        ASSERT_EQ(alive, entryPoints.size()) << "after step " << i;
    }
    copies.clear();
    EXPECT_EQ(descriptors, namesIn("/proc/self/fd").size());
    EXPECT_EQ(0, mappedPieces());
}

TEST(LoadedLibrary, ACopyOfALibraryThatStaysIsNotHandedOutAgain)
{
    for (int i = 0; i < 4; ++i) {
        const LoadedLibrary copy(STAYING_LIBRARY, LibraryUse::OwnCopy);
        const auto countCalls = reinterpret_cast<int (*)()>(copy.symbol("countCalls"));
        ASSERT_NE(nullptr, countCalls);
        EXPECT_EQ(1, countCalls()) << "this is an earlier copy";
    }
}

TEST(LoadedLibrary, IsCopiedToAFolderWhereMemoryHasNoFiles)
{
    const TemporaryFolder folder;
    CopyPlaces places;
    places.memory = false;
    places.folders = {"/nowhere", folder.path()};
    const LoadedLibrary first(TEST_DRIVER, LibraryUse::OwnCopy, places);
    const LoadedLibrary second(TEST_DRIVER, LibraryUse::OwnCopy, places);
    EXPECT_NE(first.symbol(EntryPoint), second.symbol(EntryPoint));
    EXPECT_TRUE(namesIn(folder.path()).empty());
}

/** Emulators map for reading what they run themselves, and are never refused. */
bool mapsForExecution(const std::string &folder)
{
    const int file = ::open(folder.c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, 0700);
    void *const mapped = ::mmap(nullptr, 1, PROT_READ | PROT_EXEC, MAP_PRIVATE, file, 0);
    ::close(file);
    return mapped != MAP_FAILED;
}

/**
 * In a process that sees a file system of its own, where the user may make one.
 *
 * @return 0: as it should be; 1: otherwise; 2: the user may not, or it forbids nothing
 */
int copiedBeside(const std::string &forbidding, const std::string &allowing)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const bool mounted = ::unshare(CLONE_NEWNS) == 0
                             && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
                             && ::mount("none", forbidding.c_str(), "tmpfs", MS_NOEXEC, nullptr) == 0;
        if (!mounted || mapsForExecution(forbidding))
            ::_exit(2);
        CopyPlaces places;
        places.memory = false;
        places.folders = {forbidding};
        const std::string refusal = failureOfLoading(TEST_DRIVER, LibraryUse::OwnCopy, places);
        places.folders = {forbidding, allowing};
        const std::string beside = failureOfLoading(TEST_DRIVER, LibraryUse::OwnCopy, places);
        const std::string none = failureOf([] {});
        ::_exit(refusal != none && beside == none ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(child, ::waitpid(child, &status, 0));
    return WEXITSTATUS(status);
}

TEST(LoadedLibrary, IsCopiedElsewhereWhereAFolderForbidsExecution)
{
    const TemporaryFolder forbidding;
    const TemporaryFolder allowing;
    const int result = copiedBeside(forbidding.path(), allowing.path());
    if (result == 2)
        GTEST_SKIP() << "no file system that forbids execution can be had here";
    EXPECT_EQ(0, result);
}

TEST(LoadedLibrary, SaysThatThereIsNoPlaceForACopy)
{
    CopyPlaces places;
    places.memory = false;
    places.folders = {"/nowhere"};
    EXPECT_EQ("cannot load the driver " TEST_DRIVER ": there is no place for a copy of it: No such file or directory",
              failureOfLoading(TEST_DRIVER, LibraryUse::OwnCopy, places));
}

TEST(LoadedLibrary, LeavesNothingBehindAfterACrash)
{
    const TemporaryFolder folder;
    CopyPlaces places;
    places.memory = false;
    places.folders = {folder.path()};
    const pid_t child = ::fork();
    if (child == 0) {
        const LoadedLibrary copy(TEST_DRIVER, LibraryUse::OwnCopy, places);
        ::raise(SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_EQ(SIGKILL, WTERMSIG(status));
    EXPECT_TRUE(namesIn(folder.path()).empty());
}

/** The driver with the name of its Qt replaced by that of another, as long. */
std::string driverForAnotherQt(std::string *foreign)
{
    const std::string own = rtu::ownQt();
    *foreign = own;
    foreign->back() = '7';
    if (own.size() > 5 && own[5] != 'C')
        (*foreign)[5] = '7';
    std::string content = rtu::fileContent(TEST_DRIVER);
    const std::size_t place = content.find(own);
    return place == std::string::npos ? std::string() : content.replace(place, own.size(), *foreign);
}

TEST(LoadedLibrary, ForAnotherQtIsRefused)
{
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/driver.so";
    std::string foreign;
    std::ofstream(path, std::ios::binary) << driverForAnotherQt(&foreign);
    const std::string refusal = "the driver " + path + " was built for " + foreign + ", this program for "
                                + rtu::ownQt() + ": take the driver that was built for " + rtu::ownQt();
    EXPECT_EQ(refusal, failureOfLoading(path, LibraryUse::OwnCopy));
    EXPECT_EQ(refusal, failureOfLoading(path, LibraryUse::Shared));
}

TEST(LoadedLibrary, SaysWhatIsNoLibrary)
{
    for (LibraryUse use : {LibraryUse::OwnCopy, LibraryUse::Shared}) {
        const std::string failure = failureOfLoading("/etc/passwd", use);
        EXPECT_EQ(0u, failure.find("cannot load the driver /etc/passwd: ")) << failure;
        EXPECT_NE(std::string::npos, failure.find("invalid ELF header")) << failure;
    }
}

} // namespace
