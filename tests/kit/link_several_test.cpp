// Several links in one process: each with a driver, settings and tags of its own.

#include "kit/link_test.h"

#include <future>

namespace {

using namespace test_kit;

/** A link, its line and its slaves. */
class OwnLink : public LinkTest
{
public:
    void TestBody() override {}
    using LinkTest::line;
    using LinkTest::link;
    using LinkTest::plant;
    using LinkTest::requests;
    using LinkTest::run;
    using LinkTest::steps;
    using LinkTest::transactions;
};

TEST(LinkSeveral, SixteenKeepTheirPlansAndValuesApart)
{
    std::vector<std::unique_ptr<OwnLink>> links;
    std::vector<rtu::Tag> tags;
    for (int i = 0; i < 16; ++i) {
        links.emplace_back(new OwnLink);
        links.back()->plant.define(1, Table::HoldingRegisters, i, 1, static_cast<std::uint16_t>(100 + i));
        tags.push_back(links.back()->link().addTag(TagDefinition(1, QString::fromLatin1("4x%1").arg(i + 1))));
    }
    for (int round = 0; round < 3; ++round) {
        for (const auto &one : links)
            one->steps(1);
    }
    for (int i = 0; i < 16; ++i) {
        const std::size_t index = static_cast<std::size_t>(i);
        EXPECT_EQ(100.0 + i, tags[index].value().number());
        ASSERT_EQ(3u, links[index]->requests.size());
        for (const Bytes &request : links[index]->requests)
            EXPECT_EQ(i, request[3]) << "each asks for what is its own";
    }
}

/** What befalls the other link. */
struct Trouble
{
    const char *name;
    std::function<void(OwnLink &)> happens; ///< after three seconds
};

void PrintTo(const Trouble &trouble, std::ostream *out)
{
    *out << trouble.name;
}

class LinkBesideAnother : public testing::TestWithParam<Trouble>
{
protected:
    static void watch(OwnLink &link)
    {
        link.plant.define(1, Table::HoldingRegisters, 0, 10);
        link.plant.define(2, Table::HoldingRegisters, 0, 10);
        link.link().addTag(TagDefinition(1, "4x1"));
        link.link().addTag(TagDefinition(2, "4x1"));
    }

    /** All that a link counts and measures, but for the clock of each: they run as far past a second as they please. */
    static std::vector<std::int64_t> figures(OwnLink &link)
    {
        const rtu::LinkStatistics all = link.link().statistics();
        std::vector<std::int64_t> figures;
        for (const rtu::StationStatistics &s : {all.total, all.stations.at(1), all.stations.at(2)}) {
            for (std::uint64_t count : {s.frames, s.resends, s.good, s.exceptions, s.timeouts, s.damaged, s.foreign})
                figures.push_back(static_cast<std::int64_t>(count));
            for (rtu::Duration time : {s.replyMedian, s.reply95, s.ageMedian, s.age95, s.busy, all.elapsed})
                figures.push_back(time.count());
        }
        return figures;
    }
};

TEST_P(LinkBesideAnother, HasTheFiguresOfOneAlone)
{
    OwnLink alone;
    watch(alone);
    for (int i = 0; i < 20; ++i)
        alone.run(std::chrono::seconds(1));

    OwnLink live;
    OwnLink other;
    watch(live);
    watch(other);
    for (int i = 0; i < 20; ++i) {
        live.run(std::chrono::seconds(1));
        if (i == 3)
            GetParam().happens(other);
        other.run(std::chrono::seconds(1));
    }
    EXPECT_EQ(figures(alone), figures(live));
    EXPECT_NE(figures(alone), figures(other)) << "it did befall the other one";
}

/** With both on threads: however the threads take turns, the live one's clock is its line's. */
TEST_P(LinkBesideAnother, HasTheFiguresOfOneAloneOnThreads)
{
    const auto poll = [](OwnLink &link, std::promise<void> &done) {
        watch(link);
        link.link().onTransaction([&link, &done](const rtu::Transaction &) {
            if (link.transactions.size() != 500)
                return;
            link.link().stop();
            done.set_value();
        });
        link.link().start();
    };
    OwnLink alone;
    std::promise<void> aloneDone;
    poll(alone, aloneDone);
    aloneDone.get_future().wait();
    alone.link().stop();

    OwnLink other;
    watch(other);
    GetParam().happens(other);
    other.link().start();
    OwnLink live;
    std::promise<void> liveDone;
    poll(live, liveDone);
    liveDone.get_future().wait();
    live.link().stop();
    other.link().stop();
    EXPECT_EQ(figures(alone), figures(live));
}

INSTANTIATE_TEST_SUITE_P(All, LinkBesideAnother,
                         testing::Values(Trouble{"Dead",
                                                 [](OwnLink &other) {
                                                     other.plant.setStationOn(1, false);
                                                     other.plant.setStationOn(2, false);
                                                 }},
                                         Trouble{"Unplugged", [](OwnLink &other) { other.line->plugged = false; }},
                                         Trouble{"UnpluggedInAReply",
                                                 [](OwnLink &other) { other.line->unplugAfter(milliseconds(5)); }}),
                         [](const testing::TestParamInfo<Trouble> &one) { return one.param.name; });

} // namespace
