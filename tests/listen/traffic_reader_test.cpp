#include "listen/heard_traffic.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace listen_test;
using test_line::frame;
using test_line::hex;
using test_line::milliseconds;

const rtu::TimePoint Begin(std::chrono::seconds(1000));

/** Bytes that arrive together, so many milliseconds after those before. */
struct Lump
{
    int pause;
    std::string bytes; ///< "|" ends a frame, "/" something without a check sum
};

/** "55/01 03 00|02" is a byte, a frame of three bytes with its check sum, and a byte behind. */
Bytes withCheckSums(const std::string &text)
{
    Bytes all;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find_first_of("|/", begin), text.size());
        const bool whole = end < text.size() && text[end] == '|';
        const std::string part = text.substr(begin, end - begin);
        const Bytes bytes = whole ? frame(part) : hex(part);
        all.insert(all.end(), bytes.begin(), bytes.end());
        begin = end + 1;
    }
    return all;
}

std::string told(const std::string &kind, const std::string &bytes)
{
    return kind + " " + hexOf(withCheckSums(bytes));
}

struct Case
{
    const char *name;
    std::vector<Lump> lumps;
    std::vector<std::string> expected; ///< kind, blank, bytes with "|"; ">" between request and reply
};

void PrintTo(const Case &c, std::ostream *out)
{
    *out << c.name;
}

std::string inFull(const std::string &expected)
{
    const std::size_t blank = expected.find(' ');
    const std::string bytes = expected.substr(blank + 1);
    const std::size_t arrow = bytes.find('>');
    const std::string request = told(expected.substr(0, blank), bytes.substr(0, arrow));
    return arrow == std::string::npos ? request : request + ">" + hexOf(withCheckSums(bytes.substr(arrow + 1)));
}

class TrafficReader : public testing::TestWithParam<Case>
{
};

TEST_P(TrafficReader, TellsWhatWasHeard)
{
    HeardTraffic heard;
    rtu::TrafficReader reader(rtu::ReaderSettings(), heard);
    rtu::TimePoint now = Begin;
    for (const Lump &lump : GetParam().lumps) {
        now += milliseconds(lump.pause);
        const Bytes bytes = withCheckSums(lump.bytes);
        reader.take(bytes.data(), bytes.size(), now);
    }
    reader.finish();
    std::vector<std::string> expected;
    for (const std::string &text : GetParam().expected)
        expected.push_back(inFull(text));
    EXPECT_EQ(expected, heard.told);
}

const char *const Read = "01 03 00 6B 00 03|";
const char *const ReadReply = "01 03 06 02 2B 00 00 00 64|";
const char *const ReadGood = "good 01 03 00 6B 00 03|>01 03 06 02 2B 00 00 00 64|";

