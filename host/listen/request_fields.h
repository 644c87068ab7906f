/**
 * @file
 * What a frame that was heard asks for and carries.
 */
#ifndef RTU_HOST_LISTEN_REQUEST_FIELDS_H
#define RTU_HOST_LISTEN_REQUEST_FIELDS_H

#include <modbus_rtu_host/transaction.h>

#include <vector>

namespace rtu {

/**
 * Sets what the request's bytes tell: station, regType, startAddr (counted from 0),
 * count, isRead and expectedReply. Of functions that name no registers only the station.
 */
void readRequest(Transaction &transaction);

/** Function code of the request; 0 when there is none. */
int functionOf(const Transaction &transaction);

/**
 * The values that a transaction carried, one for each of its addresses: those read,
 * or those written. Empty when there are none to be had, as after an exception.
 */
std::vector<int> valuesOf(const Transaction &transaction);

} // namespace rtu

#endif
