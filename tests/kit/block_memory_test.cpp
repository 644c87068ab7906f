#include "kit/driver/block_memory.h"

#include <gtest/gtest.h>

namespace {

using rtu::BlockMemory;

TEST(BlockMemory, HasTheRequestsWhereTheDriverLooksForThem)
{
    const struct
    {
        BlockMemory::Request request;
        int place;
    } requests[] = {{BlockMemory::BlockWrite, 60115}, {BlockMemory::BlockRead, 60116}};
    for (const auto &expected : requests) {
        BlockMemory memory;
        EXPECT_FALSE(memory.requested());
        memory.raise(expected.request);
        EXPECT_TRUE(memory.requested());
        unsigned char *const area = static_cast<unsigned char *>(memory.area());
        for (int place = 0; place <= 60116; ++place)
            ASSERT_EQ(place == expected.place ? 1 : 0, area[place]) << place;
        area[expected.place] = 0;
        EXPECT_FALSE(memory.requested());
        EXPECT_TRUE(memory.mutex()->tryLock()) << "it is held for the moment of looking alone";
        memory.mutex()->unlock();
    }
}

} // namespace