INSTANTIATE_TEST_SUITE_P(
    Frames, TrafficReader,
    testing::Values(
        Case{"a read and its reply", {{0, Read}, {5, ReadReply}}, {ReadGood}},
        Case{"both in one lump", {{0, std::string(Read) + ReadReply}}, {ReadGood}},
        Case{"two transactions in one lump",
             {{0, std::string(Read) + ReadReply + Read + ReadReply}},
             {ReadGood, ReadGood}},
        Case{"frames in pieces that do not end where frames do",
             {{0, "01 03 00"}, {16, "6B 00 03 74 17 01 03"}, {16, "06 02 2B 00"}, {16, "00 00 64 05 7A"}},
             {ReadGood}},
        Case{"coils",
             {{0, "01 01 00 13 00 13|"}, {4, "01 01 03 CD 6B 05|"}},
             {"good 01 01 00 13 00 13|>01 01 03 CD 6B 05|"}},
        Case{"discrete inputs",
             {{0, "01 02 00 C4 00 16|"}, {4, "01 02 03 AC DB 35|"}},
             {"good 01 02 00 C4 00 16|>01 02 03 AC DB 35|"}},
        Case{"input registers",
             {{0, "01 04 00 08 00 01|"}, {4, "01 04 02 00 0A|"}},
             {"good 01 04 00 08 00 01|>01 04 02 00 0A|"}},
        Case{"a coil is written",
             {{0, "01 05 00 AC FF 00|"}, {4, "01 05 00 AC FF 00|"}},
             {"good 01 05 00 AC FF 00|>01 05 00 AC FF 00|"}},
        Case{"a register is written",
             {{0, "01 06 00 01 00 03|01 06 00 01 00 03|"}},
             {"good 01 06 00 01 00 03|>01 06 00 01 00 03|"}},
        Case{"coils are written",
             {{0, "01 0F 00 13 00 0A 02 CD 01|"}, {4, "01 0F 00 13 00 0A|"}},
             {"good 01 0F 00 13 00 0A 02 CD 01|>01 0F 00 13 00 0A|"}},
        Case{"registers are written",
             {{0, "01 10 00 01 00 02 04 00 0A 01 02|01 10 00 01 00 02|"}},
             {"good 01 10 00 01 00 02 04 00 0A 01 02|>01 10 00 01 00 02|"}},
        Case{"a mask is written",
             {{0, "01 16 00 04 00 F2 00 25|"}, {4, "01 16 00 04 00 F2 00 25|"}},
             {"good 01 16 00 04 00 F2 00 25|>01 16 00 04 00 F2 00 25|"}},
        Case{"registers are read and written",
             {{0, "01 17 00 03 00 02 00 0E 00 01 02 00 FF|01 17 04 00 FE 0A CD|"}},
             {"good 01 17 00 03 00 02 00 0E 00 01 02 00 FF|>01 17 04 00 FE 0A CD|"}},
        Case{"a queue is read",
             {{0, "01 18 04 DE|"}, {3, "01 18 00 06 00 02 01 B8 12 84|"}},
             {"good 01 18 04 DE|>01 18 00 06 00 02 01 B8 12 84|"}},
        Case{"the exception status", {{0, "01 07|01 07 6D|"}}, {"good 01 07|>01 07 6D|"}},
        Case{"a diagnosis",
             {{0, "01 08 00 00 A5 37|01 08 00 00 A5 37|"}},
             {"good 01 08 00 00 A5 37|>01 08 00 00 A5 37|"}},
        Case{"what a server is", {{0, "01 11|01 11 03 09 FF 41|"}}, {"good 01 11|>01 11 03 09 FF 41|"}},
        Case{"an identification",
             {{0, "01 2B 0E 01 00|01 2B 0E 01 01 00 00 01 00 02 41 42|"}},
             {"good 01 2B 0E 01 00|>01 2B 0E 01 01 00 00 01 00 02 41 42|"}},
        Case{"an exception", {{0, Read}, {5, "01 83 02|"}}, {"exception 01 03 00 6B 00 03|>01 83 02|"}},
        Case{"functions of a vendor's own",
             {{0, "05 64 01 02 03|05 64 09 08|05 E4 01|"}},
             {"good 05 64 01 02 03|>05 64 09 08|", "stray 05 E4 01|"}},
        Case{"a function of a vendor's own is refused", {{0, "05 41 01|05 C1 01|"}}, {"exception 05 41 01|>05 C1 01|"}},
        Case{"a broadcast",
             {{0, "00 06 00 01 00 03|"}, {100, Read}, {5, ReadReply}},
             {"broadcast 00 06 00 01 00 03|", ReadGood}}));

