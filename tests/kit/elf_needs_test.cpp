#include "kit/driver/elf_needs.h"

#include "kit/driver/private_copy.h"

#include <gtest/gtest.h>

#include <link.h>

#include <algorithm>
#include <cstddef>
#include <random>

namespace {

using Names = std::vector<std::string>;

bool has(const Names &names, const std::string &name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

TEST(ElfNeeds, NamesTheDriversLibraries)
{
    const Names names = rtu::neededLibraries(rtu::fileContent(TEST_DRIVER));
    EXPECT_TRUE(has(names, rtu::ownQt())) << rtu::ownQt();
    EXPECT_TRUE(has(names, "libc.so.6"));
    for (const std::string &name : names)
        EXPECT_NE(std::string::npos, name.find(".so")) << name;
}

struct Foreign
{
    Names needed;
    const char *foreign;
};

class ForeignQt : public testing::TestWithParam<Foreign>
{
};

TEST_P(ForeignQt, IsFound)
{
    Names needed = GetParam().needed;
    needed.push_back(rtu::ownQt());
    EXPECT_EQ(GetParam().foreign, rtu::foreignQt(needed));
}

INSTANTIATE_TEST_SUITE_P(All, ForeignQt,
                         testing::Values(Foreign{{}, ""}, Foreign{{"libc.so.6", "libm.so.6"}, ""},
                                         Foreign{{"libc.so.6", "libQt7Core.so.7"}, "libQt7Core.so.7"},
                                         Foreign{{"libQtCore.so.3"}, "libQtCore.so.3"},
                                         Foreign{{"libQt7CorePanel.so.7"}, "libQt7CorePanel.so.7"},
                                         Foreign{{"libQt7Network.so.7"}, ""}, Foreign{{"libpanelCore.so.1"}, ""},
                                         Foreign{{"libQt7Core"}, ""}));

TEST(ElfNeeds, HaveNoneInWhatIsNoLibrary)
{
    EXPECT_EQ(Names(), rtu::neededLibraries(""));
    EXPECT_EQ(Names(), rtu::neededLibraries("\x7f"));
    EXPECT_EQ(Names(), rtu::neededLibraries(std::string(1000, 'x')));
    std::string otherClass = rtu::fileContent(TEST_DRIVER);
    otherClass[4] = static_cast<char>(3 - otherClass[4]);
    EXPECT_EQ(Names(), rtu::neededLibraries(otherClass));
    std::string otherOrder = rtu::fileContent(TEST_DRIVER);
    otherOrder[5] = static_cast<char>(3 - otherOrder[5]);
    EXPECT_EQ(Names(), rtu::neededLibraries(otherOrder));
    std::string otherSegments = rtu::fileContent(TEST_DRIVER);
    otherSegments[offsetof(ElfW(Ehdr), e_phentsize)] ^= 1;
    EXPECT_EQ(Names(), rtu::neededLibraries(otherSegments));
}

// Of a small library, here and below: each cut, and each damage, is made to a copy, of which sanitizers watch the end.
TEST(ElfNeeds, StayInsideAFileThatEndsEarly)
{
    const std::string whole = rtu::fileContent(STAYING_LIBRARY);
    const std::size_t all = rtu::neededLibraries(whole).size();
    ASSERT_GT(all, 0u);
    for (std::size_t size = 0; size < whole.size(); ++size)
        ASSERT_LE(rtu::neededLibraries(whole.substr(0, size)).size(), all) << size;
}

TEST(ElfNeeds, StayInsideADamagedFile)
{
    const std::string whole = rtu::fileContent(STAYING_LIBRARY);
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        std::string damaged = whole;
        for (int k = 0; k < 8; ++k) // the headers are in front
            damaged[16 + random() % 600] = static_cast<char>(random());
        rtu::neededLibraries(damaged);
    }
}

} // namespace
