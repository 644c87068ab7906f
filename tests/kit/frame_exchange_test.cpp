// One frame after another on a line of virtual time: what is kept of each, and when the next one goes out.

#include "kit/poll/frame_exchange.h"
#include "kit/poll/reply_timeout.h"
#include "support/frames.h"
#include "support/virtual_line.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace test_line;
using rtu::ExchangeEnd;
using rtu::ReplyKind;

const char *const KindNames[] = {"good", "exception", "silent", "damaged", "foreign", "port lost"};
const char *const EndNames[] = {"complete", "exception", "silence", "timed out", "none expected", "port lost"};

std::string hexOf(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex()).toStdString();
}

class FrameExchanges : public testing::Test
{
protected:
    FrameExchanges()
    {
        settings.parameters.baud = 0; // no pace: times are those of the script
        settings.replyTimeout = Timeout;
        settings.lateReplyGuard = Guard;
        settings.silence = Silence;
        settings.replyGap = Gap;
        settings.broadcastDelay = milliseconds(100);
        begin();
    }

    /** A new exchange by the settings, on a new line. */
    void begin()
    {
        line.reset(new VirtualLine);
        line->slave = [this](VirtualLine &, const Bytes &) {
            if (onSent)
                onSent();
            onSent = nullptr;
        };
        exchange.reset(new rtu::FrameExchange(*line, settings, stopping));
        start = line->now();
        transaction = rtu::Transaction();
    }

    static FRAME_PRO frameOf(const Bytes &bytes, int replyLength)
    {
        FRAME_PRO result = FRAME_PRO();
        std::copy(bytes.begin(), bytes.end(), result.frame);
        result.frameLen = static_cast<int>(bytes.size());
        result.replyLen = replyLength;
        result.var.station = bytes[0];
        result.var.regType = QString::fromLatin1("4x");
        result.var.startAddr = bytes[3];
        result.var.count = bytes[5];
        result.var.userData = 17;
        return result;
    }

    ExchangeEnd send(const FRAME_PRO &what, rtu::Sending sending = rtu::Sending())
    {
        if (sending.timeout == rtu::Duration(0))
            sending.timeout = Timeout;
        const rtu::TimePoint before = line->now();
        const ExchangeEnd end = exchange->exchange(what, sending, transaction);
        pause = line->sent.empty() ? rtu::Duration(0) : line->sent.back().when - before;
        return end;
    }

    /** A read of one register. */
    ExchangeEnd ask(int station, const rtu::Sending &sending = rtu::Sending())
    {
        FRAME_PRO read = frameOf(frame("01 03 00 00 00 01"), 7);
        const Bytes bytes = withCrc({static_cast<unsigned char>(station), 3, 0, 0, 0, 1});
        std::copy(bytes.begin(), bytes.end(), read.frame);
        read.var.station = station;
        return send(read, sending);
    }

    ExchangeEnd askAgain(int station)
    {
        rtu::Sending sending;
        sending.resend = true;
        return ask(station, sending);
    }

    ExchangeEnd question(int station, rtu::Duration timeout)
    {
        rtu::Sending sending;
        sending.question = true;
        sending.timeout = timeout;
        return ask(station, sending);
    }

    /** To the next frame, so long after it was sent. */
    void reply(const Bytes &bytes, rtu::Duration after = milliseconds(30))
    {
        onSent = [this, bytes, after] { line->receive(after, bytes); };
    }

    void replyGood(int station) { reply(withCrc({static_cast<unsigned char>(station), 3, 2, 0, 5})); }

    /** Of the silent frames that follow, how many were sent after listening for a late reply. */
    int listenings()
    {
        int count = 0;
        for (int i = 0; i < 8; ++i) {
            askAgain(1);
            count += pause >= Guard ? 1 : 0;
        }
        return count;
    }

    long long since(rtu::TimePoint when) const { return std::chrono::nanoseconds(when - start).count(); }

