#include "host/listen/listen_loop.h"
#include "host/listen/listen_output.h"
#include "support/frames.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using test_line::Bytes;
using test_line::frame;
using test_line::hex;
using test_line::milliseconds;
using test_line::VirtualLine;
using Json = nlohmann::json;

const rtu::TimePoint Begin(std::chrono::seconds(1000));

/** Takes frames written as hexadecimal text, one millisecond apart, and prints what was heard. */
class Listening
{
public:
    explicit Listening(rtu::HeardForm form, const rtu::RegisterNames &names = rtu::RegisterNames())
        : output(m_out, form, names)
        , m_reader(rtu::ReaderSettings(), output)
    {
    }

    std::vector<std::string> hear(const std::vector<Bytes> &frames)
    {
        rtu::TimePoint now = Begin;
        for (const Bytes &bytes : frames)
            m_reader.take(bytes.data(), bytes.size(), now += milliseconds(1));
        m_reader.finish();
        std::vector<std::string> lines;
        std::istringstream text(m_out.str());
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

private:
    std::ostringstream m_out;

public:
    rtu::ListenOutput output;

private:
    rtu::TrafficReader m_reader;
};

rtu::RegisterNames names()
{
    return {{{1, "4x", 107}, "level"}, {{1, "4x", 109}, "flow"}, {{2, "4x", 108}, "other"}};
}

Json without(const std::string &line, const char *key)
{
    Json json = Json::parse(line);
    EXPECT_FALSE(json[key].is_null());
    json.erase(key);
    return json;
}

struct JsonCase
{
    const char *name;
    std::vector<Bytes> frames;
    const char *json; ///< without the time
};

class HeardJson : public testing::TestWithParam<JsonCase>
{
};

TEST_P(HeardJson, HasATransactionALine)
{
    Listening listening(rtu::HeardForm::Json, names());
    const std::vector<std::string> lines = listening.hear(GetParam().frames);
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(Json::parse(GetParam().json), without(lines.front(), "time"));
}

INSTANTIATE_TEST_SUITE_P(
    Transactions, HeardJson,
    testing::Values(JsonCase{"a read",
                             {frame("01 03 00 6B 00 03"), frame("01 03 06 02 2B 00 00 FF FE")},
                             R"({"station":1,"function":3,"type":"4x","address":108,"count":3,"values":[555,0,65534],
                     "names":["level","flow"],"exception":null,"answer":"good","reply_ms":1.0})"},
                    JsonCase{
                        "coils",
                        {frame("02 01 00 00 00 0A"), frame("02 01 02 05 02")},
                        R"({"station":2,"function":1,"type":"0x","address":1,"count":10,"values":[1,0,1,0,0,0,0,0,0,1],
                     "names":null,"exception":null,"answer":"good","reply_ms":1.0})"},
                    JsonCase{"an exception",
                             {frame("01 04 00 00 00 01"), frame("01 84 02")},
                             R"({"station":1,"function":4,"type":"3x","address":1,"count":1,"values":null,
                     "names":null,"exception":2,"answer":"exception","reply_ms":1.0})"},
                    JsonCase{"nothing yet",
                             {frame("01 10 00 00 00 01 02 00 07")},
                             R"({"station":1,"function":16,"type":"4x","address":1,"count":1,"values":null,
                     "names":null,"exception":null,"answer":"open","reply_ms":null})"},
                    JsonCase{"a write",
                             {frame("01 10 00 00 00 02 04 00 07 00 08"), frame("01 10 00 00 00 02")},
                             R"({"station":1,"function":16,"type":"4x","address":1,"count":2,"values":[7,8],
                     "names":null,"exception":null,"answer":"good","reply_ms":1.0})"},
                    JsonCase{"a coil written to all",
                             {frame("00 05 00 03 FF 00")},
                             R"({"station":0,"function":5,"type":"0x","address":4,"count":1,"values":[1],
                     "names":null,"exception":null,"answer":"broadcast","reply_ms":null})"},
                    JsonCase{"a function without registers",
                             {frame("01 07"), frame("01 07 6D")},
                             R"({"station":1,"function":7,"type":null,"address":null,"count":null,"values":null,
                     "names":null,"exception":null,"answer":"good","reply_ms":1.0})"}));

