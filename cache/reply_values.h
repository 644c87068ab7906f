/**
 * @file
 * The values of a good read reply on their way into the data areas.
 */
#ifndef REPLY_VALUES_H
#define REPLY_VALUES_H

#include "cache/reply_bytes.h"
#include "driver/modbus_rtu_master.h"

/**
 * Puts the values of a reply into their areas, clears the error flags of these
 * and reports what has changed.
 *
 * @param request the request that the reply answers; callbacks may remove the one it was taken from
 * @param dataLen data bytes of the reply, or coils for the coil types
 */
void takeReplyValues(Modbus_rtu_master &master, const VARIABLE &request, int dataLen, const ReplyBytes &reply);

#endif
