// No lock of the driver is held while it calls back or waits for the host's
// mutex. Each test would stand still for good if one were: the callback waits
// for another thread that calls the driver, or a thread calls the driver while
// it holds the mutex that the poll loop is about to take.

#include "support/buffer_word.h"
#include "support/slave_fixture.h"

#include <QtCore/QMutexLocker>

#include <atomic>
#include <functional>
#include <thread>

namespace {

using support::Change;
using support::key;
using support::row;
using support::withCrc;
using support::wordsReply;

/** All run-time calls that a host may make beside the poll loop. */
void callFromBeside()
{
    QString type = QString::fromLatin1("4x");
    unsigned char value[2] = {0x12, 0x34};
    EXPECT_EQ(intf_setData(9, &type, 900, 1, value, 77), 1);
    EXPECT_EQ(intf_getData(9, &type, 900, 1, value), 1);
    EXPECT_EQ(value[0], 0x12);
    KEY_ADDRESS range = key(9, "4x", 900, 1);
    EXPECT_EQ(intf_addConditionRead(&range, 78), 1);
    intf_setAddrValueChangeCallBack(&support::ChangeRecorder::callBack);
}

class CallBackWaitingForAnotherThread : public support::SlaveFixture
{
protected:
    CallBackWaitingForAnotherThread() : waits(0)
    {
        slaves.station(1);
        recorder.hook = [this](const Change &) {
            if (waits == 1)
                return; // what the other thread's own calls report
            ++waits;
            std::thread(callFromBeside).join();
        };
    }

    ~CallBackWaitingForAnotherThread() override { EXPECT_EQ(waits, 1) << "nothing called back"; }

    void pollUntilGivenUp()
    {
        while (step() == SendAgain) {
        }
    }

    int waits;
};

TEST_F(CallBackWaitingForAnotherThread, ForARegisterThatChanged)
{
    slaves.station(1).setHolding(5, {7});
    plan(support::Keys() << key(1, "4x", 5, 1));
    EXPECT_EQ(step(), ReplyAccepted);
    EXPECT_EQ(area(1, "4x", 5).readValue, 7);
}

TEST_F(CallBackWaitingForAnotherThread, ForABitOfARegisterThatChanged)
{
    slaves.station(1).setHolding(5, {0x0100});
    plan(support::Keys() << key(1, "4x_bit", 5 * 16 + 8, 1, -1));
    EXPECT_EQ(step(), ReplyAccepted);
    EXPECT_EQ(area(1, "4x", 5).readValue, 0x0100);
}

TEST_F(CallBackWaitingForAnotherThread, ForACoilThatChanged)
{
    slaves.station(1).coils[3] = 1;
    plan(support::Keys() << key(1, "0x", 0, 8, -1));
    EXPECT_EQ(step(), ReplyAccepted);
    EXPECT_EQ(area(1, "0x", 3).readValue, 1);
}

TEST_F(CallBackWaitingForAnotherThread, ForAWrittenCoil)
{
    setData(1, "0x", 3, 1, "01");
    EXPECT_EQ(area(1, "0x", 3).writtenValue, 1);
}

TEST_F(CallBackWaitingForAnotherThread, ForAWrittenRegister)
{
    plan(support::Keys() << key(1, "4x", 5, 1));
    setData(1, "4x", 5, 1, "34 12");
    EXPECT_EQ(area(1, "4x", 5).writtenValue, 0x1234);
}

TEST_F(CallBackWaitingForAnotherThread, ForAWrittenBit)
{
    plan(support::Keys() << key(1, "4x_bit", 5 * 16, 16, -1));
    setData(1, "4x_bit", 5 * 16 + 2, 1, "01 00");
    EXPECT_EQ(area(1, "4x", 5).writtenValue, 0x0004);
}

TEST_F(CallBackWaitingForAnotherThread, ForAWriteThatFailed)
{
    std::function<void(const Change &)> hook;
    recorder.hook.swap(hook); // the write itself is not what is waited in
    plan(support::Keys() << key(2, "4x", 5, 1));
    setData(2, "4x", 5, 1, "34 12");
    recorder.hook.swap(hook);
    pollUntilGivenUp();
    EXPECT_EQ(area(2, "4x", 5).writtenFlag, 0);
}

TEST_F(CallBackWaitingForAnotherThread, ForABitWriteThatWasAcknowledged)
{
    setData(1, "4x_bit", 5 * 16 + 2, 1, "01 00");
    EXPECT_EQ(step(), ReplyAccepted);
    EXPECT_EQ(step(), ReplyAccepted);
    EXPECT_EQ(area(1, "4x", 5).readValue, 0x0004);
}

TEST_F(CallBackWaitingForAnotherThread, ForTheEndOfAConditionRead)
{
    KEY_ADDRESS range = key(1, "4x", 0, 1);
    intf_addConditionRead(&range, 5);
    EXPECT_EQ(step(), ReplyAccepted);
}

TEST_F(CallBackWaitingForAnotherThread, ForAWordOfARecipe)
{
    slaves.station(1).setHolding(0, {0x1234});
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 0, 1, 10);
    intf_setRcpAddress(&rows);
    EXPECT_EQ(transfer(BlockReadRequest), 1);
    EXPECT_EQ(support::bufferWord(hostWords[10]), 0x1234);
}

// --- the host's mutex -----------------------------------------------------------------

class HostHoldingItsMutex : public support::SlaveFixture
{
protected:
    enum { Rounds = 300 };

    /** In each round the poll thread runs one transaction while this thread holds the mutex and calls the driver. */
    void callWhilePolling()
    {
        for (int round = 0; round < Rounds; ++round) {
            std::atomic<bool> polling(false);
            std::thread poller;
            {
                QMutexLocker locked(&hostMutex);
                poller = std::thread([this, &polling] {
                    polling.store(true);
                    step();
                });
                while (!polling.load())
                    std::this_thread::yield();
                for (int call = 0; call < 20; ++call) {
                    callFromBeside();
                    std::this_thread::yield();
                }
            }
            poller.join();
        }
    }
};

TEST_F(HostHoldingItsMutex, MayCallTheDriverWhilePollingWantsIt)
{
    slaves.station(1);
    slaves.station(9);
    plan(support::Keys() << key(1, "4x", 0, 4));
    callWhilePolling();
    EXPECT_EQ(slaves.station(9).holdingRegisters[900], 0x3412);
}

TEST_F(HostHoldingItsMutex, MayCallTheDriverWhileABlockTransferEnds)
{
    slaves.station(1);
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 0, 1, 0);
    intf_setRcpAddress(&rows);
    for (int round = 0; round < Rounds; ++round) {
        hostArea[BlockReadRequest] = 1;
        const FRAME_PRO frame = nextFrame();
        ASSERT_EQ(frame.frameLen, 8);
        std::atomic<bool> dealing(false);
        std::thread poller;
        {
            QMutexLocker locked(&hostMutex);
            poller = std::thread([this, &frame, &dealing] {
                dealing.store(true);
                deal(slaves.answer(support::requestBytes(frame)));
            });
            while (!dealing.load())
                std::this_thread::yield();
            for (int call = 0; call < 20; ++call) {
                callFromBeside();
                std::this_thread::yield();
            }
        }
        poller.join();
        ASSERT_EQ(hostArea[BlockReadRequest], 0);
    }
}

} // namespace
