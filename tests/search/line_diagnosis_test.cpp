#include "host/search/line_diagnosis.h"
#include "support/driver_file.h"
#include "support/frames.h"

#include <modbus_rtu_host/link.h>

#include <gtest/gtest.h>

namespace {

using namespace test_line;
using rtu::Cause;
using rtu::Diagnosis;

/** A link that polls register 1 of some stations, behind a line that is scripted. */
class LineDiagnosis : public testing::Test
{
protected:
    LineDiagnosis()
    {
        m_settings.driver = QString::fromStdString(support::driverFile());
        m_settings.replyTimeout = milliseconds(100);
        m_settings.lateReplyGuard = milliseconds(100);
        m_line->slave = [this](VirtualLine &, const Bytes &request) { reply(request); };
    }

    /** All that is said in so many rounds. */
    std::vector<Diagnosis> said(int rounds, const std::vector<int> &stations = {1})
    {
        std::vector<Diagnosis> all;
        rtu::Link link(m_settings, std::move(m_owned));
        rtu::LineDiagnosis diagnosis([this] { return errors; }, echoKnown);
        link.onTransaction([&](const rtu::Transaction &transaction) {
            const Diagnosis one = diagnosis.take(transaction);
            if (one.cause != Cause::None)
                all.push_back(one);
        });
        int done = 0;
        link.onRound([&] { ++done; });
        for (int station : stations)
            link.addTag(rtu::TagDefinition(station, "4x1"));
        while (done < rounds) {
            if (link.step() != rtu::LinkStep::Done)
                m_line->sleepUntil(std::min(link.nextStep(), m_line->now() + milliseconds(100)));
        }
        return all;
    }

    std::function<Bytes(const Bytes &)> answer; ///< empty: silence
    bool echoes = false;
    bool echoKnown = false;
    rtu::Duration delay = milliseconds(10);
    rtu::LineErrors errors;

private:
    void reply(const Bytes &request)
    {
        if (echoes)
            m_line->receive(milliseconds(0), request);
        const Bytes bytes = answer ? answer(request) : Bytes();
        if (!bytes.empty())
            m_line->receive(delay, bytes);
    }