INSTANTIATE_TEST_SUITE_P(
    MissingReplies, TrafficReader,
    testing::Values(Case{"one is missing",
                         {{0, Read}, {300, "02 03 00 00 00 01|"}, {4, "02 03 02 00 07|"}},
                         {"silent 01 03 00 6B 00 03|", "good 02 03 00 00 00 01|>02 03 02 00 07|"}},
                    Case{"the request is sent again",
                         {{0, Read}, {300, Read}, {4, ReadReply}},
                         {"silent 01 03 00 6B 00 03|", ReadGood}},
                    Case{"all of it in one lump",
                         {{0, std::string(Read) + Read + ReadReply}},
                         {"silent 01 03 00 6B 00 03|", ReadGood}},
                    Case{"the last one", {{0, Read}}, {"open 01 03 00 6B 00 03|"}},
                    Case{"a write is sent again after the time-out",
                         {{0, "01 06 00 01 00 03|"}, {1001, "01 06 00 01 00 03|"}, {4, "01 06 00 01 00 03|"}},
                         {"silent 01 06 00 01 00 03|", "good 01 06 00 01 00 03|>01 06 00 01 00 03|"}},
                    Case{"another write comes instead of the acknowledgement",
                         {{0, "01 06 00 01 00 03|01 06 00 01 00 04|"}},
                         {"silent 01 06 00 01 00 03|", "open 01 06 00 01 00 04|"}},
                    Case{"a request sent again that begins as the reply would",
                         {{0, "01 03 06 00 00 03|"}, {300, "01 03 06 00 00 03|"}, {5, ReadReply}},
                         {"silent 01 03 06 00 00 03|", "good 01 03 06 00 00 03|>01 03 06 02 2B 00 00 00 64|"}},
                    Case{"a request for coils sent again that is as long as its reply",
                         {{0, "01 01 03 00 00 18|"}, {300, "01 01 03 00 00 18|"}, {5, "01 01 03 11 22 33|"}},
                         {"silent 01 01 03 00 00 18|", "good 01 01 03 00 00 18|>01 01 03 11 22 33|"}},
                    Case{"a reply later than anybody waits",
                         {{0, Read}, {1001, ReadReply}},
                         {"silent 01 03 00 6B 00 03|", "stray 01 03 06 02 2B 00 00 00 64|"}},
                    Case{"a reply of another station",
                         {{0, Read}, {5, "02 03 06 02 2B 00 00 00 64|"}, {5, ReadReply}},
                         {"stray 02 03 06 02 2B 00 00 00 64|", ReadGood}},
                    Case{"a reply of another length",
                         {{0, Read}, {5, "01 03 02 02 2B|"}},
                         {"stray 01 03 02 02 2B|", "open 01 03 00 6B 00 03|"}},
                    Case{"listening began in the middle",
                         {{0, ReadReply}, {50, Read}, {5, ReadReply}},
                         {"stray 01 03 06 02 2B 00 00 00 64|", ReadGood}}));

INSTANTIATE_TEST_SUITE_P(
    Garbage, TrafficReader,
    testing::Values(
        Case{"in front, in one lump",
             {{0, std::string("55 AA FF/") + Read + ReadReply}},
             {"garbage 55 AA FF", ReadGood}},
        Case{"between request and reply",
             {{0, std::string(Read) + "00 FF 00/" + ReadReply}},
             {"garbage 00 FF 00", ReadGood}},
        Case{"the begin of a long frame, then good ones",
             {{0, std::string("01 10 00 01 00 7B F6/") + Read}, {5, ReadReply}},
             {"garbage 01 10 00 01 00 7B F6", ReadGood}},
        Case{"a reply cut short",
             {{0, Read}, {5, "01 03 06 02 2B"}, {200, Read}, {5, ReadReply}},
             {"garbage 01 03 06 02 2B", "silent 01 03 00 6B 00 03|", ReadGood}},
        Case{"a reply with a wrong check sum",
             {{0, Read}, {5, "01 03 06 02 2B 00 00 00 64 05 7B"}, {20, Read}, {5, ReadReply}},
             {"garbage 01 03 06 02 2B 00 00 00 64 05 7B", "silent 01 03 00 6B 00 03|", ReadGood}},
        Case{"a pause ends it; a vendor's function comes next",
             {{0, "05 64 77"}, {60, "05 64 01 02 03|"}},
             {"garbage 05 64 77", "open 05 64 01 02 03|"}},
        Case{"a short pause is enough for that",
             {{0, "05 10 77"}, {10, "05 64 01 02 03|"}},
             {"garbage 05 10 77", "open 05 64 01 02 03|"}},
        Case{"nothing but", {{0, "3A 30 31 30 33 30 30 30 30 0D 0A"}}, {"garbage 3A 30 31 30 33 30 30 30 30 0D 0A"}}));