TEST(HeardJsonOfOthers, TellsGarbageAndStrayReplies)
{
    Listening listening(rtu::HeardForm::Json);
    const std::vector<std::string> lines = listening.hear({hex("55 AA"), frame("01 83 02")});
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(Json::parse(R"({"answer":"garbage","bytes":"55 AA"})"), without(lines[0], "time"));
    EXPECT_EQ(Json::parse(R"({"station":1,"function":3,"exception":2,"answer":"stray","bytes":"01 83 02 C0 F1"})"),
              without(lines[1], "time"));
}

TEST(HeardJsonOfOthers, TellsSilenceOnceTheNextRequestIsThere)
{
    Listening listening(rtu::HeardForm::Json);
    const std::vector<std::string> lines = listening.hear({frame("01 03 00 00 00 01"), frame("00 05 00 03 FF 00")});
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("silent", Json::parse(lines[0])["answer"]);
}

TEST(HeardLines, LeaveARequestAloneThatWasStillOpen)
{
    Listening listening(rtu::HeardForm::Lines);
    const std::vector<std::string> lines = listening.hear({frame("01 03 00 00 00 01")});
    ASSERT_EQ(1u, lines.size());
    EXPECT_NE(std::string::npos, lines[0].find("read holding registers 4x1"));
    EXPECT_EQ("0 transactions: 0 good, 0 exceptions, 0 without a reply; 1 request still open",
              listening.output.summary());
}

/** Everything behind the time of day. */
std::string words(const std::string &line)
{
    return line.size() > 13 ? line.substr(13) : line;
}

TEST(HeardLines, AreThoseOfTheTrace)
{
    Listening listening(rtu::HeardForm::Lines, names());
    const std::vector<std::string> lines =
        listening.hear({frame("01 03 00 6B 00 03"), frame("01 03 06 02 2B 00 00 00 64"), hex("55"),
                        frame("01 03 00 00 00 01"), frame("02 03 02 00 07"), frame("01 64 09"), frame("01 64 02")});
    ASSERT_EQ(8u, lines.size()) << testing::PrintToString(lines);
    EXPECT_EQ(">1  01 03 00 6B 00 03 74 17  read holding registers 4x108..110  (level, flow)", words(lines[0]));
    EXPECT_EQ("<1  01 03 06 02 2B 00 00 00 64 05 7A  3 registers: 555 0 100", words(lines[1]));
    EXPECT_EQ("?  55  1 byte of no frame", words(lines[2]));
    EXPECT_EQ("<2  02 03 02 00 07 BD 86  a reply to nothing that was heard", words(lines[3]));
    EXPECT_EQ(">1  01 03 00 00 00 01 84 0A  read holding registers 4x1", words(lines[4]));
    EXPECT_EQ("<1  no reply within 2.0 ms", words(lines[5]));
    EXPECT_NE(std::string::npos, lines[6].find("function 100"));
    EXPECT_NE(std::string::npos, lines[7].find("answered"));
}

TEST(HeardLines, EndWithASummary)
{
    Listening listening(rtu::HeardForm::Nothing);
    EXPECT_TRUE(listening
                    .hear({frame("01 03 00 00 00 01"), frame("01 03 02 00 07"), frame("01 03 00 00 00 01"),
                           frame("01 83 02"), hex("55"), frame("02 03 02 00 07"), frame("01 03 00 00 00 01")})
                    .empty());
    EXPECT_EQ("2 transactions: 1 good, 1 exception, 0 without a reply; 1 request still open; "
              "1 reply to nothing that was heard; "
              "1 byte of no frame",
              listening.output.summary());
}

TEST(HeardRegisters, KnowValueAgeAndHowOftenTheyAreAsked)
{
    Listening listening(rtu::HeardForm::Nothing);
    listening.hear({frame("01 03 00 00 00 02"), frame("01 03 04 00 07 00 08"), frame("01 03 00 01 00 02"),
                    frame("01 83 02"), frame("01 06 00 00 00 09"), frame("01 06 00 00 00 09")});
    const auto &all = listening.output.registers().all();
    ASSERT_EQ(3u, all.size());
    const rtu::HeardRegister &first = all.at({1, "4x", 0});
    EXPECT_EQ(9, first.value);
    EXPECT_EQ(2u, first.asked);
    EXPECT_EQ(Begin + milliseconds(6), first.time);
    EXPECT_EQ(rtu::Duration(milliseconds(4)), first.interval);
    const rtu::HeardRegister &second = all.at({1, "4x", 1});
    EXPECT_EQ(8, second.value);
    EXPECT_EQ(2u, second.asked);
    EXPECT_EQ(1u, second.failed);
    EXPECT_FALSE(all.at({1, "4x", 2}).known);
}

