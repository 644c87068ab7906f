// What the two mutexes guard: the removal of a finished write and the count of
// queued bit writes wait for listMutex, the look at the host's two request bytes
// and their clearing for the host's mutex. Each test holds the mutex, sees the
// call wait and looks whether it has done its work all the same.

#include "support/slave_fixture.h"
#include "threads/waiting_call.h"

#include <functional>

namespace {

using support::adu;
using support::row;
using support::writeEcho;
using threads::WaitingCall;

class Mutexes : public support::SlaveFixture
{
protected:
    /** Runs @p call while @p mutex is held; @p whileWaiting looks at what it has not done yet. */
    static void expectToWait(QMutex &mutex, const std::function<void()> &call,
                             const std::function<void()> &whileWaiting)
    {
        mutex.lock();
        WaitingCall waiting(call);
        EXPECT_TRUE(waiting.waits()) << "the mutex was not taken";
        whileWaiting();
        mutex.unlock();
        waiting.finish();
        ASSERT_TRUE(mutex.tryLock()) << "the mutex was not let go";
        mutex.unlock();
    }

    void registerRows()
    {
        QVector<_RCP_VAR_PRO> rows;
        rows << row(1, 1, "4x", 0, 1, 0);
        intf_setRcpAddress(&rows);
    }
};

// --- listMutex ------------------------------------------------------------------------

typedef Mutexes ListMutex;

TEST_F(ListMutex, IsTakenToRemoveAnAcknowledgedWrite)
{
    setData(1, "4x", 5, 1, "34 12");
    const QByteArray reply = writeEcho(nextFrame());
    expectToWait(
        driver.listMutex, [&] { EXPECT_EQ(deal(reply), ReplyAccepted); },
        [] { EXPECT_EQ(driver.writeList.size(), 1); });
    EXPECT_EQ(driver.writeList.size(), 0);
}

TEST_F(ListMutex, IsTakenToRemoveAWriteThatWasGivenUp)
{
    init("1#0#0#1#100");
    setData(1, "4x", 5, 1, "34 12");
    nextFrame();
    expectToWait(
        driver.listMutex, [&] { EXPECT_EQ(deal(QByteArray()), RequestGivenUp); },
        [] { EXPECT_EQ(driver.writeList.size(), 1); });
    EXPECT_EQ(driver.writeList.size(), 0);
}

TEST_F(ListMutex, IsTakenToCountTheQueuedWritesOfABit)
{
    setData(1, "4x_bit", 35, 1, "01 00");
    expectToWait(
        driver.listMutex, [&] { setData(1, "4x_bit", 35, 1, "00 00"); }, [] {});
    EXPECT_EQ(driver.writeList.size(), 2);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, (1 << 6) | (1 << 7));
}

// --- the host's mutex -----------------------------------------------------------------

typedef Mutexes HostMutex;

// A request raised while the call waits is seen: the bytes are not looked at before.
TEST_F(HostMutex, IsTakenToLookAtTheRequestBytes)
{
    registerRows();
    slaves.station(1);
    for (int requestByte : {BlockWriteRequest, BlockReadRequest}) {
        QByteArray request;
        expectToWait(
            hostMutex, [&] { request = nextRequest(); }, [&] { raise(requestByte); });
        EXPECT_EQ(request, adu(requestByte == BlockWriteRequest ? "01 06 00 00 00 00" : "01 03 00 00 00 01"));
        deal(slaves.answer(request));
    }
}

TEST_F(HostMutex, IsTakenToClearARequestByte)
{
    registerRows();
    slaves.station(1);
    for (int requestByte : {BlockWriteRequest, BlockReadRequest}) {
        raise(requestByte);
        const QByteArray reply = slaves.answer(nextRequest());
        expectToWait(
            hostMutex, [&] { EXPECT_EQ(deal(reply), ReplyAccepted); }, [&] { EXPECT_EQ(raised(requestByte), 1); });
        EXPECT_EQ(raised(requestByte), 0);
    }
}

TEST_F(HostMutex, IsTakenToClearTheRequestByteOfATransferThatFailed)
{
    init("1#0#0#1#100");
    registerRows();
    for (int requestByte : {BlockWriteRequest, BlockReadRequest}) {
        raise(requestByte);
        nextFrame();
        expectToWait(
            hostMutex, [&] { EXPECT_EQ(deal(QByteArray()), RequestGivenUp); },
            [&] { EXPECT_EQ(raised(requestByte), 1); });
        EXPECT_EQ(raised(requestByte), 0);
    }
}

} // namespace
