#include "kit/faulty_slaves.h"

namespace test_kit {

namespace {

using test_line::microseconds;
using test_line::milliseconds;
using test_line::withCrc;

const rtu::Duration Character = microseconds(573); // 19200 baud, 11 bits
const rtu::Duration Turnaround = milliseconds(3);

bool isRead(const Bytes &request)
{
    return request[1] <= 4;
}

rtu::Duration charactersOf(const Bytes &bytes)
{
    return Character * static_cast<int>(bytes.size());
}

Bytes exception(const Bytes &request, unsigned char code)
{
    return withCrc({request[0], static_cast<unsigned char>(request[1] | 0x80), code});
}

} // namespace

FaultySlaves::FaultySlaves(const LineHabits &habits, std::uint32_t seed) : m_habits(habits), m_random(seed)
{
    for (int station = 1; station <= Stations; ++station) {
        m_plant.define(station, plant::Table::HoldingRegisters, 0, Registers);
        m_plant.define(station, plant::Table::InputRegisters, 0, Registers);
        m_plant.define(station, plant::Table::Coils, 0, 64);
        for (int address = 0; address < Registers; ++address) {
            m_plant.poke(station, plant::Table::HoldingRegisters, address, value(station, address, 0));
            m_plant.poke(station, plant::Table::InputRegisters, address, value(station, address, 0));
        }
    }
}

/** Notes the values that a write of registers brings. */
void FaultySlaves::note(const Bytes &request)
{
    const int address = request[2] * 256 + request[3];
    if (request[1] == 6)
        m_carriedOut.emplace(request[0], address, static_cast<std::uint16_t>(request[4] << 8 | request[5]));
    if (request[1] != 16)
        return;
    for (std::size_t i = 7; i + 3 < request.size(); i += 2) {
        const int offset = static_cast<int>(i - 7) / 2;
        m_carriedOut.emplace(request[0], address + offset,
                             static_cast<std::uint16_t>(request[i] << 8 | request[i + 1]));
    }
}

Bytes FaultySlaves::carryOut(const Bytes &request)
{
    if (request[0] == 0 || m_plant.stationIsOn(request[0]))
        note(request);
    const std::vector<plant::Outgoing> answers = m_plant.answer(request);
    return answers.empty() ? Bytes() : answers.front().bytes;
}

/** In one lump or two, the last byte when its last bit would have been received. */
void FaultySlaves::send(test_line::VirtualLine &line, rtu::Duration after, const Bytes &reply)
{
    if (reply.empty())
        return;
    const std::size_t cut = static_cast<std::size_t>(m_random.below(static_cast<int>(reply.size())));
    const Bytes head(reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(cut));
    const Bytes tail(reply.begin() + static_cast<std::ptrdiff_t>(cut), reply.end());
    if (!head.empty())
        line.receive(after + charactersOf(head), head);
    line.receive(after + charactersOf(reply), tail);
}

void FaultySlaves::hear(test_line::VirtualLine &line, const Bytes &request)
{
    m_asked = charactersOf(request);
    if (m_habits.echo)
        line.receive(m_asked, request);
    const rtu::Duration usual = m_asked + Turnaround;
    if (!m_faulty || !m_random.chance(15))
        return send(line, usual, carryOut(request));
    ++faults;
    if (m_random.chance(15))
        return; // the request is lost
    if (m_random.chance(10) && m_plant.stationIsOn(request[0]))
        return send(line, usual, exception(request, m_random.pick<unsigned char>({4, 6, 11})));
    Bytes reply = carryOut(request);
    if (reply.empty() || m_random.chance(15))
        return; // the reply is lost
    if (spoil(line, request, reply))
        send(line, usual, reply);
}

/** False: the reply has been dealt with. */
bool FaultySlaves::spoil(test_line::VirtualLine &line, const Bytes &request, Bytes &reply)
{
    const int size = static_cast<int>(reply.size());
    switch (m_random.below(6)) {
    case 0: // fewer than four wrong bits in a frame as short as these never pass the check sum
        for (int i = m_random.between(1, 3); i > 0; --i)
            reply[static_cast<std::size_t>(m_random.below(size))] ^= static_cast<unsigned char>(1 << i);
        return true;
    case 1:
        reply.resize(static_cast<std::size_t>(m_random.between(1, size - 1)));
        return true;
    case 2:
        answerLate(line, reply);
        return false;
    case 3:
        answerTwice(line, reply);
        return false;
    case 4:
        misroute(line, request, reply);
        return false;
    default: // of a write of one value, the echo is its acknowledgement to every host
        if (isRead(request) && !m_habits.echo)
            line.receive(m_asked, request);
        return true;
    }
}

/** Up to the end of the guard that follows the time-out. */
void FaultySlaves::answerLate(test_line::VirtualLine &line, const Bytes &reply)
{
    const rtu::Duration latest = m_habits.replyTimeout + m_habits.lateReplyGuard - charactersOf(reply);
    const int parts = m_random.between(1, 99);
    send(line, m_asked + latest * parts / 100, reply);
}

/** The second one comes while the next request is on its way, at the latest. */
void FaultySlaves::answerTwice(test_line::VirtualLine &line, const Bytes &reply)
{
    const rtu::Duration first = m_asked + Turnaround;
    const rtu::Duration pause = milliseconds(m_random.below(6));
    send(line, first, reply);
    send(line, first + charactersOf(reply) + pause, reply);
}

/** The reply of another slave, which the true one may follow. */
void FaultySlaves::misroute(test_line::VirtualLine &line, const Bytes &request, const Bytes &reply)
{
    Bytes other(request.begin(), request.end() - 2);
    other[0] = static_cast<unsigned char>(request[0] % Stations + 1);
    const Bytes foreign =
        isRead(request)
            ? m_plant.answer(withCrc(other)).empty() ? Bytes() : m_plant.answer(withCrc(other)).front().bytes
            : withCrc(Bytes(other.begin(), other.begin() + 6));
    const rtu::Duration first = m_asked + Turnaround;
    send(line, first, foreign);
    if (m_random.chance(50))
        send(line, first + charactersOf(foreign) + milliseconds(m_random.between(5, 60)), reply);
}

} // namespace test_kit
