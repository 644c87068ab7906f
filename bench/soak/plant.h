/**
 * @file
 * Twenty slaves in memory. Part of their data moves by itself, part is the
 * host's to write.
 */
#ifndef SOAK_PLANT_H
#define SOAK_PLANT_H

#include "tests/support/random.h"
#include "tests/support/rtu_frames.h"
#include "tests/support/scripted_slave.h"

#include <vector>

namespace soak {

using support::byteAt;
using support::Random;

enum { FirstStation = 1, Stations = 20 };

/** Which elements of each station are what; zero-based addresses. */
enum Layout {
    Coils = 32,            ///< written by the host
    Inputs = 32,           ///< discrete inputs, moving
    InputRegisters = 20,   ///< moving
    MovingRegisters = 40,  ///< holding registers 0 to 39, moving
    FirstWord = 40,        ///< 20 holding registers, written as words
    FirstDouble = 60,      ///< 20 holding registers, written as 32-bit values
    FirstBitRegister = 80, ///< 10 holding registers, written by the bit
    FirstRecipe = 100,     ///< 60 holding registers, written by recipes alone
    RecipeRegisters = 60,
    HoldingRegisters = FirstRecipe + RecipeRegisters
};

class Plant
{
public:
    explicit Plant(std::uint32_t seed);

    support::SlaveTables &slave(int station) { return slaves[static_cast<std::size_t>(station - FirstStation)]; }

    /** Changes a few of the values that move. */
    void move();

    /** Carries a request out; its answer, empty where none of the slaves is meant. */
    QByteArray answer(const QByteArray &request);

    /**
     * The answer of a station that took the request for its own: its data for
     * reads; for writes an acknowledgement of what it did not do.
     */
    QByteArray answerOfOther(const QByteArray &request);

private:
    std::vector<support::SlaveTables> slaves;
    Random random;
};

} // namespace soak

#endif
