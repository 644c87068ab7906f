// How requests become frames: when rounds begin, how often a frame is sent, what a lost port ends.

#include "kit/link_write_test.h"

namespace {

using namespace test_kit;
using std::chrono::hours;
using std::chrono::seconds;

class Polling : public LinkWriteTest
{
protected:
    Polling() { plant.define(2, Table::HoldingRegisters, 0, 100, 5); }

    rtu::TimePoint sent(std::size_t frame) const { return line->sent.at(frame).when; }

    void refuse(const std::string &reply)
    {
        script.push_back([this, reply](const Bytes &) { line->receive(milliseconds(10), frame(reply)); });
    }

    void write(const char *address, const std::vector<double> &numbers = {1})
    {
        TagDefinition where(1, address);
        where.values = static_cast<int>(numbers.size());
        link().write(where, numbers, noted(1));
    }

    std::vector<WriteEnd> writeEnds()
    {
        std::vector<WriteEnd> all;
        for (const auto &end : ends)
            all.push_back(end.second.end);
        ends.clear();
        return all;
    }

    /** A link without anything that another one left. */
    void anew()
    {
        destroyLink();
        script.clear();
        requests.clear();
        transactions.clear();
        ends.clear();
    }
};

TEST_F(Polling, SendsAgainWhereAnExceptionAsksForPatienceOrSaysThatNobodyAnswers)
{
    for (unsigned char code = 1; code <= 11; ++code) {
        anew();
        rtu::ReadResult result;
        link().read(TagDefinition(1, "4x10"), [&result](const rtu::ReadResult &read) { result = read; });
        for (int i = 0; i < 5; ++i)
            script.push_back([this, code](const Bytes &) {
                line->receive(milliseconds(10), withCrc({1, 0x83, code}));
            });
        steps(5);
        const bool silence = code == 10 || code == 11;
        const bool patience = code == 5 || code == 6;
        EXPECT_EQ(silence || patience ? 3u : 1u, requests.size()) << int(code);
        EXPECT_EQ(silence ? rtu::ReadEnd::Silent : rtu::ReadEnd::Refused, result.end) << int(code);
        EXPECT_EQ(silence ? 0 : int(code), result.exceptionCode);
    }
}

TEST_F(Polling, GivesAStationItsWholeTimeOutWhileItLives)
{
    link().addTag(TagDefinition(1, "4x10"));
    steps(3);
    loseRequests(1);
    steps(1);
    EXPECT_EQ(settings.replyTimeout, transactions.back().finished - transactions.back().requestEnd);
}

TEST_F(Polling, TellsWhoAskedForAFrame)
{
    const auto tagOf = [this](const std::function<void()> &ask) {
        anew();
        ask();
        steps(1);
        return transactions.at(0).tag;
    };
    TagDefinition slow(1, "4x10");
    slow.pace = hours(1);
    EXPECT_EQ(4, tagOf([this] { link().addTag(TagDefinition(1, "4x10")); }));
    EXPECT_EQ(1001, tagOf([this] { write("4x10"); }));
    EXPECT_EQ(1002, tagOf([this] { link().read(TagDefinition(1, "4x10")); }));
    EXPECT_EQ(1003, tagOf([this, slow] { link().addTag(slow); }));
}

// --- rounds ------------------------------------------------------------------------------

TEST_F(Polling, BeginsRoundsByTheirIntervalAndWithEachPlan)
{
    settings.roundInterval = seconds(10);
    link().addTag(TagDefinition(1, "4x10"));
    const rtu::TimePoint start = line->now();
    run(seconds(25));
    link().addTag(TagDefinition(1, "4x50"));
    run(seconds(15));
    ASSERT_EQ(5u, line->sent.size());
    for (const int second : {0, 1, 2})
        EXPECT_EQ(start + seconds(10 * second), sent(static_cast<std::size_t>(second)));
    EXPECT_EQ(start + seconds(25), sent(3)) << "a new plan waits for nothing";
    EXPECT_EQ(start + seconds(35), sent(4));
    EXPECT_EQ(start + seconds(45), link().nextStep());
}

TEST_F(Polling, BeginsARoundWithTheStationThatIsBack)
{
    settings.roundInterval = seconds(10);
    link().addTag(TagDefinition(1, "4x10"));
    link().addTag(TagDefinition(2, "4x10"));
    plant.setStationOn(2, false);
    run(seconds(13));
    plant.setStationOn(2, true);
    const std::size_t write = line->sent.size();
    link().write(TagDefinition(2, "4x20"), {1});
    run(seconds(20));
    const rtu::TimePoint back = transactions.at(write).finished;
    ASSERT_EQ(write + 5, line->sent.size());
    EXPECT_EQ(back + plant::silenceOf(plantLine), sent(write + 1));
    EXPECT_EQ(back + seconds(10), sent(write + 3)) << "the next one";
}

TEST_F(Polling, SkipsAPlanOfDeadStationsOnce)
{
    settings.attempts = 1;
    link().addTag(TagDefinition(3, "4x1"));
    run(seconds(1));
    int rounds = 0;
    link().onRound([&rounds] { ++rounds; });
    link().addTag(TagDefinition(3, "4x200"));
    run(seconds(1));
    EXPECT_EQ(1, rounds);
    EXPECT_EQ(1u, requests.size());
}

TEST_F(Polling, SendsWhatIsAskedForWhileThePlanRests)
{
    settings.roundInterval = hours(1);
    for (const bool planned : {false, true}) {
        anew();
        if (planned)
            link().addTag(TagDefinition(1, "4x10"));
        run(seconds(1));
        int reads = 0;
        const auto read = [&reads](const rtu::ReadResult &result) {
            reads += result.end == rtu::ReadEnd::Good ? 1 : 0;
        };
        write("4x1");
        write("4x2");
        link().read(TagDefinition(1, "4x3"), read);
        link().read(TagDefinition(1, "4x4"), read);
        steps(10); // until one is not needed
        EXPECT_EQ(2, reads);
        EXPECT_EQ((std::vector<WriteEnd>(2, WriteEnd::Acknowledged)), writeEnds());
    }
    destroyLink();
    EXPECT_EQ(LinkStep::Idle, link().step());
    EXPECT_EQ(rtu::TimePoint::max(), link().nextStep()) << "nothing at all to do";
}

// --- what is said of a request -----------------------------------------------------------

TEST_F(Polling, KnowsEachFunctionThatWrites)
{
    struct Case
    {
        const char *address;
        std::vector<double> numbers;
        int function;
        const char *refusal;
    };
    const Case cases[] = {
        {"0x1", {1}, 5, "01 85 04"},
        {"4x1", {1}, 6, "01 86 04"},
        {"0x1", {1, 1}, 15, "01 8F 04"},
        {"4x1", {1, 1}, 16, "01 90 04"},
    };
    for (const Case &c : cases) {
        anew();
        loseRequests(3);
        write(c.address, c.numbers);
        steps(3);
        EXPECT_EQ(c.function, requests.at(2).at(1));
        EXPECT_EQ((std::vector<WriteEnd>{WriteEnd::Unconfirmed}), writeEnds()) << c.function;
        refuse(c.refusal);
        write(c.address, c.numbers);
        steps(1);
        EXPECT_EQ((std::vector<WriteEnd>{WriteEnd::Refused}), writeEnds()) << "nothing is left of the one before";
        anew();
        loseRequests(1);
        refuse(c.refusal);
        write(c.address, c.numbers);
        steps(2);
        EXPECT_EQ((std::vector<WriteEnd>{WriteEnd::Unconfirmed}), writeEnds()) << c.function;
    }
}

TEST_F(Polling, CallsARefusedBitWriteRefusedWhateverBecameOfItsReads)
{
    for (const int lost : {0, 1}) {
        anew();
        loseRequests(lost);
        script.push_back(nullptr);
        refuse("01 90 04");
        write("4x_bit3.5");
        steps(2 + lost);
        EXPECT_EQ((std::vector<WriteEnd>{WriteEnd::Refused}), writeEnds()) << lost;
    }
}

TEST_F(Polling, SaysOfAWriteThatWasNotSentWhatWasDoneOfItAlone)
{
    write("4x1");
    steps(1);
    write("4x2");
    line->unplugAfter(microseconds(1));
    EXPECT_EQ(LinkStep::NoPort, link().step());
    EXPECT_EQ((std::vector<WriteEnd>{WriteEnd::Acknowledged, WriteEnd::NotSent}), writeEnds());
}

// --- ports that are lost -----------------------------------------------------------------

TEST_F(Polling, TriesAPortThatIsAwayByTheInterval)
{
    link().addTag(TagDefinition(1, "4x10"));
    line->plugged = false;
    EXPECT_EQ(LinkStep::NoPort, link().step());
    EXPECT_EQ((std::vector<bool>{false}), ports);
    EXPECT_EQ(line->now() + settings.reopenInterval, link().nextStep());
    line->plugged = true;
    line->advance(settings.reopenInterval - microseconds(1));
    EXPECT_EQ(LinkStep::NoPort, link().step());
    line->advance(microseconds(1));
    EXPECT_EQ(LinkStep::Done, link().step());
    EXPECT_EQ((std::vector<bool>{false, true}), ports);
}

TEST_F(Polling, CountsTheAttemptsAnewBehindALostPort)
{
    link().addTag(TagDefinition(1, "4x10"));
    loseRequests(1);
    steps(1);
    line->plugged = false;
    EXPECT_EQ(LinkStep::NoPort, link().step());
    line->plugged = true;
    line->advance(settings.reopenInterval);
    steps(1);
    EXPECT_EQ(1, transactions.back().attempt);
}

/** Another device is at the line's end at once when the one before goes. */
class ReplacedPort : public VirtualLine
{
public:
    bool ensureOpen() override
    {
        plugged = true;
        return VirtualLine::ensureOpen();
    }
};

class PollingReplacedPorts : public Polling
{
protected:
    VirtualLine *newLine() override { return new ReplacedPort; }
};

TEST_F(PollingReplacedPorts, EndsWhatWasForThePortBefore)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x100"));
    for (int i = 1; i <= 13; ++i)
        link().write(TagDefinition(1, QString::fromLatin1("4x%1").arg(i)), {1}, noted(i));
    steps(11); // ten writes, and a read that has its turn
    line->unplugAfter(microseconds(1));
    EXPECT_EQ(LinkStep::NoPort, link().step());
    EXPECT_EQ((std::vector<bool>{true, false, true}), ports);
    EXPECT_EQ(Quality::StationSilent, tag.value().quality);
    run(seconds(1));
    std::vector<WriteEnd> expected(10, WriteEnd::Acknowledged);
    expected.resize(13, WriteEnd::NotSent);
    EXPECT_EQ(expected, writeEnds());
    EXPECT_EQ(0, held(10) + held(11) + held(12));
    EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ((std::vector<bool>{true, false, true}), ports);
}

TEST_F(PollingReplacedPorts, IsToldOfOneThatGoesBeforeTheReply)
{
    const rtu::Tag tag = link().addTag(TagDefinition(1, "4x100"));
    steps(1);
    script.push_back([this](const Bytes &) { line->unplugAfter(milliseconds(1)); });
    EXPECT_EQ(LinkStep::Done, link().step());
    EXPECT_EQ((std::vector<bool>{true, false, true}), ports);
    EXPECT_EQ(Quality::StationSilent, tag.value().quality);
    steps(1);
    EXPECT_EQ(Quality::Good, tag.value().quality);
}

} // namespace
