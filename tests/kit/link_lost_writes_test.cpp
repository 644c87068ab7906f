// What becomes of a write when the port is lost.

#include "kit/link_write_test.h"

namespace {

using namespace test_kit;

class LinkLostWrites : public LinkWriteTest
{
protected:
    /** The link has had its port, and has seen that it is away. */
    void losePort()
    {
        steps(1);
        line->plugged = false;
        EXPECT_EQ(LinkStep::NoPort, link().step());
    }

    /** Nobody steps the link for an hour, at the end of which the port is there again. */
    void backInAnHour()
    {
        line->advance(std::chrono::hours(1));
        line->plugged = true;
    }
};

TEST_F(LinkLostWrites, WaitingOnesAreNotSentWhenThePortIsLost)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    line->plugged = false;
    link().write(tag, 7, noted(1));
    link().step();
    EXPECT_EQ(WriteEnd::NotSent, theEnd().end);
    line->plugged = true;
    run(std::chrono::seconds(2));
    EXPECT_EQ(0, held(9)) << "nothing old goes out to what is plugged in next";
}

TEST_F(LinkLostWrites, WaitingOnesAreKeptForAStatedTime)
{
    settings.keepWrites = std::chrono::seconds(5);
    link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    line->plugged = false;
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    run(std::chrono::seconds(3));
    EXPECT_TRUE(ends.empty());
    line->plugged = true;
    run(std::chrono::seconds(1));
    EXPECT_EQ(WriteEnd::Acknowledged, theEnd().end);
    line->plugged = false;
    link().write(TagDefinition(1, "4x10"), {8}, noted(2));
    run(std::chrono::seconds(6));
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(WriteEnd::NotSent, ends[1].second.end);
}

TEST_F(LinkLostWrites, AreKeptNoLongerThanStatedWhileNobodySteps)
{
    settings.keepWrites = std::chrono::seconds(10);
    link().addTag(TagDefinition(1, "4x10"));
    losePort();
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    EXPECT_EQ(LinkStep::NoPort, link().step());
    link().write(TagDefinition(1, "4x11"), {7}, noted(2)); // no step has seen it yet
    backInAnHour();
    link().write(TagDefinition(1, "4x12"), {7}, noted(3));
    run(std::chrono::seconds(1));
    ASSERT_EQ(3u, ends.size());
    EXPECT_EQ(WriteEnd::NotSent, ends[0].second.end);
    EXPECT_EQ(WriteEnd::NotSent, ends[1].second.end);
    EXPECT_EQ(WriteEnd::Acknowledged, ends[2].second.end);
    EXPECT_EQ(0, held(9) + held(10));
}

TEST_F(LinkLostWrites, AskedForWhileNobodySteppedAreNotSentOnceThePortIsBack)
{
    link().addTag(TagDefinition(1, "4x10"));
    losePort();
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    backInAnHour();
    run(std::chrono::seconds(1));
    EXPECT_EQ(WriteEnd::NotSent, theEnd().end);
    EXPECT_EQ(0, held(9));
    EXPECT_EQ((std::vector<bool>{true, false, true}), ports);
}

TEST_F(LinkLostWrites, AskedForAfterThePortWasOpenedAreSent)
{
    link().addTag(TagDefinition(1, "4x10"));
    losePort();
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    backInAnHour();
    link().open();
    link().write(TagDefinition(1, "4x11"), {7}, noted(2));
    run(std::chrono::seconds(1));
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(WriteEnd::NotSent, ends[0].second.end);
    EXPECT_EQ(WriteEnd::Acknowledged, ends[1].second.end);
    EXPECT_EQ(0, held(9));
    EXPECT_EQ((std::vector<bool>{true, false, true}), ports) << "told once";
}

TEST_F(LinkLostWrites, KeptOnesThatAreCancelledEndWithoutThePort)
{
    settings.keepWrites = std::chrono::hours(1);
    link();
    line->plugged = false;
    rtu::Write write = link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    steps(1);
    EXPECT_TRUE(write.cancel());
    steps(1);
    EXPECT_EQ(WriteEnd::Cancelled, theEnd().end);
}

TEST_F(LinkLostWrites, HandedToTheDriverAreNotSentAfterThePortWasLost)
{
    leaveOneWithTheDriver();
    line->plugged = false;
    link().step();
    ASSERT_EQ(11u, ends.size());
    EXPECT_EQ(WriteEnd::NotSent, ends[10].second.end);
    line->plugged = true;
    run(std::chrono::seconds(2));
    EXPECT_EQ(0, held(10));
}

