#include "model/faulty_slave.h"

#include "support/rtu_frames.h"

namespace model {

namespace {

int start(const FRAME_PRO &request)
{
    return request.frame[2] * 256 + request.frame[3];
}

bool isRead(const FRAME_PRO &request)
{
    return request.frame[1] <= 4;
}

QByteArray flipped(support::Random &random, QByteArray reply)
{
    if (reply.isEmpty())
        return reply;
    const int position = random.below(static_cast<int>(reply.size()));
    reply[position] = static_cast<char>(reply.at(position) ^ (1 << random.below(8)));
    return reply;
}

QByteArray garbage(support::Random &random, int length)
{
    QByteArray bytes;
    for (int i = 0; i < length; ++i)
        bytes.append(static_cast<char>(random.byte()));
    return bytes;
}

} // namespace

// As long as the request says: what a slave would make of a count of more than it knows is not the
// driver's affair, and the longest of replies are the ones worth comparing.
QByteArray FaultySlave::goodReply(const FRAME_PRO &request)
{
    if (!isRead(request))
        return request.replyLen == 0 ? QByteArray() : support::writeEcho(request);
    if (request.replyLen < 5)
        return request.replyLen < 3 ? QByteArray() : support::withCrc(QByteArray(request.replyLen - 2, 'x'));
    const int function = request.frame[1];
    const int byteCount = request.replyLen - 5;
    const std::map<int, int> &table = stations[request.frame[0]].tableOf(function);
    return function <= 2
               ? support::bitsReply(request.frame[0], function, support::valuesOf(table, start(request), 8 * byteCount))
               : support::wordsReply(request.frame[0], function,
                                     support::valuesOf(table, start(request), byteCount / 2));
}

void FaultySlave::moveSomething(support::Random &random, const FRAME_PRO &request)
{
    const int function = request.frame[1];
    std::map<int, int> &table = stations[request.frame[0]].tableOf(function);
    const int place = start(request) + random.below(20);
    const bool bits = function <= 2 || function == 5 || function == 15;
    table[place] = bits ? random.below(2) : random.pick({0, 1, 2, 256, 0x8000, 0xFFFF, random.below(65536)});
}

QByteArray FaultySlave::reply(support::Random &random, const FRAME_PRO &request, bool calm)
{
    while (random.chance(calm ? 25 : 40))
        moveSomething(random, request);
    const QByteArray good = goodReply(request);
    const int fault = calm && random.chance(85) ? 0 : random.below(100);
    if (fault < 66) {
        stations[request.frame[0]].carryOut(support::requestBytes(request));
        previous = good;
        lastKind = "good";
        return good;
    }
    if (fault < 75) {
        lastKind = "nothing";
        return QByteArray();
    }
    if (fault < 80) {
        lastKind = "corrupted";
        return flipped(random, good);
    }
    if (fault < 84) {
        lastKind = "truncated";
        return good.left(random.below(static_cast<int>(good.size()) + 1));
    }
    if (fault < 89) {
        lastKind = "late";
        return previous;
    }
    if (fault < 92 && good.size() > 2) {
        lastKind = "wrong station";
        QByteArray other = good.left(good.size() - 2);
        other[0] = static_cast<char>(other.at(0) + 1);
        return support::withCrc(other);
    }
    if (fault < 96) {
        lastKind = "exception";
        return support::exceptionReply(request.frame[0], request.frame[1], random.between(1, 4));
    }
    lastKind = "garbage";
    if (random.chance(20))
        return QByteArray("\xFF\xFF", 2);
    return garbage(random, random.chance(50) ? static_cast<int>(good.size()) : random.below(30));
}

} // namespace model