    rtu::LinkSettings m_settings;
    std::unique_ptr<VirtualLine> m_owned{new VirtualLine};
    VirtualLine *const m_line = m_owned.get();
};

struct ReplyCase
{
    const char *name;
    Bytes (*answer)(const Bytes &request);
    Cause cause;
    const char *words;
};

class LineDiagnosisOfReplies : public LineDiagnosis, public testing::WithParamInterface<ReplyCase>
{
};

TEST_P(LineDiagnosisOfReplies, NamesTheCauseOnce)
{
    answer = GetParam().answer;
    const std::vector<Diagnosis> all = said(3);
    ASSERT_EQ(1u, all.size());
    EXPECT_EQ(GetParam().cause, all[0].cause) << rtu::causeName(all[0].cause);
    EXPECT_EQ(1, all[0].station);
    const std::string text = rtu::diagnosisText(all[0]);
    EXPECT_NE(std::string::npos, text.find(GetParam().words)) << text;
    EXPECT_EQ(0u, text.find("station 1: ")) << text;
}

INSTANTIATE_TEST_SUITE_P(
    All, LineDiagnosisOfReplies,
    testing::Values(
        ReplyCase{"silence", [](const Bytes &) { return Bytes(); }, Cause::Silent, "after 3 attempts not one byte"},
        ReplyCase{"garbage", [](const Bytes &) { return hex("FE 00 F8 80"); }, Cause::Garbage,
                  "another baud rate or parity is likely"},
        ReplyCase{"a wrong check sum", [](const Bytes &) { return hex("01 03 02 00 07 00 00"); }, Cause::Noise,
                  "without termination"},
        ReplyCase{"ascii", [](const Bytes &) { return hex("3A 30 31 38 33 30 32 0D 0A"); }, Cause::Ascii,
                  "speaks Modbus ASCII"},
        ReplyCase{"another station", [](const Bytes &) { return frame("05 03 02 00 07"); }, Cause::OtherStation,
                  "the reply is from station 5, asked was station 1"},
        ReplyCase{"another function", [](const Bytes &) { return frame("01 04 02 00 07"); }, Cause::OtherFunction,
                  "the reply has function 4, asked was function 3"},
        ReplyCase{"exception 1", [](const Bytes &) { return frame("01 83 01"); }, Cause::Exception,
                  "exception 1: illegal function: it does not know this function"},
        ReplyCase{"exception 2", [](const Bytes &) { return frame("01 83 02"); }, Cause::Exception,
                  "exception 2: illegal data address: it has not all"},
        ReplyCase{"exception 3", [](const Bytes &) { return frame("01 83 03"); }, Cause::Exception, "--max-words"},
        ReplyCase{"exception 4", [](const Bytes &) { return frame("01 83 04"); }, Cause::Exception, "manual"},
        ReplyCase{"exception 6", [](const Bytes &) { return frame("01 83 06"); }, Cause::Exception, "it has no time"},
        ReplyCase{"exception 11", [](const Bytes &) { return frame("01 83 0B"); }, Cause::Exception,
                  "a gateway answers in its place, exception 11: gateway target did not respond: the device behind it "
                  "does not answer"}));

TEST_F(LineDiagnosis, SaysNothingOfWhatWorks)
{
    answer = goodReply;
    EXPECT_TRUE(said(3).empty());
}

TEST_F(LineDiagnosis, SaysNothingOfWhatWorksAtTheSecondAttempt)
{
    int asked = 0;
    answer = [&](const Bytes &request) { return ++asked % 2 == 0 ? goodReply(request) : hex("FE 00"); };
    EXPECT_TRUE(said(3).empty());
}

TEST_F(LineDiagnosis, TellsAnEchoWithNothingBehindIt)
{
    echoes = true;
    const std::vector<Diagnosis> all = said(3);
    ASSERT_EQ(1u, all.size());
    EXPECT_EQ(Cause::Echo, all[0].cause);
    EXPECT_NE(std::string::npos, all[0].text.find("this is your request come back")) << all[0].text;
    EXPECT_NE(std::string::npos, all[0].text.find("--remove-echo")) << all[0].text;
}

TEST_F(LineDiagnosis, TellsAnEchoThatIsDropped)
{
    echoes = true;
    answer = goodReply;
    const std::vector<Diagnosis> all = said(3);
    ASSERT_EQ(1u, all.size());
    EXPECT_EQ(Cause::EchoDropped, all[0].cause);
    EXPECT_NE(std::string::npos, all[0].text.find("this is your request come back")) << all[0].text;
}

TEST_F(LineDiagnosis, SaysNothingOfAnEchoThatTheUserKnows)
{
    echoes = true;
    echoKnown = true;
    answer = goodReply;
    EXPECT_TRUE(said(3).empty());
}

TEST_F(LineDiagnosis, TellsASilentStationFromASilentLine)
{
    answer = [](const Bytes &request) { return request[0] == 1 ? goodReply(request) : Bytes(); };
    const std::vector<Diagnosis> all = said(3, {1, 2, 3});
    ASSERT_EQ(2u, all.size());
    for (std::size_t i : {0u, 1u}) {
        EXPECT_EQ(Cause::StationSilent, all[i].cause);
        EXPECT_EQ(static_cast<int>(i) + 2, all[i].station);
        EXPECT_NE(std::string::npos, all[i].text.find("others answer")) << all[i].text;
    }
}

TEST_F(LineDiagnosis, TellsRepliesBehindTheTimeOut)
{
    answer = goodReply;
    delay = milliseconds(150);
    const std::vector<Diagnosis> all = said(2);
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(Cause::Late, all[0].cause) << rtu::causeName(all[0].cause);
}

TEST_F(LineDiagnosis, CountsWhatTheReceiverFoundWrongMeanwhile)
{
    errors.known = true;
    errors.framing = 100;
    errors.parity = 7;
    answer = [this](const Bytes &) {
        errors.framing += 2;
        return hex("FE 00 F8 80");
    };
    const std::vector<Diagnosis> all = said(1);
    ASSERT_EQ(1u, all.size());
    EXPECT_NE(std::string::npos, rtu::diagnosisText(all[0]).find("6 framing and 0 parity errors"))
        << rtu::diagnosisText(all[0]);
}

TEST_F(LineDiagnosis, SaysWhenTheReceiverFoundNothingWrong)
{
    errors.known = true;
    answer = [](const Bytes &) { return hex("FE 00 F8 80"); };
    const std::vector<Diagnosis> all = said(1);
    ASSERT_EQ(1u, all.size());
    EXPECT_NE(std::string::npos, rtu::diagnosisText(all[0]).find("neither framing nor parity errors"));
}

TEST_F(LineDiagnosis, IsAnObjectForPrograms)
{
    answer = [](const Bytes &) { return frame("01 83 02"); };
    const std::string json = rtu::diagnosisJson(said(1)[0], "now");
    EXPECT_EQ(0u, json.find("{\"time\":\"now\",\"station\":1,\"cause\":\"exception\",\"text\":\"")) << json;
    EXPECT_NE(std::string::npos, json.find("\"attempts\":1,\"exception\":2}")) << json;
}

} // namespace
