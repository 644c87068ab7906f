// Replies that do not belong to their request, echoes, observers, statistics, holes.

#include "kit/link_test.h"

namespace {

using namespace test_kit;
using rtu::ReplyKind;

class LinkReplies : public LinkTest
{
protected:
    LinkReplies()
    {
        for (int station = 1; station <= 2; ++station)
            plant.define(station, Table::HoldingRegisters, 0, 100, 5);
    }

    void reply(const std::string &hexText)
    {
        script.push_back([this, hexText](const Bytes &) { line->receive(milliseconds(10), frame(hexText)); });
    }

    std::vector<ReplyKind> kinds() const
    {
        std::vector<ReplyKind> all;
        for (const rtu::Transaction &t : transactions)
            all.push_back(t.kind);
        return all;
    }
};

struct ForeignCase
{
    const char *what;
    const char *reply;
};

TEST_F(LinkReplies, OfOthersBringNoValue)
{
    const ForeignCase cases[] = {
        {"another station", "02 03 02 00 09"},
        {"another function", "01 04 02 00 09"},
        {"another byte count", "01 03 04 00 09"},
        {"the exception of another station", "02 83 02"},
    };
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    for (const ForeignCase &c : cases) {
        transactions.clear();
        reply(c.reply);
        steps(2);
        EXPECT_EQ(5.0, tag.value().number()) << c.what;
        ASSERT_EQ(2u, transactions.size());
        EXPECT_EQ(ReplyKind::Foreign, transactions[0].kind) << c.what;
        EXPECT_EQ(ReplyKind::Good, transactions[1].kind) << c.what;
    }
    EXPECT_EQ(4u, link().statistics().stations.at(1).foreign);
}

TEST_F(LinkReplies, AcknowledgementsOfOtherWritesEndNothing)
{
    int ends = 0;
    rtu::WriteOptions options;
    options.done = [&ends](const rtu::WriteResult &) { ++ends; };
    reply("01 06 00 0A 00 07");
    link().write(TagDefinition(1, "4x10"), {7}, options);
    steps(1);
    EXPECT_EQ(0, ends);
    steps(1);
    EXPECT_EQ(1, ends);
    EXPECT_EQ(7, plant.peek(1, Table::HoldingRegisters, 9));
}

TEST_F(LinkReplies, AreTakenByLengthAndCheckSumAloneOnRequest)
{
    settings.checkReplies = false;
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    reply("02 03 02 00 09");
    steps(1);
    EXPECT_EQ(9.0, tag.value().number());
}

TEST_F(LinkReplies, LateOnesAreNotTakenForTheNext)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    link().addTag(TagDefinition(1, "4x_bit90.0"));
    steps(2);
    script.push_back(
        [this](const Bytes &) { line->receive(settings.replyTimeout + milliseconds(50), frame("01 03 02 00 09")); });
    steps(2);
    EXPECT_EQ(5.0, tag.value().number());
    EXPECT_GT(transactions.back().strayBytes, 0u);
}

TEST_F(LinkReplies, ThePauseThatEndsAReplyCanBeSet)
{
    settings.replyGap = milliseconds(5);
    settings.attempts = 1;
    link().addTag(TagDefinition(1, "4x10"));
    script.push_back([this](const Bytes &) { line->receive(milliseconds(10), hex("01 03 02")); });
    steps(1);
    ASSERT_EQ(1u, transactions.size());
    EXPECT_EQ(rtu::ReplyEnd::Silence, transactions[0].end);
    EXPECT_GT(milliseconds(20), transactions[0].finished - transactions[0].requestEnd);
}

TEST_F(LinkReplies, EchoesAreFoundAndDropped)
{
    plant::Fault echo;
    echo.kind = plant::FaultKind::Echo;
    plant.addFault(echo);
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(4);
    EXPECT_EQ(5.0, tag.value().number());
    EXPECT_EQ((std::vector<ReplyKind>{ReplyKind::Foreign, ReplyKind::Good, ReplyKind::Good, ReplyKind::Good}), kinds());
    EXPECT_TRUE(transactions.back().echoRemoved);
    rtu::WriteOptions options;
    std::vector<rtu::WriteEnd> ends;
    options.done = [&ends](const rtu::WriteResult &result) { ends.push_back(result.end); };
    link().write(tag, 7, options);
    steps(1);
    EXPECT_EQ((std::vector<rtu::WriteEnd>{rtu::WriteEnd::Acknowledged}), ends);
}

