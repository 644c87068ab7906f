// What a link refuses before the driver sees it, and with which words.

#include "kit/link_test.h"

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
    const std::string words = refusalOf([&] { link().addTag(refusal.definition); });
    EXPECT_TRUE(contains(words, refusal.words)) << words;
    EXPECT_TRUE(link().tags().empty());
    EXPECT_EQ(LinkStep::Idle, link().step());
}

INSTANTIATE_TEST_SUITE_P(
    Table, RefusedTags,
    testing::Values(Refusal{"broadcast", TagDefinition(0, "4x1"), "read from 1 to 247"},
                    Refusal{"stationBelow", TagDefinition(-1, "4x1"), "stations are 1 to 247"},
                    Refusal{"stationAbove", TagDefinition(248, "4x1"), "stations are 1 to 247"},
                    Refusal{"noType", TagDefinition(1, "100"), "does not begin with a register type"},
                    Refusal{"noAddress", TagDefinition(1, "4x"), "is not an address"},
                    Refusal{"zero", TagDefinition(1, "4x0"), "out of range (1 to 65536)"},
                    Refusal{"sign", TagDefinition(1, "4x+5"), "is not an address"},
                    Refusal{"bitTooHigh", TagDefinition(1, "4x_bit1.16"), "ddddd.DD"},
                    Refusal{"pastTheEnd", many(TagDefinition(1, "4x65536"), 2), "out of range"},
                    Refusal{"doublePastTheEnd", TagDefinition(1, "4x_double65536"), "out of range"},
                    Refusal{"noValues", many(TagDefinition(1, "4x1"), 0), "from 1 to 65536"},
                    Refusal{"tooManyValues", many(TagDefinition(1, "4x_double1"), 2000000000), "from 1 to 65536"},
                    Refusal{"bitOfRegister", TagDefinition(1, "4x1", TagFormat::Bit), "is no bit"},
                    Refusal{"numberOfBit", TagDefinition(1, "0x1", TagFormat::Signed), "use TagFormat::Bit"},
                    Refusal{"floatOf16Bits", TagDefinition(1, "4x1", TagFormat::Float), "use 3x_double or 4x_double"},
                    Refusal{"textOfDoubles", TagDefinition(1, "4x_double1", TagFormat::Text), "use 3x or 4x"},
                    Refusal{"noScale", scaled(TagDefinition(1, "4x1"), 0), "a number other than 0"},
                    Refusal{"scaledBit", scaled(TagDefinition(1, "0x1"), 10), "leave it at 1"}));

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
        {TagDefinition(1, "1x1"), {1}, "read-only"},
        {TagDefinition(1, "3x1"), {1}, "read-only"},
        {TagDefinition(1, "3x_bit1.0"), {1}, "read-only"},
        {TagDefinition(1, "3x_double1"), {1}, "read-only"},
        {TagDefinition(0, "4x_bit1.0"), {1}, "write the whole register"},
        {TagDefinition(1, "4x1"), {65536}, "cannot hold 65536: it takes -32768 to 65535"},
        {TagDefinition(1, "4x1", TagFormat::Signed), {40000}, "-32768 to 32767"},
        {TagDefinition(1, "0x1"), {2}, "0 to 1"},
        {TagDefinition(1, "4x1"), {std::numeric_limits<double>::quiet_NaN()}, "cannot hold"},
        {TagDefinition(1, "4x_double1", TagFormat::Float), {1e39}, "32-bit floats end"},
        {TagDefinition(1, "4x1"), {1, 2}, "takes 1 numbers at a time, not 2"},
        {TagDefinition(1, "4x1"), {}, "not 0"},
    };
    for (const Case &c : cases) {
        const std::string words = refusalOf([&] { link().write(c.definition, c.numbers); });
        EXPECT_TRUE(contains(words, c.words)) << c.definition.address.toStdString() << ": " << words;
    }
    EXPECT_EQ(LinkStep::Idle, link().step());
}

TEST_F(RefusedRequests, TextsThatDoNotFit)
{
    const rtu::Tag number = link().addTag(TagDefinition(1, "4x1"));
    const rtu::Tag text = link().addTag(TagDefinition(1, "4x1", TagFormat::Text));
    EXPECT_TRUE(contains(refusalOf([&] { link().write(number, QString("A")); }), "TagFormat::Text"));
    EXPECT_TRUE(contains(refusalOf([&] { link().write(text, QString("ABC")); }), "holds 2 characters"));
    EXPECT_TRUE(contains(refusalOf([&] { link().write(text, QString(QChar(0x416))); }), "Latin-1"));
    EXPECT_TRUE(contains(refusalOf([&] { link().write(rtu::Tag(), 1); }), "no tag"));
}

