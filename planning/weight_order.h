/**
 * @file
 * The order by sort weight that planning works in: ascending, unsigned, equal
 * weights in the order in which they came.
 */
#ifndef WEIGHT_ORDER_H
#define WEIGHT_ORDER_H

#include "driver/qt_compat.h"

#include <algorithm>
#include <cstddef>
#include <vector>

/** A weight and where in its list the weighted record stands. */
struct WeightedPosition
{
    unsigned int weight;
    int position;

    WeightedPosition(unsigned int recordWeight, int recordPosition) : weight(recordWeight), position(recordPosition) {}

    bool operator<(const WeightedPosition &other) const { return weight < other.weight; }
};

/** The records in this order; @p weightOf gives the weight of one. */
template <typename Records, typename WeightOf>
Records sortedByWeight(const Records &records, const WeightOf &weightOf)
{
    typedef typename Records::size_type Index;
    const int count = sizeOf(records);
    std::vector<WeightedPosition> order;
    order.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        order.push_back(WeightedPosition(weightOf(records[static_cast<Index>(i)]), i));
    std::stable_sort(order.begin(), order.end());

    Records sorted = records;
    typename Records::iterator place = sorted.begin();
    for (std::size_t i = 0; i < order.size(); ++i, ++place)
        *place = records[static_cast<Index>(order[i].position)];
    return sorted;
}

#endif
