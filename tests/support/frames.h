/**
 * @file
 * Frames for tests, written as hexadecimal text.
 */
#ifndef TESTS_SUPPORT_FRAMES_H
#define TESTS_SUPPORT_FRAMES_H

#include "support/rtu_frames.h"
#include "support/scripted_slave.h"
#include "support/virtual_line.h"

#include <numeric>
#include <string>

namespace test_line {

/** "01 03 02" */
inline Bytes hex(const std::string &text)
{
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 3)
        bytes.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

inline Bytes withCrc(Bytes bytes)
{
    const unsigned int crc = support::crcOf(bytes.data(), static_cast<int>(bytes.size()));
    bytes.push_back(static_cast<unsigned char>(crc & 0xFF));
    bytes.push_back(static_cast<unsigned char>(crc >> 8));
    return bytes;
}

/** The bytes with their CRC behind. */
inline Bytes frame(const std::string &text)
{
    return withCrc(hex(text));
}

inline QByteArray array(const Bytes &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size()));
}

inline Bytes bytesOf(const QByteArray &array)
{
    return Bytes(array.begin(), array.end());
}

/** A good reply to a read of registers: each has its own address as value. */
inline Bytes readReply(const Bytes &request)
{
    std::vector<int> values(static_cast<std::size_t>(request[4] * 256 + request[5]));
    std::iota(values.begin(), values.end(), request[2] * 256 + request[3]);
    return bytesOf(support::wordsReply(request[0], request[1], values));
}

/** A good reply to any request: registers as above, coils off, writes acknowledged. */
inline Bytes goodReply(const Bytes &request)
{
    if (request[1] == 3 || request[1] == 4)
        return readReply(request);
    return bytesOf(support::SlaveTables().carryOut(array(request)));
}

} // namespace test_line

#endif
