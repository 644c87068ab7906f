/**
 * @file
 * Short ways to write the records that a host hands to the driver, and the bytes in
 * them. Everything not given is zero.
 */
#ifndef TESTS_SUPPORT_RECORDS_H
#define TESTS_SUPPORT_RECORDS_H

#include "driver/modbus_rtu_interface.h"

#include <vector>

namespace support {

/** Bytes written as hex digits; blanks do not matter. */
QByteArray bytes(const char *hex);

/** The same as std::vector, for payloads. */
std::vector<unsigned char> payload(const char *hex);

VARIABLE variable(int station, const char *regType, int startAddr, int count,
                  const std::vector<unsigned char> &data = std::vector<unsigned char>());
KEY_ADDRESS key(int station, const char *regType, int startAddr, int count, int dataFormat = 1);
_RCP_VAR_PRO row(int link, int station, const char *regType, int startAddr, int count, int hostOffset, int extra = 0);

/** The whole key tables of a host: Keys() << key(...) << key(...). */
typedef QList<KEY_ADDRESS> Keys;

} // namespace support

#endif
