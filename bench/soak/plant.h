/**
 * @file
 * Twenty slaves in memory. Part of their data moves by itself, part is the
 * host's to write.
 */
#ifndef SOAK_PLANT_H
#define SOAK_PLANT_H

#include <QtCore/QByteArray>

#include <cstdint>
#include <random>
#include <vector>

namespace soak {

/** The same numbers on every machine. */
class Random
{
public:
    explicit Random(std::uint32_t seed) : engine(seed) {}

    unsigned int operator()() { return static_cast<unsigned int>(engine()); }

private:
    std::mt19937 engine;
};

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

struct Slave
{
    std::vector<int> coils;
    std::vector<int> inputs;
    std::vector<int> inputRegisters;
    std::vector<int> holding;

    Slave();
};

class Plant
{
public:
    explicit Plant(std::uint32_t seed);

    Slave &slave(int station) { return slaves[static_cast<std::size_t>(station - FirstStation)]; }

    /** Changes a few of the values that move. */
    void move();

    /** Carries a request out; its answer, an exception where it does not fit. */
    QByteArray answer(const QByteArray &request);

    /**
     * The answer of a station that took the request for its own: its data for
     * reads; for writes an acknowledgement of what it did not do.
     */
    QByteArray answerOfOther(const QByteArray &request);

private:
    std::vector<Slave> slaves;
    Random random;
};

bool hasRightCrc(const QByteArray &bytes);

inline int byteAt(const QByteArray &bytes, int position)
{
    return static_cast<unsigned char>(bytes.at(position));
}

inline int wordAt(const QByteArray &bytes, int position)
{
    return byteAt(bytes, position) << 8 | byteAt(bytes, position + 1);
}

} // namespace soak

#endif