TEST_F(LinkReplies, AnEchoWithoutAnAnswerConfirmsNoWrite)
{
    settings.echo = rtu::Echo::Always;
    for (int i = 0; i < 3; ++i)
        script.push_back([this](const Bytes &request) { line->receive(milliseconds(1), request); });
    std::vector<rtu::WriteEnd> ends;
    rtu::WriteOptions options;
    options.done = [&ends](const rtu::WriteResult &result) { ends.push_back(result.end); };
    link().write(TagDefinition(1, "4x10"), {7}, options);
    steps(3);
    EXPECT_EQ((std::vector<rtu::WriteEnd>{rtu::WriteEnd::Unconfirmed}), ends);
}

TEST_F(LinkReplies, ObserversSeeBytesTimesAndVerdict)
{
    link().addTag(TagDefinition(1, "4x10"));
    loseRequests(1);
    steps(2);
    ASSERT_EQ(2u, transactions.size());
    EXPECT_EQ(ReplyKind::Silent, transactions[0].kind);
    EXPECT_EQ(8, transactions[0].verdict);
    EXPECT_EQ(1, transactions[0].attempt);
    EXPECT_EQ(2, transactions[1].attempt);
    EXPECT_EQ(1, transactions[1].verdict);
    EXPECT_EQ(rtu::CyclicTag, transactions[1].tag);
    EXPECT_EQ(array(frame("01 03 00 09 00 01")), transactions[1].request);
    EXPECT_EQ(array(frame("01 03 02 00 05")), transactions[1].reply);
    EXPECT_GT(transactions[1].finished, transactions[1].requestEnd);
    EXPECT_GT(transactions[1].requestEnd, transactions[1].sent);
}

TEST_F(LinkReplies, OfAPortWithoutPaceCountFromWhenTheRequestWasSent)
{
    link().addTag(TagDefinition(1, "4x10"));
    script.push_back([this](const Bytes &) { line->receive(milliseconds(1), frame("01 83 02")); });
    script.push_back([this](const Bytes &) { line->receive(milliseconds(1), frame("01 03 02 00 05")); });
    steps(2);
    ASSERT_EQ(2u, transactions.size());
    for (const rtu::Transaction &t : transactions) {
        EXPECT_EQ(t.sent, t.requestEnd) << "an answer before its request would be out";
        EXPECT_EQ(milliseconds(1), t.firstByte - t.requestEnd);
    }
}

TEST_F(LinkReplies, StatisticsCountByStationAndKind)
{
    link().addTag(TagDefinition(1, "4x10"));
    link().addTag(TagDefinition(2, "4x200"));
    loseRequests(1);
    script.push_back([this](const Bytes &) { line->receive(milliseconds(10), hex("01 03 02 00 05 00 00")); });
    steps(6);
    const rtu::LinkStatistics all = link().statistics();
    const rtu::StationStatistics &first = all.stations.at(1);
    EXPECT_EQ(1u, first.timeouts);
    EXPECT_EQ(1u, first.damaged);
    EXPECT_EQ(2u, first.resends);
    EXPECT_GT(first.good, 0u);
    EXPECT_GT(all.stations.at(2).exceptions, 0u);
    EXPECT_EQ(6u, all.total.frames);
    EXPECT_GT(first.replyMedian, rtu::Duration(0));
    EXPECT_GT(all.total.share, 0.1);
    EXPECT_LE(all.total.share, 1.01);
    steps(4);
    EXPECT_GT(link().statistics().stations.at(1).ageMedian, rtu::Duration(0));
}

TEST_F(LinkReplies, HolesAreFoundAndTheTagsAroundThemReadAlone)
{
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    const rtu::Tag before = link().addTag(TagDefinition(1, "4x20"));
    const rtu::Tag behind = link().addTag(TagDefinition(1, "4x30"));
    const rtu::Tag inside = link().addTag(TagDefinition(1, "4x22"));
    const rtu::Tag other = link().addTag(TagDefinition(2, "4x1"));
    run(std::chrono::seconds(5));
    EXPECT_EQ(Quality::Good, before.value().quality);
    EXPECT_EQ(Quality::Good, behind.value().quality);
    EXPECT_EQ(Quality::Refused, inside.value().quality);
    EXPECT_EQ(Quality::Good, other.value().quality);
    ASSERT_EQ(1u, notices.size());
    EXPECT_EQ("the slave refuses addresses between tags that it has; read one by one: station 1 4x20, station 1 4x22, "
              "station 1 4x30",
              notices[0]);
    plant.poke(1, Table::HoldingRegisters, 29, 77);
    run(std::chrono::seconds(2));
    EXPECT_EQ(77.0, behind.value().number()) << "read in turn from then on";
}

