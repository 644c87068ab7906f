// What becomes of tags when requests end that brought them whole, in part or not at all, and how they are cut.

#include "kit/link_test.h"

namespace {

using namespace test_kit;

class WatchedTags : public LinkTest
{
protected:
    WatchedTags()
    {
        plant.define(1, Table::HoldingRegisters, 0, 2000);
        plant.define(1, Table::Coils, 0, 2000);
        plant.define(2, Table::HoldingRegisters, 0, 10);
    }

    static TagDefinition several(const char *address, int values)
    {
        TagDefinition where(1, address);
        where.values = values;
        return where;
    }

    /** The requests of a read that nothing is merged with. */
    std::vector<std::string> requestsOf(const TagDefinition &where)
    {
        requests.clear();
        link().read(where);
        steps(10);
        std::vector<std::string> all;
        for (const Bytes &request : requests)
            all.push_back(text(request));
        return all;
    }

    using Texts = std::vector<std::string>;
};

TEST_F(WatchedTags, AreCutWhereARequestIsFull)
{
    settings.maxWords = 4;
    EXPECT_EQ((Texts{"01 03 00 00 00 04", "01 03 00 04 00 01"}), requestsOf(several("4x1", 5)));
    EXPECT_EQ((Texts{"01 03 00 00 00 04", "01 03 00 04 00 02"}), requestsOf(several("4x_double1", 3)));
    EXPECT_EQ((Texts{"01 01 00 00 00 20", "01 01 00 20 00 01"}), requestsOf(several("0x1", 33)));
    EXPECT_EQ(Texts{"01 01 00 00 00 20"}, requestsOf(several("0x1", 32)));
    EXPECT_EQ(Texts{"01 03 00 00 00 04"}, requestsOf(several("4x_bit1.15", 48)));
    EXPECT_EQ((Texts{"01 03 00 00 00 04", "01 03 00 03 00 01"}), requestsOf(several("4x_bit1.15", 49)));
}

TEST_F(WatchedTags, OfAFewFullRequestsAreGoodAfterThoseAndAsOldAsTheOldest)
{
    const rtu::Tag tag = link().addTag(several("4x1", 240));
    steps(1);
    EXPECT_EQ(Quality::NeverRead, tag.value().quality);
    EXPECT_EQ(0, tag.value().exceptionCode);
    steps(1);
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ(transactions.at(0).finished, tag.value().time);
    changes.clear();
    steps(1);
    EXPECT_EQ(transactions.at(1).finished, tag.value().time) << "the half that has not been read again";
    EXPECT_TRUE(changes.empty());
}

TEST_F(WatchedTags, ThatAreRemovedShowNothingNew)
{
    const rtu::Tag removed = link().addTag(TagDefinition(1, "4x10"));
    const rtu::Tag kept = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    link().removeTag(removed);
    plant.poke(1, Table::HoldingRegisters, 9, 7);
    changes.clear();
    steps(2);
    EXPECT_EQ(0.0, removed.value().number());
    EXPECT_EQ(7.0, kept.value().number());
    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(kept, changes[0].tag);
    EXPECT_TRUE(changes[0].tag != removed);
}

TEST_F(WatchedTags, ThatAreRefusedOtherwiseThanBeforeHaveChanged)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    for (const char *refusal : {"01 83 02", "01 83 04", "01 83 04"})
        script.push_back([this, refusal](const Bytes &) { line->receive(milliseconds(10), frame(refusal)); });
    steps(3);
    ASSERT_EQ(2u, changes.size()) << "the third says nothing new";
    EXPECT_EQ(2, changes[1].before.exceptionCode);
    EXPECT_EQ(4, changes[1].after.exceptionCode);
    EXPECT_EQ(Quality::Refused, changes[1].after.quality);
    steps(1);
    ASSERT_EQ(3u, changes.size());
    EXPECT_EQ(0, changes[2].after.exceptionCode);
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(WatchedTags, OfASilentStationAreSilentWhereverTheyAre)
{
    settings.attempts = 1;
    const rtu::Tag first = link().addTag(TagDefinition(1, "4x1"));
    const rtu::Tag far = link().addTag(TagDefinition(1, "4x1000"));
    const rtu::Tag other = link().addTag(TagDefinition(2, "4x1"));
    steps(3);
    loseRequests(1);
    steps(1);
    for (const rtu::Tag &tag : {first, far}) {
        EXPECT_EQ(Quality::StationSilent, tag.value().quality);
        EXPECT_EQ(0, tag.value().exceptionCode);
    }
    EXPECT_EQ(Quality::Good, other.value().quality);
    EXPECT_EQ(5u, changes.size()) << "three values, and two of them gone";
}

TEST_F(WatchedTags, WhoseAnswersAreDamagedAreSilentAndTheOthersAreNot)
{
    settings.attempts = 1;
    const rtu::Tag first = link().addTag(TagDefinition(1, "4x1"));
    const rtu::Tag far = link().addTag(TagDefinition(1, "4x1000"));
    steps(2);
    script.push_back([this](const Bytes &) { line->receive(milliseconds(10), hex("01 03 02 00 00 00 00")); });
    steps(1);
    EXPECT_EQ(Quality::StationSilent, first.value().quality);
    EXPECT_EQ(0, first.value().exceptionCode);
    EXPECT_EQ(Quality::Good, far.value().quality);
    EXPECT_EQ(3u, changes.size());
}

TEST_F(WatchedTags, AreSilentWithoutAPort)
{
    const rtu::Tag first = link().addTag(TagDefinition(1, "4x1"));
    const rtu::Tag other = link().addTag(TagDefinition(2, "4x1"));
    steps(2);
    line->plugged = false;
    link().step();
    for (const rtu::Tag &tag : {first, other}) {
        EXPECT_EQ(Quality::StationSilent, tag.value().quality);
        EXPECT_EQ(0, tag.value().exceptionCode);
    }
    EXPECT_EQ(4u, changes.size());
}

TEST_F(WatchedTags, ShowWhatAOneOffReadBringsBeforeTheirOwnTurn)
{
    settings.roundInterval = std::chrono::hours(1);
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(2);
    plant.poke(1, Table::HoldingRegisters, 9, 7);
    changes.clear();
    link().read(TagDefinition(1, "4x10"));
    steps(1);
    EXPECT_EQ(7.0, tag.value().number());
    EXPECT_EQ(transactions.back().finished, tag.value().time);
    EXPECT_EQ(1u, changes.size());
}

TEST_F(WatchedTags, ShowWhatAnOlderPlanBroughtOfThem)
{
    for (const char *address : {"4x1", "4x1000", "4x1010"})
        link().addTag(TagDefinition(1, address));
    steps(1);
    const rtu::Tag between = link().addTag(TagDefinition(1, "4x1005"));
    plant.poke(1, Table::HoldingRegisters, 1004, 7);
    link().read(TagDefinition(1, "4x1005"));
    steps(1);
    ASSERT_EQ(7.0, between.value().number());
    plant.poke(1, Table::HoldingRegisters, 1004, 8);
    steps(6);
    EXPECT_EQ(8.0, between.value().number());
}

TEST_F(WatchedTags, HaveNoExceptionCodeOnceAWriteIsAcknowledged)
{
    settings.roundInterval = std::chrono::hours(1);
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    script.push_back([this](const Bytes &) { line->receive(milliseconds(10), frame("01 83 02")); });
    steps(2);
    ASSERT_EQ(2, tag.value().exceptionCode);
    link().write(tag, 7);
    steps(1);
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ(0, tag.value().exceptionCode);
}

TEST_F(WatchedTags, WrittenBeforeTheyWereReadHaveNoExceptionCode)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    loseRequests(1);
    link().write(tag, 7);
    steps(1);
    EXPECT_EQ(Quality::Unconfirmed, tag.value().quality);
    EXPECT_EQ(0, tag.value().exceptionCode);
    EXPECT_EQ(1u, changes.size());
}

