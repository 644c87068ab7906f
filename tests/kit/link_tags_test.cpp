// Tags of a link: values, times, qualities, changes.

#include "kit/link_test.h"

namespace {

using namespace test_kit;
using rtu::TagFormat;

class LinkTags : public LinkTest
{
protected:
    LinkTags()
    {
        plant.define(1, Table::HoldingRegisters, 0, 100);
        plant.define(1, Table::InputRegisters, 0, 100);
        plant.define(1, Table::Coils, 0, 100);
        plant.define(1, Table::DiscreteInputs, 0, 100);
    }
};

TEST_F(LinkTags, NeverReadAtFirst)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    EXPECT_EQ(Quality::NeverRead, tag.value().quality);
    EXPECT_EQ(1, tag.value().count());
    EXPECT_EQ(0.0, tag.value().number());
}

TEST_F(LinkTags, KeepWhatTheirCallerSaysOfThem)
{
    TagDefinition level(1, "4x10");
    level.name = QString::fromLatin1("level");
    level.unit = QString::fromLatin1("bar");
    const rtu::Tag tag = link().addTag(level);
    EXPECT_EQ("level", tag.definition().name.toStdString());
    EXPECT_EQ("bar", tag.definition().unit.toStdString());
}

TEST_F(LinkTags, AReadBringsValueTimeAndQuality)
{
    plant.poke(1, Table::HoldingRegisters, 9, 1234);
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    ASSERT_EQ(1u, transactions.size());
    EXPECT_EQ("01 03 00 09 00 01", lastRequest());
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ(1234.0, tag.value().number());
    EXPECT_EQ(transactions[0].finished, tag.value().time);
}

TEST_F(LinkTags, AFirstValueOfZeroIsAChangeOfQuality)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(tag, changes[0].tag);
    EXPECT_EQ(Quality::NeverRead, changes[0].before.quality);
    EXPECT_EQ(Quality::Good, changes[0].after.quality);
}

TEST_F(LinkTags, AChangeComesWithOldAndNewValueAndOnlyOnce)
{
    link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    changes.clear();
    plant.poke(1, Table::HoldingRegisters, 9, 7);
    steps(3);
    ASSERT_EQ(1u, changes.size());
    EXPECT_EQ(0.0, changes[0].before.number());
    EXPECT_EQ(7.0, changes[0].after.number());
}

TEST_F(LinkTags, TheTimeMovesOnWithoutAChange)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    const rtu::TimePoint first = tag.value().time;
    steps(1);
    EXPECT_GT(tag.value().time, first);
    EXPECT_EQ(1u, changes.size());
}

struct FormatCase
{
    const char *address;
    TagFormat format;
    rtu::WordOrder order;
    double scale;
    std::uint32_t stored; ///< high word first
    double number;
    const char *text;
};

class LinkFormats : public LinkTags, public testing::WithParamInterface<FormatCase>
{
};

TEST_P(LinkFormats, ShowTheStoredBits)
{
    const FormatCase &c = GetParam();
    TagDefinition definition(1, c.address, c.format);
    definition.wordOrder = c.order;
    definition.scale = c.scale;
    plant.pokeDouble(1, Table::HoldingRegisters, 20, c.stored);
    plant.poke(1, Table::HoldingRegisters, 10, static_cast<std::uint16_t>(c.stored));
    const rtu::Tag tag = link().addTag(definition);
    steps(1);
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_DOUBLE_EQ(c.number, tag.value().number());
    EXPECT_EQ(c.text, tag.value().text().toStdString());
}

const rtu::WordOrder High = rtu::WordOrder::HighFirst;
const rtu::WordOrder Low = rtu::WordOrder::LowFirst;

INSTANTIATE_TEST_SUITE_P(
    Table, LinkFormats,
    testing::Values(FormatCase{"4x11", TagFormat::Usual, High, 1, 0xFFFE, 65534, "65534"},
                    FormatCase{"4x11", TagFormat::Signed, High, 1, 0xFFFE, -2, "-2"},
                    FormatCase{"4x11", TagFormat::Signed, High, 0.1, 0xFFFE, -0.2, "-0.2"},
                    FormatCase{"4x11", TagFormat::Hex, High, 1, 0x00AB, 0xAB, "0x00AB"},
                    FormatCase{"4x11", TagFormat::Binary, High, 1, 5, 5, "0b0000000000000101"},
                    FormatCase{"4x11", TagFormat::Text, High, 1, 0x4F4B, 0x4F4B, "OK"},
                    FormatCase{"4x_bit11.1", TagFormat::Usual, High, 1, 2, 1, "1"},
                    FormatCase{"4x_double21", TagFormat::Unsigned, High, 1, 0x12345678, 305419896.0, "305419896"},
                    FormatCase{"4x_double21", TagFormat::Unsigned, Low, 1, 0x56781234, 305419896.0, "305419896"},
                    FormatCase{"4x_double21", TagFormat::Signed, High, 1, 0xFFFFFFFF, -1, "-1"},
                    FormatCase{"4x_double21", TagFormat::Float, High, 1, 0x40200000, 2.5, "2.5"},
                    FormatCase{"4x_double21", TagFormat::Float, Low, 2, 0x00004020, 5, "5"}));

