/**
 * @file
 * How a write ended.
 */
#ifndef MODBUS_RTU_HOST_WRITE_RESULT_H
#define MODBUS_RTU_HOST_WRITE_RESULT_H

#include <modbus_rtu_host/line.h>

#include <QtCore/QString>

namespace rtu {

/** Every write ends with exactly one of these. */
enum class WriteEnd {
    Acknowledged, ///< the slave confirmed it; with a read-back, it also reads the same
    Refused,      ///< the slave answered with an exception
    Unconfirmed,  ///< sent without an answer: the slave may hold either value
    NotSent,      ///< the slave cannot have got it
    Differs,      ///< acknowledged, yet it reads otherwise
    Replaced,     ///< a newer write to the same tag took its place before it was sent
    Cancelled,    ///< Write::cancel() took it back before it was sent
    Broadcast,    ///< sent to all slaves, which never answer
    KeptLocal,    ///< the link shows writes and sends none
};

struct WriteResult
{
    WriteEnd end = WriteEnd::NotSent;
    int exceptionCode = 0; ///< with WriteEnd::Refused
    /** Values that the slave has acknowledged; less than asked when a long write failed in the middle. */
    int acknowledged = 0;
    QString text; ///< the reason, for people; empty when all went well
    TimePoint time;
};

} // namespace rtu

#endif