TEST_F(LinkLostWrites, HandedToTheDriverAreKeptWithTheOthers)
{
    settings.keepWrites = std::chrono::hours(1);
    leaveOneWithTheDriver();
    line->plugged = false;
    link().step();
    EXPECT_EQ(10u, ends.size());
    line->plugged = true;
    run(std::chrono::seconds(2));
    ASSERT_EQ(11u, ends.size());
    EXPECT_EQ(WriteEnd::Acknowledged, ends[10].second.end);
    EXPECT_EQ(1, held(10));
}

TEST_F(LinkLostWrites, HandedToTheDriverAndKeptCanBeCancelledAgain)
{
    settings.keepWrites = std::chrono::hours(1);
    link().addTag(TagDefinition(1, "4x100"));
    for (int i = 1; i <= 10; ++i)
        link().write(TagDefinition(1, QString::fromLatin1("4x%1").arg(i)), {1}, noted(i));
    rtu::Write last = link().write(TagDefinition(1, "4x11"), {1}, noted(11));
    steps(11);
    EXPECT_FALSE(last.cancel()) << "the driver has it";
    line->plugged = false;
    link().step();
    EXPECT_TRUE(last.cancel());
    line->plugged = true;
    run(std::chrono::seconds(2));
    ASSERT_EQ(11u, ends.size());
    EXPECT_EQ(WriteEnd::Cancelled, ends[10].second.end);
    EXPECT_EQ(0, held(10));
}

TEST_F(LinkLostWrites, HandedToTheDriverAreKeptNoLongerThanStated)
{
    settings.keepWrites = std::chrono::milliseconds(1);
    leaveOneWithTheDriver();
    line->plugged = false;
    link().step();
    ASSERT_EQ(11u, ends.size());
    EXPECT_EQ(WriteEnd::NotSent, ends[10].second.end);
}

TEST_F(LinkLostWrites, WaitingForAnotherAttemptAreNotSentAgainAfterThePortWasLost)
{
    loseRequests(1);
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    steps(1);
    line->plugged = false;
    link().step();
    EXPECT_EQ(WriteEnd::Unconfirmed, theEnd().end);
    line->plugged = true;
    run(std::chrono::seconds(2));
    EXPECT_EQ(0, held(9));
}

TEST_F(LinkLostWrites, OnTheLineWhenThePortIsLostAreUnconfirmed)
{
    script.push_back([this](const Bytes &) { line->unplugAfter(milliseconds(2)); });
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    steps(1);
    EXPECT_EQ(WriteEnd::Unconfirmed, theEnd().end);
}

TEST_F(LinkLostWrites, OfSeveralPiecesAreUnconfirmedWhenThePortIsLostBetweenThem)
{
    TagDefinition many(1, "4x1");
    many.values = 150;
    plant.define(1, Table::HoldingRegisters, 0, 200);
    std::vector<rtu::WriteEnd> told;
    rtu::WriteOptions options;
    options.done = [&told](const rtu::WriteResult &result) { told.push_back(result.end); };
    link().write(many, std::vector<double>(150, 3), options);
    steps(1);
    line->plugged = false;
    steps(2);
    EXPECT_EQ((std::vector<rtu::WriteEnd>{rtu::WriteEnd::Unconfirmed}), told);
}

TEST_F(LinkLostWrites, AreUnconfirmedOnceWhenThePortIsLostBeforeTheyAreReadBack)
{
    std::vector<rtu::WriteEnd> told;
    rtu::WriteOptions options;
    options.readBack = true;
    options.done = [&told](const rtu::WriteResult &result) { told.push_back(result.end); };
    link().write(TagDefinition(1, "4x10"), {7}, options);
    steps(1);
    line->plugged = false;
    steps(2);
    EXPECT_EQ((std::vector<rtu::WriteEnd>{rtu::WriteEnd::Unconfirmed}), told);
}

TEST_F(LinkLostWrites, AreNotSentWhenThePortGoesInTheSilenceBeforeThem)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    requests.clear();
    const rtu::Write write = link().write(TagDefinition(1, "4x10"), {7});
    line->unplugAfter(microseconds(1));
    EXPECT_EQ(LinkStep::NoPort, link().step());
    EXPECT_EQ(rtu::WriteEnd::NotSent, write.result().end);
    EXPECT_EQ(Quality::StationSilent, tag.value().quality);
    EXPECT_EQ((std::vector<bool>{true, false}), ports);
    EXPECT_TRUE(requests.empty());
}

} // namespace
