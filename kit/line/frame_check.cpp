#include "kit/line/frame_check.h"

#include "kit/line/frame_bytes.h"

namespace rtu {

namespace {

/** The driver's functions are 1 to 6, 15 and 16. */
bool isRead(int function)
{
    return function <= 4;
}

/** Number of data bytes that the request asked for. */
int requestedBytes(const QByteArray &request)
{
    const int count = wordAt(request, 4);
    return byteAt(request, 1) <= 2 ? (count + 7) / 8 : count * 2;
}

const unsigned int CrcOfNothing = 0xFFFF;

unsigned int crcWith(unsigned int crc, unsigned char byte)
{
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit)
        crc = (crc & 1) ? (crc >> 1) ^ 0xA001 : crc >> 1;
    return crc;
}

} // namespace

unsigned int crc16(const unsigned char *bytes, std::size_t size)
{
    unsigned int crc = CrcOfNothing;
    for (std::size_t i = 0; i < size; ++i)
        crc = crcWith(crc, bytes[i]);
    return crc;
}

bool endsWithCrc(const unsigned char *bytes, std::size_t size)
{
    if (size < 3)
        return false;
    const unsigned int crc = crc16(bytes, size - 2);
    return bytes[size - 2] == (crc & 0xFF) && bytes[size - 1] == (crc >> 8);
}

std::size_t firstCrcEnd(const unsigned char *bytes, std::size_t size, std::size_t shortest)
{
    unsigned int crc = CrcOfNothing;
    for (std::size_t i = 0; i < size; ++i) {
        crc = crcWith(crc, bytes[i]);
        // Taken over bytes and their own CRC, low byte first, the sum is 0.
        if (crc == 0 && i + 1 >= shortest)
            return i + 1;
    }
    return 0;
}

std::string describeMismatch(const QByteArray &request, const QByteArray &reply)
{
    if (request.size() < 6 || reply.size() < 5)
        return std::string();
    if (reply.at(0) != request.at(0))
        return "the reply is from station " + std::to_string(byteAt(reply, 0)) + ", asked was station "
               + std::to_string(byteAt(request, 0));
    if (reply.at(1) != request.at(1))
        return "the reply has function " + std::to_string(byteAt(reply, 1)) + ", asked was function "
               + std::to_string(byteAt(request, 1));
    if (isRead(byteAt(request, 1)))
        return byteAt(reply, 2) == (requestedBytes(request) & 0xFF) ? std::string()
                                                                    : "the byte count of the reply is wrong";
    // A write is acknowledged with its address and, by function, its value or count.
    return reply.mid(2, 4) == request.mid(2, 4) ? std::string() : "the reply acknowledges another write";
}

namespace {

ReplyKind kindOf(const Transaction &t, bool compare)
{
    if (t.end == ReplyEnd::PortLost)
        return ReplyKind::PortLost;
    if (t.end == ReplyEnd::NoneExpected)
        return ReplyKind::Good;
    if (t.reply.isEmpty())
        return ReplyKind::Silent;
    const std::size_t size = static_cast<std::size_t>(t.reply.size());
    if (!endsWithCrc(reinterpret_cast<const unsigned char *>(t.reply.constData()), size))
        return ReplyKind::Damaged;
    const bool sameStation = t.reply.at(0) == t.request.at(0);
    const bool exception =
        t.reply.size() == ExceptionReplyBytes && byteAt(t.reply, 1) == (byteAt(t.request, 1) | ExceptionFlag);
    if (exception && (sameStation || !compare))
        return ReplyKind::Exception;
    if (compare && !describeMismatch(t.request, t.reply).empty())
        return ReplyKind::Foreign;
    return t.reply.size() == t.expectedReply ? ReplyKind::Good : ReplyKind::Damaged;
}

/** Such a port has no pace: its request had not to be waited for at the baud rate. */
bool answeredWhileSending(const Transaction &t)
{
    const bool answer = t.kind == ReplyKind::Good || t.kind == ReplyKind::Exception;
    return answer && t.firstByte < t.requestEnd;
}

} // namespace

void judgeReply(Transaction &transaction, bool compare)
{
    transaction.kind = kindOf(transaction, compare);
    if (answeredWhileSending(transaction))
        transaction.requestEnd = transaction.sent;
    transaction.exceptionCode = transaction.kind == ReplyKind::Exception ? byteAt(transaction.reply, 2) : 0;
    if (!compare && transaction.kind == ReplyKind::Good)
        transaction.warning = QString::fromStdString(describeMismatch(transaction.request, transaction.reply));
}

} // namespace rtu
