#include "host/live/row_order.h"

#include "host/live/live_table.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace rtu {

namespace {

/** Whether the left one stands before the right one. */
bool precedes(RowOrder order, const TagBoard &board, const LiveRow &left, const LiveRow &right)
{
    const TagRange &a = board.tags()[left.tag];
    const TagRange &b = board.tags()[right.tag];
    switch (order) {
    case RowOrder::ByName:
        return std::tie(a.name, left.value) < std::tie(b.name, right.value);
    case RowOrder::ByAddress: {
        const int first = a.addressOf(left.value);
        const int second = b.addressOf(right.value);
        return std::tie(a.station, a.type.name, first) < std::tie(b.station, b.type.name, second);
    }
    default:
        return false;
    }
}

} // namespace

std::vector<LiveRow> lastChangedFirst(const std::vector<LiveRow> &rows,
                                      const std::function<TimePoint(const LiveRow &)> &changed)
{
    std::vector<std::pair<TimePoint, LiveRow>> timed;
    timed.reserve(rows.size());
    for (const LiveRow &row : rows)
        timed.emplace_back(changed(row), row);
    std::stable_sort(timed.begin(), timed.end(),
                     [](const std::pair<TimePoint, LiveRow> &left, const std::pair<TimePoint, LiveRow> &right) {
                         return left.first > right.first;
                     });
    std::vector<LiveRow> sorted;
    sorted.reserve(rows.size());
    for (const std::pair<TimePoint, LiveRow> &each : timed)
        sorted.push_back(each.second);
    return sorted;
}

std::vector<LiveRow> orderedRows(RowOrder order, const TagBoard &board)
{
    std::vector<LiveRow> rows = liveRows(board.tags());
    if (order == RowOrder::LastChanged)
        return lastChangedFirst(rows, [&](const LiveRow &row) { return board.changed(row.tag, row.value); });
    if (order == RowOrder::TroubleFirst) {
        std::vector<bool> failed;
        for (std::size_t tag = 0; tag < board.tags().size(); ++tag)
            failed.push_back(board.state(tag).failed);
        std::stable_partition(rows.begin(), rows.end(), [&](const LiveRow &row) { return failed[row.tag]; });
    } else if (order != RowOrder::AsGiven) {
        std::stable_sort(rows.begin(), rows.end(), [&](const LiveRow &left, const LiveRow &right) {
            return precedes(order, board, left, right);
        });
    }
    return rows;
}

} // namespace rtu
