#include "host/live/row_order.h"

#include "host/live/live_table.h"

#include <algorithm>
#include <tuple>

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
    case RowOrder::LastChanged:
        return board.changed(left.tag, left.value) > board.changed(right.tag, right.value);
    default:
        return false;
    }
}

} // namespace

std::vector<LiveRow> orderedRows(RowOrder order, const TagBoard &board)
{
    std::vector<LiveRow> rows = liveRows(board.tags());
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