    /** All that is kept of the last frame. */
    std::string account() const
    {
        const rtu::Transaction &t = transaction;
        QString text = QString::fromLatin1("#%1.%2 station %3 %4 %5*%6 tag %7 %8 ")
                           .arg(t.number)
                           .arg(t.attempt)
                           .arg(t.station)
                           .arg(t.regType)
                           .arg(t.startAddr)
                           .arg(t.count)
                           .arg(t.tag)
                           .arg(QLatin1String(t.isRead ? "read" : "write"));
        text += QString::fromLatin1("sent %1 out %2 begun %3 finished %4 ")
                    .arg(since(t.sent))
                    .arg(since(t.requestEnd))
                    .arg(since(t.firstByte))
                    .arg(since(t.finished));
        return text.toStdString() + hexOf(t.request) + " > " + std::to_string(t.expectedReply) + ": " + hexOf(t.reply)
               + " " + EndNames[static_cast<int>(t.end)] + " " + KindNames[static_cast<int>(t.kind)] + " "
               + std::to_string(t.exceptionCode) + " stray " + std::to_string(t.strayBytes)
               + (t.echoRemoved ? " echo" : "") + t.information.toStdString() + t.warning.toStdString();
    }

    const rtu::Duration Timeout = milliseconds(200);
    const rtu::Duration Guard = milliseconds(300);
    const rtu::Duration Silence = milliseconds(2);
    const rtu::Duration Gap = milliseconds(50);

    rtu::LinkSettings settings;
    std::atomic<bool> stopping{false};
    std::unique_ptr<VirtualLine> line;
    std::unique_ptr<rtu::FrameExchange> exchange;
    rtu::Transaction transaction;
    rtu::TimePoint start;
    rtu::Duration pause{0}; ///< before the last frame
    std::function<void()> onSent;
};

/** A transaction as nothing of it may be left in the next one. */
rtu::Transaction used()
{
    rtu::Transaction t;
    t.number = 41;
    t.attempt = 5;
    t.reply = QByteArray("old");
    t.end = rtu::ReplyEnd::PortLost;
    t.kind = ReplyKind::Exception;
    t.exceptionCode = 9;
    t.strayBytes = 99;
    t.echoRemoved = true;
    t.information = QLatin1String("old");
    t.warning = QLatin1String("old");
    return t;
}

TEST_F(FrameExchanges, AreKeptWhole)
{
    settings.parameters = rtu::LineParameters(); // 19200 8E1: a character lasts 572,916 ns
    begin();
    const std::string bytes = hexOf(array(frame("07 03 00 09 00 01")));
    const std::string answer = hexOf(array(frame("07 03 02 12 34")));
    const FRAME_PRO read = frameOf(frame("07 03 00 09 00 01"), 7);
    rtu::Sending again;
    again.resend = true;
    transaction = used();
    EXPECT_EQ(ExchangeEnd::Judged, send(read));
    EXPECT_EQ("#42.1 station 7 4x 9*1 tag 17 read sent 0 out 4583328 begun 4583328 finished 204583328 " + bytes
                  + " > 7:  timed out silent 0 stray 0",
              account());
    reply(frame("07 03 02 12 34"));
    EXPECT_EQ(ExchangeEnd::Judged, send(read, again));
    EXPECT_EQ("#43.2 station 7 4x 9*1 tag 17 read sent 504583328 out 509166656 begun 534583328 finished 534583328 "
                  + bytes + " > 7: " + answer + " complete good 0 stray 0",
              account());
    send(read, again);
    EXPECT_EQ(3, transaction.attempt);
    send(read);
    EXPECT_EQ(1, transaction.attempt);
    EXPECT_EQ(45u, transaction.number);
}

TEST_F(FrameExchanges, OfBroadcastsEndWithTheirDelayAndWithoutTheirEcho)
{
    settings.parameters = rtu::LineParameters();
    begin();
    const Bytes bytes = frame("00 06 00 09 00 01");
    transaction = used();
    reply(bytes, milliseconds(5));
    EXPECT_EQ(ExchangeEnd::Judged, send(frameOf(bytes, 0)));
    EXPECT_EQ("#42.1 station 0 4x 9*1 tag 17 write sent 0 out 4583328 begun 4583328 finished 104583328 "
                  + hexOf(array(bytes)) + " > 0:  none expected good 0 stray 0",
              account());
    replyGood(1);
    ask(1);
    EXPECT_EQ(Silence, pause);
    EXPECT_EQ(0u, transaction.strayBytes);
    EXPECT_EQ(ReplyKind::Good, transaction.kind);
}

TEST_F(FrameExchanges, KnowReadsByTheirFunction)
{
    for (const int function : {1, 2, 3, 4, 5, 6, 15, 16}) {
        const unsigned char code = static_cast<unsigned char>(function);
        const unsigned char addressHigh = function <= 4 ? 9 : 0; // what stands beside the function misleads
        send(frameOf(withCrc({7, code, addressHigh, 9, 0, 1}), 8));
        EXPECT_EQ(function <= 4, transaction.isRead) << function;
    }
}

