#include "driver/modbus_rtu_master.h"

#include "driver/qt_compat.h"
#include "planning/weight_order.h"

namespace {

/** Merging looks at station, type, address, count and place in the host's words; a block carries no more. */
KEY_ADDRESS keyOf(const _RCP_VAR_PRO &row)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = row.station;
    key.regType = row.regType;
    key.startAddr = row.startAddr;
    key.count = row.count;
    key.hostOffset = row.hostOffset;
    return key;
}

_RCP_VAR_PRO blockOf(const KEY_ADDRESS &key)
{
    _RCP_VAR_PRO block = _RCP_VAR_PRO();
    block.station = key.station;
    block.regType = key.regType;
    block.startAddr = key.startAddr;
    block.count = key.count;
    block.hostOffset = key.hostOffset;
    return block;
}

void mergeRows(Modbus_rtu_master &master)
{
    QList<KEY_ADDRESS> keys;
    keys.reserve(sizeOf(master.rcpAddrs));
    for (int i = 0; i < sizeOf(master.rcpAddrs); ++i)
        keys.append(keyOf(master.rcpAddrs.at(i)));

    master.rcpBlockStarts.clear();
    master.rcpBlocks.clear();
    master.addrMerge(keys, RecipeMerge);
    for (; !keys.isEmpty(); keys.removeFirst())
        master.rcpBlocks.append(blockOf(keys.at(0)));
}

} // namespace

int Modbus_rtu_master::setRcpAddress(const QVector<_RCP_VAR_PRO> &rows)
{
    QVector<_RCP_VAR_PRO> own;
    for (int i = 0; i < sizeOf(rows); ++i) {
        if (rows.at(i).userData == linkId)
            own.append(rows.at(i));
    }
    rcpAddrs = sortedByWeight(own, [this](const _RCP_VAR_PRO &row) {
        return getRegAddressWeight(row.station, row.regType, row.startAddr, 1);
    });
    if (!rcpAddrs.isEmpty()) // else the blocks of the last registration stay
        mergeRows(*this);
    return sizeOf(rcpAddrs);
}
