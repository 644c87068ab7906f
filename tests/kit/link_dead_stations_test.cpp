// Dead stations cost the others nothing.

#include "kit/link_test.h"

#include <algorithm>

namespace {

using namespace test_kit;

class LinkDeadStations : public LinkTest
{
protected:
    LinkDeadStations()
    {
        settings.replyTimeout = milliseconds(1000);
        settings.lateReplyGuard = milliseconds(1000);
    }

    /** Stations 1 to @p count with one register each, all polled. */
    void watch(int count)
    {
        for (int station = 1; station <= count; ++station) {
            plant.define(station, Table::HoldingRegisters, 0, 10);
            plant.setTurnaround(station, milliseconds(2));
            tags.push_back(link().addTag(TagDefinition(station, "4x1")));
        }
        m_watched = count;
    }

    void kill(int count)
    {
        for (int station = m_watched; station > m_watched - count; --station)
            plant.setStationOn(station, false);
        m_dead = count;
    }

    /** Rounds of those that live: from one good reply of station 1 to the next. */
    std::vector<rtu::Duration> rounds(rtu::Duration time)
    {
        transactions.clear();
        run(time);
        std::vector<rtu::Duration> lengths;
        rtu::TimePoint last;
        for (const rtu::Transaction &t : transactions) {
            if (t.station != 1)
                continue;
            if (last != rtu::TimePoint())
                lengths.push_back(t.finished - last);
            last = t.finished;
        }
        std::sort(lengths.begin(), lengths.end());
        return lengths;
    }

    static double median(const std::vector<rtu::Duration> &lengths)
    {
        return static_cast<double>(lengths[lengths.size() / 2].count());
    }

    /** Time until the tag is good again. */
    rtu::Duration backAfter(const rtu::Tag &tag)
    {
        const rtu::TimePoint start = line->now();
        while (!tag.value().good() && line->now() - start < std::chrono::minutes(10))
            run(milliseconds(20));
        return line->now() - start;
    }

