// What a link does between its frames: silences, stray bytes, replies that come late or in pieces, lost ports.

#include "kit/line/line_timing.h"
#include "kit/link_test.h"

namespace {

using namespace test_kit;
using rtu::ReplyEnd;
using rtu::ReplyKind;

class LinkExchange : public LinkTest
{
protected:
    LinkExchange()
    {
        settings.lateReplyGuard = Timeout;
        script.reserve(100); // it is read from while entries are added
    }

    /** Registers hold their own zero-based address, so that an answer to another request shows. */
    rtu::Tag watch(const char *address, int station = 1)
    {
        const rtu::Tag tag = link().addTag(TagDefinition(station, address));
        line->slave = [this](VirtualLine &, const Bytes &request) { answerByAddress(request); };
        return tag;
    }

    void answerByAddress(const Bytes &request)
    {
        requests.push_back(request);
        if (script.empty())
            return replyAfter(rtu::Duration(0), request);
        const std::function<void(const Bytes &)> next = script.front();
        script.erase(script.begin());
        next(request);
    }

    /** From the moment that the request is sent: its time on the line, 4 ms, and so much more. */
    void replyAfter(rtu::Duration lateness, const Bytes &request)
    {
        line->receivePaced(timing.characters(request.size()) + milliseconds(4) + lateness, timing.characters(1),
                           goodReply(request));
    }

    void late(rtu::Duration lateness)
    {
        script.push_back([this, lateness](const Bytes &request) { replyAfter(lateness, request); });
    }

    void reply(const Bytes &bytes)
    {
        script.push_back([this, bytes](const Bytes &) { line->receive(milliseconds(10), bytes); });
    }

    /** From the start of one frame to the start of the next. */
    rtu::Duration pauseBefore(std::size_t frame) const
    {
        return line->sent.at(frame).when - line->sent.at(frame - 1).when;
    }

