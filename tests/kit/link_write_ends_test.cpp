// What is told of the end of a write, word for word and to the instant, and in which requests long ones go out.

#include "kit/link_write_test.h"

namespace {

using namespace test_kit;

/** "Refused 4, 0 acknowledged: the reason" */
std::string account(const WriteResult &result)
{
    const char *const names[] = {"Acknowledged", "Refused",   "Unconfirmed", "NotSent",  "Differs",
                                 "Replaced",     "Cancelled", "Broadcast",   "KeptLocal"};
    return names[static_cast<int>(result.end)] + (" " + std::to_string(result.exceptionCode)) + ", "
           + std::to_string(result.acknowledged) + " acknowledged: " + result.text.toStdString();
}

class LinkWriteEnds : public LinkWriteTest
{
protected:
    /** In the order in which they are told. */
    std::vector<std::string> accounts() const
    {
        std::vector<std::string> all;
        for (const auto &end : ends)
            all.push_back(std::to_string(end.first) + " " + account(end.second));
        return all;
    }

    std::vector<std::string> sent() const
    {
        std::vector<std::string> all;
        for (const Bytes &request : requests)
            all.push_back(text(request));
        return all;
    }

    /** Two 32-bit values of which each has a request of its own. */
    void writeInTwoRequests()
    {
        settings.maxWords = 2;
        TagDefinition two(1, "4x_double10");
        two.values = 2;
        link().write(two, {1, 2}, noted(1));
        steps(1);
    }

