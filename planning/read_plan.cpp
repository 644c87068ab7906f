#include "driver/modbus_rtu_master.h"

#include "driver/qt_compat.h"

namespace {

const int cyclicReadTag = 4; // userData of the units of the cyclic plan

} // namespace

int Modbus_rtu_master::buildReadPlan(const QList<KEY_ADDRESS> &keys)
{
    for (QList<_DATA_>::iterator area = dataAreas.begin(); area != dataAreas.end(); ++area) {
        area->wordMonitor = 0;
        area->bitMonitor = 0;
    }

    for (int i = 0; i < sizeOf(keys); ++i) {
        const KEY_ADDRESS &key = keys.at(i);
        _setDataAreaMonitorFlag(key.station, key.regType, key.startAddr, key.count);
    }

    cyclicReadList.clear();
    QList<KEY_ADDRESS> blocks = keys; // shares the host's records, which stay as they are
    addrMerge(blocks, PollMerge);

    // Each block is removed once its unit is made: where lists hold pointers, as in
    // Qt 4 and 5, it gives its memory back before the next unit takes some.
    cyclicReadList.reserve(sizeOf(blocks));
    VARIABLE unit = VARIABLE();
    unit.userData = cyclicReadTag;
    for (; !blocks.isEmpty(); blocks.removeFirst()) {
        const KEY_ADDRESS &block = blocks.at(0);
        unit.station = block.station;
        unit.regType = block.regType;
        unit.startAddr = block.startAddr;
        unit.count = block.count;
        cyclicReadList.append(unit);
    }
    planRotation.prepare(cyclicReadList);
    lastReplies.planBuilt(cyclicReadList);
    return sizeOf(cyclicReadList);
}
