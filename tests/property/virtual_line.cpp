#include "property/virtual_line.h"

namespace property {

namespace {

enum {
    Stations = 3,
    CharacterMicroseconds = 573, // 11 bits at 19200 baud
    ReplyTimeOut = 200000,
    Turnaround = 5000
};

} // namespace

VirtualLine::VirtualLine(std::uint32_t seed) : random(seed), microseconds(0), faultLevel(100), genuine(false)
{
    for (int address = 1; address <= Stations; ++address)
        slaves.station(address);
}

void VirtualLine::pass(int bytes)
{
    microseconds += static_cast<long long>(bytes) * CharacterMicroseconds;
}

// Now and then a slave is switched off for a while.
bool VirtualLine::isDead(int address)
{
    if (random.below(30000) < faultLevel)
        deadUntil[address] = microseconds + random.between(500000, 4000000);
    return deadUntil[address] > microseconds;
}

support::SlaveFault VirtualLine::randomFault()
{
    if (random.below(1000) >= faultLevel)
        return support::NoFault;
    return random.pick({support::Silent, support::ReplyLost, support::WrongCrc, support::Truncated, support::TooLong,
                        support::OtherStation, support::OtherFunction, support::Busy, support::EchoOfRequest});
}

QByteArray VirtualLine::exchange(const FRAME_PRO &request)
{
    const QByteArray bytes = support::requestBytes(request);
    pass(static_cast<int>(bytes.size()));
    genuine = false;
    QByteArray reply;
    if (!isDead(request.frame[0])) {
        const support::SlaveFault fault = randomFault();
        if (fault != support::NoFault)
            slaves.failNext(fault);
        reply = slaves.answer(bytes);
        slaves.requests.clear();
        genuine = fault == support::NoFault;
    }
    // A reply that missed its own request is taken for the answer to the next one.
    if (!late.empty() && late.front().arrival <= microseconds + ReplyTimeOut) {
        const LateReply stale = late.front();
        late.pop_front();
        if (random.chance(50)) {
            genuine = genuine && stale.bytes == reply;
            reply = stale.bytes;
        }
    } else if (!reply.isEmpty() && random.below(5000) < faultLevel) {
        late.push_back({microseconds + ReplyTimeOut + Turnaround, reply});
        reply.clear();
        genuine = false;
    }
    if (reply.isEmpty())
        microseconds += request.replyLen == 0 ? Turnaround : ReplyTimeOut;
    else
        microseconds += Turnaround;
    pass(static_cast<int>(reply.size()));
    return reply;
}

void VirtualLine::moveSomething()
{
    support::SlaveTables &tables = slaves.station(random.between(1, Stations));
    const int address = random.below(120);
    switch (random.below(4)) {
    case 0:
        tables.coils[address] = random.below(2);
        break;
    case 1:
        tables.discreteInputs[address] = random.below(2);
        break;
    case 2:
        tables.inputRegisters[address] = random.below(65536);
        break;
    default:
        tables.holdingRegisters[address] = random.below(65536);
        break;
    }
}

} // namespace property
