// Reads beside the plan, request by request: tags with a pace of their own, and tags that are read alone.

#include "kit/link_test.h"

#include <algorithm>

namespace {

using namespace test_kit;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

class PacedReads : public LinkTest
{
protected:
    PacedReads()
    {
        plant.define(1, Table::HoldingRegisters, 0, 100, 5);
        plant.define(1, Table::InputRegisters, 0, 100, 5);
        plant.define(1, Table::Coils, 0, 1000);
        plant.define(2, Table::HoldingRegisters, 0, 400, 5);
    }

    rtu::Tag watch(int station, const char *address, rtu::Duration pace = rtu::Duration(0), int values = 1)
    {
        TagDefinition definition(station, address);
        definition.pace = pace;
        definition.values = values;
        return link().addTag(definition);
    }

    void makeHole(int station) { plant.makeHole(station, Table::HoldingRegisters, 20, 5); }

    void refuseOnce(int code)
    {
        plant::Fault fault;
        fault.kind = plant::FaultKind::Exception;
        fault.value = code;
        fault.times = 1;
        plant.addFault(fault);
    }

    std::vector<std::string> asked() const
    {
        std::vector<std::string> all;
        for (const Bytes &request : requests)
            all.push_back(text(request));
        return all;
    }

    /** Requests that so begin. */
    int count(const std::string &begin) const
    {
        const std::vector<std::string> all = asked();
        return static_cast<int>(std::count_if(all.begin(), all.end(), [&begin](const std::string &one) {
            return one.compare(0, begin.size(), begin) == 0;
        }));
    }
};

const char *const ReadOneByOne = "the slave refuses addresses between tags that it has; read one by one: ";

TEST_F(PacedReads, AreSentWhenTheyAreDue)
{
    watch(1, "4x50", seconds(2));
    run(seconds(7));
    ASSERT_EQ(4u, line->sent.size());
    for (std::size_t i = 1; i < line->sent.size(); ++i)
        EXPECT_EQ(seconds(2), line->sent[i].when - line->sent[i - 1].when);
}

TEST_F(PacedReads, KeepTheirPaceOnABusyLine)
{
    plant.setTurnaround(1, milliseconds(150));
    plant.setTurnaround(2, milliseconds(150));
    watch(2, "4x1");
    watch(1, "4x50", seconds(1));
    run(minutes(1));
    EXPECT_EQ(60, count("01 "));
}

TEST_F(PacedReads, TakeNeighboursUpToTheLongestRequest)
{
    settings.maxWords = 4;
    for (const char *address : {"4x1", "4x4", "4x11", "4x15", "0x1", "0x32", "0x101", "0x133"})
        watch(1, address, hours(1));
    run(seconds(1));
    EXPECT_EQ((std::vector<std::string>{"01 03 00 00 00 04", "01 03 00 0A 00 01", "01 03 00 0E 00 01",
                                        "01 01 00 00 00 20", "01 01 00 64 00 01", "01 01 00 84 00 01"}),
              asked());
}

TEST_F(PacedReads, ShowWhatTheyBringOfThePlan)
{
    settings.roundInterval = minutes(1);
    const rtu::Tag planned = watch(1, "4x11");
    watch(1, "4x10", seconds(1), 3);
    run(milliseconds(500));
    plant.poke(1, Table::HoldingRegisters, 10, 77);
    run(seconds(1));
    EXPECT_EQ(77.0, planned.value().number());
}

TEST_F(PacedReads, WithoutAUsableReplySilenceTheirTagsAlone)
{
    const rtu::Tag other = watch(1, "3x1", hours(1));
    const rtu::Tag tag = watch(1, "4x1", hours(1));
    steps(1);
    for (int i = 0; i < 3; ++i)
        script.push_back([this](const Bytes &) { line->receive(milliseconds(10), hex("01 03 02 00 05 00 00")); });
    steps(3);
    EXPECT_EQ(Quality::StationSilent, tag.value().quality);
    EXPECT_EQ(Quality::Good, other.value().quality);
}

TEST_F(PacedReads, AreNotBroughtForwardByAnotherStation)
{
    watch(1, "4x1", hours(1));
    const rtu::Tag other = watch(2, "4x1");
    plant.setStationOn(2, false);
    run(seconds(10));
    plant.setStationOn(2, true);
    run(seconds(10));
    EXPECT_EQ(Quality::Good, other.value().quality);
    EXPECT_EQ(1, count("01 "));
}

// --- tags of several requests ------------------------------------------------------------

const char *const First = "02 03 00 00 00 78";
const char *const Second = "02 03 00 78 00 78";
const char *const Third = "02 03 00 F0 00 3C";

TEST_F(PacedReads, OfLongTagsAreSeveral)
{
    watch(2, "4x1", hours(1), 300);
    run(seconds(1));
    EXPECT_EQ((std::vector<std::string>{First, Second, Third}), asked());
}

TEST_F(PacedReads, OfATagThatGoesEndWithIt)
{
    const rtu::Tag tag = watch(2, "4x1", hours(1), 300);
    steps(1);
    link().removeTag(tag);
    run(seconds(1));
    EXPECT_EQ((std::vector<std::string>{First}), asked());
}

TEST_F(PacedReads, BeginAnewWithThePort)
{
    watch(2, "4x1", hours(1), 300);
    steps(1);
    line->plugged = false;
    link().step();
    line->plugged = true;
    run(seconds(1));
    EXPECT_EQ((std::vector<std::string>{First, First, Second, Third}), asked());
}

TEST_F(PacedReads, OfTagsThatOverlapAreBothMadeWhenTheirStationIsBack)
{
    settings.questionInterval = seconds(1);
    const rtu::Tag first = watch(2, "4x1", hours(1), 100);
    const rtu::Tag second = watch(2, "4x60", hours(1), 100);
    run(seconds(1));
    plant.setStationOn(2, false);
    link().read(TagDefinition(2, "4x200"));
    run(seconds(5));
    ASSERT_EQ(Quality::StationSilent, second.value().quality);
    plant.setStationOn(2, true);
    run(seconds(5));
    EXPECT_EQ(Quality::Good, first.value().quality);
    EXPECT_EQ(Quality::Good, second.value().quality);
}

TEST_F(PacedReads, EndWithTheFirstSilence)
{
    plant.setStationOn(2, false);
    watch(2, "4x1", hours(1), 300);
    run(seconds(2));
    EXPECT_EQ((std::vector<std::string>(3, First)), asked());
}

// --- refusals ----------------------------------------------------------------------------

TEST_F(PacedReads, LookForHolesWhereAddressesOrTheirNumberAreRefused)
{
    settings.roundInterval = hours(1);
    for (const rtu::Duration pace : {rtu::Duration(0), rtu::Duration(hours(1))}) {
        for (const int code : {1, 2, 3, 4}) {
            destroyLink();
            notices.clear();
            watch(1, "4x1", pace);
            watch(1, "4x2", pace);
            refuseOnce(code);
            run(seconds(1));
            const std::vector<std::string> found = {std::string(ReadOneByOne) + "station 1 4x1, station 1 4x2"};
            EXPECT_EQ(code == 2 || code == 3 ? found : std::vector<std::string>(), notices) << code;
        }
    }
}

TEST_F(PacedReads, LookForNoHolesAroundASingleTag)
{
    watch(1, "4x1");
    refuseOnce(2);
    steps(10);
    EXPECT_TRUE(notices.empty());
    for (const rtu::Transaction &t : transactions)
        EXPECT_EQ(rtu::CyclicTag, t.tag);
}

TEST_F(PacedReads, FindHolesInOneBlockAfterAnother)
{
    makeHole(1);
    makeHole(2);
    for (const char *address : {"4x20", "4x30", "4x35"})
        watch(1, address);
    for (const char *address : {"4x20", "4x30"})
        watch(2, address);
    run(seconds(5));
    EXPECT_EQ((std::vector<std::string>{std::string(ReadOneByOne) + "station 1 4x20, station 1 4x30, station 1 4x35",
                                        std::string(ReadOneByOne) + "station 2 4x20, station 2 4x30"}),
              notices);
}

TEST_F(PacedReads, FindNoHolesInABlockThatIsRefusedWholeBehindOneWithHoles)
{
    makeHole(1);
    for (const char *address : {"4x20", "4x30"})
        watch(1, address);
    for (const char *address : {"4x501", "4x502"})
        watch(2, address);
    run(seconds(5));
    EXPECT_EQ((std::vector<std::string>{std::string(ReadOneByOne) + "station 1 4x20, station 1 4x30"}), notices);
}

TEST_F(PacedReads, ThatWaitWhileABlockIsRefusedSayNothingOfItsTags)
{
    watch(1, "4x501");
    watch(1, "4x502");
    for (const char *address : {"4x1", "3x1", "0x1"})
        watch(1, address, hours(1));
    watch(2, "4x1", hours(1));
    run(seconds(5));
    EXPECT_EQ(std::vector<std::string>(), notices) << "neither of the two is readable alone";
}

TEST_F(PacedReads, OfOneTagSayNothingOfTheOthersInside)
{
    watch(1, "4x20", seconds(1), 10);
    const rtu::Tag inside = watch(1, "4x20", hours(1));
    run(milliseconds(500));
    ASSERT_EQ(1u, requests.size()) << "both in one";
    makeHole(1);
    changes.clear();
    run(seconds(1));
    EXPECT_EQ(2u, requests.size());
    EXPECT_EQ(1u, changes.size());
    EXPECT_EQ(Quality::Good, inside.value().quality);
    EXPECT_TRUE(notices.empty());
}

TEST_F(PacedReads, OfAPartOfALongTagSayNothingOfTheOthersInside)
{
    const rtu::Tag first = watch(2, "4x1", hours(1));
    const rtu::Tag second = watch(2, "4x5", hours(1));
    watch(2, "4x1", seconds(1), 300);
    run(milliseconds(900));
    ASSERT_EQ(4u, requests.size());
    makeHole(2);
    changes.clear();
    run(milliseconds(500));
    EXPECT_EQ(1u, changes.size());
    EXPECT_EQ(Quality::Good, first.value().quality);
    EXPECT_EQ(Quality::Good, second.value().quality);
    EXPECT_TRUE(notices.empty());
}

TEST_F(PacedReads, ThatFindHolesSayNothingOfTheOthersInside)
{
    makeHole(1);
    const rtu::Tag inside = watch(1, "4x20", hours(1));
    const rtu::Tag wide = watch(1, "4x20", hours(1), 10);
    run(seconds(5));
    EXPECT_EQ(1u, notices.size());
    EXPECT_EQ(Quality::Good, inside.value().quality);
    EXPECT_EQ(Quality::Refused, wide.value().quality);
}

TEST_F(PacedReads, ThatAreRefusedSayNothingOfThePlan)
{
    settings.roundInterval = hours(1);
    const rtu::Tag planned = watch(1, "4x20");
    watch(1, "4x20", seconds(1));
    watch(1, "4x20", seconds(1), 10);
    run(milliseconds(500));
    makeHole(1);
    changes.clear();
    run(milliseconds(700));
    for (const rtu::TagChange &change : changes)
        EXPECT_TRUE(change.tag != planned);
    EXPECT_EQ((std::vector<std::string>{std::string(ReadOneByOne) + "station 1 4x20, station 1 4x20"}), notices);
}

TEST_F(PacedReads, LookAgainIntoABlockThatWasRefusedWholeWhenTheTagsChange)
{
    watch(1, "4x201");
    watch(1, "4x202");
    run(seconds(2));
    plant.define(1, Table::HoldingRegisters, 200, 1);
    run(seconds(1));
    EXPECT_TRUE(notices.empty());
    watch(2, "4x1");
    run(seconds(1));
    EXPECT_EQ((std::vector<std::string>{std::string(ReadOneByOne) + "station 1 4x201, station 1 4x202"}), notices);
}

TEST_F(PacedReads, LookIntoAPartOfABlockThatWasRefusedWhole)
{
    watch(1, "4x201", seconds(1));
    watch(1, "4x202", seconds(1));
    watch(1, "4x203", seconds(2));
    run(milliseconds(500));
    EXPECT_EQ(4u, requests.size());
    plant.define(1, Table::HoldingRegisters, 201, 1);
    run(seconds(1));
    EXPECT_EQ((std::vector<std::string>{std::string(ReadOneByOne) + "station 1 4x201, station 1 4x202"}), notices);
}

TEST_F(PacedReads, ThatLookForHolesBeginAnewWithTheTagsAndWithThePort)
{
    makeHole(1);
    for (const bool port : {false, true}) {
        destroyLink();
        requests.clear();
        watch(1, "4x20");
        watch(1, "4x30");
        steps(2);
        ASSERT_EQ("01 03 00 13 00 01", lastRequest());
        if (port) {
            line->plugged = false;
            link().step();
            line->plugged = true;
            line->advance(seconds(1));
        } else {
            watch(2, "4x1");
        }
        requests.clear();
        for (int i = 0; i < 10 && count("01 03 00 13 00 01") + count("01 03 00 1D 00 01") == 0; ++i)
            steps(1);
        EXPECT_EQ("01 03 00 13 00 01", lastRequest()) << "the first again";
    }
}

// --- tags that are read alone ------------------------------------------------------------

class TagsAlone : public PacedReads
{
protected:
    /** Two tags of a station, on both sides of a hole. */
    void watchBesideAHole(int station, rtu::Duration pace = rtu::Duration(0))
    {
        makeHole(station);
        watch(station, "4x20", pace);
        watch(station, "4x30", pace);
    }

