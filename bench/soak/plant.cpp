#include "plant.h"

#include "tests/support/bitwise_crc.h"

namespace soak {

using support::withCrc;

namespace {

const int illegalFunction = 1;
const int illegalAddress = 2;

int sizeOf(const std::vector<int> &table)
{
    return static_cast<int>(table.size());
}

QByteArray start(int station, int function)
{
    QByteArray reply;
    reply.append(static_cast<char>(station));
    reply.append(static_cast<char>(function));
    return reply;
}

QByteArray refusal(const QByteArray &request, int code)
{
    QByteArray reply = start(byteAt(request, 0), byteAt(request, 1) | 0x80);
    reply.append(static_cast<char>(code));
    return withCrc(reply);
}

QByteArray acknowledgement(const QByteArray &request)
{
    return withCrc(request.left(6));
}

QByteArray bitsOf(const std::vector<int> &table, const QByteArray &request)
{
    const int first = wordAt(request, 2);
    const int count = wordAt(request, 4);
    if (count < 1 || first + count > sizeOf(table))
        return refusal(request, illegalAddress);
    QByteArray packed((count + 7) / 8, '\0');
    for (int i = 0; i < count; ++i) {
        if (table[static_cast<std::size_t>(first + i)] != 0)
            packed[i / 8] = static_cast<char>(packed.at(i / 8) | 1 << i % 8);
    }
    QByteArray reply = start(byteAt(request, 0), byteAt(request, 1));
    reply.append(static_cast<char>(packed.size()));
    return withCrc(reply + packed);
}

QByteArray wordsOf(const std::vector<int> &table, const QByteArray &request)
{
    const int first = wordAt(request, 2);
    const int count = wordAt(request, 4);
    if (count < 1 || first + count > sizeOf(table))
        return refusal(request, illegalAddress);
    QByteArray reply = start(byteAt(request, 0), byteAt(request, 1));
    reply.append(static_cast<char>(2 * count));
    for (int i = 0; i < count; ++i) {
        const int value = table[static_cast<std::size_t>(first + i)];
        reply.append(static_cast<char>(value >> 8));
        reply.append(static_cast<char>(value & 0xFF));
    }
    return withCrc(reply);
}

QByteArray writeOne(std::vector<int> &table, const QByteArray &request, int value)
{
    const int address = wordAt(request, 2);
    if (address >= sizeOf(table))
        return refusal(request, illegalAddress);
    table[static_cast<std::size_t>(address)] = value;
    return acknowledgement(request);
}

QByteArray writeMany(std::vector<int> &table, const QByteArray &request, bool bits)
{
    const int first = wordAt(request, 2);
    const int count = wordAt(request, 4);
    if (count < 1 || first + count > sizeOf(table))
        return refusal(request, illegalAddress);
    for (int i = 0; i < count; ++i)
        table[static_cast<std::size_t>(first + i)] =
            bits ? byteAt(request, 7 + i / 8) >> i % 8 & 1 : wordAt(request, 7 + 2 * i);
    return acknowledgement(request);
}

QByteArray carryOut(Slave &slave, const QByteArray &request)
{
    switch (byteAt(request, 1)) {
    case 1:
        return bitsOf(slave.coils, request);
    case 2:
        return bitsOf(slave.inputs, request);
    case 3:
        return wordsOf(slave.holding, request);
    case 4:
        return wordsOf(slave.inputRegisters, request);
    case 5:
        return writeOne(slave.coils, request, wordAt(request, 4) == 0xFF00 ? 1 : 0);
    case 6:
        return writeOne(slave.holding, request, wordAt(request, 4));
    case 15:
        return writeMany(slave.coils, request, true);
    case 16:
        return writeMany(slave.holding, request, false);
    default:
        return refusal(request, illegalFunction);
    }
}

void flipOne(std::vector<int> &table, int limit, Random &random)
{
    table[random() % static_cast<unsigned int>(limit)] ^= 1;
}

void moveOne(std::vector<int> &table, int limit, Random &random)
{
    // Now and then any value, else a small step: bits, words and doubles all change.
    int &value = table[random() % static_cast<unsigned int>(limit)];
    value = static_cast<int>(random() % 8 == 0 ? random() & 0xFFFFu : static_cast<unsigned int>(value + 1) & 0xFFFFu);
}

} // namespace

bool hasRightCrc(const QByteArray &bytes)
{
    const int length = static_cast<int>(bytes.size());
    return length >= 4
           && support::crcBitwise(bytes, length - 2) == (byteAt(bytes, length - 2) | byteAt(bytes, length - 1) << 8);
}

Slave::Slave() : coils(Coils, 0), inputs(Inputs, 0), inputRegisters(InputRegisters, 0), holding(HoldingRegisters, 0) {}

Plant::Plant(std::uint32_t seed) : slaves(Stations), random(seed) {}

void Plant::move()
{
    Slave &one = slaves[random() % Stations];
    flipOne(one.inputs, Inputs, random);
    moveOne(one.inputRegisters, InputRegisters, random);
    moveOne(one.holding, MovingRegisters, random);
}

QByteArray Plant::answer(const QByteArray &request)
{
    const int station = byteAt(request, 0);
    if (!hasRightCrc(request) || station < FirstStation || station >= FirstStation + Stations)
        return QByteArray();
    return carryOut(slave(station), request);
}

QByteArray Plant::answerOfOther(const QByteArray &request)
{
    const int station = byteAt(request, 0);
    const int other = station == FirstStation ? station + 1 : station - 1;
    QByteArray misread = request.left(static_cast<int>(request.size()) - 2);
    misread[0] = static_cast<char>(other);
    if (byteAt(request, 1) <= 4)
        return carryOut(slave(other), withCrc(misread));
    return acknowledgement(misread);
}

} // namespace soak
