/**
 * @file
 * The order in which the live view lists the values.
 */
#ifndef RTU_HOST_ROW_ORDER_H
#define RTU_HOST_ROW_ORDER_H

#include "host/live/live_state.h"
#include "host/report/tag_board.h"

#include <functional>
#include <vector>

namespace rtu {

/** As things stand now; the rows stay in it until they are sorted again. */
std::vector<LiveRow> orderedRows(RowOrder order, const TagBoard &board);

/** Each row is asked once for its time, which may be another one a moment later. */
std::vector<LiveRow> lastChangedFirst(const std::vector<LiveRow> &rows,
                                      const std::function<TimePoint(const LiveRow &)> &changed);

} // namespace rtu

#endif
