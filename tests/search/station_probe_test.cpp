#include "host/search/station_probe.h"
#include "support/frames.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace test_line;

/** A station with its own idea of what can be asked of it. */
class StationProbe : public testing::Test
{
protected:
    StationProbe()
    {
        parameters.baud = 9600;
        settings.station = 3;
        settings.replyTimeout = milliseconds(100);
        line.slave = [this](VirtualLine &, const Bytes &request) { serve(request); };
    }

    rtu::ProbeResult probe()
    {
        rtu::StationProbe made(line, rtu::LineTiming(parameters), settings);
        return made.run();
    }

    Bytes answerTo(const Bytes &request) const
    {
        const int first = request[2] * 256 + request[3];
        const int count = request[4] * 256 + request[5];
        const auto hole = holes.lower_bound(first);
        const bool missing = hole != holes.end() && *hole < first + count;
        if (count <= most && !missing)
            return goodReply(request);
        if (silentRefusals)
            return Bytes();
        return withCrc(
            {request[0], static_cast<unsigned char>(request[1] | 0x80), static_cast<unsigned char>(missing ? 2 : 3)});
    }

    VirtualLine line;
    rtu::LineParameters parameters;
    rtu::ProbeSettings settings;
    std::set<int> holes; ///< zero-based
    int most = 125;      ///< in one request
    rtu::Duration wantedSilence{0};
    rtu::Duration lateness{0};
    bool silentRefusals = false;
    bool echoes = false;
    bool paced = true;
    std::function<Bytes(const Bytes &)> otherAnswer;

private:
    void serve(const Bytes &request)
    {
        const rtu::LineTiming timing(parameters);
        const rtu::Duration quiet = line.now() - m_free;
        const rtu::TimePoint requestEnd = line.now() + timing.characters(request.size());
        m_free = requestEnd;
        if (echoes)
            line.receive(milliseconds(0), request);
        if (request[0] != settings.station || quiet < wantedSilence)
            return;
        const Bytes reply = otherAnswer ? otherAnswer(request) : answerTo(request);
        if (reply.empty())
            return;
        if (!paced)
            return line.receive(milliseconds(1) + lateness, reply);
        const rtu::Duration delay = requestEnd - line.now() + milliseconds(4) + lateness;
        line.receivePaced(delay + timing.characters(1), timing.characters(1), reply);
        m_free = line.now() + delay + timing.characters(reply.size());
    }

    rtu::TimePoint m_free = rtu::TimePoint(); ///< when the line fell silent
};

std::string text(const std::vector<rtu::ElementRun> &runs)
{
    std::string all;
    for (const rtu::ElementRun &run : runs)
        all += std::to_string(run.first) + "+" + std::to_string(run.count) + " ";
    return all;
}

TEST_F(StationProbe, FindsTheLargestBlockThatTheDriverAsksFor)
{
    const rtu::ProbeResult result = probe();
    EXPECT_EQ(rtu::Cause::None, result.why.cause);
    EXPECT_EQ("0+120 ", text(result.readable));
    EXPECT_EQ("", text(result.holes));
    EXPECT_EQ(120, result.largestBlock);
    EXPECT_FALSE(result.blockIsLimit);
}

TEST_F(StationProbe, FindsTheLargestBlockThatTheStationTakes)
{
    for (int limit : {1, 2, 16, 50, 61, 100, 119}) {
        most = limit;
        const rtu::ProbeResult result = probe();
        EXPECT_EQ("0+120 ", text(result.readable)) << limit;
        EXPECT_EQ(limit, result.largestBlock);
        EXPECT_TRUE(result.blockIsLimit) << limit;
        EXPECT_EQ("exception 3: illegal data value", result.refusal) << limit;
    }
}

TEST_F(StationProbe, FindsHoles)
{
    settings.first = 10;
    settings.count = 300;
    holes = {10, 50, 51, 52, 200, 309};
    most = 32;
    const rtu::ProbeResult result = probe();
    EXPECT_EQ("11+39 53+147 201+108 ", text(result.readable));
    EXPECT_EQ("10+1 50+3 200+1 309+1 ", text(result.holes));
    EXPECT_EQ(32, result.largestBlock);
}