TEST_F(LinkReplies, ARoundOfTagsReadAloneEndsWhenEachHadItsTurn)
{
    settings.roundInterval = milliseconds(100);
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    for (const char *address : {"4x20", "4x30", "4x31"})
        link().addTag(TagDefinition(1, address));
    run(std::chrono::seconds(5));
    ASSERT_EQ(1u, notices.size());
    std::vector<std::size_t> requestsAtEnd;
    link().onRound([&] { requestsAtEnd.push_back(requests.size()); });
    run(std::chrono::seconds(2));
    ASSERT_GE(requestsAtEnd.size(), 15u);
    for (std::size_t i = 2; i < requestsAtEnd.size(); ++i)
        EXPECT_EQ(3u, requestsAtEnd[i] - requestsAtEnd[i - 1]);
}

TEST_F(LinkReplies, HolesAreFoundWhereTheFirstTagAloneIsReadable)
{
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    const rtu::Tag readable = link().addTag(TagDefinition(1, "4x20"));
    const rtu::Tag inside = link().addTag(TagDefinition(1, "4x23"));
    run(std::chrono::seconds(2));
    EXPECT_EQ(Quality::Good, readable.value().quality);
    EXPECT_EQ(Quality::Refused, inside.value().quality);
}

TEST_F(LinkReplies, HolesAreLookedForWhileThePlanRests)
{
    settings.roundInterval = std::chrono::minutes(1);
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    for (const char *address : {"4x20", "4x30"})
        link().addTag(TagDefinition(1, address));
    run(std::chrono::seconds(1));
    EXPECT_EQ(1u, notices.size());
}

TEST_F(LinkReplies, TagsOfAPaceOfTheirOwnAreReadWhileThePlanRests)
{
    settings.roundInterval = std::chrono::minutes(1);
    link().addTag(TagDefinition(2, "4x1"));
    std::vector<rtu::Tag> tags;
    for (const char *address : {"4x1", "3x1", "1x1", "0x1", "4x200"}) {
        TagDefinition slow(1, address);
        slow.pace = std::chrono::minutes(1);
        tags.push_back(link().addTag(slow));
    }
    run(std::chrono::seconds(1));
    for (const rtu::Tag &tag : tags)
        EXPECT_NE(Quality::NeverRead, tag.value().quality) << tag.definition().address.toStdString();
}

TEST_F(LinkReplies, BlocksThatAreRefusedWholeAreLeftInThePlan)
{
    link().addTag(TagDefinition(1, "4x201"));
    link().addTag(TagDefinition(1, "4x202"));
    run(std::chrono::seconds(2));
    EXPECT_TRUE(notices.empty());
    EXPECT_EQ("01 03 00 C8 00 02", lastRequest());
}

TEST_F(LinkReplies, EachOfSeveralBlocksThatAreRefusedWholeIsTriedOnce)
{
    for (const char *address : {"4x201", "4x202", "4x401", "4x402"})
        link().addTag(TagDefinition(1, address));
    run(std::chrono::seconds(2));
    const std::size_t before = requests.size();
    run(std::chrono::seconds(1));
    EXPECT_TRUE(notices.empty());
    ASSERT_LT(before, requests.size());
    for (std::size_t i = before; i < requests.size(); ++i)
        EXPECT_EQ(2, requests[i][5]) << text(requests[i]) << ": nothing is read alone any more";
}

TEST_F(LinkReplies, ReadsOfATagsOwnPaceThatAreRefusedLookForHolesOnlyWhereAddressesAreMissing)
{
    for (const char *address : {"4x20", "4x21"}) {
        TagDefinition slow(1, address);
        slow.pace = std::chrono::seconds(1);
        link().addTag(slow);
    }
    plant::Fault fault;
    fault.kind = plant::FaultKind::Exception;
    fault.value = 4;
    plant.addFault(fault);
    run(milliseconds(3500));
    EXPECT_EQ(4u, requests.size());
    for (const Bytes &request : requests)
        EXPECT_EQ("01 03 00 13 00 02", text(request));
}

TEST_F(LinkReplies, HolesInsideATagAreLookedForOnce)
{
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    TagDefinition wide(1, "4x20");
    wide.values = 10;
    const rtu::Tag all = link().addTag(wide);
    const rtu::Tag first = link().addTag(TagDefinition(1, "4x20"));
    run(std::chrono::seconds(5));
    EXPECT_EQ(1u, notices.size());
    changes.clear();
    run(std::chrono::seconds(1));
    EXPECT_EQ(Quality::Refused, all.value().quality);
    EXPECT_EQ(Quality::Good, first.value().quality);
    EXPECT_TRUE(changes.empty()) << "what is refused of one says nothing of the other";
}

