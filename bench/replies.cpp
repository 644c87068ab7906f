#include "bench/replies.h"

namespace {

/** The definition of the CRC, bit by bit, so that the driver's own is not measured against itself. */
unsigned int bitwiseCrc(const QByteArray &bytes)
{
    unsigned int crc = 0xFFFFu;
    for (int i = 0; i < bytes.size(); ++i) {
        crc ^= static_cast<unsigned char>(bytes.at(i));
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1u ? crc >> 1 ^ 0xA001u : crc >> 1;
    }
    return crc;
}

QByteArray header(int station, int function, int dataBytes)
{
    QByteArray bytes;
    bytes.append(static_cast<char>(station));
    bytes.append(static_cast<char>(function));
    bytes.append(static_cast<char>(dataBytes));
    return bytes;
}

QByteArray withCrc(QByteArray bytes)
{
    const unsigned int crc = bitwiseCrc(bytes);
    bytes.append(static_cast<char>(crc & 0xFFu));
    bytes.append(static_cast<char>(crc >> 8));
    return bytes;
}

} // namespace

QByteArray registerReply(int station, int function, int count, int firstValue)
{
    QByteArray bytes = header(station, function, count * 2);
    for (int i = 0; i < count; ++i) {
        const int value = firstValue + i;
        bytes.append(static_cast<char>(value >> 8));
        bytes.append(static_cast<char>(value));
    }
    return withCrc(bytes);
}

QByteArray coilReply(int station, int function, int count, int pattern)
{
    const int dataBytes = (count + 7) / 8;
    QByteArray bytes = header(station, function, dataBytes);
    bytes.append(QByteArray(dataBytes, static_cast<char>(pattern)));
    return withCrc(bytes);
}
