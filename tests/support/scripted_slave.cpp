#include "support/scripted_slave.h"

#include "support/rtu_frames.h"

namespace support {

namespace {

enum { IllegalFunction = 1, IllegalValue = 3, ServerBusy = 6 };

int lengthOf(const QByteArray &content)
{
    return static_cast<int>(content.size());
}

int valueOf(const std::map<int, int> &table, int address)
{
    const std::map<int, int>::const_iterator found = table.find(address);
    return found == table.end() ? 0 : found->second;
}

/** Requests are 8 bytes long, those of functions 15 and 16 as long as their byte count says. */
bool hasRightLength(const QByteArray &request)
{
    const int length = lengthOf(request);
    if (length < 8)
        return false;
    const int function = byteAt(request, 1);
    return length == (function == 15 || function == 16 ? 9 + byteAt(request, 6) : 8);
}

QByteArray refusal(const QByteArray &request, int code)
{
    return exceptionReply(byteAt(request, 0), byteAt(request, 1), code);
}

QByteArray spoiled(QByteArray reply, SlaveFault fault)
{
    const int last = lengthOf(reply) - 1;
    if (fault == WrongCrc)
        reply[last] = static_cast<char>(~reply.at(last));
    if (fault == Truncated)
        reply.chop(1);
    if (fault == TooLong)
        reply.append('\0');
    if (fault == OtherStation || fault == OtherFunction) {
        reply.chop(2);
        const int changed = fault == OtherStation ? 0 : 1;
        reply[changed] = static_cast<char>(reply.at(changed) + 1);
        return withCrc(reply);
    }
    return reply;
}

} // namespace

// --- tables ---------------------------------------------------------------------------

std::vector<int> valuesOf(const std::map<int, int> &table, int first, int count)
{
    std::vector<int> values;
    for (int i = 0; i < count; ++i)
        values.push_back(valueOf(table, first + i));
    return values;
}

void SlaveTables::setHolding(int first, const std::vector<int> &values)
{
    for (size_t i = 0; i < values.size(); ++i)
        holdingRegisters[first + static_cast<int>(i)] = values[i];
}

std::vector<int> SlaveTables::holding(int first, int count) const
{
    return valuesOf(holdingRegisters, first, count);
}

std::map<int, int> &SlaveTables::tableOf(int function)
{
    switch (function) {
    case 2:
        return discreteInputs;
    case 3:
    case 6:
    case 16:
        return holdingRegisters;
    case 4:
        return inputRegisters;
    default:
        return coils;
    }
}

QByteArray SlaveTables::carryOut(const QByteArray &request)
{
    if (!hasRightLength(request))
        return QByteArray();
    const int station = byteAt(request, 0);
    const int function = byteAt(request, 1);
    const int address = wordAt(request, 2);
    const int value = wordAt(request, 4);
    std::map<int, int> &table = tableOf(function);
    switch (function) {
    case 1:
    case 2:
        return bitsReply(station, function, valuesOf(table, address, value));
    case 3:
    case 4:
        return wordsReply(station, function, valuesOf(table, address, value));
    case 5:
        table[address] = value == 0xFF00 ? 1 : 0;
        return writeEcho(request);
    case 6:
        table[address] = value;
        return writeEcho(request);
    case 15:
    case 16:
        return writeMany(request);
    default:
        return refusal(request, IllegalFunction);
    }
}

QByteArray SlaveTables::writeMany(const QByteArray &request)
{
    const bool bits = byteAt(request, 1) == 15;
    const int first = wordAt(request, 2);
    const int count = wordAt(request, 4);
    if (byteAt(request, 6) != (bits ? (count + 7) / 8 : count * 2))
        return refusal(request, IllegalValue);
    std::map<int, int> &table = tableOf(byteAt(request, 1));
    for (int i = 0; i < count; ++i)
        table[first + i] = bits ? byteAt(request, 7 + i / 8) >> i % 8 & 1 : wordAt(request, 7 + 2 * i);
    return writeEcho(request);
}

// --- slaves ---------------------------------------------------------------------------

ScriptedSlave::ScriptedSlave() : malformedRequests(0) {}

SlaveTables &ScriptedSlave::station(int address)
{
    return stations[address];
}

void ScriptedSlave::failNext(SlaveFault fault, int times)
{
    faults.insert(faults.end(), static_cast<size_t>(times), fault);
}

SlaveFault ScriptedSlave::nextFault()
{
    if (faults.empty())
        return NoFault;
    const SlaveFault fault = faults.front();
    faults.pop_front();
    return fault;
}

QByteArray ScriptedSlave::answer(const QByteArray &request)
{
    requests.push_back(request);
    if (!hasRightCrc(request) || !hasRightLength(request)) {
        ++malformedRequests;
        return QByteArray();
    }
    const SlaveFault fault = nextFault();
    const int address = byteAt(request, 0);
    if (address == 0) {
        if (fault != Silent)
            carryOutBroadcast(request);
        return QByteArray();
    }
    const Stations::iterator addressed = stations.find(address);
    if (fault == Silent || addressed == stations.end())
        return QByteArray();
    if (fault == EchoOfRequest)
        return request;
    if (fault == Busy)
        return refusal(request, ServerBusy);
    const QByteArray reply = addressed->second.carryOut(request);
    return fault == ReplyLost ? QByteArray() : spoiled(reply, fault);
}

void ScriptedSlave::carryOutBroadcast(const QByteArray &request)
{
    for (Stations::iterator it = stations.begin(); it != stations.end(); ++it)
        it->second.carryOut(request);
}

} // namespace support