TEST_F(StationProbe, FindsHolesOfStationsThatAreSilentAboutThem)
{
    silentRefusals = true;
    settings.count = 20;
    holes = {7};
    most = 6;
    const rtu::ProbeResult result = probe();
    EXPECT_EQ("0+7 8+12 ", text(result.readable));
    EXPECT_EQ(6, result.largestBlock);
    EXPECT_NE(std::string::npos, result.refusal.find("no reply")) << result.refusal;
}

TEST_F(StationProbe, SaysThatTheRangeHasNoMoreInARow)
{
    holes = {10};
    settings.count = 20;
    const rtu::ProbeResult result = probe();
    EXPECT_EQ(10, result.largestBlock);
    EXPECT_FALSE(result.blockIsLimit);
}

TEST_F(StationProbe, FindsNothingToReadInAStationThatAnswers)
{
    settings.count = 3;
    holes = {0, 1, 2};
    const rtu::ProbeResult result = probe();
    EXPECT_EQ(rtu::Cause::None, result.why.cause);
    EXPECT_EQ("", text(result.readable));
    EXPECT_EQ("0+3 ", text(result.holes));
}

TEST_F(StationProbe, MeasuresReplies)
{
    const rtu::ProbeResult result = probe();
    EXPECT_GE(result.replyMedian, milliseconds(4));
    EXPECT_LE(result.replyLongest, microseconds(4300));
    const rtu::LineTiming timing(parameters);
    EXPECT_GE(result.blockTime, timing.characters(8 + 245) + milliseconds(3));
    EXPECT_LE(result.blockTime, timing.characters(8 + 245) + milliseconds(8));
    EXPECT_EQ(0, result.lost);
}

TEST_F(StationProbe, MeasuresRepliesWithoutPaceToo)
{
    paced = false;
    const rtu::ProbeResult result = probe();
    EXPECT_EQ(milliseconds(1), result.replyMedian);
    EXPECT_EQ(milliseconds(1), result.replyLongest);
}

TEST_F(StationProbe, FindsTheShortestSilence)
{
    const rtu::Duration usual = rtu::LineTiming(parameters).silence();
    struct Wish
    {
        rtu::Duration wanted;
        rtu::Duration found;
    };
    const Wish wishes[] = {{rtu::Duration(0), rtu::Duration(0)},
                           {usual / 3, milliseconds(2)},
                           {usual - microseconds(1), usual},
                           {milliseconds(6), milliseconds(7)},
                           {milliseconds(40), milliseconds(50)}};
    for (const Wish &wish : wishes) {
        wantedSilence = wish.wanted;
        const rtu::ProbeResult result = probe();
        EXPECT_TRUE(result.silenceFound);
        EXPECT_EQ(wish.found.count(), result.silence.count());
        EXPECT_EQ(120, result.largestBlock);
    }
}

TEST_F(StationProbe, SendsNothingButReads)
{
    holes = {5, 77};
    most = 20;
    wantedSilence = milliseconds(9);
    probe();
    ASSERT_LT(50u, line.sent.size());
    for (const VirtualLine::Sent &sent : line.sent) {
        ASSERT_EQ(8u, sent.bytes.size());
        EXPECT_EQ(3, sent.bytes[0]);
        EXPECT_EQ(3, sent.bytes[1]);
    }
}

TEST_F(StationProbe, AsksForTheTableThatItIsToldTo)
{
    settings.function = rtu::ReadCoils;
    settings.count = 64;
    EXPECT_EQ(64, probe().largestBlock);
    for (const VirtualLine::Sent &sent : line.sent)
        EXPECT_EQ(1, sent.bytes[1]);
}

TEST_F(StationProbe, AFrameThatIsLostIsNoHole)
{
    int asked = 0;
    otherAnswer = [&](const Bytes &request) { return ++asked % 3 == 2 ? Bytes() : goodReply(request); };
    const rtu::ProbeResult result = probe();
    EXPECT_EQ("0+120 ", text(result.readable));
    EXPECT_EQ("", text(result.holes));
    EXPECT_EQ(120, result.largestBlock);
    EXPECT_LT(0, result.lost);
    EXPECT_FALSE(result.silenceFound);
}

