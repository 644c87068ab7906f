// Runs one scenario for a number of steps and does nothing else, so that an
// instruction counter around it can take the difference of two step counts.
//
//   instruction_count SCENARIO STEPS      exit status 1 when a step failed

#include "bench/poll_scenarios.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: instruction_count SCENARIO STEPS\nscenarios:");
        for (const std::string &name : scenarioNames())
            std::fprintf(stderr, " %s", name.c_str());
        std::fprintf(stderr, "\n");
        return 2;
    }
    const std::unique_ptr<Scenario> scenario = makeScenario(argv[1]);
    if (!scenario)
        return 2;
    for (int steps = std::atoi(argv[2]); steps > 0; --steps) {
        if (!scenario->step())
            return 1;
    }
    return 0;
}
