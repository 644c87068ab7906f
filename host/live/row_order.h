/**
 * @file
 * The order in which the live view lists the values.
 */
#ifndef RTU_HOST_ROW_ORDER_H
#define RTU_HOST_ROW_ORDER_H

#include "host/live/live_state.h"
#include "host/report/tag_board.h"

namespace rtu {

/** As things stand now; the rows stay in it until they are sorted again. */
std::vector<LiveRow> orderedRows(RowOrder order, const TagBoard &board);

} // namespace rtu

#endif