    std::vector<rtu::Tag> tags;

private:
    int m_watched = 0;
    int m_dead = 0;
};

TEST_F(LinkDeadStations, OneOfFive)
{
    watch(5);
    run(std::chrono::seconds(5));
    kill(1);
    run(std::chrono::seconds(30)); // found dead meanwhile
    const std::vector<rtu::Duration> lengths = rounds(std::chrono::minutes(10));
    // The four that live alone, on a line of their own, are what it is compared with.
    link().removeTag(tags[4]);
    const std::vector<rtu::Duration> alone = rounds(std::chrono::minutes(1));
    EXPECT_LE(median(lengths), 1.05 * median(alone));
    EXPECT_LE(lengths.back(), milliseconds(1300));
    EXPECT_GT(lengths.back(), milliseconds(900)) << "now and then the full time-out is waited for";
}

TEST_F(LinkDeadStations, TenOfThirty)
{
    watch(30);
    run(std::chrono::seconds(10));
    kill(10);
    run(std::chrono::minutes(2));
    const std::vector<rtu::Duration> lengths = rounds(std::chrono::minutes(10));
    for (std::size_t i = 20; i < 30; ++i)
        link().removeTag(tags[i]);
    const std::vector<rtu::Duration> alone = rounds(std::chrono::minutes(1));
    EXPECT_LE(median(lengths), 1.1 * median(alone));
}

TEST_F(LinkDeadStations, AskingTakesATwentiethOfTheLineAtMost)
{
    watch(30);
    run(std::chrono::seconds(10));
    kill(10);
    run(std::chrono::minutes(2));
    transactions.clear();
    const rtu::TimePoint start = line->now();
    run(std::chrono::minutes(10));
    rtu::Duration asking{0};
    for (const rtu::Transaction &t : transactions)
        asking += t.station > 20 ? t.finished - t.sent : rtu::Duration(0);
    EXPECT_LE(asking, (line->now() - start) / 19);
    EXPECT_GT(asking, (line->now() - start) / 100);
}

TEST_F(LinkDeadStations, ComeBackWithinTenSeconds)
{
    watch(5);
    run(std::chrono::seconds(5));
    for (int wait = 20; wait < 200; wait += 17) {
        kill(1);
        run(std::chrono::seconds(wait));
        EXPECT_EQ(Quality::StationSilent, tags[4].value().quality);
        plant.setStationOn(5, true);
        EXPECT_LE(backAfter(tags[4]), std::chrono::seconds(10)) << "dead for " << wait << " s";
    }
}

TEST_F(LinkDeadStations, SlowerThanBeforeAreFoundAsWell)
{
    watch(5);
    run(std::chrono::seconds(5));
    kill(1);
    run(std::chrono::seconds(30));
    plant.setStationOn(5, true);
    plant.setTurnaround(5, milliseconds(700));
    EXPECT_LE(backAfter(tags[4]), std::chrono::minutes(3));
}

TEST_F(LinkDeadStations, CostNoStatistic)
{
    watch(2);
    run(std::chrono::seconds(2));
    kill(1);
    run(std::chrono::seconds(30));
    const std::uint64_t before = link().statistics().stations.at(2).frames;
    EXPECT_TRUE(link().statistics().stations.at(2).silent);
    run(milliseconds(2500));
    EXPECT_LE(link().statistics().stations.at(2).frames - before, 1u);
    EXPECT_FALSE(link().statistics().stations.at(1).silent);
}

TEST_F(LinkDeadStations, AloneLetTheThreadSleep)
{
    watch(1);
    kill(1);
    run(std::chrono::seconds(10));
    requests.clear();
    line->wakeUps = 0;
    run(std::chrono::seconds(60));
    EXPECT_LE(line->wakeUps, 80);
    EXPECT_GE(requests.size(), 5u);
}

TEST_F(LinkDeadStations, AWriteFindsThemBack)
{
    watch(2);
    kill(1);
    run(std::chrono::seconds(20));
    plant.setStationOn(2, true);
    link().write(TagDefinition(2, "4x2"), {1});
    run(milliseconds(200));
    EXPECT_EQ(Quality::Good, tags[1].value().quality);
}

TEST_F(LinkDeadStations, ComeBackAsSoonHoweverOftenTheyWereWrittenTo)
{
    watch(5);
    run(std::chrono::seconds(5));
    kill(1);
    for (int i = 0; i < 300; ++i) {
        link().write(TagDefinition(5, "4x2"), {1});
        run(std::chrono::seconds(1));
    }
    plant.setStationOn(5, true);
    EXPECT_LE(backAfter(tags[4]), std::chrono::seconds(10));
}

TEST_F(LinkDeadStations, AGatewaysWordCountsAsSilence)
{
    watch(2);
    plant::Fault fault;
    fault.kind = plant::FaultKind::Exception;
    fault.station = 2;
    fault.value = 11;
    plant.addFault(fault);
    run(std::chrono::seconds(1));
    EXPECT_EQ(Quality::StationSilent, tags[1].value().quality);
    EXPECT_TRUE(link().statistics().stations.at(2).silent);
}

TEST_F(LinkDeadStations, AreSilentUntilTheyAnswerBeItWithAnException)
{
    watch(2);
    kill(1);
    run(std::chrono::seconds(10));
    EXPECT_TRUE(link().statistics().stations.at(2).silent);
    plant.makeHole(2, Table::HoldingRegisters, 0, 10);
    plant.setStationOn(2, true);
    run(std::chrono::seconds(10));
    EXPECT_EQ(Quality::Refused, tags[1].value().quality);
    EXPECT_FALSE(link().statistics().stations.at(2).silent);
}

TEST_F(LinkDeadStations, AreSilentUntilTheyTakeAWrite)
{
    plant.define(9, Table::HoldingRegisters, 0, 10);
    plant.setStationOn(9, false);
    link().write(TagDefinition(9, "4x1"), {1});
    run(std::chrono::seconds(10));
    EXPECT_TRUE(link().statistics().stations.at(9).silent);
    plant.setStationOn(9, true);
    link().write(TagDefinition(9, "4x1"), {1});
    run(std::chrono::seconds(1));
    EXPECT_FALSE(link().statistics().stations.at(9).silent) << "no tag of it is read";
}

TEST_F(LinkDeadStations, AreGivenTheirOwnTimeOutToAnswer)
{
    settings.stations[5].replyTimeout = std::chrono::seconds(3);
    watch(5);
    plant.setTurnaround(5, std::chrono::seconds(2));
    run(std::chrono::seconds(5));
    ASSERT_EQ(Quality::Good, tags[4].value().quality);
    kill(1);
    run(std::chrono::minutes(1));
    plant.setStationOn(5, true);
    EXPECT_LE(backAfter(tags[4]), std::chrono::minutes(1)) << "twenty times what asking it takes";
}

TEST_F(LinkDeadStations, WithALongTimeOutDoNotKeepTheLineWaitingBetweenQuestions)
{
    settings.stations[5].replyTimeout = std::chrono::seconds(10);
    watch(5);
    run(std::chrono::seconds(5));
    kill(1);
    run(std::chrono::minutes(2)); // found dead meanwhile
    transactions.clear();
    run(std::chrono::minutes(5));
    rtu::Duration longest{0};
    int questions = 0;
    for (std::size_t i = 1; i < transactions.size(); ++i) {
        longest = std::max(longest, transactions[i].sent - transactions[i - 1].finished);
        questions += transactions[i].station == 5 ? 1 : 0;
    }
    EXPECT_LE(longest, milliseconds(100)) << "its late replies are waited for beside the others";
    EXPECT_GE(questions, 10);
}

TEST_F(LinkDeadStations, AreNotAskedWhileAReplyToTheQuestionBeforeMayCome)
{
    settings.replyTimeout = std::chrono::seconds(4);
    watch(5);
    run(std::chrono::seconds(5));
    kill(1);
    run(std::chrono::minutes(1));
    transactions.clear();
    run(std::chrono::minutes(2));
    rtu::TimePoint before;
    for (const rtu::Transaction &t : transactions) {
        if (t.station != 5)
            continue;
        if (before != rtu::TimePoint()) {
            EXPECT_GE(t.sent - before, settings.replyTimeout + settings.lateReplyGuard);
        }
        before = t.requestEnd;
    }
    EXPECT_NE(rtu::TimePoint(), before);
}

TEST_F(LinkDeadStations, AreNotAskedWhileAReplyToTheGivenUpRequestMayCome)
{
    settings.attempts = 1;
    settings.questionInterval = milliseconds(100);
    watch(2);
    run(std::chrono::seconds(2));
    kill(1);
    transactions.clear();
    run(std::chrono::seconds(10));
    for (std::size_t i = 1; i < transactions.size(); ++i)
        EXPECT_LE(transactions[i].sent - transactions[i - 1].finished, milliseconds(100)) << i;
}

TEST_F(LinkDeadStations, OfWhichThePlanIsMadeAreReadAtOnceWhenAWriteFindsThemBack)
{
    settings.questionInterval = std::chrono::hours(1);
    watch(1);
    kill(1);
    run(std::chrono::seconds(20));
    plant.setStationOn(1, true);
    link().write(TagDefinition(1, "4x2"), {1});
    run(milliseconds(200));
    EXPECT_EQ(Quality::Good, tags[0].value().quality);
}

TEST_F(LinkDeadStations, AreReadAtOnceWhenTheyAreFoundBackBetweenTwoRounds)
{
    settings.roundInterval = std::chrono::hours(1);
    watch(2);
    kill(1);
    run(std::chrono::seconds(20));
    ASSERT_EQ(Quality::StationSilent, tags[1].value().quality);
    plant.setStationOn(2, true);
    link().write(TagDefinition(2, "4x2"), {1});
    run(milliseconds(200));
    EXPECT_EQ(Quality::Good, tags[1].value().quality);
}

TEST_F(LinkDeadStations, FoundBackBehindTheirTurnInARoundAreReadInTheNextThatBeginsAtOnce)
{
    settings.roundInterval = std::chrono::seconds(60);
    watch(4);
    plant.setStationOn(2, false);
    run(std::chrono::seconds(65)); // found dead in the second round
    ASSERT_EQ(Quality::StationSilent, tags[1].value().quality);
    transactions.clear();
    while (transactions.empty() || transactions.back().station != 3) { // its turn is over
        if (link().step() == LinkStep::Idle)
            line->sleepUntil(link().nextStep());
    }
    plant.setStationOn(2, true);
    link().write(TagDefinition(2, "4x2"), {1});
    run(std::chrono::seconds(5));
    EXPECT_EQ(Quality::Good, tags[1].value().quality);
}

TEST_F(LinkDeadStations, PassedOverAtTheEndOfARoundKeepNoReadWaiting)
{
    settings.roundInterval = std::chrono::hours(1);
    watch(1);
    plant.define(3, Table::HoldingRegisters, 0, 10);
    kill(1);
    run(std::chrono::minutes(1));
    int reads = 0;
    for (int i = 0; i < 20; ++i)
        link().read(TagDefinition(3, "4x1"), [&](const rtu::ReadResult &) { ++reads; });
    const rtu::TimePoint start = line->now();
    run(std::chrono::seconds(2));
    EXPECT_EQ(20, reads);
    EXPECT_LE(line->now() - start, std::chrono::seconds(3));
}

TEST_F(LinkDeadStations, AreAskedNoLongerThanTheirOwnTimeOut)
{
    settings.stations[5].replyTimeout = milliseconds(100);
    watch(5);
    kill(1);
    run(std::chrono::seconds(5));
    EXPECT_LE(rounds(std::chrono::minutes(2)).back(), milliseconds(300));
}

TEST_F(LinkDeadStations, WithSlowTagsAloneAreAskedLikeTheOthersAndHoldUpNone)
{
    watch(2);
    plant.define(3, Table::HoldingRegisters, 0, 10);
    plant.define(3, Table::InputRegisters, 0, 10);
    plant.setStationOn(3, false);
    TagDefinition slow(3, "4x1");
    slow.pace = std::chrono::hours(1);
    const rtu::Tag first = link().addTag(slow);
    slow.address = QString::fromLatin1("3x1");
    const rtu::Tag second = link().addTag(slow);
    run(std::chrono::seconds(10));
    kill(1);
    run(std::chrono::minutes(1));
    EXPECT_EQ(Quality::StationSilent, first.value().quality);
    plant.setStationOn(2, true);
    EXPECT_LE(backAfter(tags[1]), std::chrono::seconds(10));
    plant.setStationOn(3, true);
    EXPECT_LE(backAfter(first), std::chrono::seconds(10));
    EXPECT_LE(backAfter(second), std::chrono::seconds(10)) << "it is read when its station is back";
}

TEST_F(LinkDeadStations, FoundBackByASlowTagAreReadOnce)
{
    watch(1);
    plant.define(3, Table::HoldingRegisters, 0, 10);
    plant.setStationOn(3, false);
    TagDefinition slow(3, "4x1");
    slow.pace = std::chrono::hours(1);
    link().addTag(slow);
    run(std::chrono::seconds(10));
    plant.setStationOn(3, true);
    transactions.clear();
    run(std::chrono::minutes(1));
    EXPECT_EQ(1, std::count_if(transactions.begin(), transactions.end(), [](const rtu::Transaction &t) {
                  return t.station == 3 && t.kind == rtu::ReplyKind::Good;
              }));
}

TEST_F(LinkDeadStations, OfThePlanAndBesideItLetTheThreadSleep)
{
    settings.roundInterval = std::chrono::seconds(10);
    watch(1);
    plant.define(3, Table::HoldingRegisters, 0, 10);
    plant.setStationOn(3, false);
    TagDefinition slow(3, "4x1");
    slow.pace = std::chrono::hours(1);
    link().addTag(slow);
    kill(1);
    run(std::chrono::seconds(35));
    line->wakeUps = 0;
    run(std::chrono::seconds(20));
    EXPECT_LE(line->wakeUps, 60);
}

TEST_F(LinkDeadStations, OfManyComeBackWithinTwentyTimesWhatAskingThemTakes)
{
    watch(30);
    run(std::chrono::seconds(10));
    kill(10);
    run(std::chrono::minutes(2));
    transactions.clear();
    run(std::chrono::minutes(3));
    std::map<int, rtu::Duration> longest;
    for (const rtu::Transaction &t : transactions) {
        if (t.station > 20)
            longest[t.station] = std::max(longest[t.station], t.finished - t.sent);
    }
    ASSERT_EQ(10u, longest.size()) << "each is asked";
    rtu::Duration asking{0};
    for (const auto &one : longest)
        asking += one.second;
    for (const int station : {21, 26, 30}) {
        plant.setStationOn(station, true);
        const rtu::Duration back = backAfter(tags[static_cast<std::size_t>(station) - 1]);
        EXPECT_LE(back, std::max<rtu::Duration>(std::chrono::seconds(10), 20 * asking)) << station;
        plant.setStationOn(station, false);
        run(std::chrono::minutes(1));
    }
}

} // namespace
