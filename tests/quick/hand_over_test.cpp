// How changes get from a link's thread to the screens.

#include "quick/mailbox.h"

#include <modbus_rtu_host/link.h>

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>

#include <atomic>
#include <thread>

namespace {

using quick::Mailbox;

rtu::TagValue valueAt(int seconds)
{
    rtu::TagValue value;
    value.time = rtu::TimePoint(std::chrono::seconds(seconds));
    return value;
}

TEST(Mailbox, WakesUpOnceUntilItIsEmptied)
{
    int woken = 0;
    Mailbox mailbox([&woken] { ++woken; });
    const rtu::Tag tag;
    for (int i = 0; i < 1000; ++i)
        mailbox.put(tag, valueAt(i));
    mailbox.put([] {});
    EXPECT_EQ(1, woken);
    mailbox.take();
    EXPECT_EQ(1, woken);
    mailbox.put(tag, valueAt(1));
    EXPECT_EQ(2, woken);
}

TEST(Mailbox, KeepsTheNewestValueOfATagOnly)
{
    Mailbox mailbox([] {});
    const rtu::Tag tag;
    for (int i = 1; i <= 1000; ++i)
        mailbox.put(tag, valueAt(i));
    const Mailbox::Content content = mailbox.take();
    ASSERT_EQ(1u, content.values.size());
    EXPECT_EQ(rtu::TimePoint(std::chrono::seconds(1000)), content.values.at(tag).time);
    EXPECT_TRUE(mailbox.take().values.empty());
}

TEST(Mailbox, KeepsEveryMessageInOrder)
{
    std::vector<int> order;
    Mailbox mailbox([] {});
    for (int i = 0; i < 5; ++i)
        mailbox.put([&order, i] { order.push_back(i); });
    for (const Mailbox::Message &message : mailbox.take().messages)
        message();
    EXPECT_EQ((std::vector<int>{0, 1, 2, 3, 4}), order);
}

TEST(Mailbox, LosesNothingBetweenTwoThreads)
{
    const int count = 20000;
    std::atomic<int> woken{0};
    Mailbox mailbox([&woken] { ++woken; });
    std::thread line([&mailbox] {
        for (int i = 0; i < count; ++i)
            mailbox.put([] {});
    });
    int taken = 0;
    while (taken < count)
        taken += static_cast<int>(mailbox.take().messages.size());
    line.join();
    EXPECT_EQ(count, taken);
    EXPECT_GE(woken, 1);
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