    const rtu::Duration Timeout = milliseconds(200);
    const rtu::LineTiming timing{rtu::LineParameters()}; // 19200 8E1
};

TEST_F(LinkExchange, IsIdleWithNothingToSend)
{
    EXPECT_EQ(LinkStep::Idle, link().step());
    EXPECT_TRUE(line->sent.empty());
}

TEST_F(LinkExchange, KeepsThreeAndAHalfCharactersBetweenFrames)
{
    watch("4x1");
    steps(1);
    const rtu::TimePoint end = line->now();
    steps(1);
    EXPECT_EQ(end + timing.silence(), line->sent.at(1).when);
    EXPECT_EQ(microseconds(7 * 11 * 1000000 / 2 / 19200),
              std::chrono::duration_cast<std::chrono::microseconds>(timing.silence()));
}

TEST_F(LinkExchange, KeepsNoPauseWhereNoneIsWanted)
{
    settings.silence = rtu::Duration(0);
    watch("4x1");
    steps(1);
    const rtu::TimePoint end = line->now();
    steps(1);
    EXPECT_EQ(end, line->sent.at(1).when);
}

TEST_F(LinkExchange, ListensBehindTheFirstBytesOfAnotherReplyOnly)
{
    struct Piece
    {
        const char *bytes;
        bool otherReply;
    };
    for (const Piece &piece :
         {Piece{"01", false}, Piece{"01 03", false}, Piece{"01 83", false}, Piece{"02", true}, Piece{"01 10", true}}) {
        destroyLink();
        transactions.clear();
        watch("4x1");
        reply(hex(piece.bytes));
        steps(2);
        EXPECT_EQ(ReplyKind::Damaged, transactions.at(0).kind) << piece.bytes;
        EXPECT_EQ(piece.otherReply, pauseBefore(1) > Timeout) << piece.bytes;
    }
}

TEST_F(LinkExchange, AnAdapterThatNoLongerEchoesIsBelievedTheThirdTime)
{
    for (const std::size_t without : {2u, 3u}) {
        destroyLink();
        watch("4x1");
        const Bytes request = frame("01 03 00 00 00 01");
        Bytes both = request;
        const Bytes good = goodReply(request);
        both.insert(both.end(), good.begin(), good.end());
        reply(request);
        reply(both);
        steps(static_cast<int>(2 + without));
        EXPECT_EQ(ReplyKind::Good, transactions.back().kind);
        reply(hex("01")); // behind the echo, this would be something else
        steps(2);
        EXPECT_EQ(without<3, pauseBefore(line->sent.size() - 1)> Timeout) << without;
    }
}

TEST_F(LinkExchange, SendsTheSameFrameAgainAfterADamagedReply)
{
    watch("4x1");
    watch("4x200");
    Bytes damaged = frame("01 03 02 00 07");
    damaged.back() ^= 0xFF;
    reply(damaged);
    steps(2);
    ASSERT_EQ(2u, line->sent.size());
    EXPECT_EQ(line->sent[0].bytes, line->sent[1].bytes);
    EXPECT_EQ(ReplyKind::Damaged, transactions[0].kind);
    EXPECT_EQ(2, transactions[1].attempt);
    EXPECT_EQ(ReplyKind::Good, transactions[1].kind);
}

TEST_F(LinkExchange, GivesUpAfterTheAttemptsAndGoesOn)
{
    watch("4x1");
    watch("4x200", 2);
    loseRequests(3);
    steps(4);
    ASSERT_EQ(4u, transactions.size());
    EXPECT_EQ("", transactions[1].information.toStdString());
    EXPECT_EQ("R,1#4x1(1)", transactions[2].information.toStdString());
    EXPECT_EQ(ReplyKind::Good, transactions[3].kind);
    EXPECT_EQ(1, transactions[3].attempt);
    EXPECT_NE(line->sent[2].bytes, line->sent[3].bytes);
}

TEST_F(LinkExchange, DropsWhatCameBetweenTheFrames)
{
    watch("4x1");
    steps(1);
    line->receive(microseconds(500), hex("AA BB"));
    steps(1);
    EXPECT_EQ(2u, transactions.at(1).strayBytes);
    EXPECT_EQ(ReplyKind::Good, transactions.at(1).kind);
}

TEST_F(LinkExchange, TheSecondAnswerToAFrameSentTwiceIsNotTakenForTheNext)
{
    const rtu::Tag first = watch("4x8");
    const rtu::Tag second = watch("4x300");
    late(Timeout);         // the answer to the first attempt comes during the second
    late(Timeout * 3 / 4); // and the answer to the second when the next request is due
    steps(3);
    ASSERT_EQ(3u, transactions.size());
    EXPECT_EQ(ReplyKind::Good, transactions[2].kind);
    EXPECT_EQ(7.0, first.value().number());
    EXPECT_EQ(299.0, second.value().number());
}

TEST_F(LinkExchange, WithoutTheGuardItWouldBe)
{
    settings.lateReplyGuard = rtu::Duration(0);
    watch("4x8");
    const rtu::Tag second = watch("4x300");
    late(Timeout);
    late(Timeout * 3 / 4);
    loseRequests(1); // the third request: only the stale answer comes
    steps(3);
    EXPECT_EQ(7.0, second.value().number()) << "what the guard is there for";
}

TEST_F(LinkExchange, ALateReplyAfterGivingUpIsNotTakenForTheNext)
{
    settings.attempts = 1;
    watch("4x8");
    const rtu::Tag second = watch("4x300");
    late(Timeout * 3 / 2);
    run(std::chrono::seconds(10));
    EXPECT_EQ(ReplyKind::Silent, transactions.at(0).kind);
    EXPECT_EQ(299.0, second.value().number());
    for (const rtu::TagChange &change : changes)
        EXPECT_TRUE(change.tag != second || change.after.number() != 7.0);
}

TEST_F(LinkExchange, ALateReplyAfterGivingUpIsListenedForBeforeItsStationIsAskedAgain)
{
    settings.attempts = 1;
    watch("4x8");
    late(Timeout);
    steps(1);
    double number = 0;
    link().read(TagDefinition(1, "4x300"), [&](const rtu::ReadResult &result) { number = result.value.number(); });
    steps(1);
    EXPECT_EQ(299.0, number);
    EXPECT_LT(0u, transactions.back().strayBytes);
}

TEST_F(LinkExchange, NoOtherStationWaitsForALateReplyAfterGivingUp)
{
    settings.attempts = 1;
    watch("4x8");
    watch("4x20", 2);
    loseRequests(1);
    steps(2);
    EXPECT_EQ(2, transactions.back().station);
    EXPECT_GT(2 * Timeout, pauseBefore(1));
}

TEST_F(LinkExchange, LateRepliesAreListenedForInVainThreeTimesOnly)
{
    settings.attempts = 5;
    watch("4x1");
    loseRequests(5);
    steps(5);
    for (std::size_t i = 1; i <= 3; ++i)
        EXPECT_LE(2 * Timeout, pauseBefore(i)) << i;
    EXPECT_GT(Timeout + milliseconds(20), pauseBefore(4));
}

TEST_F(LinkExchange, AStationThatIsBackIsListenedForAgain)
{
    settings.attempts = 5;
    watch("4x1");
    loseRequests(4);
    late(rtu::Duration(0));
    loseRequests(1);
    steps(7);
    EXPECT_EQ(ReplyKind::Good, transactions.at(4).kind);
    EXPECT_LE(2 * Timeout, pauseBefore(6));
}

TEST_F(LinkExchange, TheAnswerOfAStationThatIsBackMayBeToAnEarlierAttempt)
{
    settings.attempts = 5;
    const rtu::Tag first = watch("4x8");
    const rtu::Tag second = watch("4x300");
    loseRequests(3);   // dead from here on
    late(Timeout);     // comes while the fifth attempt is waited for,
    late(Timeout / 2); // whose own answer comes when the next request is due
    steps(6);
    EXPECT_EQ(ReplyKind::Good, transactions.at(4).kind);
    EXPECT_EQ(ReplyKind::Good, transactions.at(5).kind);
    EXPECT_EQ(7.0, first.value().number());
    EXPECT_EQ(299.0, second.value().number());
}

TEST_F(LinkExchange, ALateReplyThatIsComingInIsWaitedForBeforeTheNextAttempt)
{
    TagDefinition ten(1, "4x1");
    ten.values = 10;
    watch("4x1");
    link().addTag(ten);
    late(Timeout - milliseconds(3)); // begins just after the time-out
    steps(2);
    const rtu::TimePoint replyEnd =
        line->sent.at(0).when + timing.characters(8) + Timeout + milliseconds(1) + timing.characters(24);
    EXPECT_LT(replyEnd, line->sent.at(1).when);
    EXPECT_LT(0u, transactions.at(1).strayBytes);
    EXPECT_EQ(ReplyKind::Good, transactions.at(1).kind);
}

TEST_F(LinkExchange, ALineThatIsNeverSilentIsGivenUpOn)
{
    watch("4x1");
    for (int i = 0; i < 2000; ++i)
        line->receive(milliseconds(i), Bytes(1, 0x55));
    EXPECT_EQ(LinkStep::Done, link().step());
    EXPECT_NE(ReplyKind::Good, transactions.at(0).kind);
}

TEST_F(LinkExchange, ABroadcastGetsItsDelayAndNoReply)
{
    watch("4x1");
    link().write(TagDefinition(0, "4x5"), {7});
    steps(1);
    EXPECT_EQ(frame("00 06 00 04 00 07"), line->sent.at(0).bytes);
    EXPECT_EQ(ReplyEnd::NoneExpected, transactions.at(0).end);
    EXPECT_LE(settings.broadcastDelay, line->now() - line->sent.at(0).when);
}

TEST_F(LinkExchange, NothingIsSentWhileThePortIsGone)
{
    watch("4x1");
    steps(1);
    line->plugged = false;
    run(settings.reopenInterval * 3);
    EXPECT_EQ(1u, line->sent.size());
    line->plugged = true;
    run(settings.reopenInterval * 2);
    EXPECT_LT(1u, line->sent.size());
    EXPECT_EQ(ReplyKind::Good, transactions.back().kind);
    EXPECT_EQ((std::vector<bool>{true, false, true}), ports);
}

TEST_F(LinkExchange, APortLostBeforeTheReplyEndsTheRequestAndItsReadIsRepeated)
{
    watch("4x1");
    script.push_back([this](const Bytes &) { line->unplugAfter(milliseconds(3)); });
    EXPECT_EQ(LinkStep::Done, link().step());
    EXPECT_EQ(ReplyEnd::PortLost, transactions.at(0).end);
    EXPECT_EQ(LinkStep::NoPort, link().step());
    line->plugged = true;
    run(settings.reopenInterval * 2);
    ASSERT_LT(1u, line->sent.size());
    EXPECT_EQ(line->sent[0].bytes, line->sent[1].bytes);
    EXPECT_EQ(1, transactions.at(1).attempt);
    EXPECT_EQ(ReplyKind::Good, transactions.at(1).kind);
}

TEST_F(LinkExchange, APortLostWhileListeningSaysNothingAboutTheStation)
{
    settings.attempts = 5;
    watch("4x1");
    for (int i = 0; i < 3; ++i) {
        loseRequests(1);
        steps(1);
        line->unplugAfter(Timeout / 2);
        EXPECT_EQ(LinkStep::NoPort, link().step());
        line->plugged = true;
        line->advance(settings.reopenInterval);
    }
    loseRequests(1);
    steps(2);
    ASSERT_EQ(5u, line->sent.size());
    EXPECT_LE(2 * Timeout, pauseBefore(4));
}

/** @param frame of the round that is on the line when the port is lost */
class LinkPortLost : public LinkExchange, public testing::WithParamInterface<int>
{
};

TEST_P(LinkPortLost, ThePlanIsReadAtOnceWhenItIsBackHoweverSeldomItsRounds)
{
    settings.roundInterval = std::chrono::hours(1);
    const std::vector<rtu::Tag> tags = {watch("4x1"), watch("4x200"), watch("4x1", 2)};
    for (int i = 0; i < GetParam(); ++i)
        late(rtu::Duration(0));
    script.push_back([this](const Bytes &) { line->unplugAfter(milliseconds(2)); });
    run(std::chrono::seconds(1));
    ASSERT_EQ(Quality::StationSilent, tags[0].value().quality);
    line->plugged = true;
    run(std::chrono::seconds(2));
    for (const rtu::Tag &tag : tags)
        EXPECT_EQ(Quality::Good, tag.value().quality);
    EXPECT_EQ(static_cast<std::size_t>(GetParam()) + 4, line->sent.size()) << "one round, and no more";
}

INSTANTIATE_TEST_SUITE_P(Frames, LinkPortLost, testing::Values(0, 1, 2));

TEST_F(LinkExchange, AResentFrameDoesNotEndTheRoundEarly)
{
    watch("4x1");
    watch("4x200");
    reply(hex("01 03"));
    std::vector<std::size_t> framesAtEnd;
    link().onRound([&] { framesAtEnd.push_back(line->sent.size()); });
    steps(3);
    EXPECT_EQ((std::vector<std::size_t>{3}), framesAtEnd);
}

TEST_F(LinkExchange, AreStoppedInTheMiddleOfAWaitWithoutTellingAnybody)
{
    watch("4x1");
    script.push_back([this](const Bytes &) { link().stop(); });
    EXPECT_EQ(LinkStep::Stopped, link().step());
    EXPECT_TRUE(transactions.empty());
}

TEST_F(LinkExchange, TheAnswerToARequestThatAStopCutShortIsNotTakenForTheNext)
{
    const rtu::Tag first = watch("4x8");
    const rtu::Tag second = watch("4x300");
    script.push_back([this](const Bytes &request) {
        replyAfter(milliseconds(100), request);
        link().stop();
    });
    late(milliseconds(130)); // comes before the next answer does
    late(milliseconds(100));
    EXPECT_EQ(LinkStep::Stopped, link().step());
    steps(3);
    EXPECT_EQ(7.0, first.value().number());
    EXPECT_EQ(299.0, second.value().number());
    for (const rtu::TagChange &change : changes)
        EXPECT_TRUE(change.tag != second || change.after.number() != 7.0);
}

TEST_F(LinkExchange, AStopWhileALateReplyIsListenedForDoesNotForgetThatReply)
{
    settings.attempts = 1;
    watch("4x8");
    late(milliseconds(300));
    late(milliseconds(150)); // to the read; without the rest of the listening the late reply comes before it
    steps(1);
    ASSERT_EQ(ReplyKind::Silent, transactions.at(0).kind);
    line->waiting = [this] {
        line->waiting = nullptr;
        link().stop();
    };
    rtu::ReadResult result;
    link().read(TagDefinition(1, "4x300"), [&](const rtu::ReadResult &read) { result = read; });
    EXPECT_EQ(LinkStep::Stopped, link().step());
    EXPECT_EQ(1u, line->sent.size());
    steps(1);
    EXPECT_EQ(rtu::ReadEnd::Good, result.end);
    EXPECT_EQ(299.0, result.value.number());
}

TEST_F(LinkExchange, APortThatIsOpenedByItsUserIsUsedByTheNextStep)
{
    watch("4x1");
    line->plugged = false;
    EXPECT_EQ(LinkStep::NoPort, link().step());
    line->plugged = true;
    EXPECT_EQ(LinkStep::NoPort, link().step()) << "it is not time to try again";
    link().open();
    EXPECT_LE(link().nextStep(), line->now());
    EXPECT_EQ(LinkStep::Done, link().step());
}

struct Accepted
{
    const char *reply;
    const char *words;
};

TEST_F(LinkExchange, WarnsOfRepliesThatAreTakenByLengthAloneAndLookWrong)
{
    const Accepted cases[] = {
        {"02 03 02 00 07", "station 2"},
        {"01 04 02 00 07", "function 4"},
        {"01 03 02 00 07", ""},
    };
    settings.checkReplies = false;
    watch("4x1");
    for (const Accepted &c : cases) {
        reply(frame(c.reply));
        steps(1);
        const std::string warning = transactions.back().warning.toStdString();
        EXPECT_EQ(ReplyKind::Good, transactions.back().kind) << c.reply;
        EXPECT_EQ(c.words[0] == '\0', warning.empty()) << warning;
        EXPECT_TRUE(contains(warning, c.words)) << warning;
    }
}

TEST_F(LinkExchange, DoesNotWarnOfGoodReplies)
{
    settings.checkReplies = false;
    for (const char *address : {"4x1", "0x1", "1x9", "3x4", "4x_double20"})
        watch(address);
    link().write(TagDefinition(1, "4x_bit3.5"), {1});
    steps(7);
    EXPECT_EQ(frame("01 10 00 02 00 01 02 00 22"), line->sent.at(1).bytes); // 2 with bit 5 set
    for (const rtu::Transaction &t : transactions)
        EXPECT_EQ("", t.warning.toStdString());
}

} // namespace