TEST_F(StationProbe, AReplyBehindTheTimeOutIsNotTakenForTheNextOne)
{
    holes = {50};
    most = 32;
    int asked = 0;
    otherAnswer = [&](const Bytes &request) {
        ++asked;
        lateness = milliseconds(asked % 7 == 2 || asked % 7 == 3 || asked % 7 == 5 ? 190 : 0);
        return answerTo(request);
    };
    for (bool pace : {true, false}) {
        paced = pace;
        const rtu::ProbeResult result = probe();
        EXPECT_EQ("0+50 51+69 ", text(result.readable)) << pace;
        EXPECT_EQ("50+1 ", text(result.holes)) << pace;
        EXPECT_EQ(32, result.largestBlock) << pace;
        EXPECT_LE(result.replyLongest, milliseconds(5)) << pace;
    }
}

TEST_F(StationProbe, NamesTheCauseOfRepliesThatAreAllLate)
{
    for (int late : {97, 150, 190, 350, 900}) {
        lateness = milliseconds(late);
        line.sent.clear();
        const rtu::ProbeResult result = probe();
        EXPECT_EQ(rtu::Cause::Late, result.why.cause) << late;
        EXPECT_TRUE(result.readable.empty() && result.holes.empty()) << late;
        EXPECT_EQ(3u, line.sent.size()) << late;
    }
}

TEST_F(StationProbe, LosesThePortWhileItListensForALateReply)
{
    line.unplugAfter(milliseconds(900));
    otherAnswer = [](const Bytes &) { return Bytes(); };
    EXPECT_EQ(rtu::Cause::PortLost, probe().why.cause);
    EXPECT_EQ(1u, line.sent.size());
}

TEST_F(StationProbe, MeasuresNothingOfAStationThatFellSilent)
{
    settings.count = 1;
    otherAnswer = [this](const Bytes &request) { return line.sent.size() <= 2 ? answerTo(request) : Bytes(); };
    const rtu::ProbeResult result = probe();
    EXPECT_EQ("0+1 ", text(result.readable));
    EXPECT_FALSE(result.silenceFound);
    EXPECT_FALSE(result.measured);
    EXPECT_EQ(8u, line.sent.size()) << "not asked for ever";
}

TEST_F(StationProbe, AnEchoIsNoReply)
{
    echoes = true;
    EXPECT_EQ(120, probe().largestBlock);
}

TEST_F(StationProbe, NamesTheCauseOfSilence)
{
    otherAnswer = [](const Bytes &) { return Bytes(); };
    const rtu::ProbeResult result = probe();
    EXPECT_EQ(rtu::Cause::Silent, result.why.cause);
    EXPECT_EQ(3u, line.sent.size());
    EXPECT_EQ("station 3: after 3 attempts not one byte", rtu::diagnosisText(result.why).substr(0, 40));
}

TEST_F(StationProbe, NamesTheCauseOfGarbage)
{
    otherAnswer = [](const Bytes &) { return hex("FE 00 F8 80"); };
    EXPECT_EQ(rtu::Cause::Garbage, probe().why.cause);
}

TEST_F(StationProbe, EndsWithThePort)
{
    line.unplugAfter(milliseconds(30));
    otherAnswer = [](const Bytes &) { return Bytes(); };
    EXPECT_EQ(rtu::Cause::PortLost, probe().why.cause);
}

TEST_F(StationProbe, SaysThatThePortIsGoneWheneverItWent)
{
    holes = {5};
    most = 20;
    probe();
    const std::size_t requests = line.sent.size();
    ASSERT_LT(50u, requests);
    for (std::size_t last = 1; last <= requests; ++last) {
        line.sent.clear();
        line.plugged = true;
        otherAnswer = [&](const Bytes &request) {
            if (line.sent.size() < last)
                return answerTo(request);
            line.unplugAfter(milliseconds(0));
            return Bytes();
        };
        const rtu::ProbeResult result = probe();
        EXPECT_EQ(rtu::Cause::PortLost, result.why.cause) << last;
        EXPECT_FALSE(result.why.text.empty()) << last;
        EXPECT_TRUE(result.holes.empty() || text(result.holes) == "5+1 ") << last << ": " << text(result.holes);
        EXPECT_EQ(last, line.sent.size());
    }
}

TEST_F(StationProbe, EndsWhenItIsToldTo)
{
    rtu::StationProbe made(line, rtu::LineTiming(parameters), settings);
    made.onProgress([&](const std::string &what) {
        if (what.find("largest block") != std::string::npos)
            made.stop();
    });
    made.run();
    EXPECT_TRUE(made.stopped());
    EXPECT_GT(5u, line.sent.size());
}

} // namespace