TEST_F(FrameExchanges, KeepTheSilenceOfTheStationOrOfTheLine)
{
    settings.stations[1].silence = rtu::Duration(0);
    settings.stations[2].silence = milliseconds(40);
    settings.stations[3].replyTimeout = milliseconds(70); // and no silence
    begin();
    EXPECT_EQ(rtu::Duration(0), exchange->silence(1));
    EXPECT_EQ(milliseconds(40), exchange->silence(2));
    EXPECT_EQ(Silence, exchange->silence(3));
    EXPECT_EQ(Silence, exchange->silence(4));
    rtu::LineParameters slow;
    slow.baud = 1000; // 11 ms a character
    exchange->setTiming(rtu::LineTiming(slow));
    EXPECT_EQ(Silence, exchange->silence(4)) << "set, whatever the line has";
    settings.silence = milliseconds(-1);
    begin();
    exchange->setTiming(rtu::LineTiming(slow));
    EXPECT_EQ(microseconds(38500), exchange->silence(4));
}

TEST_F(FrameExchanges, EndAReplyAtOnceWhereNoPauseIsWanted)
{
    settings.replyGap = rtu::Duration(0);
    begin();
    reply(hex("01 03"));
    ask(1);
    EXPECT_EQ(milliseconds(30), transaction.finished - transaction.sent);
}

TEST(ReplyTimeout, IsThatOfTheStationOrOfTheLink)
{
    rtu::LinkSettings settings;
    settings.replyTimeout = milliseconds(200);
    settings.stations[1].replyTimeout = milliseconds(70);
    settings.stations[2].silence = milliseconds(40); // and no time-out
    settings.stations[3].replyTimeout = rtu::Duration(0);
    EXPECT_EQ(milliseconds(70), rtu::replyTimeoutOf(settings, 1));
    EXPECT_EQ(milliseconds(200), rtu::replyTimeoutOf(settings, 2));
    EXPECT_EQ(rtu::Duration(0), rtu::replyTimeoutOf(settings, 3));
    EXPECT_EQ(milliseconds(200), rtu::replyTimeoutOf(settings, 4));
}

// --- late replies ----------------------------------------------------------------------

TEST_F(FrameExchanges, WaitForWhatMayStillCome)
{
    struct Case
    {
        const char *what;
        std::function<void()> before;
        rtu::Duration same;  ///< from then until the next frame to station 1
        rtu::Duration other; ///< or to station 2
    };
    const auto answered = [this](const Bytes &bytes) {
        return [this, bytes] {
            reply(bytes);
            ask(1);
        };
    };
    const auto givenUp = [this](std::function<void()> before) {
        return [this, before] {
            before();
            exchange->giveUp();
        };
    };
    const std::function<void()> lost = [this] { ask(1); };
    const std::function<void()> asked = [this] { question(1, milliseconds(40)); };
    const std::function<void()> cutShort = [this] {
        onSent = [this] { line->interrupt(); };
        EXPECT_EQ(ExchangeEnd::CutShort, ask(1));
        line->clearInterrupt();
    };
    const std::function<void()> heardAtLast = [this] {
        listenings(); // the last attempts are not listened for
        replyGood(1);
        askAgain(1);
    };
    const std::function<void()> brokenAtLast = [this] {
        listenings();
        reply(hex("01 03"));
        askAgain(1);
    };
    const Case cases[] = {
        {"nothing before", [this] { exchange->giveUp(); }, rtu::Duration(0), rtu::Duration(0)},
        {"a good reply", answered(frame("01 03 02 00 05")), Silence, Silence},
        {"a refusal", answered(frame("01 83 02")), Silence, Silence},
        {"no reply", lost, Guard, Guard},
        {"no reply, and the request given up", givenUp(lost), Guard, Silence},
        {"another's reply", answered(frame("02 03 02 00 05")), Guard, Guard},
        {"another's reply, and the request given up", givenUp(answered(frame("02 03 02 00 05"))), Guard, Guard},
        {"the begin of the reply", answered(hex("01 03")), Gap, Gap},
        {"the begin of a refusal", answered(hex("01 83")), Gap, Gap},
        {"the begin of a reply to another function", answered(hex("01 02")), Guard, Guard},
        {"a question, asked for 40 ms", asked, Timeout + Guard - milliseconds(40), Silence},
        {"the same, given up", givenUp(asked), Timeout + Guard - milliseconds(40), Silence},
        {"a frame cut short", cutShort, Timeout + Guard, Timeout + Guard},
        {"a dead station's silence", [this] { listenings(); }, Silence, Silence},
        {"the same, given up", givenUp([this] { listenings(); }), Silence, Silence},
        {"a reply, maybe to an attempt before", heardAtLast, Guard, Guard},
        {"the begin of such a reply", brokenAtLast, Gap, Gap},
    };
    for (const Case &c : cases) {
        for (const int station : {1, 2}) {
            begin();
            c.before();
            replyGood(station);
            ask(station);
            EXPECT_EQ(station == 1 ? c.same : c.other, pause) << c.what << ", then station " << station;
            EXPECT_EQ(ReplyKind::Good, transaction.kind) << c.what;
            ask(station);
            EXPECT_EQ(Silence, pause) << c.what << ": waited for once";
        }
    }
}

