/**
 * @file
 * Frames for tests, written as hexadecimal text.
 */
#ifndef TESTS_SUPPORT_FRAMES_H
#define TESTS_SUPPORT_FRAMES_H

#include "support/virtual_line.h"

#include "kit/line/frame_check.h"

#include <QtCore/QByteArray>

#include <map>
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
    const unsigned int crc = rtu::crc16(bytes.data(), bytes.size());
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

/** A good reply to a read of registers: each has its own address as value. */
inline Bytes readReply(const Bytes &request)
{
    const int address = request[2] * 256 + request[3];
    const int count = request[4] * 256 + request[5];
    Bytes reply = {request[0], request[1], static_cast<unsigned char>(2 * count)};
    for (int i = 0; i < count; ++i) {
        reply.push_back(static_cast<unsigned char>((address + i) >> 8));
        reply.push_back(static_cast<unsigned char>(address + i));
    }
    return withCrc(reply);
}

/** A good reply to any request: registers as above, coils off, writes acknowledged. */
inline Bytes goodReply(const Bytes &request)
{
    if (request[1] == 3 || request[1] == 4)
        return readReply(request);
    if (request[1] <= 2) {
        const int bytes = (request[4] * 256 + request[5] + 7) / 8;
        Bytes reply = {request[0], request[1], static_cast<unsigned char>(bytes)};
        reply.resize(3 + static_cast<std::size_t>(bytes));
        return withCrc(reply);
    }
    return withCrc(Bytes(request.begin(), request.begin() + 6));
}

} // namespace test_line

#endif
