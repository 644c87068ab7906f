#include "checker/replies.h"

#include "checker/findings.h"
#include "driver/qt_compat.h"

#include <algorithm>
#include <cstring>

namespace checker {

namespace {

/** So many calls without a reply in so short a time are no pause. */
const int HastyCalls = 200;
const Milliseconds HastyTime(1000);

/** Shorter time-outs are no measure for what a host does after them. */
const Milliseconds ShortestTimeOut(20);

/** A station silent through so many time-outs running is dead, not late, and need not be waited for. */
const int DeadAfter = 3;

const int LastRead = 4;
const int WriteOneCoil = 5;
const int WriteOneRegister = 6;

bool readsBits(int function)
{
    return function == 1 || function == 2;
}

} // namespace

Replies::Replies()
    : frame(FRAME_PRO())
    , frameOut(false)
    , transactionOpen(false)
    , takenBack(false)
    , everGiven(false)
    , replySize(0)
    , expected(false)
    , timedOut(false)
    , timeOut(Clock::duration::zero())
    , timedOutStation(0)
    , askedInVain(0)
{
    std::memset(head, 0, sizeof head);
}

void Replies::reset()
{
    takenBack = frameOut;
    frameOut = false;
    transactionOpen = false;
    everGiven = false;
    timedOut = false;
}

bool Replies::isWrite() const
{
    return frame.frame[1] > LastRead;
}

bool Replies::isReadHalf() const
{
    return frame.var.regType == QLatin1String("4x_bit") && frame.dataLen != 0;
}

void Replies::asked(const FRAME_PRO *out, TimePoint time, Findings &findings)
{
    countHaste(time, findings);
    takenBack = false;
    frameOut = out != nullptr;
    transactionOpen = frameOut;
    if (!out)
        return;
    frame = *out;
    everGiven = true;
    poller = std::this_thread::get_id();
    given = time;
}

void Replies::countHaste(TimePoint time, Findings &findings)
{
    if (askedInVain == 0)
        firstAsked = time;
    if (++askedInVain < HastyCalls)
        return;
    if (time - firstAsked < HastyTime)
        findings.report(BusyPolling, getSendFrameCall, "",
                        std::to_string(askedInVain) + " calls within a second and no reply handed in");
    askedInVain = 0;
}

void Replies::beforeJudgement(const QByteArray &reply, TimePoint time, Findings &findings)
{
    askedInVain = 0;
    expected = frameOut;
    replySize = sizeOf(reply);
    std::memset(head, 0, sizeof head);
    std::memcpy(head, reply.constData(), static_cast<std::size_t>(std::min<int>(replySize, HeadBytes)));
    checkTurn(findings);
    if (!expected)
        return;
    checkContent(reply, findings);
    checkDraining(time, findings);
    noteTimeOut(time);
}

void Replies::checkTurn(Findings &findings)
{
    if (frameOut) {
        if (std::this_thread::get_id() != poller)
            findings.report(ReplyFromAnotherThread, dealRcvFrameCall, "",
                            "another thread has called intf_getSendFrame for this frame");
        return;
    }
    if (takenBack)
        takenBack = false;
    else if (everGiven)
        findings.report(ReplyTwice, dealRcvFrameCall, "", "a reply has been handed in already for the last frame");
    else
        findings.report(ReplyWithoutFrame, dealRcvFrameCall, "", "intf_getSendFrame has given no frame");
}

void Replies::checkContent(const QByteArray &reply, Findings &findings) const
{
    if (frame.replyLen == 0) {
        if (replySize > 0)
            findings.report(ReplyToBroadcast, dealRcvFrameCall, "reply",
                            std::to_string(replySize) + " bytes where nobody answers");
        return;
    }
    const bool beginsWithRequest =
        replySize >= frame.frameLen && frame.frameLen > 0
        && std::memcmp(reply.constData(), frame.frame, static_cast<std::size_t>(frame.frameLen)) == 0;
    const int function = frame.frame[1];
    const bool echoIsAnswer = function == WriteOneCoil || function == WriteOneRegister;
    if (beginsWithRequest && (replySize > frame.frameLen || !echoIsAnswer))
        findings.report(EchoInReply, dealRcvFrameCall, "reply", "it begins with the bytes of the request");
}

/**
 * A reply that comes sooner after a time-out than a host that drains could have it. What
 * another station answers can be told from a late reply by its first byte.
 */
void Replies::checkDraining(TimePoint time, Findings &findings)
{
    if (!timedOut || frame.frame[0] != timedOutStation || replySize == 0 || timeOut < ShortestTimeOut
        || silences[timedOutStation] > DeadAfter)
        return;
    const Clock::duration since = time - timeOutEnd;
    if (since >= timeOut / 2)
        return;
    findings.report(NotDrained, dealRcvFrameCall, "reply",
                    "it came " + std::to_string(std::chrono::duration_cast<Milliseconds>(since).count())
                        + " ms after the end of a time-out of "
                        + std::to_string(std::chrono::duration_cast<Milliseconds>(timeOut).count())
                        + " ms, and a late reply cannot be told from it");
}

void Replies::noteTimeOut(TimePoint time)
{
    timedOut = replySize == 0 && frame.replyLen != 0;
    if (!timedOut) {
        silences.erase(frame.frame[0]);
        return;
    }
    timeOut = time - given;
    timeOutEnd = time;
    timedOutStation = frame.frame[0];
    ++silences[timedOutStation];
}

void Replies::judged(int verdict, Findings &findings)
{
    if (verdict == 1 && expected)
        checkSender(findings);
    transactionOpen = verdict == 8 || (verdict == 1 && isReadHalf());
    frameOut = false;
}

/** What the driver does not compare: length and CRC were right. */
void Replies::checkSender(Findings &findings) const
{
    if (frame.replyLen == 0 || replySize < HeadBytes - 1)
        return;
    const int function = frame.frame[1];
    const int dataBytes = readsBits(function) ? (frame.dataLen + 7) / 8 : frame.dataLen;
    std::string wrong;
    if (head[0] != frame.frame[0])
        wrong =
            "it is of station " + std::to_string(head[0]) + ", the request went to " + std::to_string(frame.frame[0]);
    else if (head[1] != function)
        wrong = "it answers function " + std::to_string(head[1]) + ", the request has " + std::to_string(function);
    else if (isWrite() && std::memcmp(head + 2, frame.frame + 2, 4) != 0)
        wrong = "it acknowledges another write";
    else if (!isWrite() && head[2] != (dataBytes & 0xFF))
        wrong = "it says " + std::to_string(head[2]) + " data bytes, the request expects " + std::to_string(dataBytes);
    if (!wrong.empty())
        findings.report(ReplyNotCompared, dealRcvFrameCall, "reply", wrong + ", and it has been taken for the answer");
}

} // namespace checker
