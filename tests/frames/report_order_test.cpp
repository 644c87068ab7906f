// What the host finds when it is called back: what of the transaction is over
// by then, and what is not.
//
// The end of a write is told before anything else of its end happens: its frame
// is still the one to send, its entry still heads the queue. A failed one-off
// read is told of last, when its text is set, its areas are marked and its
// frames are gone.

#include "support/slave_fixture.h"
#include "support/unit_text.h"

namespace {

using support::adu;
using support::Change;
using support::key;
using support::keysOf;
using support::payload;
using support::unitsText;
using support::wordsReply;
using support::writeEcho;

/** What a callback found. */
struct Found
{
    QString text; ///< the error text of the call in progress
    int frames;
    int failures;
    QByteArray head; ///< the request that would be sent again
    std::string writes;
    bool marked; ///< the watched area bears its error mark
};

class ReportOrder : public support::SlaveFixture
{
protected:
    ReportOrder() : markedIndex(0)
    {
        recorder.hook = [this](const Change &) { found.push_back(look()); };
    }

    /** Looks without asking the driver for anything. */
    Found look() const
    {
        Found now = {errorText,
                     static_cast<int>(driver.frameList.size()),
                     driver.failCount,
                     QByteArray(),
                     unitsText(driver.writeList),
                     false};
        if (now.frames > 0)
            now.head = support::requestBytes(driver.frameList.first());
        const int position = findArea(1, "4x", markedIndex);
        now.marked = position >= 0 && driver.dataAreas.at(position).errorFlag != 0;
        return now;
    }

    /** Answers with nothing until the request in flight is given up; forgets what was found before. */
    void giveUp()
    {
        nextFrame();
        found.clear();
        exchangeUntilGivenUp();
    }

    int markedIndex;
    std::vector<Found> found;
};

// --- a request that is given up -----------------------------------------------------------

// The read half of a bit write marks areas, by the bit address.
TEST_F(ReportOrder, FailedWriteIsCompletedBeforeItsTextItsMarksAndItsFrames)
{
    markedIndex = 35;
    setData(1, "4x_bit", 35, 1, "01 00");
    giveUp();
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].text, QString());
    EXPECT_FALSE(found[0].marked);
    EXPECT_EQ(found[0].frames, 2);
    EXPECT_EQ(found[0].head, adu("01 03 00 02 00 01"));
    EXPECT_EQ(found[0].failures, 3);
    EXPECT_EQ(found[0].writes, "1:4x_bit 35+1");

    const Found after = look();
    EXPECT_EQ(after.text, QString::fromLatin1("W,1#4x_bit3.3(1)"));
    EXPECT_TRUE(after.marked);
    EXPECT_EQ(after.frames, 0);
    EXPECT_EQ(after.failures, 0);
    EXPECT_EQ(after.writes, "");
}

TEST_F(ReportOrder, FailedConditionReadIsReportedAfterItsTextItsMarksAndItsFrames)
{
    markedIndex = 7;
    KEY_ADDRESS range = key(1, "4x", 7, 1);
    intf_addConditionRead(&range, 5);
    giveUp();
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].text, QString::fromLatin1("R,1#4x8(1)"));
    EXPECT_TRUE(found[0].marked);
    EXPECT_EQ(found[0].frames, 0);
    EXPECT_EQ(found[0].failures, 0);
}

// A write that the completion asks for is another transaction: it is neither
// dropped with the failed one nor takes its place at the head.
TEST_F(ReportOrder, WriteMadeInTheReportOfAFailedOneIsSentNext)
{
    recorder.hook = [this](const Change &) {
        if (driver.writeList.size() == 1)
            setData(1, "4x", 9, 1, "05 00");
    };
    setData(1, "4x_bit", 35, 1, "01 00");
    exchangeUntilGivenUp();
    EXPECT_EQ(unitsText(driver.writeList), "1:4x 9+1");
    EXPECT_EQ(nextRequest(), adu("01 06 00 09 00 05"));
}

// --- a write that is acknowledged ---------------------------------------------------------

TEST_F(ReportOrder, AcknowledgedWriteIsCompletedBeforeItsFrameAndItsEntryAreRemoved)
{
    slaves.station(1);
    setData(1, "4x_bit", 35, 1, "01 00");
    step();
    const FRAME_PRO write = nextFrame();
    EXPECT_EQ(deal(writeEcho(write)), ReplyAccepted);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].frames, 1);
    EXPECT_EQ(found[0].head, support::requestBytes(write));
    EXPECT_EQ(found[0].writes, "1:4x_bit 35+1");
    EXPECT_EQ(look().frames, 0);
    EXPECT_EQ(look().writes, "");
}

// The same bits are written again in the first of the two reports. The entry
// that is just ending still heads the queue: it is not replaced, and for the bit
// whose turn has not come the new entry is the second of two.
TEST_F(ReportOrder, WriteMadeInTheReportOfTheSameOneQueuesBehindIt)
{
    slaves.station(1);
    setData(1, "4x_bit", 35, 2, "01 01 00 00");
    step();
    nextFrame();
    recorder.hook = [this](const Change &) {
        if (driver.writeList.size() == 1)
            setData(1, "4x_bit", 35, 2, "00 01 00 00", 77);
        found.push_back(look());
    };
    step();
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].writes, "1:4x_bit 35+2 | 1:4x_bit 35+2");
    ASSERT_EQ(driver.writeList.size(), 1);
    EXPECT_EQ(driver.writeList.first().userData, 77);
    EXPECT_EQ(area(1, "4x", 2).bitWriteState, (1 << 6) | (1 << 9));
    EXPECT_EQ(getData(1, "4x_bit", 35, 2, 2), payload("00 01")) << "both bits are still the host's";
    EXPECT_EQ(nextRequest(), adu("01 03 00 02 00 01"));
}

// --- a read ---------------------------------------------------------------------------

TEST_F(ReportOrder, ReadIsReportedBeforeItsFrameIsRemovedAndThePlanRotates)
{
    plan(keysOf("1:4x 0+1 | 2:4x 0+1"));
    std::string planned;
    recorder.hook = [&](const Change &) {
        found.push_back(look());
        planned = unitsText(driver.cyclicReadList);
    };
    EXPECT_EQ(exchange(wordsReply(1, 3, {5})), ReplyAccepted);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].head, adu("01 03 00 00 00 01"));
    EXPECT_EQ(planned, "1:4x 0+1 | 2:4x 0+1");
    EXPECT_EQ(unitsText(driver.cyclicReadList), "2:4x 0+1 | 1:4x 0+1");
}

} // namespace
