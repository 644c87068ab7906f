/**
 * @file
 * The middle of a read-modify-write: the reply to the read makes the write.
 */
#ifndef BIT_WRITE_H
#define BIT_WRITE_H

#include "driver/modbus_rtu_master.h"

#include <QtCore/QByteArray>

/** Bytes of a multiple write ahead of its payload: station to byte count. */
enum { WriteHeaderBytes = 7 };

/**
 * The registers that the read half of a bit write has brought, with the bits
 * changed, become the payload of the write half behind it in frameList.
 *
 * @param received the reply; its registers are left low byte first, with the bits changed
 */
void fillBitWrite(Modbus_rtu_master &master, QByteArray &received);

#endif
