// Whose turn it is when several things wait, what is looked for after a refusal, and what callbacks may do.

#include "kit/link_test.h"

#include <memory>

namespace {

using namespace test_kit;

class LinkTurns : public LinkTest
{
protected:
    LinkTurns()
    {
        plant.define(1, Table::HoldingRegisters, 0, 200);
        plant.define(1, Table::InputRegisters, 0, 200);
    }

    void writes(int count)
    {
        for (int i = 1; i <= count; ++i)
            link().write(TagDefinition(1, QString::fromLatin1("4x%1").arg(i)), {1});
    }

    void reads(int count)
    {
        for (int i = 1; i <= count; ++i)
            link().read(TagDefinition(1, QString::fromLatin1("4x%1").arg(i)));
    }

    /** A tag that is due again as soon as it has been read. */
    void watchAlways()
    {
        TagDefinition fast(1, "3x1");
        fast.pace = rtu::Duration(1);
        link().addTag(fast);
    }

    /** What was sent, a letter each: w rite, r ead, p aced read of input registers. */
    std::string turns() const
    {
        std::string all;
        for (const Bytes &request : requests)
            all += request[1] == 3 ? 'r' : request[1] == 4 ? 'p' : 'w';
        return all;
    }
};

TEST_F(LinkTurns, OfReadsComeAfterTenWrites)
{
    writes(25);
    reads(3);
    steps(28);
    EXPECT_EQ("wwwwwwwwwwrwwwwwwwwwwrwwwwwr", turns());
}

TEST_F(LinkTurns, OfReadsOfATagsOwnPaceComeAfterTenWrites)
{
    writes(25);
    watchAlways();
    steps(28);
    EXPECT_EQ("wwwwwwwwwwpwwwwwwwwwwpwwwwwp", turns());
}

TEST_F(LinkTurns, OfReadsAndThoseOfATagsOwnPaceAlternate)
{
    reads(3);
    watchAlways();
    steps(8);
    EXPECT_EQ("rprprppp", turns());
}

TEST_F(LinkTurns, WhatIsAskedForDuringAStepIsToBeDoneAtOnce)
{
    settings.roundInterval = std::chrono::hours(1);
    link().addTag(TagDefinition(1, "4x1"));
    steps(2);
    EXPECT_LT(line->now(), link().nextStep());
    reads(1);
    EXPECT_GE(line->now(), link().nextStep());
    script.push_back([this](const Bytes &request) {
        writes(1);
        slaves(request);
    });
    EXPECT_EQ(LinkStep::Done, link().step());
    EXPECT_GE(line->now(), link().nextStep());
    EXPECT_EQ(LinkStep::Done, link().step());
    EXPECT_EQ(LinkStep::Idle, link().step());
    EXPECT_LT(line->now(), link().nextStep());
}

TEST_F(LinkTurns, ARefusalOfMissingAddressesAloneHasTheTagsReadOneByOne)
{
    for (const int code : {1, 2, 3, 4}) {
        destroyLink();
        requests.clear();
        link().addTag(TagDefinition(1, "4x1"));
        link().addTag(TagDefinition(1, "4x3"));
        script.push_back(
            [this, code](const Bytes &) { line->receive(milliseconds(10), frame("01 83 0" + std::to_string(code))); });
        steps(2);
        EXPECT_EQ("01 03 00 00 00 03", text(requests.at(0)));
        EXPECT_EQ(code == 2 || code == 3 ? "01 03 00 00 00 01" : "01 03 00 00 00 03", text(requests.at(1))) << code;
    }
}

TEST_F(LinkTurns, RoundsOfThePlanAreToldOnceWhileOtherTagsAreReadOneByOne)
{
    settings.roundInterval = milliseconds(500);
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    plant.define(2, Table::HoldingRegisters, 0, 10);
    for (const TagDefinition &tag : {TagDefinition(1, "4x20"), TagDefinition(1, "4x30"), TagDefinition(2, "4x1")})
        link().addTag(tag);
    run(std::chrono::seconds(5));
    ASSERT_EQ(1u, notices.size());
    int rounds = 0;
    link().onRound([&rounds] { ++rounds; });
    run(std::chrono::seconds(5));
    EXPECT_NEAR(10, rounds, 1);
}

TEST_F(LinkTurns, ReadsEndWithTheirLink)
{
    std::vector<rtu::ReadResult> ends;
    loseRequests(1);
    for (int i = 0; i < 2; ++i)
        link().read(TagDefinition(1, "4x1"), [&ends](const rtu::ReadResult &result) { ends.push_back(result); });
    rtu::OneOffRead taken = link().read(TagDefinition(1, "4x2"));
    steps(1);
    EXPECT_TRUE(taken.cancel());
    destroyLink();
    ASSERT_EQ(2u, ends.size());
    EXPECT_EQ(rtu::ReadEnd::Silent, ends[0].end);
    EXPECT_EQ(rtu::ReadEnd::NotTried, ends[1].end);
    EXPECT_EQ(rtu::ReadEnd::Cancelled, taken.result().end);
    for (const rtu::ReadResult &end : ends)
        EXPECT_EQ(0, end.exceptionCode);
}

TEST_F(LinkTurns, WhatCallbacksThrowIsCountedOneByOne)
{
    writes(1);
    steps(1);
    EXPECT_EQ(0u, link().statistics().failedCallbacks) << "nobody was to be told of the end";
    link().onTransaction([](const rtu::Transaction &) { throw std::runtime_error("mine"); });
    reads(1);
    steps(1);
    EXPECT_EQ(1u, link().statistics().failedCallbacks);
    link().read(TagDefinition(1, "4x1"), [](const rtu::ReadResult &) { throw 1; });
    steps(1);
    EXPECT_EQ(3u, link().statistics().failedCallbacks);
    steps(1);
    EXPECT_EQ(3u, link().statistics().failedCallbacks);
}

TEST_F(LinkTurns, WhatIsBoundToCallbacksGoesWithTheLinkEvenInOne)
{
    const auto bound = std::make_shared<int>(7);
    const std::weak_ptr<int> left = bound;
    bool gone = false;
    {
        std::shared_ptr<int> mine = bound;
        link().onRound([mine] {});
    }
    link().read(TagDefinition(1, "4x1"), [&](const rtu::ReadResult &) {
        destroyLink();
        gone = left.use_count() == 1;
    });
    link().step();
    EXPECT_TRUE(gone) << "the one left is the test's own";
}

TEST_F(LinkTurns, WhatIsBoundToTheEndOfARequestGoesOnceItHasBeenTold)
{
    std::weak_ptr<int> left;
    rtu::OneOffRead read;
    {
        const auto bound = std::make_shared<int>(7);
        left = bound;
        read = link().read(TagDefinition(1, "4x1"), [bound](const rtu::ReadResult &) {});
    }
    EXPECT_FALSE(left.expired());
    steps(1);
    EXPECT_TRUE(read.ended());
    EXPECT_TRUE(left.expired());
}

// --- what observers are told ---------------------------------------------------------------

TEST_F(LinkTurns, OfAGoodReadAreToldWhole)
{
    link().addTag(TagDefinition(1, "4x10"));
    const rtu::TimePoint start = line->now();
    const rtu::Duration character = plant::characterTime(plantLine);
    steps(1);
    const rtu::Transaction &t = transactions.at(0);
    EXPECT_EQ(1u, t.number);
    EXPECT_EQ(1, t.attempt);
    EXPECT_EQ(1, t.station);
    EXPECT_EQ("4x", t.regType.toStdString());
    EXPECT_EQ(9, t.startAddr);
    EXPECT_EQ(1, t.count);
    EXPECT_EQ(4, t.tag);
    EXPECT_TRUE(t.isRead);
    EXPECT_EQ(array(frame("01 03 00 09 00 01")), t.request);
    EXPECT_EQ(7, t.expectedReply);
    EXPECT_EQ(array(frame("01 03 02 00 00")), t.reply);
    EXPECT_EQ(rtu::ReplyEnd::Complete, t.end);
    EXPECT_EQ(start, t.sent);
    EXPECT_NEAR(static_cast<double>((8 * character).count()), static_cast<double>((t.requestEnd - start).count()), 10);
    EXPECT_EQ(start + 8 * character + plant::silenceOf(plantLine), t.firstByte);
    EXPECT_EQ(t.firstByte + 6 * character, t.finished);
    EXPECT_EQ(0u, t.strayBytes);
    EXPECT_FALSE(t.echoRemoved);
    EXPECT_EQ(rtu::ReplyKind::Good, t.kind);
    EXPECT_EQ(0, t.exceptionCode);
    EXPECT_EQ(1, t.verdict);
    EXPECT_TRUE(t.good());
    EXPECT_EQ("", t.information.toStdString());
    EXPECT_EQ("", t.warning.toStdString());
}

TEST_F(LinkTurns, OfARefusedWriteAreToldWhole)
{
    settings.attempts = 1;
    link().read(TagDefinition(1, "4x1"));
    link().write(TagDefinition(1, "4x10"), {7});
    script.push_back([this](const Bytes &) { line->receive(milliseconds(10), frame("01 86 04")); });
    steps(2);
    const rtu::Transaction &t = transactions.at(0);
    EXPECT_EQ(9, t.startAddr);
    EXPECT_EQ(1001, t.tag);
    EXPECT_FALSE(t.isRead);
    EXPECT_EQ(8, t.expectedReply);
    EXPECT_EQ(array(frame("01 86 04")), t.reply);
    EXPECT_EQ(rtu::ReplyEnd::Exception, t.end);
    EXPECT_EQ(rtu::ReplyKind::Exception, t.kind);
    EXPECT_EQ(4, t.exceptionCode);
    EXPECT_EQ(2, t.verdict);
    EXPECT_FALSE(t.good());
    EXPECT_EQ("W,1#4x10(1)", t.information.toStdString());
    EXPECT_EQ(2u, transactions.at(1).number);
    EXPECT_EQ(1002, transactions.at(1).tag);
    EXPECT_EQ(0, transactions.at(1).exceptionCode);
    EXPECT_EQ("", transactions.at(1).information.toStdString());
}

TEST_F(LinkTurns, AreNotGivenToAThreadInACallbackOfAStep)
{
    std::string words;
    link().onTransaction([&](const rtu::Transaction &) {
        if (!words.empty())
            return;
        words = "in the callback";
        link().step();
        words = refusalOf([this] { link().start(); });
    });
    link().addTag(TagDefinition(1, "4x1"));
    steps(1);
    EXPECT_EQ("a link that is stepped is started after the step, not in a callback of it", words);
    EXPECT_FALSE(link().running());
    EXPECT_EQ("nothing thrown", refusalOf([this] { link().start(); }));
    link().stop();
}

} // namespace
