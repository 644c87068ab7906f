/**
 * @file
 * Random traffic of which the truth is known, and of which it can be known.
 */
#ifndef TESTS_LISTEN_RANDOM_TRAFFIC_H
#define TESTS_LISTEN_RANDOM_TRAFFIC_H

#include "support/frames.h"
#include "support/random.h"

#include <string>
#include <vector>

namespace listen_test {

using test_line::Bytes;

/** Bytes as a reader gets them. */
struct TimedLump
{
    rtu::TimePoint arrived;
    Bytes bytes;
};

struct Traffic
{
    std::vector<TimedLump> lumps;
    std::vector<std::string> transactions; ///< as HeardTraffic tells them
    Bytes garbage;                         ///< all of it, in order
    bool knowable = true;                  ///< no check sum is right by chance
};

/** @param transactions how many the master begins */
Traffic randomTraffic(support::Random &random, int transactions);

} // namespace listen_test

#endif
