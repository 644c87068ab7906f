/**
 * The checker changes nothing: through it, random calls have the outcomes that
 * the plain driver has, to every byte, report and member.
 *
 * MODBUS_SEED and MODBUS_STEPS in the environment choose another or a longer run.
 */
#include "checker/checked_driver.h"
#include "model/call_sequences.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

TEST(ThroughTheChecker, RandomCallSequencesHaveTheSameOutcomes)
{
    // The seeds of the same test without the checker.
    const std::uint32_t firstSeed = static_cast<std::uint32_t>(support::environmentNumber("MODBUS_SEED", 20240601));
    const int steps = static_cast<int>(support::environmentNumber("MODBUS_STEPS", 30000));
    const int perSequence = 3000;
    std::size_t findings = 0;
    int frames = 0;
    for (int done = 0, i = 0; done < steps && !HasFailure(); done += perSequence, ++i) {
        checked::renew();
        model::Duel::Reach reach;
        const std::uint32_t seed = firstSeed + static_cast<std::uint32_t>(i);
        const std::vector<model::Call> calls = model::randomCalls(seed, perSequence);
        const model::Disagreement found = model::runCalls(calls, &reach);
        EXPECT_EQ(found.difference, "") << "seed " << seed << ", step " << found.step;
        findings += checked::takeFindings().size();
        frames += reach.frames;
    }
    std::printf("seed %u, %d steps, %d frames, %d findings\n", firstSeed, steps, frames, static_cast<int>(findings));
    // Such calls break the contract all the time, and get somewhere all the same.
    EXPECT_GT(findings, static_cast<std::size_t>(steps) / 100);
    EXPECT_GT(frames, steps / 40);
}

} // namespace
