#include "driver_test.h"

#include "host/plan/plan_view.h"

namespace {

using namespace test_host;

class PlanView : public DriverTest
{
protected:
    PlanView()
    {
        costs.timing = rtu::LineTiming(costs.line); // 19200 8E1
        costs.replyTimeout = std::chrono::milliseconds(500);
        costs.attempts = 3;
    }

    rtu::PlanView plan(const std::vector<std::string> &addresses, int maxWords = 120)
    {
        rtu::DriverProperty property;
        property.maxWords = maxWords;
        std::vector<rtu::TagRange> tags;
        for (const std::string &address : addresses)
            tags.push_back(tag(address));
        return rtu::PlanView(driver, catalog, property, tags, costs);
    }

    rtu::PlanCosts costs;
};

TEST_F(PlanView, ShowsTheDriversBlocks)
{
    const rtu::PlanView view = plan({"4x1..10", "4x15..20", "4x1000", "0x1..9", "4x5@2"});
    ASSERT_EQ(4u, view.blocks().size());
    EXPECT_EQ("0x1..9", view.blocks()[0].rangeText());
    EXPECT_EQ("4x1..20", view.blocks()[1].rangeText());
    EXPECT_EQ(4, view.blocks()[1].unused);
    EXPECT_EQ(2u, view.blocks()[1].tags.size());
    EXPECT_EQ("4x1000", view.blocks()[2].rangeText());
    EXPECT_EQ(2, view.blocks()[3].station);
}

TEST_F(PlanView, CountsBytesAndTime)
{
    const rtu::PlanView view = plan({"4x1..10", "0x1..9"});
    EXPECT_EQ(8, view.blocks()[1].requestBytes);
    EXPECT_EQ(25, view.blocks()[1].replyBytes);
    EXPECT_EQ(7, view.blocks()[0].replyBytes);
    EXPECT_EQ(costs.timing.characters(33) + 2 * costs.timing.silence(), view.lineTime(view.blocks()[1]));
    EXPECT_EQ(costs.timing.characters(48) + 4 * costs.timing.silence(), view.roundTime());
}

TEST_F(PlanView, TellsWhatADeadStationCosts)
{
    const rtu::PlanView view = plan({"4x1", "4x500", "4x1@2"});
    EXPECT_EQ((std::vector<int>{1, 2}), view.stations());
    const rtu::Duration attempt = costs.replyTimeout + costs.timing.characters(8) + costs.timing.silence();
    EXPECT_EQ(3 * attempt, view.deadTime(1)); // whatever else is asked of it
    EXPECT_EQ(3 * attempt, view.deadTime(2));
}

TEST_F(PlanView, PlacesBitsInTheirRegisters)
{
    const rtu::PlanView view = plan({"4x_bit3.15..4.0", "4x6"});
    ASSERT_EQ(1u, view.blocks().size());
    EXPECT_EQ("4x3..6", view.blocks()[0].rangeText());
    ASSERT_EQ(2u, view.blocks()[0].tags.size());
    EXPECT_EQ(0, view.blocks()[0].tags[0].first);
    EXPECT_EQ(2, view.blocks()[0].tags[0].count);
    EXPECT_EQ(1, view.blocks()[0].unused);
}

TEST_F(PlanView, WarnsOfBlocksThatTheProtocolDoesNotAllow)
{
    EXPECT_TRUE(plan({"4x1..120"}).warnings().empty());
    const std::vector<std::string> warnings = plan({"4x1..120", "4x121..200"}, 200).warnings();
    ASSERT_EQ(1u, warnings.size());
    EXPECT_TRUE(contains(warnings[0], "4x1..200: 200 registers in one request; the protocol ends at 125"));
}

TEST_F(PlanView, WarnsOfBlocksOfTooManyBits)
{
    const std::vector<std::string> warnings = plan({"0x1..2000", "0x2001..2100"}, 2400).warnings();
    ASSERT_EQ(1u, warnings.size());
    EXPECT_TRUE(contains(warnings[0], "2100 bits in one request; the protocol ends at 2000")) << warnings[0];
}

TEST_F(PlanView, WarnsOfRegistersReadTwice)
{
    const std::vector<std::string> warnings =
        plan({"4x1..10", "4x_double9..12", "3x_double9..12", "4x_double9@2"}).warnings();
    ASSERT_EQ(1u, warnings.size());
    EXPECT_EQ("station 1, 4x9..10: read twice a round, as 4x and as 4x_double", warnings[0]);
}

TEST_F(PlanView, OfNothingIsEmpty)
{
    const rtu::PlanView view = plan({});
    EXPECT_TRUE(view.blocks().empty());
    EXPECT_EQ(rtu::Duration(0), view.roundTime());
    EXPECT_TRUE(contains(rtu::planText(view), "A round: 0 requests"));
}

TEST_F(PlanView, LeavesAFreshDriverBehind)
{
    plan({"4x1..10"});
    FRAME_PRO frame;
    EXPECT_EQ(0, driver.getSendFrame(&frame));
}

TEST_F(PlanView, DrawsEachStationOnceAndNumbersTheRound)
{
    // The stations take turns in the round.
    const rtu::PlanView view = plan({"4x1", "4x_double10", "4x1@2", "4x_double10@2"});
    const std::string picture = rtu::planPicture(view);
    for (int station : view.stations()) {
        const std::string heading = ">Station " + std::to_string(station) + " (dead: 1.5 s once)";
        const std::size_t first = picture.find(heading);
        ASSERT_NE(std::string::npos, first);
        EXPECT_EQ(std::string::npos, picture.find(heading, first + 1));
    }
    for (std::size_t number = 1; number <= view.blocks().size(); ++number)
        EXPECT_TRUE(contains(picture, ">" + std::to_string(number) + ".</text>")) << number;
    EXPECT_TRUE(contains(picture, "at 19200 baud 8E1"));
}

/** How many times the text has the part. */
int countOf(const std::string &text, const std::string &part)
{
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST_F(PlanView, DrawsBitsIntoTheirRegisterAndNotUnderIt)
{
    const std::string picture = rtu::planPicture(plan({"4x_bit3.0", "4x_bit3.15", "4x1..4"}));
    const std::size_t whole = picture.find("<title>4x1..4, 1:4x1..4, 4 values</title>");
    ASSERT_NE(std::string::npos, whole);
    for (const char *bit : {"<title>4x_bit3.0, 1:4x_bit3.0, 1 value<", "<title>4x_bit3.15, 1:4x_bit3.15, 1 value<"}) {
        ASSERT_NE(std::string::npos, picture.find(bit)) << bit;
        EXPECT_LT(whole, picture.find(bit)) << "what is drawn later is on top";
    }
    EXPECT_EQ(2, countOf(picture, "height=\"11.0\"")) << "half of the strip each";
}

TEST_F(PlanView, WritesNoLabelOverAnother)
{
    const std::string picture = rtu::planPicture(plan({"4x1..10", "4x1..10"}));
    EXPECT_EQ(1, countOf(picture, "pointer-events=\"none\">4x1..10</text>"));
}

TEST_F(PlanView, CountsRequestsAndWhatIsReadForNothing)
{
    const rtu::PlanView one = plan({"4x1..10", "4x15"});
    const std::string picture = rtu::planPicture(one);
    EXPECT_TRUE(contains(picture, "Cyclic plan: 1 request a round"));
    EXPECT_TRUE(contains(picture, ", 4 unused</text>"));
    EXPECT_TRUE(contains(rtu::planText(one), "Read for nothing: 4 of 15 registers and bits")) << rtu::planText(one);
    EXPECT_FALSE(contains(rtu::planText(plan({"4x1..10"})), "Read for nothing"));
}

TEST_F(PlanView, IsPrintedAndDrawn)
{
    rtu::TagRange named = tag("4x1..3");
    named.name = "a < b & c";
    const rtu::PlanView view(driver, catalog, rtu::DriverProperty(), {named, tag("4x9")}, costs);
    const std::string text = rtu::planText(view);
    EXPECT_TRUE(contains(text, "4x1..9")) << text;
    EXPECT_TRUE(contains(text, "8+23")) << text;
    EXPECT_TRUE(contains(text, "3 attempts x 500 ms time-out")) << text;
    const std::string picture = rtu::planPicture(view);
    EXPECT_TRUE(contains(picture, "a &lt; b &amp; c"));
    EXPECT_FALSE(contains(picture, "a < b"));
    EXPECT_TRUE(contains(picture, "url(#unused)"));
    EXPECT_TRUE(contains(picture, "</svg>"));
    const std::string json = rtu::planJson(view);
    EXPECT_TRUE(contains(json, "\"first\":1,\"count\":9,\"unused\":5")) << json;
}

} // namespace
