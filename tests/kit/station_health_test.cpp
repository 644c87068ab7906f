#include "kit/poll/station_health.h"

#include <gtest/gtest.h>

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

} // namespace
