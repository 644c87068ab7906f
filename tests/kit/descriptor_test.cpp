#include "kit/line/descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>

namespace {

using rtu::Descriptor;

bool isOpen(int number)
{
    return ::fcntl(number, F_GETFD) >= 0;
}

int anyFile()
{
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(Descriptor, HoldsNoneAtFirstAndAfterwards)
{
    Descriptor none;
    EXPECT_FALSE(none.isOpen());
    EXPECT_GT(0, none.number());
    none.reset(anyFile());
    EXPECT_TRUE(none.isOpen());
    none.reset();
    EXPECT_FALSE(none.isOpen());
    EXPECT_GT(0, none.number());
}

TEST(Descriptor, ClosesWhatItHeld)
{
    const int first = anyFile();
    const int second = anyFile();
    {
        Descriptor descriptor(first);
        descriptor.reset(second);
        EXPECT_FALSE(isOpen(first));
        EXPECT_EQ(second, descriptor.number());
    }
    EXPECT_FALSE(isOpen(second));
}

TEST(Descriptor, LetsGoOfWhatItReleases)
{
    const int number = anyFile();
    {
        Descriptor descriptor(number);
        EXPECT_EQ(number, descriptor.release());
        EXPECT_GT(0, descriptor.number());
    }
    EXPECT_TRUE(isOpen(number));
    ::close(number);
}

TEST(Descriptor, MayHoldTheFirstOne)
{
    const Descriptor input(::fcntl(0, F_DUPFD_CLOEXEC, 3)); // below 0 where the program has no input
    ::close(0);
    {
        const Descriptor first(anyFile());
        EXPECT_EQ(0, first.number());
        EXPECT_TRUE(first.isOpen());
    }
    EXPECT_FALSE(isOpen(0));
    if (input.isOpen())
        ::dup2(input.number(), 0);
}

} // namespace
