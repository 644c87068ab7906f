#include "kit/driver/private_copy.h"

#include "kit/temporary_folder.h"
#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <algorithm>

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
        EXPECT_TRUE(rtu::writeContent(file.number(), std::string(100000, 'x')));
        EXPECT_EQ(std::string(100000, 'x'), rtu::fileContent(rtu::descriptorPath(file.number())));
        EXPECT_TRUE(test_line::namesIn(folder.path()).empty());
    }
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
    const std::vector<std::string> folders = rtu::temporaryFolders();
    EXPECT_EQ("/somewhere", folders[0]);
    EXPECT_EQ("/tmp", folders[1]);
    const test_line::Environment ofTheSession("XDG_RUNTIME_DIR", "/run/session");
    EXPECT_EQ("/run/session", rtu::temporaryFolders()[1]);
}

} // namespace