TEST_F(LinkTags, TextsEndAtAZero)
{
    plant.poke(1, Table::HoldingRegisters, 0, 0x4142);
    plant.poke(1, Table::HoldingRegisters, 1, 0x4300);
    plant.poke(1, Table::HoldingRegisters, 2, 0x4445);
    TagDefinition definition(1, "4x1", TagFormat::Text);
    definition.values = 3;
    const rtu::Tag tag = link().addTag(definition);
    steps(1);
    EXPECT_EQ("ABC", tag.value().text().toStdString());
}

TEST_F(LinkTags, AnArrayLongerThanARequestIsOneTag)
{
    plant.define(2, Table::HoldingRegisters, 0, 400, 5);
    TagDefinition definition(2, "4x1");
    definition.values = 300;
    const rtu::Tag tag = link().addTag(definition);
    steps(2);
    EXPECT_EQ(Quality::NeverRead, tag.value().quality) << "a third of it is missing";
    steps(1);
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ(transactions[0].finished, tag.value().time) << "the oldest part counts";
    EXPECT_EQ(5.0, tag.value().number(299));
    EXPECT_EQ(0.0, tag.value().number(300));
}

TEST_F(LinkTags, AnExceptionIsAnAnswerAndShownWithItsCode)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x101"));
    steps(1);
    EXPECT_EQ(Quality::Refused, tag.value().quality);
    EXPECT_EQ(2, tag.value().exceptionCode);
    EXPECT_EQ(1u, requests.size()) << "it would be the same again";
    steps(1);
    EXPECT_EQ(2u, requests.size()) << "the next round asks again";
}

TEST_F(LinkTags, ASilentStationKeepsItsValue)
{
    plant.poke(1, Table::HoldingRegisters, 9, 7);
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    plant.setStationOn(1, false);
    steps(3);
    EXPECT_EQ(4u, requests.size()) << "three attempts";
    EXPECT_EQ(Quality::StationSilent, tag.value().quality);
    EXPECT_EQ(7.0, tag.value().number());
    plant.setStationOn(1, true);
    run(std::chrono::seconds(10));
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkTags, ALostPortMakesAllTagsSilent)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    line->plugged = false;
    EXPECT_EQ(LinkStep::NoPort, link().step());
    EXPECT_EQ(Quality::StationSilent, tag.value().quality);
    line->plugged = true;
    run(settings.reopenInterval * 2);
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ((std::vector<bool>{true, false, true}), ports);
}

TEST_F(LinkTags, TagsComeAndGoWhileTheLinkRuns)
{
    const rtu::Tag first = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    const rtu::Tag second = link().addTag(TagDefinition(1, "4x12"));
    steps(1);
    EXPECT_EQ("01 03 00 09 00 03", lastRequest());
    EXPECT_EQ(2u, link().tags().size());
    link().removeTag(first);
    steps(1);
    EXPECT_EQ("01 03 00 0B 00 01", lastRequest());
    ASSERT_EQ(1u, link().tags().size());
    EXPECT_EQ(second, link().tags().front());
}

TEST_F(LinkTags, ThatComeAllTheTimeDoNotStarveTheTailOfThePlan)
{
    plant.define(1, Table::HoldingRegisters, 0, 2000, 5);
    link().addTag(TagDefinition(1, "4x1"));
    link().addTag(TagDefinition(1, "4x500"));
    const rtu::Tag last = link().addTag(TagDefinition(1, "4x1000"));
    for (int i = 0; i < 20; ++i) {
        link().removeTag(link().addTag(TagDefinition(1, QString::fromLatin1("4x%1").arg(1200 + i))));
        steps(1);
    }
    EXPECT_EQ(5.0, last.value().number());
    EXPECT_EQ(Quality::Good, last.value().quality);
}

TEST_F(LinkTags, OutliveTheirLink)
{
    plant.poke(1, Table::HoldingRegisters, 9, 7);
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    steps(1);
    destroyLink();
    EXPECT_EQ(7.0, tag.value().number());
}

