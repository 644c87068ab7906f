// Several links in one process: each with a driver, settings and tags of its own.

#include "kit/link_test.h"

namespace {

using namespace test_kit;

/** A link, its line and its slaves. */
class OwnLink : public LinkTest
{
public:
    void TestBody() override {}
    using LinkTest::link;
    using LinkTest::plant;
    using LinkTest::requests;
    using LinkTest::run;
    using LinkTest::steps;
};

TEST(LinkSeveral, SixteenKeepTheirPlansAndValuesApart)
{
    std::vector<std::unique_ptr<OwnLink>> links;
    std::vector<rtu::Tag> tags;
    for (int i = 0; i < 16; ++i) {
        links.emplace_back(new OwnLink);
        links.back()->plant.define(1, Table::HoldingRegisters, i, 1, static_cast<std::uint16_t>(100 + i));
        tags.push_back(links.back()->link().addTag(TagSpec(1, QString::fromLatin1("4x%1").arg(i + 1))));
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

TEST(LinkSeveral, ADeadOneLeavesTheOtherAlone)
{
    OwnLink alone;
    alone.plant.define(1, Table::HoldingRegisters, 0, 10);
    alone.link().addTag(TagSpec(1, "4x1"));
    alone.run(std::chrono::seconds(10));

    OwnLink live;
    OwnLink dead;
    live.plant.define(1, Table::HoldingRegisters, 0, 10);
    live.link().addTag(TagSpec(1, "4x1"));
    dead.link().addTag(TagSpec(1, "4x1"));
    for (int i = 0; i < 10; ++i) {
        live.run(std::chrono::seconds(1));
        dead.run(std::chrono::seconds(1));
    }
    EXPECT_NEAR(static_cast<double>(alone.requests.size()), static_cast<double>(live.requests.size()), 10);
}

} // namespace
