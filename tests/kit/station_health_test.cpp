#include "kit/poll/station_health.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const rtu::TimePoint Start{seconds(1000)};

rtu::LinkSettings settings()
{
    rtu::LinkSettings settings;
    settings.replyTimeout = milliseconds(800);
    settings.questionInterval = seconds(2);
    return settings;
}

TEST(StationHealth, KnowsNobodyAtFirst)
{
    rtu::StationHealth health(settings());
    EXPECT_FALSE(health.dead(1));
    EXPECT_FALSE(health.mayAsk(1, Start));
    EXPECT_EQ(milliseconds(800), health.questionTime(1));
    EXPECT_EQ(rtu::TimePoint::max(), health.nextQuestion(Start));
}

TEST(StationHealth, TellsEachTurnOnce)
{
    rtu::StationHealth health(settings());
    EXPECT_TRUE(health.silent(1, Start));
    EXPECT_FALSE(health.silent(1, Start));
    EXPECT_TRUE(health.dead(1));
    EXPECT_TRUE(health.heard(1, milliseconds(5)));
    EXPECT_FALSE(health.heard(1, milliseconds(5)));
    EXPECT_FALSE(health.dead(1));
}

TEST(StationHealth, AsksOnlyThePolledInTurnAndNotBeforeTheIntervalIsOver)
{
    rtu::StationHealth health(settings());
    health.silent(1, Start);
    health.silent(2, Start + milliseconds(1));
    health.silent(3, Start);
    health.setPolled({1, 2});
    const rtu::TimePoint later = Start + seconds(60); // credit enough
    EXPECT_FALSE(health.mayAsk(1, Start + milliseconds(1999)));
    EXPECT_TRUE(health.mayAsk(1, later));
    EXPECT_FALSE(health.mayAsk(2, later)) << "after the other";
    EXPECT_FALSE(health.mayAsk(3, later)) << "not polled";
    health.asked(1, later, milliseconds(100));
    EXPECT_TRUE(health.mayAsk(2, later));
    EXPECT_FALSE(health.mayAsk(1, later));
}

// --- how long a question waits ----------------------------------------------------------

TEST(StationHealth, GivesAQuestionFourTimesTheUsualDelay)
{
    rtu::LinkSettings given = settings();
    given.stations[6].replyTimeout = milliseconds(100);
    rtu::StationHealth health(given);
    health.silent(1, Start);
    EXPECT_EQ(milliseconds(200), health.questionTime(1)) << "nobody was heard: a quarter of the time-out";
    EXPECT_FALSE(health.heard(2, milliseconds(10)));
    EXPECT_FALSE(health.heard(3, milliseconds(50)));
    EXPECT_FALSE(health.heard(4, rtu::Duration(0)));
    EXPECT_FALSE(health.heard(5, milliseconds(150)));
    EXPECT_FALSE(health.heard(6, milliseconds(30)));
    EXPECT_EQ(milliseconds(40), health.questionTime(2));
    EXPECT_EQ(milliseconds(200), health.questionTime(3));
    EXPECT_EQ(milliseconds(20), health.questionTime(4)) << "adapters need as much";
    EXPECT_EQ(milliseconds(600), health.questionTime(5));
    EXPECT_EQ(milliseconds(100), health.questionTime(6)) << "no longer than its time-out";
    EXPECT_EQ(milliseconds(600), health.questionTime(1)) << "what the slowest of the others needs";
}

TEST(StationHealth, FollowsSlowerRepliesAtOnceAndQuickerOnesSlowly)
{
    rtu::StationHealth health(settings());
    health.heard(1, milliseconds(10));
    health.heard(1, milliseconds(160));
    EXPECT_EQ(milliseconds(640), health.questionTime(1));
    health.heard(1, milliseconds(16));
    EXPECT_EQ(milliseconds(4 * 151), health.questionTime(1));
}

/** Station 1 usually answers after 10 ms, and dies at the start: fitted questions wait for 40 ms. */
class DeadStation : public testing::Test
{
protected:
    DeadStation() : given(settings()) { begin(); }

    void begin()
    {
        health.reset(new rtu::StationHealth(given));
        health->heard(1, milliseconds(10));
        health->setPolled({1});
        health->silent(1, Start);
    }

    /** How long the next question would wait, once credit is no matter; then it is asked and costs nothing. */
    rtu::Duration longQuestion()
    {
        now += std::chrono::hours(1);
        EXPECT_TRUE(health->mayAsk(1, now));
        const rtu::Duration time = health->questionTime(1);
        health->asked(1, now, rtu::Duration(0));
        return time;
    }

    /** Questions of 40 ms, each as soon as there is line time, until one waits longer. */
    int fittedQuestions()
    {
        for (int count = 0; count < 20; ++count) {
            now = health->nextQuestion(now);
            EXPECT_FALSE(health->mayAsk(1, now - std::chrono::nanoseconds(20)));
            EXPECT_TRUE(health->mayAsk(1, now));
            const rtu::Duration time = health->questionTime(1);
            health->asked(1, now, time);
            if (time != milliseconds(40))
                return count;
        }
        return 20;
    }

    rtu::LinkSettings given;
    rtu::TimePoint now = Start;
    std::unique_ptr<rtu::StationHealth> health;
};

TEST_F(DeadStation, IsAskedOnceTheIntervalIsOver)
{
    now = Start + seconds(2);
    EXPECT_FALSE(health->mayAsk(1, now - std::chrono::nanoseconds(1)));
    EXPECT_TRUE(health->mayAsk(1, now));
    EXPECT_FALSE(health->mayAsk(2, now));
    EXPECT_EQ(now, health->nextQuestion(now));
    EXPECT_EQ(milliseconds(80), health->questionTime(1)) << "there is line time for twice the usual";
}

