/**
 * @file
 * How a one-off read ended.
 */
#ifndef MODBUS_RTU_HOST_READ_RESULT_H
#define MODBUS_RTU_HOST_READ_RESULT_H

#include <modbus_rtu_host/tag_value.h>

namespace rtu {

enum class ReadEnd {
    Good,      ///< the value is complete
    Refused,   ///< the slave answered with an exception
    Silent,    ///< no answer that could be used
    NotTried,  ///< the port or the station was known to be away, or the link ended first
    Cancelled, ///< taken back before it was sent
};

struct ReadResult
{
    ReadEnd end = ReadEnd::NotTried;
    int exceptionCode = 0; ///< with ReadEnd::Refused
    TagValue value;        ///< meaningful with ReadEnd::Good
};

} // namespace rtu

#endif
