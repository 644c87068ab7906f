/**
 * @file
 * The check sum of RTU frames for whatever stands opposite the driver: tests, soak and
 * benchmarks. The plain model of the driver has a reading of its own, on purpose.
 */
#ifndef TESTS_SUPPORT_CRC_H
#define TESTS_SUPPORT_CRC_H

#include <QtCore/QByteArray>

namespace support {

/** What each byte does to the check sum, bit by bit from its definition. */
struct BytesInCrc
{
    unsigned short of[256];

    BytesInCrc()
    {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            unsigned int crc = byte;
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc & 1u) != 0 ? (crc >> 1) ^ 0xA001u : crc >> 1;
            of[byte] = static_cast<unsigned short>(crc);
        }
    }
};

/** CRC-16 of Modbus, from its definition, so that the driver's own is not held against itself. */
inline unsigned short crcOf(const unsigned char *data, int length)
{
    static const BytesInCrc bytes;
    unsigned int crc = 0xFFFF;
    for (int i = 0; i < length; ++i)
        crc = crc >> 8 ^ bytes.of[(crc ^ data[i]) & 0xFFu];
    return static_cast<unsigned short>(crc);
}

inline unsigned short crcOf(const QByteArray &bytes, int length)
{
    return crcOf(reinterpret_cast<const unsigned char *>(bytes.constData()), length);
}

/** @p content followed by its CRC, low byte first. */
inline QByteArray withCrc(QByteArray content)
{
    const unsigned short crc = crcOf(content, static_cast<int>(content.size()));
    content.append(static_cast<char>(crc & 0xFF));
    content.append(static_cast<char>(crc >> 8));
    return content;
}

} // namespace support

#endif
