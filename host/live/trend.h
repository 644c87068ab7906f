/**
 * @file
 * The course of a value, drawn with letters.
 */
#ifndef RTU_HOST_TREND_H
#define RTU_HOST_TREND_H

#include <string>
#include <vector>

namespace rtu {

/** The latest of the numbers, one a column, between their least and their greatest; what is no number is left out. */
std::vector<std::string> trendLines(const std::vector<double> &numbers, int rows, int columns);

} // namespace rtu

#endif
