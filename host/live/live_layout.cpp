#include "host/live/live_layout.h"

#include <algorithm>

namespace rtu {

namespace {

const int FewestValues = 7; ///< lines, with the header
const int FewerValues = 4;  ///< where the user wants to see something else
const int LeastStations = 3;
const int LeastLower = 3;

/** Hands out lines until there are none left. */
class Room
{
public:
    explicit Room(int lines) : m_left(std::max(0, lines)) {}

    int left() const { return m_left; }
    int take(int wanted)
    {
        const int taken = std::max(0, std::min(wanted, m_left));
        m_left -= taken;
        return taken;
    }
    /** All or nothing. */
    int takeWhole(int wanted) { return wanted <= m_left ? take(wanted) : 0; }

private:
    int m_left;
};

int firstValues(int room, LowerPart lower)
{
    switch (lower) {
    case LowerPart::TallTrace:
        return FewerValues;
    case LowerPart::Trend:
        return std::max(FewerValues, room / 2);
    default:
        return std::max(FewestValues, room / 2);
    }
}

} // namespace

LiveLayout liveLayout(int rows, int values, int stations, LowerPart lower)
{
    const int titleAndFooter = 2;
    const int allValues = values + 1;
    const int allStations = stations > 0 ? stations + 1 : 0;
    Room room(rows - titleAndFooter);
    LiveLayout layout;
    layout.values = room.take(std::min(allValues, firstValues(room.left(), lower)));
    if (lower == LowerPart::Trend)
        layout.lower = room.takeWhole(LeastLower);
    layout.rates = room.take(1);
    layout.stations = room.takeWhole(std::min(allStations, std::max(LeastStations, rows / 4)));
    layout.counts = room.left() > LeastLower ? room.take(1) : 0;
    if (layout.lower == 0)
        layout.lower = room.takeWhole(LeastLower);
    if (lower == LowerPart::Trace) {
        layout.values += room.take(allValues - layout.values);
        if (layout.stations > 0)
            layout.stations += room.take(allStations - layout.stations);
    }
    (layout.lower > 0 ? layout.lower : layout.values) += room.take(room.left());
    return layout;
}

} // namespace rtu
