/**
 * @file
 * What became of one request: the record that statistics, trace and live view
 * are made from.
 */
#ifndef MODBUS_RTU_HOST_TRANSACTION_H
#define MODBUS_RTU_HOST_TRANSACTION_H

#include <modbus_rtu_host/line.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstdint>

namespace rtu {

/** How the collecting of a reply ended. */
enum class ReplyEnd {
    Complete,     ///< the expected number of bytes
    Exception,    ///< a whole exception reply
    Silence,      ///< some bytes, then a pause
    TimedOut,     ///< not one byte
    NoneExpected, ///< a broadcast
    PortLost,
    Interrupted
};

/** What a reply turned out to be when compared with its request. */
enum class ReplyKind {
    Good,      ///< also the silence that a broadcast asks for
    Exception, ///< from the station that was asked
    Silent,    ///< not one byte
    Damaged,   ///< length or check sum wrong
    Foreign,   ///< whole, but of another station or to another request
    PortLost
};

/** Answers of the driver to a reply; results of intf_dealRcvFrame(). */
enum DriverVerdict { VerdictNothingPending = 0, VerdictGood = 1, VerdictGivenUp = 2, VerdictSendAgain = 8 };

struct Transaction
{
    std::uint64_t number = 0; ///< counts the frames sent
    int attempt = 1;          ///< 1 for the first sending of a frame
    int station = 0;
    QString regType;
    int startAddr = 0;
    int count = 0;
    int tag = 0; ///< VARIABLE::userData; CyclicTag for the cyclic plan
    bool isRead = false;
    QByteArray request;
    int expectedReply = 0; ///< bytes
    QByteArray reply;      ///< as received, the echo removed
    ReplyEnd end = ReplyEnd::TimedOut;
    TimePoint sent;             ///< request handed to the port
    TimePoint requestEnd;       ///< its last character is out
    TimePoint firstByte;        ///< of the reply; requestEnd when there was none
    TimePoint finished;         ///< reply complete, or waiting ended
    std::size_t strayBytes = 0; ///< dropped before sending and after a time-out
    bool echoRemoved = false;
    ReplyKind kind = ReplyKind::Good; ///< as a link judges it
    int exceptionCode = 0;            ///< with ReplyKind::Exception
    int verdict = VerdictNothingPending;
    QString information; ///< the driver's error text, with VerdictGivenUp
    QString warning;     ///< what the driver accepted although it looks wrong; else empty

    bool good() const { return verdict == VerdictGood; }
};

/** VARIABLE::userData of the cyclic plan's requests. */
enum { CyclicTag = 4 };

} // namespace rtu

#endif
