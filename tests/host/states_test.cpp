#include "link_test.h"

#include "host/report/statistics.h"
#include "host/report/tag_board.h"
#include "kit/link/quantiles.h"
#include "host/report/trace.h"
#include "host/report/value_printer.h"
#include "host/report/write_report.h"
#include "host/text/text_width.h"
#include "host/text/wall_clock.h"

#include <sstream>

namespace {

using namespace test_host;
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

class TagBoard : public LinkTest
{
protected:
    void watch(const std::vector<std::string> &addresses)
    {
        std::vector<rtu::TagRange> tags;
        for (const std::string &address : addresses)
            tags.push_back(tag(address));
        board.reset(new rtu::TagBoard(link(), *line, tags));
    }

    std::unique_ptr<rtu::TagBoard> board;
};

TEST_F(TagBoard, ValuesAreUnknownUntilRead)
{
    watch({"4x5", "4x_double10:hex"});
    registers(1)[9] = 0x1234;
    registers(1)[10] = 0x5678;
    EXPECT_FALSE(board->state(0).known);
    poll();
    EXPECT_TRUE(board->state(0).known);
    EXPECT_FALSE(board->state(0).failed);
    EXPECT_EQ(std::vector<std::uint32_t>(1, 42), board->state(0).raw);
    EXPECT_EQ(std::vector<std::uint32_t>(1, 0x12345678), board->state(1).raw);
    EXPECT_GE(line->now(), board->state(0).read);
}

TEST_F(TagBoard, FailuresStayUntilAGoodRead)
{
    settings.questionInterval = milliseconds(200);
    watch({"4x1"});
    poll();
    const rtu::TimePoint read = board->state(0).read;
    silent = {1};
    poll();
    EXPECT_TRUE(board->state(0).failed);
    EXPECT_EQ("R,1#4x1(1)", board->state(0).error);
    EXPECT_EQ(read, board->state(0).read);
    EXPECT_EQ(std::vector<std::uint32_t>(1, 42), board->state(0).raw);
    silent.clear();
    for (int i = 0; i < 100 && board->state(0).failed; ++i)
        step();
    EXPECT_FALSE(board->state(0).failed);
}

TEST_F(TagBoard, TagsOfADeadStationFailThoughNobodyAskedForThem)
{
    silent = {1};
    watch({"4x1", "4x1000"});
    poll();
    EXPECT_EQ("R,1#4x1(1)", board->state(0).error);
    EXPECT_EQ("no answer", board->state(1).error);
}

TEST_F(TagBoard, WhatFailedBeforeAGoodReadIsNoReasonForWhatFailsAfterIt)
{
    settings.questionInterval = milliseconds(200);
    watch({"4x1", "4x1000"});
    silent = {1};
    poll();
    ASSERT_EQ("R,1#4x1(1)", board->state(0).error);
    silent.clear();
    while (board->state(0).failed || board->state(1).failed)
        step();
    const rtu::TimePoint read = board->state(0).read;
    while (board->state(0).read == read)
        step();
    silent = {1};
    poll();
    EXPECT_EQ("R,1#4x1000(1)", board->state(1).error);
    EXPECT_EQ("no answer", board->state(0).error);
}

TEST_F(TagBoard, ChangesAreNotedAtTheirValue)
{
    usual = 0;
    watch({"4x1..5"});
    poll();
    EXPECT_EQ(TimePoint(), board->changed(0, 2));
    registers(1)[2] = 7;
    poll();
    EXPECT_EQ(line->now(), board->changed(0, 2));
    EXPECT_EQ(TimePoint(), board->changed(0, 0));
}

TEST_F(TagBoard, WhatALinkRefusesIsRefused)
{
    rtu::TagRange broadcast = tag("4x1");
    broadcast.station = 0;
    EXPECT_TRUE(contains(refusalOf([&] { rtu::TagBoard(link(), *line, {broadcast}); }), "station 0"));
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

rtu::LinkStatistics someStatistics()
{
    rtu::LinkStatistics statistics;
    statistics.elapsed = std::chrono::seconds(10);
    statistics.total.frames = 50;
    statistics.total.good = 44;
    statistics.total.resends = 3;
    statistics.total.giveUps = 1;
    statistics.total.timeouts = 2;
    statistics.total.exceptions = 1;
    statistics.total.damaged = 3;
    statistics.total.replyMedian = milliseconds(12);
    statistics.total.reply95 = milliseconds(30);
    statistics.total.busy = std::chrono::seconds(4);
    statistics.total.share = 0.4;
    statistics.stations[7].frames = 2;
    statistics.stations[7].foreign = 2;
    return statistics;
}

TEST(Statistics, AreToldInLines)
{
    const std::vector<std::string> lines = rtu::statisticsLines(someStatistics());
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("line: 50 frames, 44 good, 3 resent, 1 given up (2 time-outs, 1 exceptions, 3 damaged), reply 12.0 ms "
              "median, 30.0 ms 95 %",
              lines[0]);
    EXPECT_EQ("line: 5.0 frames a second, 40.0 % of the line in use", lines[1]);
    EXPECT_EQ("station 7: 2 frames, 0 good, 0 resent, 0 given up (0 time-outs, 0 exceptions, 0 damaged), 2 replies to "
              "other requests",
              lines[2]);
}

TEST(Statistics, AreOneJsonObject)
{
    const std::string json = rtu::statisticsJson(someStatistics());
    for (const char *part : {"\"frames\":50", "\"reply_median_ms\":12.0", "\"frames_per_second\":5.0",
                             "\"line_share\":0.4", "\"stations\":[{\"station\":7,"})
        EXPECT_TRUE(contains(json, part)) << part << ": " << json;
}

TEST(RecentRates, AreThoseOfTheLastSeconds)
{
    rtu::RecentRates rates;
    EXPECT_EQ(0.0, rates.framesPerSecond());
    rtu::LinkStatistics statistics;
    for (int second = 1; second <= 20; ++second) {
        statistics.elapsed = std::chrono::seconds(second);
        statistics.total.frames += second <= 10 ? 100 : 2;
        statistics.total.busy += second <= 10 ? milliseconds(1000) : milliseconds(250);
        rates.add(statistics);
    }
    EXPECT_EQ(2.0, rates.framesPerSecond());
    EXPECT_EQ(0.25, rates.lineShare());
}

TEST(RecentRates, TakeNoMoreThanTheWholeLine)
{
    rtu::RecentRates rates;
    rtu::LinkStatistics statistics;
    statistics.elapsed = milliseconds(5900); // in the middle of a frame that ends at 6000
    statistics.total.busy = milliseconds(5500);
    rates.add(statistics);
    for (int frame = 0; frame < 12; ++frame) {
        statistics.elapsed += milliseconds(500);
        statistics.total.busy += milliseconds(500);
        rates.add(statistics);
    }
    statistics.elapsed += milliseconds(10);
    statistics.total.busy += milliseconds(500);
    rates.add(statistics);
    EXPECT_EQ(1.0, rates.lineShare());
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
    Transaction foreign =
        transaction(request, frame("02 03 02 00 05"), 7, rtu::ReplyEnd::Complete, rtu::VerdictSendAgain);
    foreign.kind = rtu::ReplyKind::Foreign;
    EXPECT_EQ("the reply is from station 2, asked was station 1", rtu::replyMeaning(foreign));
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
                      rtu::TagState state)
    {
        std::ostringstream out;
        rtu::ValuePrinter printer(out, form);
        state.raw = raw;
        printer.print(tag, rtu::ValueSpan{0, tag.values}, state, Start);
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
    EXPECT_TRUE(contains(csv, ",1,4x,7,\"flow, \"\"main\"\"[0]\",1.5,0x000F,l/h,ok,,\n")) << csv;
}

TEST_F(ValuePrinter, AlignsNamesOfAnyLetters)
{
    rtu::TagState state;
    state.known = true;
    rtu::TagRange plain = tag("4x7");
    plain.name = "Druck";
    rtu::TagRange letters = tag("4x7");
    letters.name = "K\xC3\xBChlung"; // an u with two dots: two bytes, one column
    const std::string first = print(rtu::OutputForm::Lines, plain, {5}, state);
    const std::string second = print(rtu::OutputForm::Lines, letters, {5}, state);
    EXPECT_EQ(rtu::textWidth(first), rtu::textWidth(second)) << first << second;
}

TEST_F(ValuePrinter, MarksErrorsAndUnknownValues)
{
    rtu::TagState state;
    EXPECT_TRUE(contains(print(rtu::OutputForm::Json, tag("4x7"), {0}, state), "\"value\":null,\"raw\":null"));
    EXPECT_TRUE(contains(print(rtu::OutputForm::Csv, tag("4x7"), {0}, state), ",4x,7,,,,,unknown,,\n"));
    state.known = true;
    state.failed = true;
    state.error = "R,1#4x7(1)";
    EXPECT_TRUE(contains(print(rtu::OutputForm::Lines, tag("4x7"), {5}, state), "-   error R,1#4x7(1)"));
    EXPECT_TRUE(contains(print(rtu::OutputForm::Csv, tag("4x7"), {5}, state), ",4x,7,,,,,error,\"R,1#4x7(1)\",\n"));
}

TEST_F(ValuePrinter, TellsWhichValuesOfALongWriteTheSlaveTook)
{
    rtu::TagWrite write;
    write.tag = tag("4x7", 3);
    write.raw = {1, 2, 3};
    rtu::TagState old;
    old.known = true;
    old.raw = {7, 8, 9};
    rtu::WriteResult result;
    result.end = rtu::WriteEnd::Refused;
    result.acknowledged = 2;
    std::ostringstream out;
    rtu::WriteReport(out, rtu::OutputForm::Lines, true).print(write, old, result, Start);
    EXPECT_EQ("-- 1:4x7: 7 -> 1, acknowledged\n"
              "-- 1:4x8: 8 -> 2, acknowledged\n"
              "-- 1:4x9: 9 -> 3, refused\n",
              out.str());
}

TEST(WallClock, StampsWithAnOffsetThatHasAColon)
{
    const std::string stamp = rtu::timeStamp(Start);
    EXPECT_EQ(std::string("2026-11-22T04:53:03.252+00:00").size(), stamp.size()) << stamp;
    EXPECT_EQ(':', stamp[stamp.size() - 3]) << stamp;
    EXPECT_TRUE(stamp[stamp.size() - 6] == '+' || stamp[stamp.size() - 6] == '-') << stamp;
}

TEST_F(TagBoard, ReplyTimesOfAPortWithoutPaceAreThoseFromTheSending)
{
    settings.parameters.baud = 1200; // eight characters take 73 ms, the slave answers after 20
    watch({"4x1"});
    poll(5);
    EXPECT_GE(link().statistics().total.replyMedian, milliseconds(20));
    EXPECT_LE(link().statistics().total.replyMedian, milliseconds(80));
}

TEST(WallClock, WritesDurationsForPeople)
{
    EXPECT_EQ("850 us", rtu::durationText(microseconds(850)));
    EXPECT_EQ("12.3 ms", rtu::durationText(microseconds(12300)));
    EXPECT_EQ("300 ms", rtu::durationText(milliseconds(300)));
    EXPECT_EQ("4.2 s", rtu::durationText(milliseconds(4200)));
}

} // namespace
