// What a link refuses before the driver sees it, and with which words.

#include "kit/link_test.h"

#include <limits>

namespace {

using namespace test_kit;
using rtu::TagFormat;

struct Refusal
{
    const char *name;
    TagDefinition definition;
    const char *words;
};

std::ostream &operator<<(std::ostream &out, const Refusal &refusal)
{
    return out << refusal.name;
}

TagDefinition many(TagDefinition definition, int values)
{
    definition.values = values;
    return definition;
}

TagDefinition scaled(TagDefinition definition, double scale)
{
    definition.scale = scale;
    return definition;
}

class RefusedTags : public LinkTest, public testing::WithParamInterface<Refusal>
{
};

TEST_P(RefusedTags, SayWhatWouldBeRight)
{
    const Refusal &refusal = GetParam();
    EXPECT_EQ(refusal.words, refusalOf([&] { link().addTag(refusal.definition); }));
    EXPECT_TRUE(link().tags().empty());
    EXPECT_EQ(LinkStep::Idle, link().step());
}

TagDefinition paced(TagDefinition definition, rtu::Duration pace)
{
    definition.pace = pace;
    return definition;
}

const double Infinite = std::numeric_limits<double>::infinity();
const double NoNumber = std::numeric_limits<double>::quiet_NaN();
const rtu::Duration Year = std::chrono::hours(365 * 24);
const rtu::Duration Instant{1};

const char *const NoSuchScale = "station 1 4x1: the scale must be a number other than 0";
const char *const NoSuchPace = "station 1 4x1: the pace must be from 0 to a year";

INSTANTIATE_TEST_SUITE_P(
    Places, RefusedTags,
    testing::Values(
        Refusal{"broadcast", TagDefinition(0, "4x1"),
                "station 0 4x1: station 0 is all slaves, and none answers; read from 1 to 247"},
        Refusal{"stationBelow", TagDefinition(-1, "4x1"), "station -1 4x1: stations are 1 to 247"},
        Refusal{"stationAbove", TagDefinition(248, "4x1"), "station 248 4x1: stations are 1 to 247"},
        Refusal{"noType", TagDefinition(1, "100"),
                "\"100\" does not begin with a register type; these are 0x, 1x, 3x_bit, 4x_bit, 3x, 4x, 3x_double, "
                "4x_double"},
        Refusal{"noAddress", TagDefinition(1, "4x"),
                "station 1 4x: \"\" is not an address; they are written ddddd (1 to 65536)"},
        Refusal{"zero", TagDefinition(1, "4x0"),
                "station 1 4x0: the address or the last of its values is out of range (1 to 65536)"},
        Refusal{"sign", TagDefinition(1, "4x+5"),
                "station 1 4x+5: \"+5\" is not an address; they are written ddddd (1 to 65536)"},
        Refusal{
            "bitTooHigh", TagDefinition(1, "4x_bit1.16"),
            "station 1 4x_bit1.16: \"1.16\" is not an address; they are written ddddd.DD (DD:0~15) (1.0 to 65536.15)"},
        Refusal{"pastTheEnd", many(TagDefinition(1, "4x65536"), 2),
                "station 1 4x65536: the address or the last of its values is out of range (1 to 65536)"},
        Refusal{"doublePastTheEnd", TagDefinition(1, "4x_double65536"),
                "station 1 4x_double65536: the address or the last of its values is out of range (1 to 65535)"},
        Refusal{"doublesPastTheEnd", many(TagDefinition(1, "4x_double65533"), 3),
                "station 1 4x_double65533: the address or the last of its values is out of range (1 to 65535)"}));

INSTANTIATE_TEST_SUITE_P(
    Formats, RefusedTags,
    testing::Values(Refusal{"noValues", many(TagDefinition(1, "4x1"), 0),
                            "station 1 4x1: the number of values must be from 1 to 65536"},
                    Refusal{"oneValueTooMany", many(TagDefinition(1, "0x1"), 65537),
                            "station 1 0x1: the number of values must be from 1 to 65536"},
                    Refusal{"tooManyValues", many(TagDefinition(1, "4x_double1"), 2000000000),
                            "station 1 4x_double1: the number of values must be from 1 to 65536"},
                    Refusal{"paceBelow", paced(TagDefinition(1, "4x1"), -Instant), NoSuchPace},
                    Refusal{"paceAbove", paced(TagDefinition(1, "4x1"), Year + Instant), NoSuchPace},
                    Refusal{"bitOfRegister", TagDefinition(1, "4x1", TagFormat::Bit),
                            "station 1 4x1 is no bit: any format but TagFormat::Bit will do"},
                    Refusal{"numberOfBit", TagDefinition(1, "0x1", TagFormat::Signed),
                            "station 1 0x1 is a bit: use TagFormat::Bit"},
                    Refusal{"floatOf16Bits", TagDefinition(1, "4x1", TagFormat::Float),
                            "station 1 4x1: a float has 32 bits; use 3x_double or 4x_double"},
                    Refusal{"textOfDoubles", TagDefinition(1, "4x_double1", TagFormat::Text),
                            "station 1 4x_double1: texts are in single registers; use 3x or 4x"},
                    Refusal{"noScale", scaled(TagDefinition(1, "4x1"), 0), NoSuchScale},
                    Refusal{"scaleWithoutEnd", scaled(TagDefinition(1, "4x1"), Infinite), NoSuchScale},
                    Refusal{"scaleThatIsNone", scaled(TagDefinition(1, "4x1"), NoNumber), NoSuchScale}));

TEST_F(RefusedTags, ThatHaveNoScaleOfTheirOwn)
{
    for (const TagDefinition &tag :
         {TagDefinition(1, "0x1"), TagDefinition(1, "4x_bit1.0"), TagDefinition(1, "4x1", TagFormat::Hex),
          TagDefinition(1, "4x1", TagFormat::Binary), TagDefinition(1, "4x1", TagFormat::Text)}) {
        const std::string words = ": bits, hexadecimal, binary and text have no scale; leave it at 1";
        for (const double scale : {2.0, 0.5})
            EXPECT_EQ("station 1 " + tag.address.toStdString() + words,
                      refusalOf([&] { link().addTag(scaled(tag, scale)); }));
    }
}

TEST_F(RefusedTags, AreNotThoseAtTheLimits)
{
    for (const TagDefinition &tag :
         {TagDefinition(247, "4x1"), TagDefinition(1, "4x65536"), TagDefinition(1, "4x_double65535"),
          TagDefinition(1, "4x_bit65536.15"), many(TagDefinition(1, "0x1"), 65536),
          many(TagDefinition(1, "4x_double65533"), 2), paced(TagDefinition(1, "4x1"), Year),
          paced(TagDefinition(1, "4x1"), Instant), scaled(TagDefinition(1, "4x1"), -0.001),
          scaled(TagDefinition(1, "4x1", TagFormat::Signed), 2), scaled(TagDefinition(1, "4x_double1"), 2),
          scaled(TagDefinition(1, "4x_double1", TagFormat::Float), 2)})
        EXPECT_EQ("nothing thrown", refusalOf([&] { link().addTag(tag); })) << tag.address.toStdString();
}

class RefusedRequests : public LinkTest
{
};

TEST_F(RefusedRequests, WritesThatCannotBeSent)
{
    struct Case
    {
        TagDefinition definition;
        std::vector<double> numbers;
        const char *words;
    };
    const Case cases[] = {
        {TagDefinition(1, "1x1"), {1}, "station 1 1x1 is read-only; 0x, 4x, 4x_bit and 4x_double can be written"},
        {TagDefinition(1, "3x1"), {1}, "station 1 3x1 is read-only; 0x, 4x, 4x_bit and 4x_double can be written"},
        {TagDefinition(1, "3x_bit1.0"),
         {1},
         "station 1 3x_bit1.0 is read-only; 0x, 4x, 4x_bit and 4x_double can be written"},
        {TagDefinition(1, "3x_double1"),
         {1},
         "station 1 3x_double1 is read-only; 0x, 4x, 4x_bit and 4x_double can be written"},
        {TagDefinition(0, "4x_bit1.0"),
         {1},
         "station 0 4x_bit1.0: a bit of a register is read before it is written, which station 0 (all slaves) does not "
         "answer; write the whole register (4x)"},
        {TagDefinition(1, "4x1"), {65536}, "station 1 4x1 cannot hold 65536: it takes -32768 to 65535"},
        {TagDefinition(1, "4x1"), {-32769}, "station 1 4x1 cannot hold -32769: it takes -32768 to 65535"},
        {TagDefinition(1, "4x1"), {70000.1}, "station 1 4x1 cannot hold 70000.1: it takes -32768 to 65535"},
        {TagDefinition(1, "4x1"),
         {123456789.012345},
         "station 1 4x1 cannot hold 123456789.012345: it takes -32768 to 65535"},
        {scaled(TagDefinition(1, "4x1"), 0.5), {40000}, "station 1 4x1 cannot hold 40000: it takes -16384 to 32767.5"},
        {TagDefinition(1, "4x1", TagFormat::Signed),
         {40000},
         "station 1 4x1 cannot hold 40000: it takes -32768 to 32767"},
        {TagDefinition(1, "4x_double1"),
         {4294967296.0},
         "station 1 4x_double1 cannot hold 4294967296: it takes -2147483648 to 4294967295"},
        {TagDefinition(1, "0x1"), {2}, "station 1 0x1 cannot hold 2: it takes 0 to 1"},
        {TagDefinition(1, "0x1"), {-1}, "station 1 0x1 cannot hold -1: it takes 0 to 1"},
        {TagDefinition(1, "4x1"), {NoNumber}, "station 1 4x1 cannot hold nan: it takes -32768 to 65535"},
        {TagDefinition(1, "4x_double1", TagFormat::Float),
         {1e39},
         "station 1 4x_double1: the number lies beyond 3.4e38, where 32-bit floats end"},
        {TagDefinition(1, "4x1"), {1, 2}, "station 1 4x1 takes 1 numbers at a time, not 2"},
        {TagDefinition(1, "4x1"), {}, "station 1 4x1 takes 1 numbers at a time, not 0"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(c.words, refusalOf([&] { link().write(c.definition, c.numbers); }));
    EXPECT_EQ(LinkStep::Idle, link().step());
}

TEST_F(RefusedRequests, TextsThatDoNotFit)
{
    const rtu::Tag number = link().addTag(TagDefinition(1, "4x1"));
    const rtu::Tag text = link().addTag(many(TagDefinition(1, "4x1", TagFormat::Text), 2));
    EXPECT_EQ("station 1 4x1 holds numbers; only tags of TagFormat::Text take a text",
              refusalOf([&] { link().write(number, QString("A")); }));
    EXPECT_EQ("station 1 4x1 holds 4 characters, the text has 5",
              refusalOf([&] { link().write(text, QString("ABCDE")); }));
    EXPECT_EQ("station 1 4x1: texts have a byte a character, which takes those of Latin-1",
              refusalOf([&] { link().write(text, QString(QChar(0x416))); }));
    EXPECT_EQ("there is no tag to write; addTag() gives one", refusalOf([&] { link().write(rtu::Tag(), 1); }));
}

TEST_F(RefusedRequests, TagsOfOtherLinks)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x1"));
    destroyLink();
    EXPECT_EQ("station 1 4x1 is a tag of another link; write it through that one",
              refusalOf([&] { link().write(tag, 1); }));
}

TEST_F(RefusedRequests, ReadsOfStationZero)
{
    EXPECT_EQ("station 0 4x1: station 0 is all slaves, and none answers; read from 1 to 247",
              refusalOf([&] { link().read(TagDefinition(0, "4x1")); }));
}

TEST_F(RefusedRequests, RecipesThatCannotBeMoved)
{
    rtu::RecipeRow row;
    row.numbers = {1};
    const auto refused = [&](const TagDefinition &where) {
        row.where = where;
        return refusalOf([&] { link().load({row}); });
    };
    const std::string registersOnly = ": recipes hold registers; use 4x or 4x_double, to save also 3x or 3x_double";
    EXPECT_EQ("a recipe needs at least one row", refusalOf([&] { link().load({}); }));
    EXPECT_EQ("station 1 3x1 is read-only; 0x, 4x, 4x_bit and 4x_double can be written",
              refused(TagDefinition(1, "3x1")));
    EXPECT_EQ("station 1 0x1" + registersOnly, refused(TagDefinition(1, "0x1")));
    EXPECT_EQ("station 1 4x_bit1.0" + registersOnly, refused(TagDefinition(1, "4x_bit1.0")));
    EXPECT_EQ("station 0 4x1: station 0 is all slaves; a recipe is loaded into 1 to 247",
              refused(TagDefinition(0, "4x1")));
    row.where = TagDefinition(0, "4x1");
    EXPECT_EQ("station 0 4x1: station 0 is all slaves, and none answers; read from 1 to 247",
              refusalOf([&] { link().save({row}); }));
    EXPECT_EQ(LinkStep::Idle, link().step());
}

class RefusedSettings : public LinkTest
{
protected:
    /** What is said of settings that are as made but for a change. */
    static std::string wordsFor(const std::function<void(rtu::LinkSettings &)> &change)
    {
        rtu::LinkSettings changed;
        changed.driver = TEST_DRIVER;
        change(changed);
        return refusalOf([&] { rtu::Link(changed, std::unique_ptr<rtu::Line>(new VirtualLine)); });
    }

    const std::vector<rtu::Duration rtu::LinkSettings::*> times = {
        &rtu::LinkSettings::replyTimeout,   &rtu::LinkSettings::silence,          &rtu::LinkSettings::replyGap,
        &rtu::LinkSettings::lateReplyGuard, &rtu::LinkSettings::broadcastDelay,   &rtu::LinkSettings::reopenInterval,
        &rtu::LinkSettings::roundInterval,  &rtu::LinkSettings::questionInterval, &rtu::LinkSettings::keepWrites};
    const std::vector<rtu::Duration rtu::StationSettings::*> stationTimes = {&rtu::StationSettings::silence,
                                                                             &rtu::StationSettings::replyTimeout};
};

TEST_F(RefusedSettings, AreThoseThatCannotWork)
{
    const auto refused = [](std::function<void(rtu::LinkSettings &)> change) { return wordsFor(change); };
    const char *const words = "maxWords must be an even number from 2 to 120: an odd one would tear 32-bit values, and "
                              "slaves take no more";
    for (const int wrong : {122, 121, 7, 1, 0, -2})
        EXPECT_EQ(words, refused([wrong](rtu::LinkSettings &s) { s.maxWords = wrong; })) << wrong;
    for (const int wrong : {1001, 0, -1})
        EXPECT_EQ("attempts must be from 1 to 1000", refused([wrong](rtu::LinkSettings &s) { s.attempts = wrong; }));
    for (const auto time :
         {&rtu::LinkSettings::replyTimeout, &rtu::LinkSettings::reopenInterval, &rtu::LinkSettings::questionInterval}) {
        for (const rtu::Duration wrong : {rtu::Duration(0), -Instant})
            EXPECT_EQ("replyTimeout, reopenInterval and questionInterval must be more than 0",
                      refused([=](rtu::LinkSettings &s) { s.*time = wrong; }));
    }
    EXPECT_EQ("a station's replyTimeout must be more than 0, or below 0 for the link's",
              refused([](rtu::LinkSettings &s) { s.stations[3].replyTimeout = rtu::Duration(0); }));
    for (const int wrong : {7, 9})
        EXPECT_EQ("RTU frames need 8 data bits", refused([=](rtu::LinkSettings &s) { s.parameters.dataBits = wrong; }));
    EXPECT_EQ("the parity is 'N', 'E' or 'O'", refused([](rtu::LinkSettings &s) { s.parameters.parity = 'n'; }));
    for (const int wrong : {0, 3})
        EXPECT_EQ("a character has 1 or 2 stop bits",
                  refused([=](rtu::LinkSettings &s) { s.parameters.stopBits = wrong; }));
    EXPECT_EQ("baud must be a rate, or 0 for a port without a pace",
              refused([](rtu::LinkSettings &s) { s.parameters.baud = -1; }));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.driver = "/nowhere.so"; }), "/nowhere.so"));
    EXPECT_EQ("the port is missing: /dev/ttyUSB0, a pseudo-terminal, or tcp:HOST:PORT",
              refusalOf([] { rtu::Link link{rtu::LinkSettings()}; }));
    EXPECT_EQ("the line is missing", refusalOf([&] { rtu::Link(settings, nullptr); }));
}

