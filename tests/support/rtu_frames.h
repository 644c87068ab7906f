/**
 * @file
 * Frames as a slave hears and sends them, check sum included.
 */
#ifndef TESTS_SUPPORT_RTU_FRAMES_H
#define TESTS_SUPPORT_RTU_FRAMES_H

#include "driver/modbus_rtu_interface.h"
#include "support/crc.h"

#include <vector>

namespace support {

inline int byteAt(const QByteArray &frame, int position)
{
    return static_cast<unsigned char>(frame.at(position));
}

inline int wordAt(const QByteArray &frame, int position)
{
    return byteAt(frame, position) * 256 + byteAt(frame, position + 1);
}

bool hasRightCrc(const QByteArray &frame);

/** Hex digits plus CRC: adu("01 03 00 00 00 0A") is 01 03 00 00 00 0A C5 CD. */
QByteArray adu(const char *hex);

/** The request bytes that the host would transmit. */
QByteArray requestBytes(const FRAME_PRO &frame);

/** Registers, function 3 or 4. */
QByteArray wordsReply(int station, int function, const std::vector<int> &registers);
/** Coils or discrete inputs, function 1 or 2. */
QByteArray bitsReply(int station, int function, const std::vector<int> &bits);
/** What acknowledges a write request. */
QByteArray writeEcho(const QByteArray &request);
QByteArray writeEcho(const FRAME_PRO &request);
/** @p function as it was asked. */
QByteArray exceptionReply(int station, int function, int code);

} // namespace support

#endif
