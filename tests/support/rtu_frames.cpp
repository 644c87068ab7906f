#include "support/rtu_frames.h"

#include "support/records.h"

namespace support {

bool hasRightCrc(const QByteArray &frame)
{
    const int length = static_cast<int>(frame.size());
    return length >= 4 && crcOf(frame, length - 2) == (byteAt(frame, length - 2) | byteAt(frame, length - 1) << 8);
}

QByteArray adu(const char *hex)
{
    return withCrc(bytes(hex));
}

QByteArray requestBytes(const FRAME_PRO &frame)
{
    return QByteArray(reinterpret_cast<const char *>(frame.frame), frame.frameLen);
}

QByteArray wordsReply(int station, int function, const std::vector<int> &registers)
{
    QByteArray reply;
    reply.append(static_cast<char>(station));
    reply.append(static_cast<char>(function));
    reply.append(static_cast<char>(registers.size() * 2));
    for (size_t i = 0; i < registers.size(); ++i) {
        reply.append(static_cast<char>(registers[i] >> 8));
        reply.append(static_cast<char>(registers[i] & 0xFF));
    }
    return withCrc(reply);
}

QByteArray bitsReply(int station, int function, const std::vector<int> &bits)
{
    const size_t byteCount = (bits.size() + 7) / 8;
    QByteArray reply;
    reply.append(static_cast<char>(station));
    reply.append(static_cast<char>(function));
    reply.append(static_cast<char>(byteCount));
    for (size_t j = 0; j < byteCount; ++j) {
        int packed = 0;
        for (size_t b = 0; b < 8 && 8 * j + b < bits.size(); ++b)
            packed |= (bits[8 * j + b] != 0 ? 1 : 0) << b;
        reply.append(static_cast<char>(packed));
    }
    return withCrc(reply);
}

QByteArray writeEcho(const QByteArray &request)
{
    return withCrc(request.left(6));
}

QByteArray writeEcho(const FRAME_PRO &request)
{
    return writeEcho(requestBytes(request));
}

QByteArray exceptionReply(int station, int function, int code)
{
    QByteArray reply;
    reply.append(static_cast<char>(station));
    reply.append(static_cast<char>(function | 0x80));
    reply.append(static_cast<char>(code));
    return withCrc(reply);
}

} // namespace support
