#include "driver_test.h"
#include "support/frames.h"

#include "statistics.h"
#include "tag_states.h"
#include "trace.h"
#include "value_printer.h"
#include "wall_clock.h"

#include <sstream>

namespace {

using namespace test_host;
using namespace test_line;
using rtu::TimePoint;
using rtu::Transaction;

const TimePoint Start{std::chrono::seconds(1000)};

Transaction transaction(const Bytes &request, const Bytes &reply, int expected, rtu::ReplyEnd end, int verdict)
{
    Transaction t;
    t.station = request[0];
    t.isRead = request[1] <= 4;
    t.regType = QString::fromLatin1(request[1] == 1 ? "0x" : request[1] == 2 ? "1x" : request[1] == 4 ? "3x" : "4x");
    t.startAddr = request[2] * 256 + request[3];
    t.count = request[4] * 256 + request[5];
    t.tag = rtu::CyclicTag;
    t.request = array(request);
    t.reply = array(reply);
    t.expectedReply = expected;
    t.end = end;
    t.verdict = verdict;
    t.sent = Start;
    t.requestEnd = Start + milliseconds(5);
    t.finished = Start + milliseconds(25);
    return t;
}

Transaction goodRead(const std::string &request)
{
    const Bytes bytes = frame(request);
    const Bytes reply = goodReply(bytes);
    return transaction(bytes, reply, static_cast<int>(reply.size()), rtu::ReplyEnd::Complete, rtu::VerdictGood);
}

Transaction givenUp(const std::string &request)
{
    Transaction t = transaction(frame(request), Bytes(), 7, rtu::ReplyEnd::TimedOut, rtu::VerdictGivenUp);
    t.information = QLatin1String("R,1#4x1(1)");
    return t;
}

class TagStates : public DriverTest
{
protected:
    void watch(const std::vector<std::string> &addresses)
    {
        std::vector<rtu::TagRange> tags;
        for (const std::string &address : addresses)
            tags.push_back(tag(address));
        states.reset(new rtu::TagStates(tags, 120));
    }

    void add(Transaction t, rtu::Duration when)
    {
        t.finished = Start + when;
        states->add(t);
    }

