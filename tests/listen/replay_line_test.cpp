#include "host/listen/replay_line.h"
#include "support/frames.h"

#include <modbus_rtu_host/link.h>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using test_line::array;
using test_line::Bytes;
using test_line::frame;
using test_line::hex;
using test_line::milliseconds;

const rtu::CaptureClock Clock(std::chrono::seconds(1700000000));

/** A capture with a record every 10 ms. */
std::vector<rtu::ReplayEntry> entries(const std::vector<Bytes> &records)
{
    std::stringstream file;
    rtu::CaptureWriter writer(file, Clock);
    rtu::TimePoint now;
    for (const Bytes &record : records)
        writer.write(array(record), now += milliseconds(10));
    return rtu::readCapture(file, Clock, rtu::ReaderSettings());
}

/** What a request gets; empty after a time-out. */
Bytes ask(rtu::ReplayLine &line, const Bytes &request)
{
    line.discardInput();
    line.write(request.data(), request.size());
    unsigned char bytes[300];
    const int count = line.read(bytes, sizeof(bytes), line.now() + milliseconds(100));
    return count > 0 ? Bytes(bytes, bytes + count) : Bytes();
}

const Bytes Request = frame("01 03 00 00 00 02");
const Bytes Other = frame("01 03 00 01 00 01");
const Bytes First = frame("01 03 04 00 07 00 08");
const Bytes Second = frame("01 03 04 00 09 00 0A");

TEST(ReplayLine, GivesTheAnswersOfTheCaptureOneAfterTheOther)
{
    rtu::ReplayLine line(entries({Request, First, Request, frame("01 83 02"), Request, Second}));
    EXPECT_EQ(First, ask(line, Request));
    EXPECT_FALSE(line.ended());
    EXPECT_EQ(frame("01 83 02"), ask(line, Request));
    EXPECT_EQ(Second, ask(line, Request));
    EXPECT_EQ(rtu::TimePoint(milliseconds(60)), line.now());
    EXPECT_TRUE(line.ended());
}

// Whoever polls counts the time-out from when it asked, be that seconds before the capture goes on.
TEST(ReplayLine, PausesOfTheCaptureCostNoAnswer)
{
    std::stringstream file;
    rtu::CaptureWriter writer(file, Clock);
    writer.write(array(Request), rtu::TimePoint(milliseconds(10)));
    writer.write(array(First), rtu::TimePoint(milliseconds(20)));
    writer.write(array(Request), rtu::TimePoint(milliseconds(5010)));
    writer.write(array(Second), rtu::TimePoint(milliseconds(5020)));
    rtu::ReplayLine line(rtu::readCapture(file, Clock, rtu::ReaderSettings()));
    EXPECT_EQ(First, ask(line, Request));
    line.sleepUntil(rtu::TimePoint(milliseconds(1000)));
    const rtu::TimePoint deadline = line.now() + milliseconds(1000);
    line.write(Request.data(), Request.size());
    unsigned char bytes[300];
    ASSERT_EQ(static_cast<int>(Second.size()), line.read(bytes, sizeof(bytes), deadline));
    EXPECT_EQ(Second, Bytes(bytes, bytes + Second.size()));
    EXPECT_EQ(rtu::TimePoint(milliseconds(5020)), line.now());
    EXPECT_EQ(rtu::DeadlinePassed, line.read(bytes, sizeof(bytes), line.now() + milliseconds(50)));
    EXPECT_EQ(rtu::TimePoint(milliseconds(5070)), line.now()) << "later deadlines know the time";
}

TEST(ReplayLine, GivesGarbageAndSilenceAgain)
{
    const Bytes damaged = hex("01 03 04 00 07 00 08 00 00");
    rtu::ReplayLine line(entries({Request, damaged, Request, Request, First}));
    EXPECT_EQ(damaged, ask(line, Request));
    EXPECT_EQ(Bytes(), ask(line, Request));
    EXPECT_EQ(First, ask(line, Request));
}

TEST(ReplayLine, AnswersOtherRequestsFromTheValuesSeenUpToThen)
{
    rtu::ReplayLine line(entries({Request, First, Request, Second}));
    EXPECT_EQ(frame("01 03 02 00 08"), ask(line, Other)) << "where it was first seen";
    EXPECT_EQ(rtu::TimePoint(milliseconds(20)), line.now());
    line.sleepUntil(rtu::TimePoint(milliseconds(40)));
    EXPECT_EQ(frame("01 03 02 00 0A"), ask(line, Other));
}

TEST(ReplayLine, IsSilentAboutWhatWasNeverSeen)
{
    rtu::ReplayLine line(entries({Request, First, Request, Second}));
    EXPECT_EQ(Bytes(), ask(line, frame("01 03 00 01 00 02")));
    EXPECT_EQ(Bytes(), ask(line, frame("02 03 00 00 00 01")));
}

TEST(ReplayLine, AnswersNoWritesThatNeverHappened)
{
    rtu::ReplayLine line(entries({Request, First, Request, Second}));
    EXPECT_EQ(Bytes(), ask(line, frame("01 06 00 00 00 05")));
}

TEST(ReplayLine, TellsItsEndOnce)
{
    rtu::ReplayLine line(entries({Request, First}));
    int ends = 0;
    line.onEnd([&ends] { ++ends; });
    ask(line, Request);
    EXPECT_TRUE(line.ended());
    ask(line, Other);
    EXPECT_EQ(0, ends) << "the round may not be over";
    ask(line, Request);
    EXPECT_EQ(1, ends) << "it has got all its answers";
    ask(line, Other);
    EXPECT_EQ(1, ends);
}

TEST(ReplayLine, EndsWhenOtherRequestsComeRoundAgain)
{
    rtu::ReplayLine line(entries({Request, First}));
    int ends = 0;
    line.onEnd([&ends] { ++ends; });
    line.sleepUntil(rtu::TimePoint(milliseconds(20)));
    ask(line, Other);
    EXPECT_EQ(0, ends);
    ask(line, Other);
    EXPECT_EQ(1, ends);
}

TEST(ReplayLine, OfAnEmptyCaptureIsSilent)
{
    rtu::ReplayLine line(entries({}));
    EXPECT_EQ(Bytes(), ask(line, Request));
    EXPECT_TRUE(line.ended());
}

TEST(ReplayLine, RunsThroughDriverAndTags)
{
    rtu::LinkSettings settings;
    settings.driver = TEST_DRIVER;
    settings.parameters.baud = 0;
    settings.attempts = 1;
    settings.lateReplyGuard = rtu::Duration(0);
    settings.findHoles = false;
    std::unique_ptr<rtu::ReplayLine> made(
        new rtu::ReplayLine(entries({Request, First, Request, frame("01 83 02"), Request, Second})));
    rtu::ReplayLine &line = *made;
    rtu::Link link(settings, std::move(made));
    rtu::TagDefinition definition(1, "4x1");
    definition.values = 2;
    const rtu::Tag tag = link.addTag(definition);
    std::vector<std::string> values;
    std::vector<rtu::Quality> qualities;
    link.onChange([&](const rtu::TagChange &change) {
        values.push_back(change.after.text().toStdString());
        qualities.push_back(change.after.quality);
    });
    for (int i = 0; i < 100 && !line.ended(); ++i)
        link.step();
    EXPECT_EQ((std::vector<std::string>{"7 8", "7 8", "9 10"}), values);
    EXPECT_EQ((std::vector<rtu::Quality>{rtu::Quality::Good, rtu::Quality::Refused, rtu::Quality::Good}), qualities);
}

} // namespace