TEST_F(LinkTags, WithATagOfItsOwnPaceAreReadThatOften)
{
    TagDefinition slow(1, "4x50");
    slow.pace = std::chrono::seconds(2);
    link().addTag(TagDefinition(1, "4x10"));
    const rtu::Tag tag = link().addTag(slow);
    run(std::chrono::seconds(9));
    int reads = 0;
    for (const Bytes &request : requests)
        reads += request[3] == 49 ? 1 : 0;
    EXPECT_EQ(5, reads);
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkTags, WithAPaceOfTheirOwnAreReadWhenThePortIsBack)
{
    TagDefinition slow(1, "4x50");
    slow.pace = std::chrono::hours(1);
    const rtu::Tag tag = link().addTag(slow);
    run(std::chrono::seconds(1));
    line->plugged = false;
    run(std::chrono::seconds(1));
    EXPECT_EQ(Quality::StationSilent, tag.value().quality);
    line->plugged = true;
    run(std::chrono::seconds(1));
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ(2u, requests.size());
}

TEST_F(LinkTags, WithAPaceOfTheirOwnAloneAreReadInTheStepInWhichTheyAreDue)
{
    TagDefinition slow(1, "4x50");
    slow.pace = std::chrono::seconds(2);
    link().addTag(slow);
    steps(1);
    EXPECT_EQ(1u, requests.size());
}

TEST_F(LinkTags, TheEndOfARoundIsTold)
{
    settings.attempts = 1;
    plant.define(2, Table::HoldingRegisters, 0, 100);
    plant.setStationOn(2, false);
    link().addTag(TagDefinition(1, "4x10"));
    link().addTag(TagDefinition(2, "4x10"));
    std::vector<std::size_t> framesAtEnd;
    link().onRound([&] { framesAtEnd.push_back(requests.size()); });
    run(milliseconds(450));
    ASSERT_LE(3u, framesAtEnd.size());
    EXPECT_EQ(2u, framesAtEnd[0]); // both were asked
    EXPECT_EQ(3u, framesAtEnd[1]); // the silent one had its turn without a frame
    EXPECT_EQ(4u, framesAtEnd[2]);
}

TEST_F(LinkTags, RoundsKeepTheirInterval)
{
    settings.roundInterval = milliseconds(500);
    link().addTag(TagDefinition(1, "4x10"));
    run(std::chrono::seconds(5));
    EXPECT_NEAR(10, static_cast<double>(requests.size()), 1);
}

TEST_F(LinkTags, NeighboursThatAreDueTogetherAreReadTogether)
{
    TagDefinition slow;
    slow.station = 1;
    slow.pace = std::chrono::seconds(5);
    for (const char *address : {"4x50", "4x60", "4x40", "0x1", "0x30", "3x55"}) {
        slow.address = QString::fromLatin1(address);
        link().addTag(slow);
    }
    run(std::chrono::seconds(1));
    ASSERT_EQ(3u, requests.size());
    EXPECT_EQ("01 03 00 27 00 15", text(requests[0]));
    EXPECT_EQ("01 01 00 00 00 1E", text(requests[1]));
    EXPECT_EQ("01 04 00 36 00 01", text(requests[2]));
    for (const rtu::Tag &tag : link().tags())
        EXPECT_EQ(Quality::Good, tag.value().quality) << tag.definition().address.toStdString();
}

TEST_F(LinkTags, NeighboursThatNoRequestCoversAreReadByThemselves)
{
    plant.define(2, Table::HoldingRegisters, 0, 300);
    TagDefinition slow(2, "4x1");
    slow.pace = std::chrono::seconds(5);
    link().addTag(slow);
    slow.address = QString::fromLatin1("4x121"); // one more than a request holds
    link().addTag(slow);
    run(std::chrono::seconds(1));
    ASSERT_EQ(2u, requests.size());
    EXPECT_EQ("02 03 00 00 00 01", text(requests[0]));
    EXPECT_EQ("02 03 00 78 00 01", text(requests[1]));
}

TEST_F(LinkTags, OfWhichAnotherRequestBroughtAPartShowItWhenTheyAreReadThemselves)
{
    TagDefinition two(1, "4x10");
    two.values = 2;
    const rtu::Tag tag = link().addTag(two);
    steps(3);
    plant.poke(1, Table::HoldingRegisters, 10, 77);
    link().read(TagDefinition(1, "4x11"));
    steps(4);
    EXPECT_EQ(77.0, tag.value().number(1));
}

