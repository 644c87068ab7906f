#include "host/live/station_table.h"

#include "host/text/numbers.h"
#include "host/text/wall_clock.h"

#include <algorithm>

namespace rtu {

namespace {

enum Column { Frames, Resent, GivenUp, TimeOuts, Exceptions, Reply, Age, ColumnCount };

struct ColumnShape
{
    const char *title;
    int width;
    bool left; ///< aligned to the left, behind two blanks
};

const ColumnShape shapes[ColumnCount] = {{"frames", 8, false},      {"resent", 7, false}, {"given up", 9, false},
                                         {"t-outs", 7, false},      {"exc.", 5, false},   {"reply med/95 %", 16, true},
                                         {"age med/95 %", 14, true}};

/** The first ones are left out first. */
const Column dispensable[] = {Exceptions, TimeOuts, Resent, Frames, Age, GivenUp, Reply};

const int FixedWidth = 19; ///< station, state and share

std::vector<Column> shownColumns(int columns)
{
    std::vector<Column> shown = {Frames, Resent, GivenUp, TimeOuts, Exceptions, Reply, Age};
    int width = FixedWidth;
    for (Column column : shown)
        width += shapes[column].width;
    for (Column column : dispensable) {
        if (width <= columns)
            break;
        shown.erase(std::find(shown.begin(), shown.end(), column));
        width -= shapes[column].width;
    }
    return shown;
}

std::string cell(Column column, const std::string &text)
{
    const ColumnShape &shape = shapes[column];
    return shape.left ? "  " + leftAligned(text, shape.width - 2) : rightAligned(text, shape.width);
}

std::string contentOf(Column column, const StationStatistics &counts)
{
    switch (column) {
    case Frames:
        return std::to_string(counts.frames);
    case Resent:
        return std::to_string(counts.resends);
    case GivenUp:
        return std::to_string(counts.giveUps);
    case TimeOuts:
        return std::to_string(counts.timeouts);
    case Exceptions:
        return std::to_string(counts.exceptions);
    case Reply:
        return pairText(counts.replyMedian, counts.reply95);
    default:
        return pairText(counts.ageMedian, counts.age95);
    }
}

} // namespace

std::string pairText(Duration median, Duration percentile95)
{
    if (median <= Duration(0))
        return "-";
    // In the unit of the longer one: two units have no room, and the one that is cut off says a thousandth.
    const std::string low = durationText(median);
    const std::string high = durationText(percentile95);
    const std::size_t unit = low.find(' ');
    const std::string highUnit = high.substr(high.find(' '));
    if (low.substr(unit) == highUnit)
        return low.substr(0, unit) + "/" + high;
    const int digits = 2;
    return general(toSeconds(median) * (highUnit == " s" ? 1 : 1e3), digits) + "/" + high;
}

std::string stationHeader(int columns)
{
    std::string text = " stn  state    line";
    for (Column column : shownColumns(columns))
        text += cell(column, shapes[column].title);
    return text;
}

ScreenLine stationLine(const StationRow &row, int columns)
{
    std::string cells = rightAligned(fixed(100 * row.share, 0) + " %", 6);
    for (Column column : shownColumns(columns))
        cells += cell(column, contentOf(column, row.counts));
    return {Span{rightAligned(std::to_string(row.station), 4), Look::Plain},
            Span{leftAligned(row.alive ? "  answers" : "  silent", 9), row.alive ? Look::Good : Look::Error},
            Span{cells, Look::Plain}};
}

} // namespace rtu