TEST_F(WatchedTags, AreToldApart)
{
    const rtu::Tag first = link().addTag(TagDefinition(1, "4x1"));
    const rtu::Tag second = link().addTag(TagDefinition(1, "4x1"));
    const rtu::Tag copy(first);
    EXPECT_TRUE(first == copy && first != second);
    EXPECT_FALSE(first != copy || first == second || first < copy || copy < first);
    EXPECT_NE(first < second, second < first);
    EXPECT_TRUE(rtu::Tag().isNull() && !first.isNull());
}

TEST_F(WatchedTags, AreSilentAtOnceWhileThePortIsKnownToBeAway)
{
    link();
    line->plugged = false;
    const rtu::Tag first = link().addTag(TagDefinition(1, "4x1"));
    EXPECT_EQ(Quality::NeverRead, first.value().quality) << "nobody knows of the port";
    steps(1);
    EXPECT_EQ(Quality::StationSilent, first.value().quality);
    const rtu::Tag second = link().addTag(several("4x1", 240));
    changes.clear();
    steps(1);
    EXPECT_EQ(Quality::StationSilent, second.value().quality);
    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(second, changes[0].tag);
    line->plugged = true;
    run(std::chrono::seconds(2));
    EXPECT_EQ(Quality::Good, second.value().quality);
    const rtu::Tag third = link().addTag(TagDefinition(2, "4x1"));
    changes.clear();
    run(std::chrono::seconds(2));
    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(Quality::NeverRead, changes[0].before.quality);
    EXPECT_EQ(Quality::Good, changes[0].after.quality);
}

TEST_F(WatchedTags, AreSilentAtOnceWhileTheirStationIsKnownToBeDead)
{
    link().addTag(TagDefinition(1, "4x1"));
    const rtu::Tag before = link().addTag(TagDefinition(2, "4x1"));
    plant.setStationOn(2, false);
    run(std::chrono::seconds(3));
    EXPECT_EQ(Quality::StationSilent, before.value().quality);
    const rtu::Tag added = link().addTag(TagDefinition(2, "4x3"));
    const rtu::Tag other = link().addTag(TagDefinition(1, "4x1000"));
    const std::size_t asked = requests.size();
    steps(1);
    EXPECT_EQ(Quality::StationSilent, added.value().quality);
    EXPECT_EQ(Quality::NeverRead, other.value().quality);
    for (std::size_t i = asked; i < requests.size(); ++i)
        EXPECT_EQ(1, requests[i][0]) << "it was not asked meanwhile";
}

} // namespace
