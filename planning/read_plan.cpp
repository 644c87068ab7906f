#include "driver/modbus_rtu_master.h"

#include "driver/qt_compat.h"
#include "planning/merging.h"

namespace {

const int cyclicReadTag = 4; // userData of the units of the cyclic plan

} // namespace

int Modbus_rtu_master::buildReadPlan(const QList<KEY_ADDRESS> &keys)
{
    for (QList<_DATA_>::iterator area = dataAreas.begin(); area != dataAreas.end(); ++area) {
        area->wordMonitor = 0;
        area->bitMonitor = 0;
    }

    std::vector<MergeItem> items;
    items.reserve(static_cast<std::size_t>(sizeOf(keys)));
    for (int i = 0; i < sizeOf(keys); ++i) {
        const KEY_ADDRESS &key = keys.at(i);
        _setDataAreaMonitorFlag(key.station, key.regType, key.startAddr, key.count);
        items.push_back(mergeItem(key, i));
    }

    cyclicReadList.clear();
    items = pollBlocks(items);
    VARIABLE unit = VARIABLE();
    unit.userData = cyclicReadTag;
    for (std::size_t i = 0; i < items.size(); ++i) {
        unit.station = items[i].station;
        unit.regType = items[i].regType;
        unit.startAddr = items[i].startAddr;
        unit.count = items[i].count;
        cyclicReadList.append(unit);
    }
    return sizeOf(cyclicReadList);
}
