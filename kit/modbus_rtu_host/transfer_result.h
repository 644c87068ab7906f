/**
 * @file
 * How a recipe transfer ended, row by row.
 */
#ifndef MODBUS_RTU_HOST_TRANSFER_RESULT_H
#define MODBUS_RTU_HOST_TRANSFER_RESULT_H

#include <modbus_rtu_host/tag_value.h>

#include <vector>

namespace rtu {

enum class RowEnd {
    Done,        ///< loaded and acknowledged, saved, or compared and equal
    Refused,     ///< the slave answered with an exception
    Unconfirmed, ///< sent without a usable answer: when loading, the slave may hold either value
    NotTried,    ///< the transfer ended before this row, or its station had fallen silent
    Differs,     ///< compared, and the slave holds something else
};

struct RowResult
{
    RowEnd end = RowEnd::NotTried;
    int exceptionCode = 0; ///< with RowEnd::Refused
    TagValue value;        ///< saved or compared: what the slave holds
};

struct TransferResult
{
    std::vector<RowResult> rows; ///< in the order of the recipe
    bool cancelled = false;

    /** Every row is done. */
    bool complete() const
    {
        for (const RowResult &row : rows) {
            if (row.end != RowEnd::Done)
                return false;
        }
        return !rows.empty();
    }
};

} // namespace rtu

#endif