    std::unique_ptr<rtu::TagStates> states;
};

TEST_F(TagStates, AreUnknownUntilRead)
{
    watch({"4x5", "4x100"});
    EXPECT_FALSE(states->state(0).known);
    add(goodRead("01 03 00 00 00 0A"), milliseconds(10));
    EXPECT_TRUE(states->state(0).known);
    EXPECT_EQ(Start + milliseconds(10), states->state(0).read);
    EXPECT_FALSE(states->state(1).known);
}

TEST_F(TagStates, KnowDoublesAndBitsByTheirRegisters)
{
    watch({"4x_double5", "4x_bit6.3", "3x6", "4x5@2"});
    add(goodRead("01 03 00 04 00 02"), milliseconds(10));
    EXPECT_TRUE(states->state(0).known);
    EXPECT_TRUE(states->state(1).known);
    EXPECT_FALSE(states->state(2).known);
    EXPECT_FALSE(states->state(3).known);
}

TEST_F(TagStates, TheAgeIsThatOfTheOldestPart)
{
    watch({"4x1..200"});
    add(goodRead("01 03 00 00 00 78"), milliseconds(10));
    EXPECT_FALSE(states->state(0).known);
    add(goodRead("01 03 00 78 00 50"), milliseconds(30));
    EXPECT_TRUE(states->state(0).known);
    EXPECT_EQ(Start + milliseconds(10), states->state(0).read);
    add(goodRead("01 03 00 00 00 78"), milliseconds(50));
    EXPECT_EQ(Start + milliseconds(30), states->state(0).read);
    EXPECT_EQ(milliseconds(40), states->ages().median());
}

TEST_F(TagStates, FailuresStayUntilAGoodRead)
{
    watch({"4x1", "4x9"});
    add(goodRead("01 03 00 00 00 01"), milliseconds(10));
    add(givenUp("01 03 00 00 00 01"), milliseconds(20));
    EXPECT_TRUE(states->state(0).failed);
    EXPECT_EQ("R,1#4x1(1)", states->state(0).error);
    EXPECT_EQ(Start + milliseconds(10), states->state(0).read);
    EXPECT_FALSE(states->state(1).failed);
    add(goodRead("01 03 00 00 00 01"), milliseconds(30));
    EXPECT_FALSE(states->state(0).failed);
}

TEST_F(TagStates, AFrameToBeSentAgainChangesNothing)
{
    watch({"4x1"});
    Transaction t = givenUp("01 03 00 00 00 01");
    t.verdict = rtu::VerdictSendAgain;
    add(t, milliseconds(10));
    EXPECT_FALSE(states->state(0).failed);
}

TEST_F(TagStates, TheReadHalfOfABitWriteIsNoRead)
{
    watch({"4x3"});
    Transaction t = goodRead("01 03 00 02 00 01");
    t.regType = QLatin1String("4x_bit");
    add(t, milliseconds(10));
    EXPECT_FALSE(states->state(0).known);
}

TEST_F(TagStates, ChangesAreNotedAtTheirValue)
{
    watch({"4x1..5", "4x_double11..15", "4x_bit2.0..2.3"});
    states->add(rtu::ValueChange{1, 1, QLatin1String("4x"), 2}, Start);
    states->add(rtu::ValueChange{1, 1, QLatin1String("4x_double"), 12}, Start);
    states->add(rtu::ValueChange{1, 1, QLatin1String("4x_bit"), 18}, Start);
    states->add(rtu::ValueChange{1, 2, QLatin1String("4x"), 0}, Start);
    EXPECT_EQ(Start, states->changed(0, 2));
    EXPECT_EQ(TimePoint(), states->changed(0, 0));
    EXPECT_EQ(Start, states->changed(1, 1));
    EXPECT_EQ(Start, states->changed(2, 2));
    EXPECT_EQ(3u, states->changes());
}

TEST(Quantiles, AreMedianAndPercentile)
{
    rtu::Quantiles quantiles;
    EXPECT_EQ(rtu::Duration(0), quantiles.median());
    for (int i = 1; i <= 100; ++i)
        quantiles.add(milliseconds(101 - i));
    EXPECT_EQ(milliseconds(51), quantiles.median());
    EXPECT_EQ(milliseconds(96), quantiles.percentile95());
}

TEST(Quantiles, ForgetOldSamples)
{
    rtu::Quantiles quantiles;
    for (int i = 0; i < 2000; ++i)
        quantiles.add(i < 1000 ? milliseconds(1000) : milliseconds(1));
    EXPECT_EQ(milliseconds(1), quantiles.median());
}

TEST(Statistics, CountByOutcomeAndStation)
{
    rtu::Statistics statistics(rtu::LineTiming(rtu::LineParameters()), Start);
    statistics.add(goodRead("01 03 00 00 00 01"));
    Transaction again = givenUp("02 03 00 00 00 01");
    again.verdict = rtu::VerdictSendAgain;
    statistics.add(again);
    again.attempt = 2;
    again.verdict = rtu::VerdictGivenUp;
    statistics.add(again);
    Transaction exception =
        transaction(frame("01 03 00 00 00 01"), frame("01 83 02"), 7, rtu::ReplyEnd::Exception, rtu::VerdictSendAgain);
    statistics.add(exception);
    Transaction damaged =
        transaction(frame("01 03 00 00 00 01"), hex("01 03"), 7, rtu::ReplyEnd::Silence, rtu::VerdictSendAgain);
    statistics.add(damaged);
    const rtu::Counts total = statistics.total();
    EXPECT_EQ(5u, total.frames);
    EXPECT_EQ(1u, total.good);
    EXPECT_EQ(1u, total.resends);
    EXPECT_EQ(1u, total.giveUps);
    EXPECT_EQ(2u, total.timeouts);
    EXPECT_EQ(1u, total.exceptions);
    EXPECT_EQ(1u, total.damaged);
    EXPECT_EQ(milliseconds(20), total.replyTime.median());
    EXPECT_EQ(3u, statistics.stations().at(1).frames);
    EXPECT_EQ(2u, statistics.stations().at(2).timeouts);
}

TEST(Statistics, ShareOfTheLineIsThatOfCharacters)
{
    rtu::LineParameters parameters;
    parameters.baud = 11000; // 1 ms a character
    rtu::Statistics statistics(rtu::LineTiming(parameters), Start);
    statistics.add(goodRead("01 03 00 00 00 0A")); // 8 + 25 characters
    EXPECT_NEAR(0.33, statistics.lineShare(Start + milliseconds(100)), 0.001);
    EXPECT_NEAR(10.0, statistics.framesPerSecond(Start + milliseconds(100)), 0.001);
    EXPECT_NEAR(0.0, statistics.lineShare(Start + std::chrono::seconds(60)), 0.001);
    EXPECT_NEAR(0.033, statistics.meanLineShare(Start + std::chrono::seconds(1)), 0.001);
    EXPECT_TRUE(contains(rtu::statisticsJson(statistics, Start + milliseconds(100)), "\"line_share\":0.3300"));
}

struct Meaning
{
    const char *request;
    const char *words;
};

TEST(Trace, TellsWhatARequestAsksFor)
{
    const Meaning meanings[] = {
        {"01 01 00 00 00 0A", "read coils 0x1..10"},
        {"01 02 00 04 00 01", "read discrete inputs 1x5"},
        {"01 03 00 63 00 02", "read holding registers 4x100..101"},
        {"01 04 00 00 00 01", "read input registers 3x1"},
        {"01 05 00 02 FF 00", "write coil 0x3 on"},
        {"01 05 00 02 00 00", "write coil 0x3 off"},
        {"01 06 00 02 01 00", "write register 4x3 = 256"},
        {"01 0F 00 00 00 03 01 05", "write coils 0x1..3 = 101"},
        {"01 10 00 00 00 02 04 00 01 00 02", "write registers 4x1..2 = 1 2"},
        {"01 2B 00", "function 43"},
    };
    for (const Meaning &meaning : meanings)
        EXPECT_EQ(meaning.words, rtu::requestMeaning(array(frame(meaning.request))));
}

TEST(Trace, TellsWhatAReplySays)
{
    EXPECT_EQ("2 registers: 5 6", rtu::replyMeaning(goodRead("01 03 00 05 00 02")));
    EXPECT_EQ("no reply within 20.0 ms", rtu::replyMeaning(givenUp("01 03 00 00 00 01")));
    const Bytes request = frame("01 03 00 00 00 01");
    EXPECT_EQ(
        "exception 2: illegal data address",
        rtu::replyMeaning(transaction(request, frame("01 83 02"), 7, rtu::ReplyEnd::Exception, rtu::VerdictSendAgain)));
    EXPECT_EQ("2 bytes instead of 7",
              rtu::replyMeaning(transaction(request, hex("01 03"), 7, rtu::ReplyEnd::Silence, rtu::VerdictSendAgain)));
    EXPECT_EQ("wrong CRC", rtu::replyMeaning(transaction(request, hex("01 03 02 00 00 00 00"), 7,
                                                         rtu::ReplyEnd::Complete, rtu::VerdictSendAgain)));
    const Bytes write = frame("01 06 00 02 01 00");
    EXPECT_EQ("written", rtu::replyMeaning(transaction(write, write, 8, rtu::ReplyEnd::Complete, rtu::VerdictGood)));
}

TEST(Trace, HasRequestReplyAndWarning)
{
    Transaction t = goodRead("01 03 00 00 00 01");
    t.warning = "the reply is from station 2, asked was station 1";
    const std::vector<rtu::TraceLine> lines = rtu::traceLines(t);
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ('>', lines[0].direction);
    EXPECT_EQ("01 03 00 00 00 01 84 0A", lines[0].bytes);
    EXPECT_EQ('<', lines[1].direction);
    EXPECT_EQ("good", lines[1].verdict);
    EXPECT_TRUE(contains(lines[2].meaning, "accepted although the reply is from station 2"));
    EXPECT_EQ("given up: R,1#4x1(1)", rtu::traceLines(givenUp("01 03 00 00 00 01"))[1].verdict);
}

class ValuePrinter : public DriverTest
{
protected:
    std::string print(rtu::OutputForm form, const rtu::TagRange &tag, const std::vector<std::uint32_t> &raw,
                      const rtu::TagState &state)
    {
        std::ostringstream out;
        rtu::ValuePrinter printer(out, form);
        printer.print(tag, raw, state, Start);
        return out.str();
    }
};

TEST_F(ValuePrinter, PrintsLinesJsonAndCsv)
{
    rtu::TagRange t = tag("4x7", 2);
    t.name = "flow, \"main\"";
    t.unit = "l/h";
    t.format.scale = 0.1;
    rtu::TagState state;
    state.known = true;
    const std::string lines = print(rtu::OutputForm::Lines, t, {15, 20}, state);
    EXPECT_TRUE(contains(lines, "1:4x7")) << lines;
    EXPECT_TRUE(contains(lines, "1.5 l/h")) << lines;
    const std::string json = print(rtu::OutputForm::Json, t, {15, 20}, state);
    EXPECT_TRUE(contains(json, "\"address\":\"8\",\"name\":\"flow, \\\"main\\\"[1]\",\"value\":2,\"raw\":\"0x0014\""))
        << json;
    const std::string csv = print(rtu::OutputForm::Csv, t, {15, 20}, state);
    EXPECT_TRUE(contains(csv, ",1,4x,7,\"flow, \"\"main\"\"[0]\",1.5,0x000F,l/h,ok,\n")) << csv;
}

TEST_F(ValuePrinter, MarksErrorsAndUnknownValues)
{
    rtu::TagState state;
    EXPECT_TRUE(contains(print(rtu::OutputForm::Json, tag("4x7"), {0}, state), "\"value\":null,\"raw\":null"));
    EXPECT_TRUE(contains(print(rtu::OutputForm::Csv, tag("4x7"), {0}, state), ",4x,7,,,,,unknown,\n"));
    state.known = true;
    state.failed = true;
    state.error = "R,1#4x7(1)";
    EXPECT_TRUE(contains(print(rtu::OutputForm::Lines, tag("4x7"), {5}, state), "error R,1#4x7(1)"));
    EXPECT_TRUE(contains(print(rtu::OutputForm::Csv, tag("4x7"), {5}, state), ",error,\"R,1#4x7(1)\"\n"));
}

TEST(WallClock, WritesDurationsForPeople)
{
    EXPECT_EQ("850 us", rtu::durationText(microseconds(850)));
    EXPECT_EQ("12.3 ms", rtu::durationText(microseconds(12300)));
    EXPECT_EQ("300 ms", rtu::durationText(milliseconds(300)));
    EXPECT_EQ("4.2 s", rtu::durationText(milliseconds(4200)));
}

} // namespace