TEST_F(LinkTags, OfWhichAnotherBlockOfThePlanBroughtAPartShowItWhenTheyAreReadThemselves)
{
    const rtu::Tag both = link().addTag(TagDefinition(1, "4x_double10"));
    link().addTag(TagDefinition(1, "4x11"));
    for (int i = 0; i < 10 && lastRequest() != "01 03 00 09 00 02"; ++i)
        steps(1);
    plant.poke(1, Table::HoldingRegisters, 10, 77);
    steps(1);
    ASSERT_EQ("01 03 00 0A 00 01", lastRequest());
    const std::vector<std::uint32_t> before = both.value().raw();
    steps(1);
    EXPECT_NE(before, both.value().raw());
}

TEST_F(LinkTags, WithAPaceOfTheirOwnInsideABlockOfOthersShowWhatItBrings)
{
    TagDefinition slow(1, "4x11");
    slow.pace = std::chrono::hours(1);
    const rtu::Tag tag = link().addTag(slow);
    link().addTag(TagDefinition(1, "4x10"));
    link().addTag(TagDefinition(1, "4x12"));
    run(std::chrono::seconds(1));
    plant.poke(1, Table::HoldingRegisters, 10, 77);
    run(std::chrono::seconds(1));
    EXPECT_EQ(77.0, tag.value().number());
}

TEST_F(LinkTags, WithAPaceShorterThanARoundAreReadThatOften)
{
    settings.roundInterval = std::chrono::seconds(10);
    TagDefinition fast(1, "3x1");
    fast.pace = std::chrono::seconds(1);
    link().addTag(fast);
    link().addTag(TagDefinition(1, "4x10"));
    run(std::chrono::seconds(30));
    const auto ofIts = [](const Bytes &request) { return request[1] == 4; };
    EXPECT_NEAR(30, static_cast<double>(std::count_if(requests.begin(), requests.end(), ofIts)), 1);
}

// Among other requests the driver gives its plan a turn now and then.
TEST_F(LinkTags, OfThePlanAreReadOnceARoundWhateverIsReadBeside)
{
    settings.roundInterval = std::chrono::minutes(1);
    TagDefinition fast(1, "3x1");
    fast.pace = std::chrono::seconds(1);
    link().addTag(fast);
    link().addTag(TagDefinition(1, "4x10"));
    run(std::chrono::minutes(10));
    const auto ofPlan = [](const Bytes &request) { return request[1] == 3; };
    EXPECT_NEAR(10, static_cast<double>(std::count_if(requests.begin(), requests.end(), ofPlan)), 1);
    const auto ofIts = [](const Bytes &request) { return request[1] == 4; };
    EXPECT_NEAR(600, static_cast<double>(std::count_if(requests.begin(), requests.end(), ofIts)), 2);
}

TEST_F(LinkTags, LongOnesWithAPaceAreReadToTheirEndWhenOthersCome)
{
    TagDefinition longOne(1, "4x1");
    longOne.values = 100;
    longOne.pace = std::chrono::hours(1);
    settings.maxWords = 40;
    const rtu::Tag tag = link().addTag(longOne);
    steps(1); // its first part
    link().addTag(TagDefinition(1, "3x1"));
    run(std::chrono::seconds(5));
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkTags, WithAPaceOfTheirOwnHaveTheirTurnAmongReadsThatNeverEnd)
{
    TagDefinition slow(1, "3x1");
    slow.pace = std::chrono::seconds(1);
    const rtu::Tag tag = link().addTag(slow);
    bool goesOn = true;
    const std::function<void(const rtu::ReadResult &)> again = [&](const rtu::ReadResult &) {
        if (goesOn)
            link().read(TagDefinition(1, "4x10"), again);
    };
    again(rtu::ReadResult());
    run(std::chrono::seconds(5));
    EXPECT_EQ(Quality::Good, tag.value().quality);
    goesOn = false;
    destroyLink();
}

TEST_F(LinkTags, AndReadsHaveTheirTurnAmongWritesThatNeverEnd)
{
    TagDefinition slow(1, "3x1");
    slow.pace = std::chrono::seconds(1);
    const rtu::Tag tag = link().addTag(slow);
    int reads = 0;
    link().read(TagDefinition(1, "4x11"), [&](const rtu::ReadResult &) { ++reads; });
    bool goesOn = true;
    rtu::WriteOptions again;
    again.done = [&](const rtu::WriteResult &) {
        if (goesOn)
            link().write(TagDefinition(1, "4x10"), {1}, again);
    };
    again.done(rtu::WriteResult());
    run(std::chrono::seconds(5));
    EXPECT_EQ(1, reads);
    EXPECT_EQ(Quality::Good, tag.value().quality);
    goesOn = false;
    destroyLink();
}

TEST_F(LinkTags, ThatAreNoneAreNotRemoved)
{
    link().addTag(TagDefinition(1, "4x10"));
    link().removeTag(rtu::Tag());
    EXPECT_EQ(1u, link().tags().size());
}

} // namespace
