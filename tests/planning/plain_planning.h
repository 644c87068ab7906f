/**
 * @file
 * Sorting and merging written down step by step, without any care for cost: what
 * the driver's own planning is compared with.
 */
#ifndef PLAIN_PLANNING_H
#define PLAIN_PLANNING_H

#include "driver/modbus_rtu_records.h"

#include <utility>
#include <vector>

namespace plain {

/** A 64-bit sum as the 32-bit register of the panel would hold it. */
int wrapped(long long value);

/** Sort key: 65535 x (5 x station + position of the type + 1) + address, unsigned 32-bit. */
unsigned int weight(int station, const QString &regType, int address);

template <typename Unit>
unsigned int weightOf(const Unit &unit)
{
    return weight(unit.station, unit.regType, unit.startAddr);
}

/** The exchange sort: neighbours change places only when the first one weighs more. */
template <typename Unit>
void exchangeSort(std::vector<Unit> &units)
{
    const int n = static_cast<int>(units.size());
    std::vector<std::pair<unsigned int, int> > order;
    for (int i = 0; i < n; ++i)
        order.push_back(std::make_pair(weightOf(units[static_cast<size_t>(i)]), i));
    for (int pass = 0; pass <= n - 2; ++pass) {
        for (int j = 0; j <= n - pass - 2; ++j) {
            const size_t at = static_cast<size_t>(j);
            if (order[at].first > order[at + 1].first)
                std::swap(order[at], order[at + 1]);
        }
    }
    std::vector<Unit> sorted;
    for (int i = 0; i < n; ++i)
        sorted.push_back(units[static_cast<size_t>(order[static_cast<size_t>(i)].second)]);
    units.swap(sorted);
}

/**
 * The merge. @p mode 2 wants the keys sorted and appends to @p starts where each
 * block began; every other mode rewrites bit keys, sorts, and joins across gaps.
 */
std::vector<KEY_ADDRESS> merge(std::vector<KEY_ADDRESS> keys, int mode, int limit, std::vector<int> &starts);

} // namespace plain

#endif
