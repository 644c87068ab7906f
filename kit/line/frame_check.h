/**
 * @file
 * What a host can check of a reply without the driver.
 */
#ifndef KIT_LINE_FRAME_CHECK_H
#define KIT_LINE_FRAME_CHECK_H

#include <modbus_rtu_host/transaction.h>

#include <QtCore/QByteArray>

#include <cstddef>
#include <string>

namespace rtu {

/** A gateway's word for silence: it cannot reach the station, or the station does not answer it. */
inline bool isGatewaySilence(int exceptionCode)
{
    return exceptionCode == 10 || exceptionCode == 11;
}

/** CRC-16 of Modbus, transmitted low byte first. */
unsigned int crc16(const unsigned char *bytes, std::size_t size);

/** Whether the last two of @p size bytes are the CRC of those before. */
bool endsWithCrc(const unsigned char *bytes, std::size_t size);

/**
 * Where a frame of unknown length may end: the least number of bytes, @p shortest or
 * more, that end with their CRC. 0: there is none among @p size bytes.
 */
std::size_t firstCrcEnd(const unsigned char *bytes, std::size_t size, std::size_t shortest);

/**
 * What is odd about a reply that the driver accepted: it judges by length and
 * CRC alone, so the answer to another request may pass.
 *
 * @return empty when the reply fits the request
 */
std::string describeMismatch(const QByteArray &request, const QByteArray &reply);

/**
 * Judges what was collected for a request: sets kind and exceptionCode, and requestEnd
 * where the answer shows that the port has no pace.
 *
 * @param compare false: length and check sum alone decide, as they do for the driver
 */
void judgeReply(Transaction &transaction, bool compare);

} // namespace rtu

#endif
