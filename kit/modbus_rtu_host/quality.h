/**
 * @file
 * How far the value of a tag can be trusted.
 */
#ifndef MODBUS_RTU_HOST_QUALITY_H
#define MODBUS_RTU_HOST_QUALITY_H

namespace rtu {

/** In rising order of trouble; an array that several requests read has the worst of its parts. */
enum class Quality {
    Good,          ///< the slave sent the value, or acknowledged it
    Unconfirmed,   ///< written and not confirmed: the slave may hold another value
    NeverRead,     ///< no reply has brought a value yet; it shows as 0
    Refused,       ///< the slave answers with an exception; the value is the one before
    StationSilent, ///< no answer, or no port to ask through; the value is the one before
};

} // namespace rtu

#endif
