/**
 * @file
 * Random call sequences in phases, their run on both drivers, and their
 * shortening when the drivers disagree.
 */
#ifndef MODEL_CALL_SEQUENCES_H
#define MODEL_CALL_SEQUENCES_H

#include "model/duel.h"

#include <string>
#include <vector>

namespace model {

/** Calls from @p seed on: start-up, then phases that favour polling, writing, planning and so on. */
std::vector<Call> randomCalls(std::uint32_t seed, int steps);

struct Disagreement
{
    size_t step;            ///< index of the call on which the drivers disagreed
    std::string difference; ///< empty when they agreed throughout
};

/** Runs the calls on a fresh pair of drivers. */
Disagreement runCalls(const std::vector<Call> &calls, Duel::Reach *reach = nullptr);

/** The last calls of a shortest sequence found that still makes the drivers disagree. */
std::string shortestTail(std::vector<Call> calls, size_t failingStep);

} // namespace model

#endif
