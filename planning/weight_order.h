/**
 * @file
 * The order by sort weight that planning works in: ascending, unsigned, equal
 * weights in the order in which they came.
 */
#ifndef WEIGHT_ORDER_H
#define WEIGHT_ORDER_H

#include <algorithm>
#include <vector>

/** A weight and where in its list the weighted record stands. */
struct WeightedPosition
{
    unsigned int weight;
    int position;

    WeightedPosition(unsigned int recordWeight, int recordPosition) : weight(recordWeight), position(recordPosition) {}

    bool operator<(const WeightedPosition &other) const { return weight < other.weight; }
};

inline void sortByWeight(std::vector<WeightedPosition> &order)
{
    std::stable_sort(order.begin(), order.end());
}

#endif