TEST(HeardRegisters, AreShownInATable)
{
    Listening listening(rtu::HeardForm::Nothing);
    listening.hear({frame("01 03 00 6B 00 01"), frame("01 03 02 00 07"), frame("01 03 00 6B 00 02")});
    const std::vector<std::string> lines =
        rtu::registerTable(listening.output.registers(), names(), Begin + milliseconds(102), 80);
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("register      name                       value      age    asked     every", lines[0]);
    EXPECT_EQ("1:4x108       level                          7   100 ms        2    2.0 ms", lines[1]);
    EXPECT_EQ("1:4x109                                      -        -        1         -", lines[2]);
    for (int columns : {1, 10, 40, 200}) {
        for (const std::string &line : rtu::registerTable(listening.output.registers(), names(), Begin, columns))
            EXPECT_GE(static_cast<std::size_t>(columns), line.size());
    }
}

TEST(HeardRegisters, KeepNameValueAndAgeInFortyColumns)
{
    Listening listening(rtu::HeardForm::Nothing);
    listening.hear({frame("01 03 00 6B 00 01"), frame("01 03 02 00 07")});
    rtu::RegisterNames letters = names();
    letters[{1, "4x", 0x6B}] = "K\xC3\xBChlung";
    const std::vector<std::string> lines =
        rtu::registerTable(listening.output.registers(), letters, Begin + milliseconds(102), 40);
    EXPECT_EQ("register      name        value      age", lines[0]);
    EXPECT_EQ("1:4x108       K\xC3\xBChlung         7   100 ms", lines[1]);
}

TEST(HeardRegisters, AreBounded)
{
    rtu::HeardRegisters registers;
    rtu::Transaction t;
    t.regType = "4x";
    t.count = 125;
    for (int i = 0; i < 300; ++i) {
        t.startAddr = i * 125;
        registers.note(t);
    }
    EXPECT_EQ(static_cast<std::size_t>(rtu::HeardRegisters::MostKept), registers.all().size());
    EXPECT_EQ(300u * 125u - rtu::HeardRegisters::MostKept, registers.leftOut());
}

TEST(ListenLoop, TakesWhatArrivesAndNeverSends)
{
    std::ostringstream out;
    rtu::ListenOutput output(out, rtu::HeardForm::Json, rtu::RegisterNames());
    rtu::TrafficReader reader(rtu::ReaderSettings(), output);
    VirtualLine line;
    rtu::ListenLoop loop(line, reader);
    line.receive(milliseconds(100), frame("01 03 00 00 00 01"));
    line.receive(milliseconds(110), frame("01 03 02 00 07"));
    line.receive(milliseconds(400), frame("01 03 00 00 00 01"));
    line.unplugAfter(milliseconds(700));
    std::vector<bool> ports;
    loop.onPort([&](bool open) {
        ports.push_back(open);
        line.receive(milliseconds(10), frame("01 83 02"));
    });
    int ticks = 0;
    loop.onTick([&](rtu::TimePoint) {
        line.plugged = line.plugged || ++ticks > 60;
        if (ports.size() == 2 && output.summary().find("nothing that was heard") != std::string::npos)
            loop.stop();
    });
    loop.run();
    EXPECT_TRUE(line.sent.empty());
    EXPECT_EQ((std::vector<bool>{false, true}), ports);
    EXPECT_EQ("1 transaction: 1 good, 0 exceptions, 0 without a reply; 1 request still open; "
              "1 reply to nothing that was heard",
              output.summary());
}

TEST(ListenOutput, CapturesEverythingInTheOrderOfTheLine)
{
    std::stringstream file;
    rtu::CaptureWriter capture(file, rtu::CaptureClock());
    Listening listening(rtu::HeardForm::Nothing);
    listening.output.setCapture(&capture);
    const std::vector<Bytes> frames = {frame("01 03 00 00 00 01"), hex("55 AA"), frame("01 03 02 00 07")};
    listening.hear(frames);
    rtu::CaptureReader reader(file);
    rtu::CaptureRecord record;
    for (const Bytes &bytes : frames) {
        ASSERT_TRUE(reader.read(record));
        EXPECT_EQ(test_line::array(bytes), record.bytes);
    }
    EXPECT_FALSE(reader.read(record));
}

} // namespace