TEST_F(RefusedRequests, TagsOfOtherLinks)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x1"));
    destroyLink();
    EXPECT_TRUE(contains(refusalOf([&] { link().write(tag, 1); }), "another link"));
}

TEST_F(RefusedRequests, ReadsOfStationZero)
{
    EXPECT_TRUE(contains(refusalOf([&] { link().read(TagDefinition(0, "4x1")); }), "station 0 is all slaves"));
}

TEST_F(RefusedRequests, RecipesThatCannotBeMoved)
{
    rtu::RecipeRow row;
    row.numbers = {1};
    const auto refused = [&](const TagDefinition &where) {
        row.where = where;
        return refusalOf([&] { link().load({row}); });
    };
    EXPECT_TRUE(contains(refusalOf([&] { link().load({}); }), "at least one row"));
    EXPECT_TRUE(contains(refused(TagDefinition(1, "3x1")), "read-only"));
    EXPECT_TRUE(contains(refused(TagDefinition(1, "0x1")), "recipes hold registers"));
    EXPECT_TRUE(contains(refused(TagDefinition(1, "4x_bit1.0")), "recipes hold registers"));
    EXPECT_TRUE(contains(refused(TagDefinition(0, "4x1")), "loaded into 1 to 247"));
    row.where = TagDefinition(0, "4x1");
    EXPECT_TRUE(contains(refusalOf([&] { link().save({row}); }), "station 0"));
    EXPECT_EQ(LinkStep::Idle, link().step());
}

TEST_F(RefusedRequests, SettingsThatCannotWork)
{
    const auto refused = [](std::function<void(rtu::LinkSettings &)> change) {
        rtu::LinkSettings changed;
        changed.driver = TEST_DRIVER;
        change(changed);
        return refusalOf([&] { rtu::Link(changed, std::unique_ptr<rtu::Line>(new VirtualLine)); });
    };
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.maxWords = 121; }), "even number from 2 to 120"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.maxWords = 0; }), "even number from 2 to 120"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.maxWords = 7; }), "even number from 2 to 120"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.attempts = 0; }), "attempts"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.attempts = 1001; }), "from 1 to 1000"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.replyTimeout = rtu::Duration(0); }), "more than 0"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.stations[3].replyTimeout = rtu::Duration(0); }),
                         "below 0 for the link's"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.parameters.dataBits = 7; }), "8 data bits"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.parameters.parity = 'n'; }), "'N', 'E' or 'O'"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.parameters.stopBits = 3; }), "1 or 2 stop bits"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.parameters.baud = -1; }), "baud"));
    EXPECT_TRUE(contains(refused([](rtu::LinkSettings &s) { s.driver = "/nowhere.so"; }), "/nowhere.so"));
    EXPECT_TRUE(contains(refusalOf([] { rtu::Link link{rtu::LinkSettings()}; }), "the port is missing"));
    EXPECT_TRUE(contains(refusalOf([&] { rtu::Link(settings, nullptr); }), "the line is missing"));
}

TEST_F(RefusedRequests, TimesBeyondTheClock)
{
    const auto forEver = [](std::function<void(rtu::LinkSettings &)> change) {
        rtu::LinkSettings changed;
        changed.driver = TEST_DRIVER;
        change(changed);
        return refusalOf([&] { rtu::Link(changed, std::unique_ptr<rtu::Line>(new VirtualLine)); });
    };
    const rtu::Duration longest = rtu::Duration::max();
    EXPECT_TRUE(contains(forEver([&](rtu::LinkSettings &s) { s.keepWrites = longest; }), "longer than a year"));
    EXPECT_TRUE(contains(forEver([&](rtu::LinkSettings &s) { s.roundInterval = longest; }), "longer than a year"));
    EXPECT_TRUE(
        contains(forEver([&](rtu::LinkSettings &s) { s.stations[3].silence = longest; }), "longer than a year"));
    TagDefinition tag(1, "4x1");
    tag.pace = longest;
    EXPECT_TRUE(contains(refusalOf([&] { link().addTag(tag); }), "from 0 to a year"));
    tag.pace = milliseconds(-1);
    EXPECT_TRUE(contains(refusalOf([&] { link().addTag(tag); }), "from 0 to a year"));
}

TEST_F(RefusedRequests, APortThatIsNotThereIsToldByOpen)
{
    link();
    line->plugged = false;
    EXPECT_TRUE(contains(refusalOf([&] { link().open(); }), "cannot open"));
    line->plugged = true;
    EXPECT_NO_THROW(link().open());
}

} // namespace
