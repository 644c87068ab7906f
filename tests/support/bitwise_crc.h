/**
 * @file
 * The check sum of RTU frames for whatever stands opposite the driver: tests, soak and
 * benchmarks. The plain model of the driver has a reading of its own, on purpose.
 */
#ifndef TESTS_SUPPORT_BITWISE_CRC_H
#define TESTS_SUPPORT_BITWISE_CRC_H

#include <QtCore/QByteArray>

namespace support {

/** CRC-16 of Modbus, bit by bit from its definition, so that the driver's own is not held against itself. */
inline unsigned short crcBitwise(const unsigned char *data, int length)
{
    unsigned int crc = 0xFFFF;
    for (int i = 0; i < length; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1u) != 0 ? (crc >> 1) ^ 0xA001u : crc >> 1;
    }
    return static_cast<unsigned short>(crc);
}

inline unsigned short crcBitwise(const QByteArray &bytes, int length)
{
    return crcBitwise(reinterpret_cast<const unsigned char *>(bytes.constData()), length);
}

/** @p content followed by its CRC, low byte first. */
inline QByteArray withCrc(QByteArray content)
{
    const unsigned short crc = crcBitwise(content, static_cast<int>(content.size()));
    content.append(static_cast<char>(crc & 0xFF));
    content.append(static_cast<char>(crc >> 8));
    return content;
}

} // namespace support

#endif
