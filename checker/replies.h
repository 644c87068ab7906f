/**
 * @file
 * The poll loop as the checker sees it: frames, their replies, and the time that
 * passes between them.
 *
 * Not locked: the caller serialises the calls.
 */
#ifndef CHECKER_REPLIES_H
#define CHECKER_REPLIES_H

#include "checker/clock.h"

#include "driver/modbus_rtu_interface.h"

#include <map>
#include <thread>

namespace checker {

class Findings;

class Replies
{
public:
    Replies();

    /** intf_initProperty(): what was on the line is gone. */
    void reset();

    /** True from a frame to its reply: the time in which nothing else may be changed. */
    bool isFrameOut() const { return frameOut; }

    /** True while the driver keeps frames of the transaction, sent or to be sent. */
    bool isTransactionOpen() const { return transactionOpen; }

    /** True when the frame on the line is a write. */
    bool isWrite() const;

    /** intf_getSendFrame() gave @p out, or nothing for null. */
    void asked(const FRAME_PRO *out, TimePoint time, Findings &findings);

    /** A reply is about to be handed in; the driver may change its bytes. */
    void beforeJudgement(const QByteArray &reply, TimePoint time, Findings &findings);

    /** @param verdict result of intf_dealRcvFrame() */
    void judged(int verdict, Findings &findings);

private:
    void countHaste(TimePoint time, Findings &findings);
    void checkTurn(Findings &findings);
    void checkContent(const QByteArray &reply, Findings &findings) const;
    void checkSender(Findings &findings) const;
    void checkDraining(TimePoint time, Findings &findings);
    void noteTimeOut(TimePoint time);
    bool isReadHalf() const;

    FRAME_PRO frame; ///< the one given out last
    bool frameOut;
    bool transactionOpen;
    bool takenBack; ///< intf_initProperty() dropped a frame whose reply may still be handed in
    bool everGiven; ///< a frame since the last intf_initProperty()
    std::thread::id poller;
    TimePoint given;

    enum { HeadBytes = 6 };
    unsigned char head[HeadBytes]; ///< first bytes of the reply, before the driver changed any
    int replySize;
    bool expected; ///< a frame was out for this reply

    bool timedOut; ///< the last reply was missing
    Clock::duration timeOut;
    TimePoint timeOutEnd;
    int timedOutStation;
    std::map<int, int> silences; ///< time-outs running, by station

    int askedInVain; ///< calls of intf_getSendFrame() running that no reply followed
    TimePoint firstAsked;
};

} // namespace checker

#endif
