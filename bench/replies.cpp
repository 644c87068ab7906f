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

std::vector<int> registerRun(int firstValue, int count)
{
    std::vector<int> values;
    values.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        values.push_back(firstValue + i);
    return values;
}

QByteArray registerReply(int station, int function, const std::vector<int> &values)
{
    QByteArray bytes = header(station, function, static_cast<int>(values.size()) * 2);
    for (const int value : values) {
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
