/**
 * @file
 * How the live view divides its lines.
 */
#ifndef RTU_HOST_LIVE_LAYOUT_H
#define RTU_HOST_LIVE_LAYOUT_H

namespace rtu {

/** What is below the values. */
enum class LowerPart { Trace, TallTrace, Trend };

/** Lines of each part, headers included; title and footer have one each besides. */
struct LiveLayout
{
    int rates = 0;
    int counts = 0;
    int stations = 0; ///< fewer than there are: the last line sums up
    int values = 0;
    int lower = 0;
};

/** Values come first; then the rest by what it tells a line, as far as there is room. */
LiveLayout liveLayout(int rows, int values, int stations, LowerPart lower);

} // namespace rtu

#endif
