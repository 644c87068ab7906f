/**
 * @file
 * Faults: which requests they strike, and what they do to answers.
 */
#ifndef RTU_PLANT_FAULTS_H
#define RTU_PLANT_FAULTS_H

#include "plant/frame_bytes.h"
#include "plant/plant.h"

#include <random>

namespace plant {

/** Random numbers that are the same on every machine for the same seed. */
class Dice
{
public:
    explicit Dice(unsigned seed) : m_engine(seed) {}
    /** True with this probability. */
    bool falls(double rate) { return static_cast<double>(m_engine()) < rate * 4294967296.0; }
    /** A number from 0 to below @p limit. */
    std::size_t below(std::size_t limit) { return m_engine() % limit; }

private:
    std::mt19937 m_engine;
};

/** A fault with its memory. */
struct ArmedFault
{
    explicit ArmedFault(const Fault &description) : fault(description), dice(description.seed) {}

    /** Decides about one request; each asking counts. */
    bool strikes(int station, int function);

    Fault fault;
    Dice dice;
    int struck = 0;
};

/** Everything that befalls one request. */
struct Mishaps
{
    bool unheard = false;
    int exception = 0; ///< code of the exception answer, 0 for none
    bool echo = false;
    std::chrono::milliseconds late{0};
    std::vector<ArmedFault *> onAnswer; ///< faults that change the answer's bytes
    bool any = false;
};

class Faults
{
public:
    void add(const Fault &fault) { m_faults.emplace_back(fault); }
    void clear() { m_faults.clear(); }
    /**
     * What befalls a request; valid until the next call of any member.
     *
     * @param heard a station is there to answer; without one only the echo of
     *        the line itself is left
     */
    Mishaps strike(int station, int function, bool heard);

private:
    std::vector<ArmedFault> m_faults;
};

/** Changes an answer as the fault's kind says. */
void spoil(Bytes &answer, ArmedFault &fault);

} // namespace plant

#endif
