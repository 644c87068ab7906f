// Runs one scenario for a number of rounds and does nothing else, so that a
// counter around it can take the difference of two numbers of rounds.
//
//   scenario_steps SCENARIO ROUNDS [cold]      exit status 1 when a step failed
//   scenario_steps --tools                     what it was built with and runs on
//
// Cold: before each step something else has had the processor's data cache.

#include "bench/poll_scenarios.h"

#include <QtCore/QtGlobal>

#include <gnu/libc-version.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/** Reads four times what the data cache of a panel holds, a byte of each line. */
void sweepCache()
{
    const int lineBytes = 32;
    alignas(lineBytes) static volatile unsigned char others[4 * 16 * 1024];
    for (unsigned int i = 0; i < sizeof others; i += lineBytes)
        static_cast<void>(others[i]);
}

/** What counts depend on: the compiler, Qt and the C library. */
int tellTools()
{
    std::printf("compiler %s\nQt %s\nlibc %s\n", __VERSION__, qVersion(), gnu_get_libc_version());
    return 0;
}

int usage()
{
    std::fprintf(stderr, "usage: scenario_steps SCENARIO ROUNDS [cold] | --tools\nscenarios:");
    for (const std::string &name : scenarioNames())
        std::fprintf(stderr, " %s", name.c_str());
    std::fprintf(stderr, "\n");
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--tools") == 0)
        return tellTools();
    if (argc < 3 || argc > 4)
        return usage();
    const std::unique_ptr<Scenario> scenario = makeScenario(argv[1]);
    if (!scenario)
        return usage();
    const bool cold = argc == 4 && std::strcmp(argv[3], "cold") == 0;
    for (int steps = std::atoi(argv[2]) * scenario->stepsARound(); steps > 0; --steps) {
        if (cold)
            sweepCache();
        if (!scenario->step())
            return 1;
    }
    return 0;
}
