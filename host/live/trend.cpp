#include "host/live/trend.h"

#include "host/text/numbers.h"
#include "host/text/text_width.h"

#include <algorithm>
#include <cmath>

namespace rtu {

namespace {

const int LabelWidth = 11;
const int LabelDigits = 6;

/** From the top. A value that never changes runs in the middle. */
int rowOf(double number, double least, double greatest, int rows)
{
    if (greatest <= least)
        return (rows - 1) / 2;
    const double height = (number - least) / (greatest - least);
    return rows - 1 - static_cast<int>(std::lround(height * (rows - 1)));
}

} // namespace

std::vector<std::string> trendLines(const std::vector<double> &numbers, int rows, int columns)
{
    const std::size_t room = static_cast<std::size_t>(std::max(1, columns - LabelWidth));
    const std::size_t shown = std::min(room, numbers.size());
    std::vector<double> latest(numbers.end() - static_cast<std::ptrdiff_t>(shown), numbers.end());
    latest.erase(std::remove_if(latest.begin(), latest.end(), [](double number) { return !std::isfinite(number); }),
                 latest.end());
    if (latest.empty() || rows < 1)
        return {};
    const double least = *std::min_element(latest.begin(), latest.end());
    const double greatest = *std::max_element(latest.begin(), latest.end());
    std::vector<std::string> lines(static_cast<std::size_t>(rows), std::string(LabelWidth - 2, ' ') + "| ");
    const auto label = [&](int row, double number) {
        lines[static_cast<std::size_t>(row)].replace(0, LabelWidth - 2,
                                                     rightAligned(general(number, LabelDigits), LabelWidth - 3) + " ");
    };
    label(rowOf(least, least, greatest, rows), least);
    label(rowOf(greatest, least, greatest, rows), greatest);
    for (double number : latest) {
        const int marked = rowOf(number, least, greatest, rows);
        for (int row = 0; row < rows; ++row)
            lines[static_cast<std::size_t>(row)] += row == marked ? '*' : ' ';
    }
    return lines;
}

} // namespace rtu