TEST_F(FrameExchanges, WaitForNothingWithoutTheGuard)
{
    settings.lateReplyGuard = rtu::Duration(0);
    for (const bool cutShort : {false, true}) {
        begin();
        if (cutShort)
            onSent = [this] { line->interrupt(); };
        ask(1);
        line->clearInterrupt();
        ask(1);
        EXPECT_EQ(Silence, pause);
    }
}

TEST_F(FrameExchanges, ListenInVainThreeTimesForEachStation)
{
    struct Case
    {
        const char *what;
        std::function<void()> before;
        int more;
    };
    const auto ask1 = [this] { ask(1); };
    const Case cases[] = {
        {"nothing before", [] {}, 3},
        {"a frame of which the rest was waited for in vain",
         [&] {
             ask1();
             ask1();
             replyGood(2);
             ask(2);
         },
         1},
        {"a reply since",
         [&] {
             for (int i = 0; i < 3; ++i)
                 ask1();
             replyGood(1);
             ask1();
         },
         3},
        {"a late reply since",
         [&] {
             for (int i = 0; i < 3; ++i)
                 ask1();
             line->receive(milliseconds(100), frame("01 03 02 00 05"));
             ask1();
         },
         3},
        {"a request given up for so long that its reply can no longer come",
         [&] {
             ask1();
             exchange->giveUp();
             line->advance(Guard);
         },
         3},
        {"a port lost while a reply was waited for",
         [&] {
             listenings();
             onSent = [this] { line->unplugAfter(milliseconds(1)); };
             ask1();
             EXPECT_EQ(ReplyKind::PortLost, transaction.kind);
             line->plugged = true;
         },
         0},
        {"a port lost before the next frame was sent",
         [&] {
             ask1();
             line->plugged = false;
             EXPECT_EQ(ExchangeEnd::NotSent, ask(1));
             line->plugged = true;
         },
         2},
        {"a frame cut short behind one to another station",
         [&] {
             replyGood(2);
             ask(2);
             onSent = [this] { line->interrupt(); };
             ask1();
             line->clearInterrupt();
         },
         3},
    };
    for (const Case &c : cases) {
        begin();
        c.before();
        EXPECT_EQ(c.more, listenings()) << c.what;
    }
}

TEST_F(FrameExchanges, LetALateReplyEndAndForgetItsRequest)
{
    for (const bool givenUp : {false, true}) {
        begin();
        ask(1);
        if (givenUp)
            exchange->giveUp();
        line->receivePaced(milliseconds(100), milliseconds(1), frame("01 03 02 00 05"));
        replyGood(1);
        ask(1);
        EXPECT_EQ(milliseconds(106) + Gap, pause);
        EXPECT_EQ(7u, transaction.strayBytes);
        EXPECT_EQ(ReplyKind::Good, transaction.kind);
        replyGood(1);
        ask(1);
        EXPECT_EQ(Silence, pause);
        EXPECT_EQ(0u, transaction.strayBytes);
    }
}

// --- what comes between the frames -----------------------------------------------------

