// Calls that never return are told of while they last. The time that passes is
// real; what is waited for is the finding itself.

#include "checker/checked_host.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <thread>

namespace {

using checked::CheckedHost;

std::promise<std::string> *awaited = nullptr;

class Stalls : public ::testing::Test
{
protected:
    Stalls()
    {
        ::setenv("MODBUS_RTU_CHECK_STALL_MS", "20", 1);
        checked::renew();
        ::unsetenv("MODBUS_RTU_CHECK_STALL_MS");
        checked::useRealTime();
        awaited = &told;
        checked::setListener([](const checked::Heard &heard) {
            if (heard.count == 1)
                awaited->set_value(heard.name);
        });
    }

    std::promise<std::string> told;
};

/** A host whose construction leaves the watchdog of the test in place. */
void setUp(support::HostMemory &memory)
{
    int status = 0;
    intf_initProperty(memory.hostArea.data(), 0, memory.hostWords.data(), &status, CheckedHost::usualProperty(),
                      &memory.hostMutex);
    support::Keys keys;
    keys << support::key(1, "4x", 0, 4);
    intf_addrMerge(&keys);
}

TEST_F(Stalls, AHeldHostMutexIsTold)
{
    support::HostMemory memory(1);
    setUp(memory);
    memory.hostMutex.lock();
    std::thread poller([] {
        FRAME_PRO frame = FRAME_PRO();
        intf_getSendFrame(&frame);
    });
    EXPECT_EQ(told.get_future().get(), "host-mutex-held");
    memory.hostMutex.unlock();
    poller.join();
    checked::renew();
}

std::promise<void> *released = nullptr;

TEST_F(Stalls, ACallBackThatDoesNotReturnIsTold)
{
    support::HostMemory memory(1);
    intf_setAddrValueChangeCallBack([](int, int, QString *, int) {
        released->get_future().wait();
        return 0;
    });
    setUp(memory);
    std::promise<void> release;
    released = &release;
    std::thread writer([] {
        QString type = QLatin1String("4x");
        unsigned char value[2] = {1, 0};
        intf_setData(1, &type, 0, 1, value, 0);
    });
    EXPECT_EQ(told.get_future().get(), "callback-stalls");
    release.set_value();
    writer.join();
    checked::renew();
}

} // namespace
