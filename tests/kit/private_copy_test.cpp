#include "kit/driver/private_copy.h"

#include "kit/file_calls.h"
#include "kit/temporary_folder.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using rtu::Descriptor;

TEST(PrivateCopy, ReadsWholeFiles)
{
    EXPECT_EQ("\x7f"
              "ELF",
              rtu::fileContent(TEST_DRIVER).substr(0, 4));
    EXPECT_EQ("cannot load the driver /nowhere: No such file or directory",
              test_line::failureOf([] { rtu::fileContent("/nowhere"); }));
    EXPECT_EQ("cannot load the driver /tmp: Is a directory", test_line::failureOf([] { rtu::fileContent("/tmp"); }));
}

TEST(PrivateCopy, IsWrittenAndReadByItsPath)
{
    const test_line::TemporaryFolder folder;
    for (int number : {rtu::openMemoryFile(), rtu::openUnnamedFile(folder.path())}) {
        const Descriptor file(number);
        ASSERT_TRUE(file.isOpen());
        EXPECT_EQ(FD_CLOEXEC, ::fcntl(file.number(), F_GETFD));
        const std::string content = std::string(65536, 'x') + 'y'; // one byte more than is read at a time
        EXPECT_TRUE(rtu::writeContent(file.number(), content));
        EXPECT_EQ(content, rtu::fileContent(rtu::descriptorPath(file.number())));
        EXPECT_TRUE(test_line::namesIn(folder.path()).empty());
    }
}

TEST(PrivateCopy, IsWrittenWhateverIsTakenAtATime)
{
    const Descriptor file(rtu::openMemoryFile());
    {
        const test_line::WrittenByteByByte slowly;
        EXPECT_TRUE(rtu::writeContent(file.number(), "content"));
    }
    EXPECT_EQ("content", rtu::fileContent(rtu::descriptorPath(file.number())));
}

/** Of an open file: its name in the lists of the system. */
std::string nameOf(int descriptor)
{
    char name[200];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), name, sizeof(name));
    return std::string(name, length > 0 ? static_cast<std::size_t>(length) : 0);
}

TEST(PrivateCopy, InMemoryIsNamedAsTheDriver)
{
    const Descriptor file(rtu::openMemoryFile());
    EXPECT_EQ("/memfd:libmodbus_rtu_master.so.1 (deleted)", nameOf(file.number()));
}

int modeOf(int descriptor)
{
    struct stat info = {};
    EXPECT_EQ(0, ::fstat(descriptor, &info));
    return static_cast<int>(info.st_mode & 0777);
}

TEST(PrivateCopy, IsForThisUserAlone)
{
    const test_line::TemporaryFolder folder;
    const Descriptor known(::open(folder.path().c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0700));
    const Descriptor file(rtu::openUnnamedFile(folder.path()));
    EXPECT_EQ(known.isOpen() ? 0700 : 0600, modeOf(file.number())) << "to be executed, where that can be said";
}

TEST(PrivateCopy, HasANameForAMomentWhereNoFileHasNone)
{
    const test_line::TemporaryFolder folder;
    const test_line::NoUnnamedFile none;
    const Descriptor file(rtu::openUnnamedFile(folder.path()));
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(file.number(), F_GETFD));
    EXPECT_EQ(0u, nameOf(file.number()).find(folder.path() + "/libmodbus_rtu_master."));
    EXPECT_TRUE(test_line::namesIn(folder.path()).empty());
}

/** The number that is spelt by steps on a path, a step at a time, the lowest bit first. */
unsigned long long numberOf(std::string steps)
{
    unsigned long long number = 0;
    for (int bit = 0; !steps.empty(); ++bit) {
        const bool set = steps[0] == '.';
        number |= static_cast<unsigned long long>(set) << bit;
        steps.erase(0, set ? 2 : 1);
    }
    return number;
}

TEST(PrivateCopy, HasAPathThatSpellsOutWhichFileItIs)
{
    const Descriptor file(rtu::openMemoryFile());
    struct stat info = {};
    ASSERT_EQ(0, ::fstat(file.number(), &info));
    const std::string path = rtu::descriptorPath(file.number());
    const std::string front = "/proc/self/fd/";
    const std::string middle = "../fd/";
    const std::string number = std::to_string(file.number());
    ASSERT_EQ(0u, path.find(front));
    const std::size_t between = path.find(middle);
    ASSERT_NE(std::string::npos, between);
    ASSERT_EQ(path.size() - number.size(), path.rfind(number));
    const std::size_t behind = between + middle.size();
    EXPECT_EQ(info.st_dev, numberOf(path.substr(front.size(), between - front.size())));
    EXPECT_EQ(info.st_ino, numberOf(path.substr(behind, path.size() - number.size() - behind)));
}

TEST(PrivateCopy, HasAPathOfItsOwnUnderTheSameDescriptor)
{
    std::string earlier;
    int inUse = -1;
    {
        const Descriptor file(rtu::openMemoryFile());
        earlier = rtu::descriptorPath(file.number());
        inUse = ::dup(file.number());
    }
    const Descriptor held(inUse);
    const Descriptor file(rtu::openMemoryFile());
    EXPECT_NE(earlier, rtu::descriptorPath(file.number()));
    EXPECT_EQ(earlier.substr(earlier.rfind('/')), "/" + std::to_string(file.number())) << "the test shows nothing";
}

TEST(PrivateCopy, MayHaveTheFirstDescriptor)
{
    const Descriptor input(::dup(0));
    ::close(0);
    EXPECT_EQ(0, rtu::openMemoryFile()) << "a program may have closed its input";
    const test_line::TemporaryFolder folder;
    ::close(0);
    EXPECT_EQ(0, rtu::openUnnamedFile(folder.path()));
    ::close(0);
    const test_line::NoUnnamedFile none;
    EXPECT_EQ(0, rtu::openUnnamedFile(folder.path()));
    EXPECT_TRUE(test_line::namesIn(folder.path()).empty());
    ::dup2(input.number(), 0);
}

TEST(PrivateCopy, NeedsAFolderAndRoom)
{
    EXPECT_GT(0, rtu::openUnnamedFile("/nowhere"));
    const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(rtu::writeContent(full.number(), "x"));
}

TEST(PrivateCopy, LooksForAPlaceWhereTheUserWantsItFirst)
{
    const test_line::Environment wanted("TMPDIR", "/somewhere");
    const test_line::Environment relative("XDG_RUNTIME_DIR", "here");
    const std::vector<std::string> folders = {"/somewhere", "/tmp", "/var/tmp", "/dev/shm", "/run"};
    EXPECT_EQ(folders, rtu::temporaryFolders());
    const test_line::Environment ofTheSession("XDG_RUNTIME_DIR", "/run/session");
    EXPECT_EQ("/run/session", rtu::temporaryFolders()[1]);
}

} // namespace