TEST_F(FrameExchanges, KeepTheirSilenceBehindWhatComesBetweenThem)
{
    replyGood(1);
    ask(1);
    line->receive(milliseconds(1), hex("AA BB"));
    line->receive(milliseconds(3), hex("CC"));
    replyGood(1);
    ask(1);
    EXPECT_EQ(3 * Silence, pause);
    EXPECT_EQ(3u, transaction.strayBytes);
}

TEST_F(FrameExchanges, LeaveALateReplyThatNobodyListensForItsPauses)
{
    question(1, milliseconds(40));
    line->receive(milliseconds(1), hex("01"));
    line->receive(milliseconds(30), hex("03"));
    replyGood(2);
    ask(2);
    EXPECT_EQ(Silence + 2 * Gap, pause);
    EXPECT_EQ(2u, transaction.strayBytes);
    line->receive(milliseconds(1), hex("01"));
    ask(2);
    EXPECT_EQ(2 * Silence, pause) << "the frame before has been answered";
}

/** A byte each millisecond from now on. */
void babble(VirtualLine &line)
{
    for (int i = 0; i < 750; ++i)
        line.receive(milliseconds(i), Bytes(1, 0x55));
}

TEST_F(FrameExchanges, AreSentAfterATimeOutWhereTheLineIsNeverSilent)
{
    babble(*line);
    ask(1);
    EXPECT_EQ(Timeout + Silence, pause);
    EXPECT_EQ(203u, transaction.strayBytes);
}

TEST_F(FrameExchanges, ListenNoLongerThanATimeOutAndTheGuardWhereTheLineIsNeverSilent)
{
    ask(1);
    babble(*line);
    ask(1);
    // Listened to, then waited for to fall silent: each with a patience of its own.
    EXPECT_EQ((Timeout + Guard) + (Timeout + Silence), pause);
    EXPECT_EQ(703u, transaction.strayBytes);
}

// --- echoes ----------------------------------------------------------------------------

class Echoes : public FrameExchanges
{
protected:
    /** Asks station 1; what comes back is one letter. The letter of what was made of it, a star for an echo removed. */
    std::string made(char what)
    {
        const Bytes request = frame("01 03 00 00 00 01");
        const Bytes good = frame("01 03 02 00 05");
        Bytes both = request;
        both.insert(both.end(), good.begin(), good.end());
        Bytes damaged = good;
        damaged.back() ^= 0xFF;
        const std::map<char, Bytes> replies = {
            {'b', both},    // the echo, and the reply behind it
            {'g', good},    // without an echo
            {'e', request}, // the echo alone
            {'x', frame("01 83 02")},
            {'d', damaged},
            {'4', Bytes(request.begin(), request.begin() + 4)},
            {'5', Bytes(request.begin(), request.begin() + 5)},
        };
        reply(replies.at(what));
        ask(1);
        line->advance(std::chrono::seconds(1));
        line->discardInput();
        return std::string(1, "GXSDFP"[static_cast<int>(transaction.kind)]) + (transaction.echoRemoved ? "*" : "");
    }

    std::string madeOf(const std::string &replies)
    {
        begin();
        std::string all;
        for (const char what : replies)
            all += made(what);
        return all;
    }
};

TEST_F(Echoes, AreFoundAndForgotten)
{
    const std::pair<const char *, const char *> cases[] = {
        {"b", "F"},
        {"eb", "FG*"},
        {"5b", "FG*"},
        {"4b", "DF"}, // so little is no echo
        {"xb", "XF"},
        {"db", "DF"},
        {"eggb", "FGGG*"},
        {"egggb", "FGGGF"},
        {"eggbggb", "FGGG*GGG*"},
        {"egdgb", "FGDGG*"}, // a damaged reply tells nothing
        {"egggegb", "FGGGFGG*"},
        {"egggegdb", "FGGGFGDG*"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(c.second, madeOf(c.first)) << c.first;
}

TEST_F(Echoes, AreAlwaysOrNeverThereOnRequest)
{
    settings.echo = rtu::Echo::Always;
    EXPECT_EQ("G*GGGGG*", madeOf("bggggb"));
    settings.echo = rtu::Echo::Never;
    EXPECT_EQ("DDD", madeOf("bbb"));
}

TEST_F(Echoes, OfWritesTellNothing)
{
    const Bytes write = frame("01 10 00 00 00 01 02 00 05");
    reply(write);
    send(frameOf(write, 8));
    EXPECT_EQ(ReplyKind::Damaged, transaction.kind);
    EXPECT_EQ("F", made('b'));
}

} // namespace
