#include "support/scripted_slave.h"

#include <cctype>

namespace support {

namespace {

enum { IllegalFunction = 1, IllegalValue = 3, ServerBusy = 6 };

int byteAt(const QByteArray &content, int position)
{
    return static_cast<unsigned char>(content.at(position));
}

int wordAt(const QByteArray &content, int position)
{
    return byteAt(content, position) * 256 + byteAt(content, position + 1);
}

int lengthOf(const QByteArray &content)
{
    return static_cast<int>(content.size());
}

int valueOf(const std::map<int, int> &table, int address)
{
    const std::map<int, int>::const_iterator found = table.find(address);
    return found == table.end() ? 0 : found->second;
}

std::vector<int> valuesOf(const std::map<int, int> &table, int first, int count)
{
    std::vector<int> values;
    for (int i = 0; i < count; ++i)
        values.push_back(valueOf(table, first + i));
    return values;
}

bool hasRightCrc(const QByteArray &request)
{
    return lengthOf(request) >= 4 && withCrc(request.left(lengthOf(request) - 2)) == request;
}

/** Requests are 8 bytes long, those of functions 15 and 16 as long as their byte count says. */
bool hasRightLength(const QByteArray &request)
{
    const int function = byteAt(request, 1);
    if (function != 15 && function != 16)
        return lengthOf(request) == 8;
    return lengthOf(request) > 7 && lengthOf(request) == 9 + byteAt(request, 6);
}

QByteArray refusal(const QByteArray &request, int code)
{
    return exceptionReply(byteAt(request, 0), byteAt(request, 1), code);
}

QByteArray acknowledgement(const QByteArray &request)
{
    return withCrc(request.left(6));
}

QByteArray writeCoils(SlaveTables &tables, const QByteArray &request)
{
    const int count = wordAt(request, 4);
    if (byteAt(request, 6) != (count + 7) / 8)
        return refusal(request, IllegalValue);
    for (int i = 0; i < count; ++i)
        tables.coils[wordAt(request, 2) + i] = (byteAt(request, 7 + i / 8) >> (i % 8)) & 1;
    return acknowledgement(request);
}

QByteArray writeRegisters(SlaveTables &tables, const QByteArray &request)
{
    const int count = wordAt(request, 4);
    if (byteAt(request, 6) != count * 2)
        return refusal(request, IllegalValue);
    for (int i = 0; i < count; ++i)
        tables.holdingRegisters[wordAt(request, 2) + i] = wordAt(request, 7 + 2 * i);
    return acknowledgement(request);
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

void SlaveTables::setHolding(int first, const std::vector<int> &values)
{
    for (size_t i = 0; i < values.size(); ++i)
        holdingRegisters[first + static_cast<int>(i)] = values[i];
}

std::vector<int> SlaveTables::holding(int first, int count) const
{
    return valuesOf(holdingRegisters, first, count);
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
    const QByteArray reply = carryOut(addressed->second, request);
    return fault == ReplyLost ? QByteArray() : spoiled(reply, fault);
}

QByteArray ScriptedSlave::carryOut(SlaveTables &tables, const QByteArray &request)
{
    const int function = byteAt(request, 1);
    const int address = wordAt(request, 2);
    const int value = wordAt(request, 4);
    switch (function) {
    case 1:
        return bitsReply(byteAt(request, 0), function, valuesOf(tables.coils, address, value));
    case 2:
        return bitsReply(byteAt(request, 0), function, valuesOf(tables.discreteInputs, address, value));
    case 3:
        return wordsReply(byteAt(request, 0), function, valuesOf(tables.holdingRegisters, address, value));
    case 4:
        return wordsReply(byteAt(request, 0), function, valuesOf(tables.inputRegisters, address, value));
    case 5:
        tables.coils[address] = value == 0xFF00 ? 1 : 0;
        return acknowledgement(request);
    case 6:
        tables.holdingRegisters[address] = value;
        return acknowledgement(request);
    case 15:
        return writeCoils(tables, request);
    case 16:
        return writeRegisters(tables, request);
    default:
        return refusal(request, IllegalFunction);
    }
}

void ScriptedSlave::carryOutBroadcast(const QByteArray &request)
{
    for (Stations::iterator it = stations.begin(); it != stations.end(); ++it)
        carryOut(it->second, request);
}

// --- polling --------------------------------------------------------------------------

SlaveFixture::~SlaveFixture()
{
    EXPECT_EQ(slaves.malformedRequests, 0);
}

int SlaveFixture::step()
{
    const FRAME_PRO frame = nextFrame();
    if (frame.frameLen == 0)
        return NothingToSend;
    return deal(slaves.answer(requestBytes(frame)));
}

std::string SlaveFixture::trace(int steps)
{
    static const char letters[] = "??WCPSL";
    std::string sent;
    for (int i = 0; i < steps; ++i) {
        const int verdict = step();
        if (verdict == NothingToSend) {
            sent += '-';
            continue;
        }
        const char letter = letters[driver.sendState];
        sent += verdict == ReplyAccepted ? letter : static_cast<char>(std::tolower(letter));
    }
    return sent;
}

void SlaveFixture::raise(int requestByte, int value)
{
    hostArea[static_cast<size_t>(requestByte)] = static_cast<unsigned char>(value);
}

int SlaveFixture::raised(int requestByte) const
{
    return hostArea[static_cast<size_t>(requestByte)];
}

int SlaveFixture::transfer(int requestByte)
{
    raise(requestByte);
    for (int steps = 1; steps <= 10000; ++steps) {
        step();
        if (raised(requestByte) == 0)
            return steps;
    }
    ADD_FAILURE() << "the block request was never cleared";
    return 0;
}

} // namespace support
