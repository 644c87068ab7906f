#include "driver/modbus_rtu_master.h"

#include "driver/qt_compat.h"
#include "planning/merging.h"
#include "planning/weight_order.h"

int Modbus_rtu_master::setRcpAddress(const QVector<_RCP_VAR_PRO> &rows)
{
    std::vector<WeightedPosition> order;
    for (int i = 0; i < sizeOf(rows); ++i) {
        const _RCP_VAR_PRO &row = rows.at(i);
        if (row.userData == linkId)
            order.push_back(WeightedPosition(getRegAddressWeight(row.station, row.regType, row.startAddr, 1), i));
    }
    sortByWeight(order);

    QVector<_RCP_VAR_PRO> sorted;
    sorted.reserve(static_cast<int>(order.size()));
    for (std::size_t i = 0; i < order.size(); ++i)
        sorted.append(rows.at(order[i].position));
    rcpAddrs = sorted;
    if (!rcpAddrs.isEmpty()) // else the blocks of the last registration stay
        mergeRecipeRows();
    return sizeOf(rcpAddrs);
}

void Modbus_rtu_master::mergeRecipeRows()
{
    std::vector<MergeItem> items;
    items.reserve(static_cast<std::size_t>(sizeOf(rcpAddrs)));
    for (int i = 0; i < sizeOf(rcpAddrs); ++i) {
        const _RCP_VAR_PRO &row = rcpAddrs.at(i);
        const MergeItem item = {row.station, row.regType, row.startAddr, row.count, i};
        items.push_back(item);
    }

    rcpBlockStarts.clear();
    mergePass(items, maxReadWords, JoinContiguous, &rcpBlockStarts);

    rcpBlocks.clear();
    for (std::size_t i = 0; i < items.size(); ++i) {
        _RCP_VAR_PRO block = rcpAddrs.at(items[i].opener);
        block.userData = 0;
        block.extra = 0;
        block.count = items[i].count;
        rcpBlocks.append(block);
    }
}