TEST_F(LinkReplies, HolesInsideATagOfItsOwnPaceSayNothingOfOthers)
{
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    TagDefinition wide(1, "4x20");
    wide.values = 10;
    wide.pace = std::chrono::seconds(1);
    link().addTag(wide);
    const rtu::Tag inPlan = link().addTag(TagDefinition(1, "4x20"));
    run(std::chrono::seconds(5));
    EXPECT_EQ(Quality::Good, inPlan.value().quality);
    EXPECT_TRUE(notices.empty());
    changes.clear();
    run(std::chrono::seconds(3));
    EXPECT_TRUE(changes.empty());
}

TEST_F(LinkReplies, HolesInsideOneOfTwoSlowTagsThatWereReadTogetherAreLookedForOnce)
{
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    TagDefinition slow(1, "4x20");
    slow.pace = std::chrono::seconds(1);
    const rtu::Tag first = link().addTag(slow);
    slow.values = 10;
    link().addTag(slow);
    const rtu::Tag inPlan = link().addTag(TagDefinition(1, "4x20"));
    run(std::chrono::seconds(10));
    EXPECT_EQ(Quality::Good, first.value().quality);
    EXPECT_EQ(Quality::Good, inPlan.value().quality);
    EXPECT_EQ(1u, notices.size());
}

TEST_F(LinkReplies, HolesAreLeftAloneOnRequest)
{
    settings.findHoles = false;
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    link().addTag(TagDefinition(1, "4x20"));
    link().addTag(TagDefinition(1, "4x30"));
    run(std::chrono::seconds(2));
    for (const Bytes &request : requests)
        EXPECT_EQ("01 03 00 13 00 0B", text(request));
}

TEST_F(LinkReplies, ASilenceWhileHolesAreLookedForSaysNothingAboutThem)
{
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    const rtu::Tag before = link().addTag(TagDefinition(1, "4x20"));
    const rtu::Tag behind = link().addTag(TagDefinition(1, "4x30"));
    script.push_back(nullptr);           // the block is refused,
    loseRequests(settings.attempts + 1); // and then the station hears nothing for a while
    run(std::chrono::minutes(1));
    EXPECT_EQ(Quality::Good, before.value().quality);
    EXPECT_EQ(Quality::Good, behind.value().quality);
    EXPECT_EQ(1u, notices.size());
}

TEST_F(LinkReplies, HolesOfASlaveThatRefusedAllAtFirstAreFoundLater)
{
    plant.makeHole(1, Table::HoldingRegisters, 20, 5);
    const rtu::Tag before = link().addTag(TagDefinition(1, "4x20"));
    link().addTag(TagDefinition(1, "4x30"));
    plant::Fault starting;
    starting.kind = plant::FaultKind::Exception;
    starting.value = 2;
    starting.times = 5;
    plant.addFault(starting);
    run(std::chrono::minutes(2));
    EXPECT_EQ(Quality::Good, before.value().quality);
    EXPECT_EQ(1u, notices.size());
}

TEST_F(LinkReplies, LateOnesThatComeInLumpsAreLeftToEnd)
{
    settings.lateReplyGuard = rtu::Duration(0);
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    script.push_back([this](const Bytes &request) {
        const rtu::Duration whole = plant::characterTime(plantLine) * static_cast<int>(request.size());
        line->receive(whole + settings.replyTimeout + microseconds(500), hex("01 03 02"));
        line->receive(whole + settings.replyTimeout + milliseconds(30), hex("00 09 78 42"));
    });
    steps(2);
    EXPECT_EQ(5.0, tag.value().number());
    ASSERT_EQ(2u, transactions.size());
    EXPECT_EQ(7u, transactions[1].strayBytes);
    EXPECT_EQ(ReplyKind::Good, transactions[1].kind);
}

TEST_F(LinkReplies, ValuesThatNobodyWatchedHaveNoAge)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(3);
    link().removeTag(tag);
    run(std::chrono::hours(1));
    link().addTag(TagDefinition(1, "4x10"));
    steps(3);
    EXPECT_GT(link().statistics().total.age95, rtu::Duration(0));
    EXPECT_LT(link().statistics().total.age95, std::chrono::seconds(1));
}

TEST_F(LinkReplies, TheShareOfAShortRunIsNotMoreThanTheWholeLine)
{
    link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    EXPECT_DOUBLE_EQ(1.0, link().statistics().total.share);
    EXPECT_EQ(link().statistics().elapsed, link().statistics().total.busy);
}

} // namespace