    /** Ends of rounds in so much time, once the holes have been found. */
    int rounds(rtu::Duration time)
    {
        run(seconds(5));
        requests.clear();
        int told = 0;
        link().onRound([&told] { ++told; });
        run(time);
        return told;
    }
};

TEST_F(TagsAlone, MakeNoRoundsBesideAPlan)
{
    settings.roundInterval = milliseconds(100);
    watchBesideAHole(1);
    watch(2, "4x1");
    EXPECT_NEAR(20, rounds(seconds(2)), 1);
    EXPECT_NEAR(40, count("01 "), 2);
}

TEST_F(TagsAlone, MakeTheRoundsWithoutAPlanWhateverElseIsRead)
{
    settings.roundInterval = milliseconds(200);
    watchBesideAHole(1);
    watchBesideAHole(2, hours(1));
    watch(1, "4x90", hours(1));
    EXPECT_NEAR(10, rounds(seconds(2)), 1);
    EXPECT_NEAR(20, count(""), 2);
}

TEST_F(TagsAlone, TakeHalfOfTheLineAtMost)
{
    plant.setTurnaround(1, milliseconds(100));
    watchBesideAHole(1);
    watch(2, "4x1");
    run(seconds(5));
    transactions.clear();
    run(seconds(5));
    std::vector<rtu::Transaction> alone;
    std::copy_if(transactions.begin(), transactions.end(), std::back_inserter(alone),
                 [](const rtu::Transaction &t) { return t.station == 1; });
    ASSERT_GT(alone.size(), 15u);
    for (std::size_t i = 1; i < alone.size(); ++i)
        EXPECT_GE(alone[i].sent - alone[i - 1].finished, alone[i - 1].finished - alone[i - 1].sent);
}

TEST_F(TagsAlone, DoNotPayForATimeInWhichNobodyPolled)
{
    watchBesideAHole(1);
    watch(2, "4x1");
    run(seconds(5));
    for (int i = 0; i < 64; ++i) {
        for (int reads = 0; reads < i / 8; ++reads) // so that one of the tags alone waits behind the plan
            link().read(TagDefinition(2, "4x9"));
        steps(i % 8);
        line->advance(hours(1));
        requests.clear();
        run(seconds(2));
        EXPECT_GT(count("01 "), 10) << i;
    }
}

} // namespace
