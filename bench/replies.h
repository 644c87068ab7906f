/**
 * @file
 * What the slaves of the measurements hold.
 */
#ifndef BENCH_REPLIES_H
#define BENCH_REPLIES_H

#include "tests/support/rtu_frames.h"

#include <numeric>
#include <vector>

/** @p count values that start at @p firstValue and go up by one. */
inline std::vector<int> registerRun(int firstValue, int count)
{
    std::vector<int> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), firstValue);
    return values;
}

/** @p count coils, eight of them in each byte @p pattern of a reply. */
inline std::vector<int> coilRun(int count, int pattern)
{
    std::vector<int> coils;
    for (int i = 0; i < count; ++i)
        coils.push_back(pattern >> i % 8 & 1);
    return coils;
}

#endif
