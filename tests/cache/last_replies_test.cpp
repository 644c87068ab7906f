// Replies that say what the last one said: nothing is done about them, and
// everything that may have touched their areas since must be noticed.

#include "support/slave_fixture.h"
#include "support/unit_text.h"

#include <gtest/gtest.h>

#include <functional>

using support::adu;
using support::bitsReply;
using support::Change;
using support::Changes;
using support::keysOf;
using support::payload;
using support::unitsText;
using support::wordsReply;
using support::writeEcho;

namespace {

class SteadyReplies : public support::SlaveFixture
{
protected:
    static Change word(const char *type, int address)
    {
        const Change made = {1, 1, QString::fromLatin1(type), address};
        return made;
    }

    /** The next request answered, which must be a good answer; what was reported. */
    Changes poll(const QByteArray &reply)
    {
        EXPECT_EQ(exchange(reply), ReplyAccepted);
        return recorder.take();
    }

    /** Runs inside the first report from now on, and in no other. */
    void onFirstReport(const std::function<void()> &act)
    {
        reports = 0;
        recorder.hook = [this, act](const Change &) {
            if (reports++ == 0)
                act();
        };
    }

    /** Is the reply to the head of the plan known? */
    static bool knowsHead()
    {
        driver.lastReplies.firstSent();
        return driver.lastReplies.dataAt(driver.lastReplies.placeFor(driver.cyclicReadList.at(0))) != nullptr;
    }

private:
    int reports = 0;
};

TEST_F(SteadyReplies, SameReplyReportsNothing)
{
    plan(keysOf("1:4x 0+3"));
    EXPECT_EQ(poll(wordsReply(1, 3, {1, 0, 3})), Changes({word("4x", 0), word("4x", 2)}));
    EXPECT_TRUE(knowsHead());
    EXPECT_EQ(poll(wordsReply(1, 3, {1, 0, 3})), Changes());
    EXPECT_EQ(poll(wordsReply(9, 3, {1, 0, 4})), Changes({word("4x", 2)})) << "station and function are not compared";
    EXPECT_EQ(poll(wordsReply(1, 3, {1, 0, 4})), Changes());
    EXPECT_EQ(getData(1, "4x", 0, 3, 6), payload("01 00 00 00 04 00"));
}

TEST_F(SteadyReplies, SameCoilsReportNothing)
{
    plan(keysOf("1:0x 3+10"));
    EXPECT_EQ(poll(bitsReply(1, 1, {1, 0, 0, 0, 0, 0, 0, 0, 0, 1})), Changes({word("0x", 3), word("0x", 12)}));
    EXPECT_EQ(poll(bitsReply(1, 1, {1, 0, 0, 0, 0, 0, 0, 0, 0, 1})), Changes());
    EXPECT_EQ(poll(bitsReply(1, 1, {1, 0, 0, 0, 0, 0, 0, 1, 0, 1})), Changes({word("0x", 10)}));
    EXPECT_EQ(poll(adu("01 01 02 81 FE")), Changes()) << "bits behind the last coil are nobody's";
}

TEST_F(SteadyReplies, EachRequestOfTheRoundHasItsOwn)
{
    init("1#0#0#3#4");
    plan(keysOf("1:4x 0+2 | 1:4x 10+2 | 1:4x 20+2"));
    for (int value : {1, 1, 2, 2, 2}) {
        poll(wordsReply(1, 3, {5, 5}));
        poll(wordsReply(1, 3, {value, value}));
        poll(wordsReply(1, 3, {7, value}));
        EXPECT_EQ(getData(1, "4x", 0, 2, 4), payload("05 00 05 00"));
        EXPECT_EQ(area(1, "4x", 10).readValue, value);
        EXPECT_EQ(area(1, "4x", 21).readValue, value);
    }
    for (int request = 0; request < 3; ++request) {
        EXPECT_TRUE(knowsHead()) << unitsText(driver.cyclicReadList);
        poll(request == 0 ? wordsReply(1, 3, {5, 5}) : wordsReply(1, 3, {request == 1 ? 2 : 7, 2}));
    }
}

TEST_F(SteadyReplies, AreasThatAreGoneAreMadeAnew)
{
    plan(keysOf("1:4x 0+2"));
    poll(wordsReply(1, 3, {1, 2}));
    driver.dataAreas.clear();
    EXPECT_EQ(poll(wordsReply(1, 3, {1, 2})), Changes()) << "nothing is monitored any more";
    EXPECT_EQ(getData(1, "4x", 0, 2, 4), payload("01 00 02 00"));
}

// --- what touches the areas in between ------------------------------------------------------

TEST_F(SteadyReplies, AfterAFailureTheSameReplyClearsTheErrors)
{
    plan(keysOf("1:4x 0+2"));
    poll(wordsReply(1, 3, {1, 2}));
    exchangeUntilGivenUp();
    EXPECT_EQ(area(1, "4x", 1).errorFlag, 1);
    EXPECT_EQ(poll(wordsReply(1, 3, {1, 2})), Changes());
    EXPECT_EQ(area(1, "4x", 0).errorFlag, 0);
    EXPECT_EQ(area(1, "4x", 1).errorFlag, 0);
}

TEST_F(SteadyReplies, FailedCoilsAreMarkedEightApartInTheAreasOfOthers)
{
    init("1#0#0#1#4");
    plan(keysOf("1:0x 0+4 | 1:0x 16+4"));
    poll(bitsReply(1, 1, {1, 0, 0, 0}));
    poll(bitsReply(1, 1, {1, 0, 0, 0}));
    EXPECT_EQ(exchange(QByteArray()), RequestGivenUp); // coils 0, 8, 16, 24
    EXPECT_EQ(area(1, "0x", 16).errorFlag, 1);
    EXPECT_EQ(poll(bitsReply(1, 1, {1, 0, 0, 0})), Changes());
    EXPECT_EQ(area(1, "0x", 16).errorFlag, 0);
}

TEST_F(SteadyReplies, AConfirmedWriteThatTheSlaveDoesNotKeepIsReported)
{
    plan(keysOf("1:4x 0+2"));
    poll(wordsReply(1, 3, {1, 2}));
    setData(1, "4x", 1, 1, "09 00");
    exchangeEcho();
    recorder.take();
    EXPECT_EQ(poll(wordsReply(1, 3, {1, 2})), Changes({word("4x", 1)}));
    EXPECT_EQ(getData(1, "4x", 1, 1, 2), payload("02 00"));
}

TEST_F(SteadyReplies, AConfirmedCoilThatTheSlaveDoesNotKeepIsReported)
{
    plan(keysOf("1:0x 0+9"));
    poll(bitsReply(1, 1, {0, 0, 0, 0, 0, 0, 0, 0, 1}));
    setData(1, "0x", 8, 1, "00");
    exchangeEcho();
    recorder.take();
    EXPECT_EQ(poll(bitsReply(1, 1, {0, 0, 0, 0, 0, 0, 0, 0, 1})), Changes({word("0x", 8)}));
}

TEST_F(SteadyReplies, AConfirmedBitThatTheSlaveDoesNotKeepIsReported)
{
    plan(keysOf("1:4x 2+1"));
    poll(wordsReply(1, 3, {0x0100}));
    setData(1, "4x_bit", 32, 1, "01 00");
    EXPECT_EQ(exchange(wordsReply(1, 3, {0x0100})), ReplyAccepted);
    exchangeEcho();
    recorder.take();
    EXPECT_EQ(poll(wordsReply(1, 3, {0x0100})), Changes({word("4x", 2)}));
}

TEST_F(SteadyReplies, AWriteThatIsQueuedTouchesNothing)
{
    plan(keysOf("1:4x 0+2"));
    poll(wordsReply(1, 3, {1, 2}));
    setData(1, "4x", 1, 1, "09 00");
    EXPECT_TRUE(knowsHead());
}

TEST_F(SteadyReplies, OneOffReadsOfTheSameRegistersAreNoticed)
{
    plan(keysOf("1:4x 0+2"));
    poll(wordsReply(1, 3, {1, 2}));
    KEY_ADDRESS once = support::key(1, "4x", 1, 1);
    intf_addConditionRead(&once, 1);
    poll(wordsReply(1, 3, {3}));
    EXPECT_EQ(poll(wordsReply(1, 3, {1, 2})), Changes({word("4x", 1)}));
}

TEST_F(SteadyReplies, RequestsThatOverlapNoticeEachOther)
{
    plan(keysOf("1:3x 0+4 | 1:3x_double 2+4"));
    for (int round = 0; round < 2; ++round) {
        poll(wordsReply(1, 4, {1, 2, 3, 4}));
        poll(wordsReply(1, 4, {3, 4, 5, 6}));
    }
    EXPECT_TRUE(knowsHead());
    poll(wordsReply(1, 4, {1, 2, 3, 4}));
    poll(wordsReply(1, 4, {3, 9, 5, 6}));
    EXPECT_FALSE(knowsHead());
    recorder.take();
    poll(wordsReply(1, 4, {1, 2, 3, 4}));
    EXPECT_EQ(area(1, "3x", 3).readValue, 4);
    poll(wordsReply(1, 4, {3, 9, 5, 6}));
    EXPECT_EQ(area(1, "3x", 3).readValue, 9);
}

TEST_F(SteadyReplies, ANewPlanAndANewStartKnowNothing)
{
    plan(keysOf("1:4x 0+2"));
    poll(wordsReply(1, 3, {1, 2}));
    plan(keysOf("1:4x 0+2"));
    EXPECT_FALSE(knowsHead());
    poll(wordsReply(1, 3, {1, 2}));
    init("1#0#0#3#100");
    plan(keysOf("1:4x 0+2"));
    EXPECT_EQ(poll(wordsReply(1, 3, {1, 2})), Changes({word("4x", 0), word("4x", 1)}));
}

TEST_F(SteadyReplies, TheReplyToAnOldPlansRequestIsNotTakenForOneOfTheNew)
{
    plan(keysOf("1:4x 0+2"));
    nextFrame();
    plan(keysOf("1:4x 50+2"));
    EXPECT_EQ(deal(wordsReply(1, 3, {1, 2})), ReplyAccepted);
    EXPECT_FALSE(knowsHead());
    poll(wordsReply(1, 3, {1, 2}));
    EXPECT_EQ(area(1, "4x", 51).readValue, 2);
}

// --- callbacks in the middle of a reply -------------------------------------------------------

TEST_F(SteadyReplies, AReplyDealtWithInsideAReportIsNotSkippedOver)
{
    plan(keysOf("1:4x 0+3"));
    poll(wordsReply(1, 3, {1, 2, 3}));
    onFirstReport([&] {
        deal(wordsReply(1, 3, {7, 2, 8})); // the same request, answered once more
    });
    exchange(wordsReply(1, 3, {5, 2, 3}));
    EXPECT_EQ(area(1, "4x", 0).readValue, 5);
    EXPECT_EQ(area(1, "4x", 2).readValue, 3) << "register 2 says 3 again, although the reply did not change it";
    recorder.take();
    EXPECT_EQ(poll(wordsReply(1, 3, {7, 2, 8})), Changes({word("4x", 0), word("4x", 2)}));
}

TEST_F(SteadyReplies, APlanMadeInsideAReportKnowsOnlyItsOwnReplies)
{
    plan(keysOf("1:4x 0+3"));
    onFirstReport([&] {
        plan(keysOf("1:4x 0+3"));
        deal(wordsReply(1, 3, {7, 7, 7}));
        exchange(wordsReply(1, 3, {8, 8, 8})); // kept for the new plan
    });
    exchange(wordsReply(1, 3, {1, 2, 3}));
    EXPECT_EQ(area(1, "4x", 0).readValue, 1);
    EXPECT_EQ(area(1, "4x", 1).readValue, 2);
    recorder.take();
    EXPECT_EQ(poll(wordsReply(1, 3, {8, 8, 8})), Changes({word("4x", 0), word("4x", 1), word("4x", 2)}));
}

TEST_F(SteadyReplies, AFailureInsideAReportLeavesErrorsToBeCleared)
{
    init("1#0#0#1#100");
    plan(keysOf("1:4x 0+3"));
    poll(wordsReply(1, 3, {1, 2, 3}));
    onFirstReport([&] { EXPECT_EQ(deal(QByteArray()), RequestGivenUp); });
    exchange(wordsReply(1, 3, {9, 2, 3}));
    EXPECT_EQ(area(1, "4x", 0).errorFlag, 1) << "was read before the failure";
    EXPECT_EQ(area(1, "4x", 1).errorFlag, 0) << "is read after it, and says what it said";
    EXPECT_EQ(area(1, "4x", 2).errorFlag, 0);
    EXPECT_FALSE(knowsHead());
}

TEST_F(SteadyReplies, ACacheThatIsOnlyEmptiedInsideAReportIsFilledAnew)
{
    plan(keysOf("1:0x 0+3"));
    poll(bitsReply(1, 1, {1, 1, 0}));
    onFirstReport([&] { init("1#0#0#3#100"); });
    exchange(bitsReply(1, 1, {0, 1, 0}));
    EXPECT_EQ(driver.dataAreas.size(), 3);
    EXPECT_EQ(area(1, "0x", 1).readValue, 1);
}

TEST_F(SteadyReplies, ACacheEmptiedInsideAReportIsFilledAnew)
{
    plan(keysOf("1:4x 0+3"));
    poll(wordsReply(1, 3, {1, 2, 3}));
    onFirstReport([&] {
        init("1#0#0#3#100");
        plan(keysOf("1:4x 0+3"));
    });
    exchange(wordsReply(1, 3, {9, 2, 3}));
    EXPECT_EQ(area(1, "4x", 1).readValue, 2) << "looked at, as the cache was empty";
    EXPECT_FALSE(knowsHead());
}

} // namespace
