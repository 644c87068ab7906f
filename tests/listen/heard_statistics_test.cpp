#include "host/listen/heard_statistics.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace {

using Json = nlohmann::json;

const rtu::TimePoint FirstByte(std::chrono::seconds(1000));

/** A request handed over whole, its reply so many milliseconds later; 0: none within a second. */
rtu::Transaction transaction(int station, rtu::TimePoint arrived, int reply, rtu::ReplyKind kind = rtu::ReplyKind::Good)
{
    rtu::Transaction t;
    t.station = station;
    t.request = QByteArray(8, '\1');
    t.sent = t.requestEnd = arrived;
    t.reply = QByteArray(reply ? 7 : 0, '\1');
    t.firstByte = arrived + std::chrono::milliseconds(reply);
    t.finished = arrived + std::chrono::milliseconds(reply ? reply : 1000);
    t.kind = reply ? kind : rtu::ReplyKind::Silent;
    return t;
}

TEST(HeardStatistics, AreOfEachStation)
{
    rtu::HeardStatistics statistics;
    statistics.note(transaction(1, FirstByte, 100));
    statistics.note(transaction(1, FirstByte + std::chrono::milliseconds(200), 300, rtu::ReplyKind::Exception));
    statistics.note(transaction(7, FirstByte + std::chrono::milliseconds(600), 0));
    statistics.noteOpen(transaction(1, FirstByte + std::chrono::milliseconds(1900), 0));
    EXPECT_EQ(
        (std::vector<std::string>{"line: 4 requests, 1 good, 1 exception, 1 without a reply, 1 still open, "
                                  "reply 300 ms median, 300 ms 95 %, 82.8 % of the line",
                                  "station 1: 3 requests, 1 good, 1 exception, 0 without a reply, 1 still open, "
                                  "reply 300 ms median, 300 ms 95 %, 48.3 % of the line",
                                  "station 7: 1 request, 0 good, 0 exceptions, 1 without a reply, 34.5 % of the line"}),
        statistics.lines());
}

TEST(HeardStatistics, KnowThatARequestHandedOverAtOnceTookItsTime)
{
    rtu::LineParameters slow;
    slow.baud = 1100; // 10 ms a character of 8E1
    rtu::HeardStatistics statistics{rtu::LineTiming(slow)};
    statistics.note(transaction(1, FirstByte, 20));
    statistics.note(transaction(1, FirstByte + std::chrono::milliseconds(180), 20)); // 280 ms, of which 200 are taken
    const Json all = Json::parse(statistics.json())["statistics"];
    EXPECT_DOUBLE_EQ(0.7143, all["line_share"].get<double>());
    EXPECT_DOUBLE_EQ(0.28, all["seconds"].get<double>());
}

TEST(HeardStatistics, OfNothingDivideByNothing)
{
    const Json all = Json::parse(rtu::HeardStatistics().json())["statistics"];
    EXPECT_EQ(0, all["requests"]);
    EXPECT_TRUE(all["reply_median_ms"].is_null());
    EXPECT_EQ(0, all["line_share"]);
    EXPECT_TRUE(all["stations"].empty());
}

} // namespace
