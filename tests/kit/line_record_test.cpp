// What a link counts of its frames, and the percentiles of their times.

#include "kit/link/line_record.h"
#include "support/virtual_line.h"

#include <gtest/gtest.h>

namespace {

using namespace test_line;
using rtu::ReplyKind;

rtu::Transaction transaction(rtu::TimePoint sent, int requestMilliseconds, int wholeMilliseconds)
{
    rtu::Transaction t;
    t.station = 1;
    t.sent = sent;
    t.requestEnd = sent + milliseconds(requestMilliseconds);
    t.finished = sent + milliseconds(wholeMilliseconds);
    return t;
}

TEST(LineRecord, NeverCountsMoreThanTheWholeLine)
{
    const rtu::TimePoint start{std::chrono::seconds(1000)};
    rtu::LineRecord record(start);
    // The line was silent for longer than this record is old.
    record.add(transaction(start, 4, 10), milliseconds(2));
    EXPECT_EQ(milliseconds(10), record.statistics(start + milliseconds(10)).total.busy);
    EXPECT_DOUBLE_EQ(1.0, record.statistics(start + milliseconds(10)).total.share);
    record.add(transaction(start + milliseconds(12), 4, 10), milliseconds(2));
    EXPECT_EQ(milliseconds(22), record.statistics(start + milliseconds(22)).total.busy);
    EXPECT_DOUBLE_EQ(0.5, record.statistics(start + milliseconds(44)).stations.at(1).share);
    // Lost while the request was on its way: it is counted whole.
    record.add(transaction(start + milliseconds(24), 4, 1), milliseconds(2));
    EXPECT_EQ(milliseconds(28), record.statistics(start + milliseconds(25)).total.busy);
    EXPECT_DOUBLE_EQ(1.0, record.statistics(start + milliseconds(25)).total.share);
}

TEST(LineRecord, HasThePercentilesOfTheRepliesAndOfTheAges)
{
    const rtu::TimePoint start{std::chrono::seconds(1000)};
    rtu::LineRecord record(start);
    const rtu::Area area = rtu::areaOf(1, QString::fromLatin1("4x"), 0, 1);
    rtu::TimePoint when = start;
    record.refreshed(area, when);
    for (int i = 1; i <= 100; ++i) { // replies after 1 to 100 ms, values of 10 to 1000 ms of age
        record.add(transaction(when, 4, 4 + i), milliseconds(2));
        when += milliseconds(10 * i);
        record.refreshed(area, when);
    }
    const rtu::LinkStatistics all = record.statistics(when);
    for (const rtu::StationStatistics &s : {all.total, all.stations.at(1)}) {
        EXPECT_EQ(milliseconds(51), s.replyMedian);
        EXPECT_EQ(milliseconds(96), s.reply95);
        EXPECT_EQ(milliseconds(510), s.ageMedian);
        EXPECT_EQ(milliseconds(960), s.age95);
    }
}

TEST(LineRecord, HasNoPercentilesOfNothing)
{
    const rtu::TimePoint start{std::chrono::seconds(1000)};
    rtu::LineRecord record(start);
    rtu::Transaction lost = transaction(start, 4, 200);
    lost.kind = rtu::ReplyKind::Silent;
    record.add(lost, milliseconds(2));
    EXPECT_EQ(rtu::Duration(0), record.statistics(start + milliseconds(300)).total.replyMedian);
    EXPECT_EQ(rtu::Duration(0), record.statistics(start + milliseconds(300)).total.age95);
}

TEST(LineRecord, HasNoShareOfNoTime)
{
    const rtu::TimePoint start{std::chrono::seconds(1000)};
    EXPECT_DOUBLE_EQ(0.0, rtu::LineRecord(start).statistics(start).total.share);
}

TEST(LineRecord, CountsEachFrameOnceAndInItsPlace)
{
    struct Frames
    {
        ReplyKind kind;
        int times;
        int attempt;
        int verdict;
    };
    const rtu::TimePoint start{std::chrono::seconds(1000)};
    rtu::LineRecord record(start);
    rtu::TimePoint when = start;
    const auto add = [&](int station, const Frames &frames) {
        for (int i = 0; i < frames.times; ++i) {
            rtu::Transaction t = transaction(when, 4, 10);
            t.station = station;
            t.kind = frames.kind;
            t.attempt = frames.attempt;
            t.verdict = frames.verdict;
            t.strayBytes = 3;
            record.add(t, milliseconds(0));
            when += milliseconds(10);
        }
    };
    const Frames first[] = {{ReplyKind::Good, 2, 1, rtu::VerdictGood},
                            {ReplyKind::Exception, 3, 1, rtu::VerdictGivenUp},
                            {ReplyKind::Damaged, 4, 2, rtu::VerdictSendAgain},
                            {ReplyKind::Foreign, 5, 3, rtu::VerdictGivenUp},
                            {ReplyKind::Silent, 6, 1, rtu::VerdictSendAgain}};
    for (const Frames &frames : first)
        add(1, frames);
    add(2, {ReplyKind::Damaged, 1, 2, rtu::VerdictGivenUp});
    const rtu::LinkStatistics all = record.statistics(when);
    const rtu::StationStatistics &one = all.stations.at(1);
    using Counts = std::vector<std::uint64_t>;
    const auto countsOf = [](const rtu::StationStatistics &s) {
        return Counts{s.frames,  s.resends, s.good,    s.exceptions, s.timeouts,
                      s.damaged, s.foreign, s.giveUps, s.strayBytes};
    };
    EXPECT_EQ((Counts{20, 9, 2, 3, 6, 4, 5, 8, 60}), countsOf(one));
    EXPECT_EQ((Counts{1, 1, 0, 0, 0, 1, 0, 1, 3}), countsOf(all.stations.at(2)));
    EXPECT_EQ((Counts{21, 10, 2, 3, 6, 5, 5, 9, 63}), countsOf(all.total));
    EXPECT_EQ(2u, all.stations.size());
    EXPECT_EQ(milliseconds(200), one.busy);
    EXPECT_EQ(milliseconds(210), all.total.busy);
    EXPECT_EQ(milliseconds(210), all.elapsed);
    EXPECT_EQ(milliseconds(6), one.reply95);
    EXPECT_EQ(rtu::Duration(0), all.stations.at(2).reply95) << "a damaged reply has no time";
    EXPECT_FALSE(one.silent);
    EXPECT_EQ(0u, all.failedCallbacks);
}

TEST(LineRecord, HasNoReplyTimeOfABroadcast)
{
    const rtu::TimePoint start{std::chrono::seconds(1000)};
    rtu::LineRecord record(start);
    rtu::Transaction broadcast = transaction(start, 4, 104);
    broadcast.end = rtu::ReplyEnd::NoneExpected;
    record.add(broadcast, milliseconds(2));
    EXPECT_EQ(1u, record.statistics(start + milliseconds(104)).total.good);
    EXPECT_EQ(rtu::Duration(0), record.statistics(start + milliseconds(104)).total.reply95);
}

TEST(LineRecord, HasAShareOfTheShortestTime)
{
    const rtu::Duration instant{1};
    const rtu::TimePoint start{std::chrono::seconds(1000)};
    rtu::LineRecord record(start);
    rtu::Transaction shortest = transaction(start, 0, 0);
    shortest.finished = start + instant;
    record.add(shortest, rtu::Duration(0));
    EXPECT_DOUBLE_EQ(1.0, record.statistics(start + instant).total.share);
}

TEST(LineRecord, AddsUpWhatCallbacksThrew)
{
    rtu::LineRecord record{rtu::TimePoint()};
    record.callbackFailed(2);
    record.callbackFailed(3);
    EXPECT_EQ(5u, record.statistics(rtu::TimePoint()).failedCallbacks);
}

TEST(Quantiles, AreOfTheLatestThousandAndTwentyFourInAnyOrder)
{
    rtu::Quantiles samples;
    using Pair = std::pair<std::int64_t, std::int64_t>;
    const auto outermost = [&samples] { return Pair(samples.quantile(0).count(), samples.quantile(1).count()); };
    samples.add(rtu::Duration(5000));
    samples.add(rtu::Duration(1));
    EXPECT_EQ(Pair(1, 5000), outermost());
    for (int i = 1022; i > 0; --i)
        samples.add(rtu::Duration(1000 + i));
    EXPECT_EQ(Pair(1, 5000), outermost());
    EXPECT_EQ(rtu::Duration(1512), samples.median()) << "of 1, 1001 to 2022 and 5000 the one behind the middle";
    samples.add(rtu::Duration(1500));
    EXPECT_EQ(Pair(1, 2022), outermost()) << "the first has made room";
    samples.add(rtu::Duration(1500));
    EXPECT_EQ(Pair(1001, 2022), outermost()) << "and then the second";
    samples.add(rtu::Duration(1500));
    EXPECT_EQ(Pair(1001, 2021), outermost());
    for (int i = 0; i < 1021; ++i)
        samples.add(rtu::Duration(1500));
    EXPECT_EQ(Pair(1500, 1500), outermost());
    samples.add(rtu::Duration(7));
    samples.add(rtu::Duration(8));
    EXPECT_EQ(Pair(7, 1500), outermost()) << "the ring begins anew, and keeps the newest";
}

} // namespace
