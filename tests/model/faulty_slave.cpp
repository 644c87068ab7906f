#include "model/faulty_slave.h"

#include "support/driver_fixture.h"

namespace model {

namespace {

int field(const FRAME_PRO &request, int position)
{
    return request.frame[position] * 256 + request.frame[position + 1];
}

bool isRead(const FRAME_PRO &request)
{
    return request.frame[1] <= 4;
}

int areaOf(int function)
{
    return function == 1 || function == 2 || function == 5 || function == 15 ? 0 : 1;
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
    const int byteCount = request.replyLen - 5;
    QByteArray reply;
    reply.append(static_cast<char>(request.frame[0]));
    reply.append(static_cast<char>(request.frame[1]));
    reply.append(static_cast<char>(byteCount));
    const int area = areaOf(request.frame[1]);
    const int start = field(request, 2);
    for (int i = 0; i < byteCount; ++i) {
        int value = 0;
        if (area == 1) {
            const int content = memory[Place(request.frame[0], area, start + i / 2)];
            value = i % 2 == 0 ? content >> 8 : content & 0xFF;
        } else {
            for (int b = 0; b < 8; ++b)
                value |= (memory[Place(request.frame[0], area, start + 8 * i + b)] & 1) << b;
        }
        reply.append(static_cast<char>(value));
    }
    return support::withCrc(reply);
}

void FaultySlave::execute(const FRAME_PRO &request)
{
    const int station = request.frame[0];
    const int start = field(request, 2);
    switch (request.frame[1]) {
    case 5:
        memory[Place(station, 0, start)] = request.frame[4] != 0 ? 1 : 0;
        break;
    case 6:
        memory[Place(station, 1, start)] = field(request, 4);
        break;
    case 15:
        for (int i = 0; i < (request.frameLen - 9) * 8 && i < field(request, 4); ++i)
            memory[Place(station, 0, start + i)] = (request.frame[7 + i / 8] >> (i % 8)) & 1;
        break;
    case 16:
        for (int i = 0; i < (request.frameLen - 9) / 2; ++i)
            memory[Place(station, 1, start + i)] = field(request, 7 + 2 * i);
        break;
    default:
        break;
    }
}

void FaultySlave::moveSomething(support::Random &random, const FRAME_PRO &request)
{
    const int area = areaOf(request.frame[1]);
    const int place = field(request, 2) + random.below(20);
    memory[Place(request.frame[0], area, place)] =
        area == 0 ? random.below(2) : random.pick({0, 1, 2, 256, 0x8000, 0xFFFF, random.below(65536)});
}

QByteArray FaultySlave::reply(support::Random &random, const FRAME_PRO &request, bool calm)
{
    while (random.chance(calm ? 25 : 40))
        moveSomething(random, request);
    const QByteArray good = goodReply(request);
    const int fault = calm && random.chance(85) ? 0 : random.below(100);
    if (fault < 66) {
        execute(request);
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
