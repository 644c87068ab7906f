#include "host/search/station_search.h"
#include "support/frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>

namespace {

using test_line::Bytes;
using test_line::frame;
using test_line::goodReply;
using test_line::hex;
using test_line::milliseconds;
using test_line::VirtualLine;

/** A port that is opened again and again, with devices behind it that have their own parameters. */
class Port
{
public:
    std::function<Bytes(const rtu::LineParameters &, const Bytes &)> answer; ///< empty: silence

    rtu::StationSearch::OpenLine opener()
    {
        return [this](const rtu::LineParameters &parameters) {
            std::unique_ptr<VirtualLine> line(new VirtualLine);
            line->slave = [this, parameters](VirtualLine &self, const Bytes &request) {
                requests.push_back(request);
                tried.push_back(rtu::LineParameters(parameters));
                const Bytes reply = answer ? answer(parameters, request) : Bytes();
                if (!reply.empty())
                    self.receive(delay, reply);
            };
            ++opened;
            return line;
        };
    }

    rtu::Duration delay = milliseconds(20);
    std::vector<Bytes> requests;
    std::vector<rtu::LineParameters> tried;
    int opened = 0;
};

rtu::SearchSettings everything()
{
    rtu::SearchSettings settings;
    settings.parameters = rtu::usualParameters();
    settings.stations.resize(247);
    std::iota(settings.stations.begin(), settings.stations.end(), 1);
    return settings;
}

bool is(const rtu::LineParameters &parameters, int baud, char parity, int stopBits)
{
    return parameters.baud == baud && parameters.parity == parity && parameters.stopBits == stopBits;
}

/** Stations that answer at 9600 8N1, the second one with an exception. */
Bytes answerAt9600(const rtu::LineParameters &parameters, const Bytes &request)
{
    if (!is(parameters, 9600, 'N', 1))
        return Bytes();
    if (request[0] == 17)
        return goodReply(request);
    return request[0] == 200 ? frame("C8 83 02") : Bytes();
}

TEST(StationSearch, TriesTheRatesThatAreGivenWithAllCharacters)
{
    const std::vector<rtu::LineParameters> tried = rtu::usualParameters({9600, 300});
    ASSERT_EQ(8u, tried.size());
    EXPECT_TRUE(is(tried[0], 9600, 'E', 1));
    EXPECT_TRUE(is(tried[3], 9600, 'O', 1));
    EXPECT_TRUE(is(tried[4], 300, 'E', 1));
}

TEST(StationSearch, FindsWhoAnswersWithWhat)
{
    Port port;
    port.answer = answerAt9600;
    rtu::StationSearch search(everything(), port.opener());
    std::vector<rtu::FoundStation> found;
    search.onFound([&](const rtu::FoundStation &station) { found.push_back(station); });
    EXPECT_EQ(2, search.run());
    ASSERT_EQ(2u, found.size());
    EXPECT_EQ(17, found[0].station);
    EXPECT_TRUE(is(found[0].parameters, 9600, 'N', 1));
    EXPECT_EQ("register 1 is 0", found[0].answer);
    EXPECT_LT(rtu::Duration(0), found[0].replyTime);
    EXPECT_EQ(200, found[1].station);
    EXPECT_EQ("exception 2", found[1].answer);
    EXPECT_EQ(rtu::Cause::None, search.cause());
}

TEST(StationSearch, NoReplyComesBeforeItsRequest)
{
    for (const char *reply : {"11 03 02 00 05", "11 83 02"}) { // on a port without pace
        Port port;
        port.delay = milliseconds(1);
        port.answer = [&](const rtu::LineParameters &, const Bytes &request) {
            return request[0] == 17 ? frame(reply) : Bytes();
        };
        rtu::StationSearch search(everything(), port.opener());
        rtu::FoundStation found;
        search.onFound([&](const rtu::FoundStation &station) { found = station; });
        EXPECT_EQ(1, search.run());
        EXPECT_EQ(milliseconds(1), found.replyTime) << reply;
    }
}

TEST(StationSearch, SendsNothingButReadsOfOneRegister)
{
    Port port;
    port.answer = answerAt9600;
    rtu::StationSearch(everything(), port.opener()).run();
    for (const Bytes &request : port.requests) {
        ASSERT_EQ(8u, request.size());
        EXPECT_EQ(3, request[1]);
    }
}

TEST(StationSearch, EndsAsSoonAsItCanTell)
{
    Port port;
    port.answer = [](const rtu::LineParameters &parameters, const Bytes &request) {
        return is(parameters, 9600, 'E', 1) && request[0] == 1 ? goodReply(request) : Bytes();
    };
    rtu::StationSearch search(everything(), port.opener());
    EXPECT_EQ(1, search.run());
    EXPECT_EQ(4u + 1u + 246u, port.requests.size()) << "four others, then everybody at the right ones";
    for (std::size_t i = 4; i < port.tried.size(); ++i)
        EXPECT_TRUE(is(port.tried[i], 9600, 'E', 1));
}

TEST(StationSearch, AsksEveryPairOnceWhenNobodyAnswers)
{
    Port port;
    rtu::StationSearch search(everything(), port.opener());
    int last = -1;
    rtu::Duration left = rtu::Duration::max();
    search.onProgress([&](const rtu::SearchProgress &progress) {
        EXPECT_EQ(last + 1, progress.asked);
        EXPECT_EQ(32 * 247, progress.most);
        EXPECT_LT(progress.left, left);
        last = progress.asked;
        left = progress.left;
    });
    EXPECT_EQ(0, search.run());
    std::set<std::string> pairs;
    for (std::size_t i = 0; i < port.requests.size(); ++i) {
        const rtu::LineParameters &p = port.tried[i];
        pairs.insert(std::to_string(p.baud) + p.parity + std::to_string(p.stopBits) + " "
                     + std::to_string(port.requests[i][0]));
    }
    EXPECT_EQ(32u * 247u, port.requests.size());
    EXPECT_EQ(port.requests.size(), pairs.size());
}

TEST(StationSearch, AsksTheLikeliestFirst)
{
    Port port;
    rtu::StationSearch search(everything(), port.opener());
    search.onProgress([&](const rtu::SearchProgress &progress) {
        if (progress.asked == 32)
            search.stop();
    });
    search.run();
    for (std::size_t i = 0; i < 32; ++i)
        EXPECT_EQ(1, port.requests[i][0]);
    EXPECT_TRUE(is(port.tried[0], 19200, 'E', 1));
    EXPECT_GE(33u, port.requests.size());
}

struct SearchCase
{
    const char *name;
    Bytes (*answer)(const Bytes &request);
    const char *words;
};

class SearchInVain : public testing::TestWithParam<SearchCase>
{
};

TEST_P(SearchInVain, NamesTheCause)
{
    Port port;
    port.answer = [](const rtu::LineParameters &, const Bytes &request) { return GetParam().answer(request); };
    rtu::SearchSettings settings = everything();
    settings.parameters.resize(2);
    settings.stations.resize(12);
    rtu::StationSearch search(settings, port.opener());
    EXPECT_EQ(0, search.run());
    const std::string words = rtu::causeText(search.cause());
    EXPECT_NE(std::string::npos, words.find(GetParam().words)) << words;
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SearchInVain,
    testing::Values(
        SearchCase{"silence", [](const Bytes &) { return Bytes(); }, "not one byte"},
        SearchCase{"an echo", [](const Bytes &request) { return request; }, "hears itself"},
        SearchCase{"garbage", [](const Bytes &) { return hex("FE 00 F8 80"); }, "not so that it can be read"},
        SearchCase{"ascii", [](const Bytes &) { return hex("3A 30 31 38 33 30 32 0D 0A"); }, "Modbus ASCII"},
        SearchCase{"another's reply", [](const Bytes &) { return frame("F7 03 02 00 07"); }, "another master"}));

/** A search of some stations, all with the parameters of the port. */
rtu::SearchSettings amongStations(int most)
{
    rtu::SearchSettings settings = everything();
    settings.parameters.resize(1);
    settings.stations.resize(static_cast<std::size_t>(most));
    return settings;
}

TEST(StationSearch, SaysThatItWasCutShort)
{
    for (int asked : {1, 2, 4, 9, 11}) { // within a group and between two
        Port port;
        port.answer = [](const rtu::LineParameters &, const Bytes &request) { return goodReply(request); };
        rtu::StationSearch search(amongStations(12), port.opener());
        search.onFound([&](const rtu::FoundStation &found) {
            if (found.station == asked)
                search.stop();
        });
        EXPECT_EQ(asked, search.run());
        EXPECT_EQ(rtu::Cause::Ended, search.cause()) << asked;
    }
}

TEST(StationSearch, IsNotCutShortByAStopBehindTheLastStation)
{
    Port port;
    port.answer = [](const rtu::LineParameters &, const Bytes &request) { return goodReply(request); };
    rtu::StationSearch search(amongStations(12), port.opener());
    search.onFound([&](const rtu::FoundStation &found) {
        if (found.station == 12)
            search.stop();
    });
    EXPECT_EQ(12, search.run());
    EXPECT_EQ(rtu::Cause::None, search.cause());
}

TEST(StationSearch, SaysThatThePortIsGoneAlsoBehindTheFirstStationFound)
{
    for (int last : {1, 2, 4, 12}) {
        std::vector<int> asked;
        rtu::StationSearch search(amongStations(12), [&](const rtu::LineParameters &) {
            std::unique_ptr<VirtualLine> line(new VirtualLine);
            line->slave = [&](VirtualLine &self, const Bytes &request) {
                asked.push_back(request[0]);
                if (request[0] == last)
                    self.unplugAfter(milliseconds(5));
                else
                    self.receive(milliseconds(20), goodReply(request));
            };
            return line;
        });
        EXPECT_EQ(last - 1, search.run());
        EXPECT_EQ(last, asked.back());
        EXPECT_EQ(rtu::Cause::PortLost, search.cause()) << last;
    }
}

TEST(StationSearch, SaysThatThePortIsGoneWhenItDoesNotOpenAgain)
{
    Port port;
    port.answer = [](const rtu::LineParameters &, const Bytes &request) { return goodReply(request); };
    const rtu::StationSearch::OpenLine open = port.opener();
    rtu::StationSearch search(amongStations(12), [&](const rtu::LineParameters &parameters) {
        return port.opened == 0 ? open(parameters) : std::unique_ptr<rtu::Line>();
    });
    EXPECT_EQ(1, search.run());
    EXPECT_EQ(rtu::Cause::PortLost, search.cause());
}

TEST(StationSearch, FindsStationsThatAnswerLate)
{
    struct Late
    {
        int delay;
        std::vector<int> stations;
    };
    const Late cases[] = {{230, {1}},       {390, {1}},     {300, {2}},
                          {300, {10}},      {300, {12}},    {300, {3, 4}},
                          {500, {3, 5, 6}}, {900, {4, 12}}, {300, {1, 2, 9, 10, 11, 12}}};
    for (const Late &late : cases) {
        Port port;
        port.delay = milliseconds(late.delay);
        port.answer = [&](const rtu::LineParameters &, const Bytes &request) {
            const bool there = std::count(late.stations.begin(), late.stations.end(), request[0]) > 0;
            return there ? goodReply(request) : Bytes();
        };
        rtu::StationSearch search(amongStations(12), port.opener());
        std::vector<int> found;
        search.onFound([&](const rtu::FoundStation &station) {
            found.push_back(station.station);
            EXPECT_LE(station.replyTime, milliseconds(late.delay)); // which the request's own time is a part of
            EXPECT_GE(station.replyTime, milliseconds(late.delay - 5));
        });
        search.run();
        EXPECT_EQ(late.stations, found) << late.delay << " ms, first " << late.stations[0];
        EXPECT_EQ(rtu::Cause::None, search.cause());
    }
}

TEST(StationSearch, FindsAQuickStationBesideALateOneOnce)
{
    Port port;
    port.answer = [&](const rtu::LineParameters &, const Bytes &request) {
        port.delay = milliseconds(request[0] == 3 ? 300 : 20);
        return request[0] == 3 || request[0] == 4 || request[0] == 6 ? goodReply(request) : Bytes();
    };
    rtu::StationSearch search(amongStations(12), port.opener());
    std::vector<int> found;
    search.onFound([&](const rtu::FoundStation &station) { found.push_back(station.station); });
    EXPECT_EQ(3, search.run());
    EXPECT_EQ((std::vector<int>{4, 3, 6}), found);
}

TEST(StationSearch, TellsALateReplyThatDoesNotComeAgainFromAnotherMasters)
{
    Port port;
    port.delay = milliseconds(300);
    bool answered = false;
    port.answer = [&](const rtu::LineParameters &, const Bytes &request) {
        if (request[0] != 3 || answered)
            return Bytes();
        answered = true;
        return goodReply(request);
    };
    rtu::StationSearch search(amongStations(12), port.opener());
    EXPECT_EQ(0, search.run());
    EXPECT_EQ(rtu::Cause::Late, search.cause());
}

/** Adds up for how long it was there. */
class TimedLine : public VirtualLine
{
public:
    explicit TimedLine(rtu::Duration &total) : m_total(total) {}
    ~TimedLine() override { m_total += now() - m_begin; }

private:
    rtu::Duration &m_total;
    const rtu::TimePoint m_begin = now();
};

TEST(StationSearch, ListensLongerOnlyAtTheEndOfAGroup)
{
    rtu::Duration taken(0);
    rtu::StationSearch search(amongStations(247), [&](const rtu::LineParameters &) {
        return std::unique_ptr<rtu::Line>(new TimedLine(taken));
    });
    rtu::Duration left(0);
    search.onProgress([&](const rtu::SearchProgress &progress) {
        if (progress.asked == 0)
            left = progress.left;
    });
    EXPECT_EQ(0, search.run());
    const rtu::LineTiming timing(amongStations(1).parameters[0]);
    EXPECT_EQ((milliseconds(200) * (247 + 3) + (timing.characters(8) + timing.silence()) * 247).count(), left.count());
    EXPECT_EQ(left.count(), taken.count()) << "as was said before";
}

TEST(StationSearch, TellsThatThePortTakesNoneOfTheParameters)
{
    rtu::SearchSettings settings = everything();
    settings.stations.resize(1);
    rtu::StationSearch search(settings, [](const rtu::LineParameters &) { return nullptr; });
    EXPECT_EQ(0, search.run());
    EXPECT_EQ(rtu::Cause::NoParameters, search.cause());
}

TEST(StationSearch, AnswersThroughAnEchoAreFound)
{
    Port port;
    port.answer = [](const rtu::LineParameters &, const Bytes &request) {
        Bytes both = request;
        const Bytes reply = goodReply(request);
        both.insert(both.end(), reply.begin(), reply.end());
        return both;
    };
    rtu::SearchSettings settings = everything();
    settings.stations.resize(3);
    rtu::StationSearch search(settings, port.opener());
    EXPECT_EQ(3, search.run());
    EXPECT_EQ(3, search.signs().echoes);
}

} // namespace