/** What is told, one byte a call and with idle() in between wherever it may be called. */
TEST(TrafficReaderTimes, IdleCallsChangeNothing)
{
    const Bytes all = withCheckSums("55 AA/01 03 00 6B 00 03|01 03 06 02 2B 00 00 00 64|05 64 01|01 03 00 6B 00 03|");
    HeardTraffic quiet;
    HeardTraffic asked;
    rtu::TrafficReader first(rtu::ReaderSettings(), quiet);
    rtu::TrafficReader second(rtu::ReaderSettings(), asked);
    rtu::TimePoint now = Begin;
    for (unsigned char byte : all) {
        first.take(&byte, 1, now);
        second.take(&byte, 1, now);
        for (int i = 0; i < 10; ++i)
            second.idle(now += milliseconds(1));
    }
    first.idle(now += milliseconds(5000));
    second.idle(now);
    EXPECT_EQ(quiet.told, asked.told);
    EXPECT_EQ("silent " + hexOf(frame("01 03 00 6B 00 03")), asked.told.back());
}

TEST(TrafficReaderTimes, AreThoseOfArrival)
{
    HeardTraffic heard;
    rtu::TrafficReader reader(rtu::ReaderSettings(), heard);
    const Bytes request = withCheckSums(Read);
    const Bytes reply = withCheckSums(ReadReply);
    reader.take(request.data(), 3, Begin);
    reader.take(request.data() + 3, 5, Begin + milliseconds(4));
    reader.take(reply.data(), 2, Begin + milliseconds(20));
    reader.take(reply.data() + 2, reply.size() - 2, Begin + milliseconds(25));
    ASSERT_EQ(1u, heard.transactions.size());
    const rtu::Transaction &t = heard.transactions.front();
    EXPECT_EQ(Begin, t.sent);
    EXPECT_EQ(Begin + milliseconds(4), t.requestEnd);
    EXPECT_EQ(Begin + milliseconds(20), t.firstByte);
    EXPECT_EQ(Begin + milliseconds(25), t.finished);
}

TEST(TrafficReaderTimes, SilenceIsToldWhenTheTimeIsUp)
{
    HeardTraffic heard;
    rtu::TrafficReader reader(rtu::ReaderSettings(), heard);
    const Bytes request = withCheckSums(Read);
    reader.take(request.data(), request.size(), Begin);
    reader.idle(Begin + milliseconds(1000));
    EXPECT_TRUE(heard.told.empty());
    reader.idle(Begin + milliseconds(1001));
    ASSERT_EQ(1u, heard.transactions.size());
    EXPECT_EQ(Begin + milliseconds(1000), heard.transactions.front().finished);
}

TEST(TrafficReaderTimes, GarbageWithoutEndIsToldInParts)
{
    HeardTraffic heard;
    rtu::TrafficReader reader(rtu::ReaderSettings(), heard);
    const Bytes noise(100000, 0xFE);
    reader.take(noise.data(), noise.size(), Begin);
    reader.finish();
    ASSERT_EQ(1u, heard.told.size());
    EXPECT_EQ(std::string("garbage ").size() + 2 * noise.size(), heard.told.front().size());
    EXPECT_GE(256, heard.longestGarbage);
}

TEST(TrafficReaderFrames, AreToldInTheOrderOfTheLine)
{
    HeardTraffic heard;
    rtu::TrafficReader reader(rtu::ReaderSettings(), heard);
    const Bytes all = withCheckSums("01 03 00 00 00 01|01 03 00 00 00 01|01 03 02 00 07|");
    reader.take(all.data(), all.size(), Begin);
    const std::string request = hexOf(frame("01 03 00 00 00 01"));
    EXPECT_EQ((std::vector<std::string>{">" + request, ">" + request, "<" + hexOf(frame("01 03 02 00 07"))}),
              heard.frames);
}

} // namespace
