// Every report comes on the thread that is inside the driver: a screen's own
// writes on the screen's thread, what replies bring on the poll thread.

#include "support/slave_fixture.h"

#include <thread>

namespace {

using support::Change;
using support::key;
using support::Keys;
using support::row;

class CallingThread : public support::SlaveFixture
{
protected:
    CallingThread() : reports(0), elsewhere(0)
    {
        init("1#0#0#1#100");
        recorder.hook = [this](const Change &) {
            ++reports;
            elsewhere += std::this_thread::get_id() == expected ? 0 : 1;
        };
    }

    /** Runs @p call on a thread of its own, on which all its reports have to come. */
    template <typename Call>
    void expectReportsOnItsThread(int count, Call call)
    {
        reports = 0;
        elsewhere = 0;
        std::thread([&] {
            expected = std::this_thread::get_id();
            call();
        }).join();
        EXPECT_EQ(reports, count);
        EXPECT_EQ(elsewhere, 0);
    }

    std::thread::id expected;
    int reports;
    int elsewhere;
};

TEST_F(CallingThread, GetsTheReportsOfAScreensWrites)
{
    plan(Keys() << key(1, "4x", 5, 2));
    expectReportsOnItsThread(3, [this] {
        setData(1, "0x", 3, 1, "01");
        setData(1, "4x", 5, 2, "34 12 78 56");
    });
}

TEST_F(CallingThread, GetsTheReportsOfAReply)
{
    slaves.station(1).setHolding(5, {1, 2});
    slaves.station(1).coils[3] = 1;
    plan(Keys() << key(1, "0x", 0, 8, -1) << key(1, "4x", 5, 2));
    expectReportsOnItsThread(3, [this] { EXPECT_EQ(trace(2), "PP"); });
}

TEST_F(CallingThread, GetsTheEndOfAWriteThatAnotherThreadAskedFor)
{
    slaves.station(1);
    setData(1, "4x_bit", 35, 1, "01 00");
    setData(2, "0x", 3, 1, "01");
    expectReportsOnItsThread(2, [this] { EXPECT_EQ(trace(3), "WWw"); });
}

TEST_F(CallingThread, GetsTheEndOfAConditionReadAndTheWordsOfARecipe)
{
    slaves.station(1);
    KEY_ADDRESS range = key(1, "4x", 0, 1);
    intf_addConditionRead(&range, 5);
    expectReportsOnItsThread(1, [this] { EXPECT_EQ(trace(1), "C"); });

    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 0, 2, 10);
    intf_setRcpAddress(&rows);
    expectReportsOnItsThread(2, [this] { EXPECT_EQ(transfer(BlockReadRequest), 1); });
}

} // namespace