TEST_F(DeadStation, IsNotAskedWhileALateReplyMayCome)
{
    given.questionInterval = milliseconds(100);
    given.lateReplyGuard = seconds(1);
    begin();
    EXPECT_EQ(Start + seconds(1), health->nextQuestion(Start)) << "to the request that was given up";
    now = Start + seconds(60);
    health->mayAsk(1, now);
    health->asked(1, now, rtu::Duration(0));
    EXPECT_EQ(now + milliseconds(800) + seconds(1), health->nextQuestion(now)) << "to the question";
}

TEST_F(DeadStation, IsAskedForATwentiethOfTheTimeThatHasPassed)
{
    given.questionInterval = milliseconds(100);
    given.lateReplyGuard = rtu::Duration(0);
    begin();
    now = Start + milliseconds(800);
    for (const int wait : {1, 300, 500, 799})
        EXPECT_FALSE(health->mayAsk(1, Start + milliseconds(wait))) << wait;
    EXPECT_EQ(now, health->nextQuestion(Start + milliseconds(799)));
    EXPECT_FALSE(health->mayAsk(1, now - std::chrono::nanoseconds(20)));
    EXPECT_TRUE(health->mayAsk(1, now));
    EXPECT_EQ(milliseconds(40), health->questionTime(1));
    EXPECT_TRUE(health->mayAsk(1, Start + milliseconds(1600)));
    EXPECT_EQ(milliseconds(80), health->questionTime(1));
    now = Start + milliseconds(1600);
    health->asked(1, now, milliseconds(500)); // 420 ms more than there was
    EXPECT_EQ(now + milliseconds(20 * 460), health->nextQuestion(now));
    EXPECT_EQ(now + milliseconds(20 * 460), health->nextQuestion(now + seconds(3)));
}

TEST_F(DeadStation, CountsTheTimeSinceTheFirstSilenceOnly)
{
    rtu::StationHealth other(settings());
    other.mayAsk(1, Start - seconds(900));
    other.heard(1, milliseconds(10));
    other.setPolled({1});
    other.silent(1, Start - seconds(900));
    other.silent(2, Start - seconds(896));
    now = Start - seconds(892); // credit: 400 ms
    other.asked(1, now, milliseconds(1000));
    EXPECT_EQ(now + milliseconds(20 * 640), other.nextQuestion(now));
}

TEST_F(DeadStation, SavesNoMoreThanTheLongestQuestionTakes)
{
    const rtu::TimePoint later = Start + std::chrono::hours(1);
    health->asked(1, later, milliseconds(1000));
    EXPECT_EQ(later + milliseconds(20 * 240), health->nextQuestion(later));
    given.stations[5].replyTimeout = seconds(3);
    begin();
    health->asked(1, later, milliseconds(3100));
    EXPECT_EQ(later + milliseconds(20 * 140), health->nextQuestion(later));
}

TEST_F(DeadStation, IsAskedForLongerByTurnsUpToTheFullTimeOut)
{
    for (const int expected : {80, 160, 320, 640, 800, 80, 160})
        EXPECT_EQ(milliseconds(expected), longQuestion()) << expected;
    health->heard(1, milliseconds(10));
    health->silent(1, now);
    EXPECT_EQ(milliseconds(80), longQuestion()) << "anew";
}

TEST_F(DeadStation, IsAskedForLongerByTheCreditOfTheMomentInWhichItIsAsked)
{
    now = Start + milliseconds(1700); // 85 ms, and nobody has looked since the start
    health->asked(1, now, rtu::Duration(0));
    EXPECT_EQ(milliseconds(160), longQuestion());
}

TEST_F(DeadStation, IsAskedForLongerAfterEightQuestionsHoweverBusyTheLine)
{
    given.questionInterval = milliseconds(1);
    given.lateReplyGuard = rtu::Duration(0);
    given.replyTimeout = milliseconds(790); // 20 questions of 40 ms take longer
    begin();
    EXPECT_EQ(8, fittedQuestions());
    EXPECT_EQ(milliseconds(40), health->questionTime(1));
    EXPECT_EQ(8, fittedQuestions());
    for (int i = 0; i < 5; ++i) {
        now = health->nextQuestion(now);
        health->asked(1, now, milliseconds(40));
    }
    health->heard(1, milliseconds(10));
    health->silent(1, now);
    EXPECT_EQ(8, fittedQuestions()) << "counted anew";
}

TEST(StationHealth, AsksTheOneThatHasWaitedLongest)
{
    rtu::StationHealth health(settings());
    EXPECT_FALSE(health.isTurnOf(0));
    health.heard(4, milliseconds(10));    // alive
    health.silent(5, Start - seconds(9)); // not polled
    health.silent(2, Start + seconds(1));
    health.silent(3, Start);
    health.silent(1, Start + seconds(1));
    health.setPolled({1, 2, 3, 4});
    std::vector<int> asked;
    rtu::TimePoint now = Start + seconds(60);
    for (int i = 0; i < 5; ++i) {
        now += seconds(60);
        for (int station = 1; station <= 5; ++station) {
            EXPECT_EQ(health.isTurnOf(station), health.mayAsk(station, now)) << station;
            if (!health.isTurnOf(station))
                continue;
            asked.push_back(station);
            health.asked(station, now, rtu::Duration(0));
            break;
        }
    }
    EXPECT_EQ((std::vector<int>{3, 1, 2, 3, 1}), asked);
}

} // namespace