TEST_F(RefusedSettings, AreThoseWithATimeBeyondAYear)
{
    const char *const words = "no time may be longer than a year";
    for (const rtu::Duration wrong : {Year + Instant, rtu::Duration::max()}) {
        for (const auto time : times)
            EXPECT_EQ(words, wordsFor([=](rtu::LinkSettings &s) { s.*time = wrong; }));
        for (const auto time : stationTimes)
            EXPECT_EQ(words, wordsFor([=](rtu::LinkSettings &s) { s.stations[3].*time = wrong; }));
    }
}

TEST_F(RefusedSettings, AreNotThoseAtTheLimits)
{
    const std::vector<std::function<void(rtu::LinkSettings &)>> limits = {
        [](rtu::LinkSettings &s) { s.maxWords = 2; },
        [](rtu::LinkSettings &s) { s.maxWords = 120; },
        [](rtu::LinkSettings &s) { s.attempts = 1; },
        [](rtu::LinkSettings &s) { s.attempts = 1000; },
        [](rtu::LinkSettings &s) { s.replyTimeout = s.reopenInterval = s.questionInterval = Instant; },
        [](rtu::LinkSettings &s) { s.stations[3].replyTimeout = Instant; },
        [](rtu::LinkSettings &s) { s.stations[3].replyTimeout = -Instant; },
        [](rtu::LinkSettings &s) { s.parameters.parity = 'N'; },
        [](rtu::LinkSettings &s) { s.parameters.parity = 'O'; },
        [](rtu::LinkSettings &s) { s.parameters.stopBits = 2; },
        [](rtu::LinkSettings &s) { s.parameters.baud = 0; },
        [this](rtu::LinkSettings &s) {
            for (const auto time : times)
                s.*time = Year;
            for (const auto time : stationTimes)
                s.stations[3].*time = Year;
        }};
    for (std::size_t i = 0; i < limits.size(); ++i)
        EXPECT_EQ("nothing thrown", wordsFor(limits[i])) << i;
}

TEST_F(RefusedRequests, APortThatIsNotThereIsToldByOpen)
{
    link();
    line->plugged = false;
    EXPECT_EQ("cannot open the line: it is not there", refusalOf([&] { link().open(); }));
    line->plugged = true;
    EXPECT_NO_THROW(link().open());
}

} // namespace
