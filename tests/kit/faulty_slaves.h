/**
 * @file
 * Simulated slaves behind a virtual line on which everything goes wrong that a host can
 * tell: what is lost, late, sent twice, cut short, damaged, somebody else's, or heard
 * back. Each register holds values that name it, so that one from another place shows.
 */
#ifndef TESTS_KIT_FAULTY_SLAVES_H
#define TESTS_KIT_FAULTY_SLAVES_H

#include "plant/plant.h"
#include "support/frames.h"
#include "support/random.h"

#include <cstdint>
#include <set>
#include <tuple>

namespace test_kit {

using test_line::Bytes;

/** What a host cannot know, and must be told of the line. */
struct LineHabits
{
    rtu::Duration replyTimeout;
    rtu::Duration lateReplyGuard;
    bool echo; ///< every request is heard back
};

class FaultySlaves
{
public:
    enum { Stations = 6, Registers = 32, BroadcastRegister = 31 };

    FaultySlaves(const LineHabits &habits, std::uint32_t seed);

    /** The value of a register that was written so often; the upper byte names the register. */
    static std::uint16_t value(int station, int address, int version)
    {
        return static_cast<std::uint16_t>(name(station, address) << 8 | (version & 0xFF));
    }
    static bool belongsTo(std::uint32_t value, int station, int address)
    {
        return value >> 8 == static_cast<std::uint32_t>(name(station, address));
    }

    /** As VirtualLine::slave. */
    void hear(test_line::VirtualLine &line, const Bytes &request);

    void setFaulty(bool faulty) { m_faulty = faulty; }
    void switchStation(int station, bool on) { m_plant.setStationOn(station, on); }
    std::uint16_t peek(int station, int address) const
    {
        return m_plant.peek(station, plant::Table::HoldingRegisters, address);
    }

    /** Whether a slave has carried out a write of this value since forget(). */
    bool carriedOut(int station, int address, std::uint16_t value) const
    {
        return m_carriedOut.count(std::make_tuple(station, address, value)) != 0;
    }
    void forget(int station, int address, std::uint16_t value)
    {
        m_carriedOut.erase(std::make_tuple(station, address, value));
    }

    long faults = 0;

private:
    /** Broadcasts go to a register whose values name no station. */
    static int name(int station, int address) { return address == BroadcastRegister ? 0xF0 : station << 5 | address; }

    Bytes carryOut(const Bytes &request);
    void note(const Bytes &request);
    void send(test_line::VirtualLine &line, rtu::Duration after, const Bytes &reply);
    bool spoil(test_line::VirtualLine &line, const Bytes &request, Bytes &reply);
    void misroute(test_line::VirtualLine &line, const Bytes &request, const Bytes &reply);
    void answerLate(test_line::VirtualLine &line, const Bytes &reply);
    void answerTwice(test_line::VirtualLine &line, const Bytes &reply);

    LineHabits m_habits;
    plant::Plant m_plant;
    support::Random m_random;
    bool m_faulty = true;
    rtu::Duration m_asked{0}; ///< what the last request took on the line
    std::set<std::tuple<int, int, std::uint16_t>> m_carriedOut;
};

} // namespace test_kit

#endif