    using Texts = std::vector<std::string>;
};

// --- by the answers ----------------------------------------------------------------------

struct Answered
{
    const char *name;
    std::vector<const char *> answers; ///< null: by the slave; empty: lost; else bytes, behind a '!' without check sum
    bool readBack;
    const char *account;
};

std::ostream &operator<<(std::ostream &out, const Answered &answered)
{
    return out << answered.name;
}

class LinkAnsweredWrites : public LinkWriteEnds, public testing::WithParamInterface<Answered>
{
};

TEST_P(LinkAnsweredWrites, EndOnceWithTheWholeAccount)
{
    const Answered &c = GetParam();
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    for (const char *answer : c.answers) {
        if (!answer)
            script.push_back(nullptr);
        else if (*answer == '\0')
            loseRequests(1);
        else
            script.push_back([this, answer](const Bytes &) {
                line->receive(milliseconds(10), *answer == '!' ? hex(answer + 1) : frame(answer));
            });
    }
    WriteOptions options = noted(1);
    options.readBack = c.readBack;
    const rtu::Write write = link().write(tag, 7, options);
    steps(static_cast<int>(c.answers.size()));
    EXPECT_EQ(c.answers.size(), requests.size());
    EXPECT_EQ(c.account, account(theEnd()));
    EXPECT_EQ(transactions.back().finished, theEnd().time);
    EXPECT_EQ(c.account, account(write.result()));
    if (theEnd().end == WriteEnd::Acknowledged) {
        EXPECT_EQ(theEnd().time, tag.value().time);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, LinkAnsweredWrites,
    testing::Values(
        Answered{"acknowledged", {nullptr}, false, "Acknowledged 0, 1 acknowledged: "},
        Answered{"refused", {"01 86 04"}, false, "Refused 4, 0 acknowledged: the slave answered with exception 4"},
        Answered{"refusedLater",
                 {"", "01 86 04"},
                 false,
                 "Unconfirmed 0, 0 acknowledged: the slave answered a further attempt with exception 4"},
        Answered{"silent", {"", "", ""}, false, "Unconfirmed 0, 0 acknowledged: no answer"},
        Answered{"damaged",
                 {"!01 06 00 09 00 07 00 00", "!01 06 00 09 00 07 00 00", "!01 06 00 09 00 07 00 00"},
                 false,
                 "Unconfirmed 0, 0 acknowledged: the answers were damaged"},
        Answered{"foreign",
                 {"02 06 00 09 00 07", "02 06 00 09 00 07", "02 06 00 09 00 07"},
                 false,
                 "Unconfirmed 0, 0 acknowledged: the answers were those to other requests"},
        Answered{"readBack", {nullptr, nullptr}, true, "Acknowledged 0, 1 acknowledged: "},
        Answered{"differs",
                 {nullptr, "01 03 02 00 08"},
                 true,
                 "Differs 0, 1 acknowledged: acknowledged, but it reads otherwise"},
        Answered{"notReadBack",
                 {nullptr, "", "", ""},
                 true,
                 "Unconfirmed 0, 1 acknowledged: acknowledged, but it could not be read back"},
        Answered{"refusedReadBack",
                 {nullptr, "01 83 04"},
                 true,
                 "Unconfirmed 0, 1 acknowledged: acknowledged, but it could not be read back"}));

TEST_F(LinkWriteEnds, OneAfterTheOtherAreReadBack)
{
    WriteOptions options = noted(1);
    options.readBack = true;
    for (const double number : {7.0, 8.0}) {
        link().write(TagDefinition(1, "4x10"), {number}, options);
        steps(2);
    }
    EXPECT_EQ((Texts{"01 06 00 09 00 07", "01 03 00 09 00 01", "01 06 00 09 00 08", "01 03 00 09 00 01"}), sent());
    EXPECT_EQ(Texts(2, "1 Acknowledged 0, 1 acknowledged: "), accounts());
}

TEST_F(LinkWriteEnds, OfABroadcast)
{
    link().write(TagDefinition(0, "4x10"), {7}, noted(1));
    steps(1);
    EXPECT_EQ(Texts{"1 Broadcast 0, 0 acknowledged: "}, accounts());
    EXPECT_EQ(Texts{"00 06 00 09 00 07"}, sent());
}

TEST_F(LinkWriteEnds, KeptLocal)
{
    settings.localWritesOnly = true;
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    steps(1);
    EXPECT_EQ(line->now(), ends.back().second.time);
    EXPECT_EQ(Texts{"1 KeptLocal 0, 0 acknowledged: "}, accounts());
    EXPECT_EQ(Texts{}, sent());
}

TEST_F(LinkWriteEnds, KeptLocalWhichNoRecipeIs)
{
    settings.localWritesOnly = true;
    rtu::RecipeRow row;
    row.where = TagDefinition(1, "4x10");
    row.numbers = {7};
    EXPECT_THROW(link().load({row}), rtu::Error);
    link().compare({row});
    steps(2);
    EXPECT_EQ(Texts{"01 03 00 09 00 01"}, sent());
}

// --- before they are sent ----------------------------------------------------------------

TEST_F(LinkWriteEnds, OfThoseThatWait)
{
    link();
    const rtu::TimePoint asked = line->now();
    rtu::Write front = link().write(TagDefinition(1, "4x1"), {1}, noted(1));
    link().write(TagDefinition(1, "4x2"), {2}, noted(2));
    link().write(TagDefinition(1, "4x3"), {3}, noted(3));
    rtu::Write behind = link().write(TagDefinition(1, "4x4"), {4}, noted(4));
    link().write(TagDefinition(1, "4x2"), {5}, noted(5));
    EXPECT_TRUE(front.cancel() && behind.cancel());
    steps(2);
    EXPECT_EQ((Texts{"2 Replaced 0, 0 acknowledged: a newer write to the same place took its turn",
                     "1 Cancelled 0, 0 acknowledged: taken back", "4 Cancelled 0, 0 acknowledged: taken back",
                     "5 Acknowledged 0, 1 acknowledged: ", "3 Acknowledged 0, 1 acknowledged: "}),
              accounts());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(asked, ends.at(static_cast<std::size_t>(i)).second.time);
    EXPECT_EQ((Texts{"01 06 00 01 00 05", "01 06 00 02 00 03"}), sent()) << "the newer one has the older one's turn";
}

TEST_F(LinkWriteEnds, OfThoseToOtherPlacesAreNoReplacements)
{
    TagDefinition two(1, "4x10");
    two.values = 2;
    const TagDefinition others[] = {TagDefinition(2, "4x10"), TagDefinition(1, "4x11"), TagDefinition(1, "4x_double10"),
                                    two};
    plant.define(2, Table::HoldingRegisters, 0, 20);
    for (const TagDefinition &other : others) {
        ends.clear();
        link().write(TagDefinition(1, "4x10"), {1}, noted(1));
        link().write(other, std::vector<double>(static_cast<std::size_t>(other.values), 2), noted(2));
        steps(2);
        ASSERT_EQ(2u, ends.size());
        EXPECT_EQ(WriteEnd::Acknowledged, ends[0].second.end) << other.address.toStdString();
    }
}

TEST_F(LinkWriteEnds, OfTheTagShowTheNewestUntilTheLastHasEnded)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x10"));
    for (const int number : {7, 8}) {
        WriteOptions pulse = noted(number);
        pulse.keep = true;
        link().write(tag, number, pulse);
    }
    steps(1);
    EXPECT_EQ(1u, ends.size());
    EXPECT_EQ(8.0, tag.value().number());
    EXPECT_EQ(Quality::Unconfirmed, tag.value().quality);
    EXPECT_EQ(0, tag.value().exceptionCode);
    steps(1);
    EXPECT_EQ(8.0, tag.value().number());
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

TEST_F(LinkWriteEnds, OtherTagsOfTheirRegistersShowWhatIsOnItsWayAndWhatIsHeldThen)
{
    settings.attempts = 2;
    const rtu::Tag bit = link().addTag(TagDefinition(1, "4x_bit10.0"));
    steps(1);
    link().write(TagDefinition(1, "4x10"), {1}, noted(1));
    loseRequests(2);
    steps(1);
    EXPECT_EQ(1.0, bit.value().number());
    steps(1);
    EXPECT_EQ(0.0, bit.value().number());
    EXPECT_EQ(Texts{"1 Unconfirmed 0, 0 acknowledged: no answer"}, accounts());
}

TEST_F(LinkWriteEnds, ToAStationThatDoesNotAnswer)
{
    link().write(TagDefinition(2, "4x1"), {1}, noted(1));
    link().write(TagDefinition(2, "4x2"), {2}, noted(2));
    link().write(TagDefinition(1, "4x3"), {3}, noted(3));
    steps(4);
    EXPECT_EQ((Texts{"2 NotSent 0, 0 acknowledged: the station does not answer",
                     "1 Unconfirmed 0, 0 acknowledged: no answer", "3 Acknowledged 0, 1 acknowledged: "}),
              accounts());
    EXPECT_EQ(transactions.at(2).finished, ends.at(0).second.time);
}

// --- with the port -----------------------------------------------------------------------

TEST_F(LinkWriteEnds, WithoutAPort)
{
    link();
    line->plugged = false;
    rtu::Write back = link().write(TagDefinition(1, "4x1"), {1}, noted(1));
    link().write(TagDefinition(1, "4x2"), {2}, noted(2));
    EXPECT_TRUE(back.cancel());
    EXPECT_EQ(LinkStep::NoPort, link().step());
    EXPECT_EQ((Texts{"1 Cancelled 0, 0 acknowledged: taken back", "2 NotSent 0, 0 acknowledged: the port is away"}),
              accounts());
    EXPECT_EQ(line->now(), ends.at(1).second.time);
}

TEST_F(LinkWriteEnds, WithThePortAfterTheTimeForWhichTheyAreKept)
{
    settings.keepWrites = milliseconds(100);
    link();
    line->plugged = false;
    const rtu::TimePoint asked = line->now();
    link().write(TagDefinition(1, "4x1"), {1}, noted(1));
    EXPECT_EQ(LinkStep::NoPort, link().step());
    EXPECT_EQ(asked + milliseconds(100), link().nextStep()) << "earlier than the port is tried again";
    line->sleepUntil(asked + milliseconds(100) - std::chrono::nanoseconds(1));
    link().step();
    EXPECT_TRUE(ends.empty());
    line->sleepUntil(asked + milliseconds(100));
    link().step();
    EXPECT_EQ(Texts{"1 NotSent 0, 0 acknowledged: the port is away"}, accounts());
    EXPECT_EQ(line->now(), ends.at(0).second.time);
}

TEST_F(LinkWriteEnds, TakenBackWithoutAPortAreToldInTheNextStepWhichIsAtOnce)
{
    settings.keepWrites = std::chrono::hours(1);
    link();
    line->plugged = false;
    rtu::Write write = link().write(TagDefinition(1, "4x1"), {1}, noted(1));
    link().step();
    EXPECT_LT(line->now(), link().nextStep());
    EXPECT_TRUE(write.cancel());
    EXPECT_GE(line->now(), link().nextStep());
    link().step();
    EXPECT_EQ(Texts{"1 Cancelled 0, 0 acknowledged: taken back"}, accounts());
}

TEST_F(LinkWriteEnds, HandedToTheDriverAreKeptUpToTheStatedTimeAndNotLonger)
{
    settings.keepWrites = std::chrono::hours(1);
    link();
    const rtu::TimePoint asked = line->now();
    leaveOneWithTheDriver();
    line->sleepUntil(asked + settings.keepWrites);
    line->plugged = false;
    link().step();
    EXPECT_EQ("11 NotSent 0, 0 acknowledged: the port was lost", accounts().back());
}

TEST_F(LinkWriteEnds, OnTheLineWhenThePortIsLost)
{
    script.push_back([this](const Bytes &) { line->unplugAfter(milliseconds(2)); });
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    steps(1);
    EXPECT_EQ(Texts{"1 Unconfirmed 0, 0 acknowledged: the port was lost"}, accounts());
}

/** Kept or not: what has begun is not sent to what may be another slave. */
TEST_F(LinkWriteEnds, InTheMiddleWhenThePortIsLost)
{
    settings.keepWrites = std::chrono::hours(1);
    writeInTwoRequests();
    line->plugged = false;
    link().step();
    EXPECT_EQ(Texts{"1 Unconfirmed 0, 1 acknowledged: the port was lost"}, accounts());
    EXPECT_EQ(line->now(), ends.back().second.time);
}

TEST_F(LinkWriteEnds, InTheMiddleWhenThePortIsLostInTheSilenceBetweenTwoRequests)
{
    settings.keepWrites = std::chrono::hours(1);
    writeInTwoRequests();
    line->unplugAfter(microseconds(1));
    link().step();
    EXPECT_EQ(Texts{"1 Unconfirmed 0, 1 acknowledged: the port was lost"}, accounts());
}

// --- with the link -----------------------------------------------------------------------

TEST_F(LinkWriteEnds, WithTheirLink)
{
    loseRequests(1);
    link().write(TagDefinition(1, "4x10"), {7}, noted(1));
    rtu::Write back = link().write(TagDefinition(1, "4x11"), {7}, noted(2));
    link().write(TagDefinition(1, "4x12"), {7}, noted(3));
    steps(1);
    const rtu::TimePoint end = line->now();
    EXPECT_TRUE(back.cancel());
    destroyLink();
    EXPECT_EQ((Texts{"1 Unconfirmed 0, 0 acknowledged: the link has ended", "2 Cancelled 0, 0 acknowledged: taken back",
                     "3 NotSent 0, 0 acknowledged: the link has ended"}),
              accounts());
    for (const auto &told : ends)
        EXPECT_EQ(end, told.second.time);
}

TEST_F(LinkWriteEnds, InTheMiddleWithTheirLink)
{
    writeInTwoRequests();
    destroyLink();
    EXPECT_EQ(Texts{"1 Unconfirmed 0, 1 acknowledged: the link has ended"}, accounts());
}

// --- in several requests -----------------------------------------------------------------

TEST_F(LinkWriteEnds, InTheRequestsThatTheyTake)
{
    settings.maxWords = 4;
    TagDefinition doubles(1, "4x_double5");
    doubles.values = 3;
    TagDefinition words(1, "4x1");
    words.values = 5;
    link().write(doubles, {1, 2, 3}, noted(1));
    link().write(words, {1, 2, 3, 4, 5}, noted(2));
    steps(4);
    EXPECT_EQ((Texts{"01 10 00 04 00 04 08 00 00 00 01 00 00 00 02", "01 10 00 08 00 02 04 00 00 00 03",
                     "01 10 00 00 00 04 08 00 01 00 02 00 03 00 04", "01 06 00 04 00 05"}),
              sent());
    EXPECT_EQ((Texts{"1 Acknowledged 0, 3 acknowledged: ", "2 Acknowledged 0, 5 acknowledged: "}), accounts());
}

TEST_F(LinkWriteEnds, OfCoilsGoOutByTheThousandAndTwentyFour)
{
    TagDefinition coils(1, "0x1");
    coils.values = 1030;
    link().write(coils, std::vector<double>(1030, 1), noted(1));
    steps(2);
    ASSERT_EQ(2u, requests.size());
    EXPECT_EQ("01 0F 00 00 04 00 80", text(requests[0]).substr(0, 20));
    EXPECT_EQ("01 0F 04 00 00 06 01 3F", text(requests[1]));
    EXPECT_EQ(Texts{"1 Acknowledged 0, 1030 acknowledged: "}, accounts());
}

} // namespace
