#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "cache/station_areas.h"
#include "driver/arithmetic.h"

namespace {

void monitorBit(_DATA_ &area, int bit)
{
    area.bitMonitor = _setBitValue(area.bitMonitor, bit, 1);
}

void monitorWord(_DATA_ &area, int role)
{
    area.wordMonitor = _setBitValue(area.wordMonitor, role, 1);
}

} // namespace

unsigned int Modbus_rtu_master::_setDataAreaMonitorFlag(int station, const QString &regType, int address, int count)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type)
        return 0;

    StationAreas areas(*this, station, areaTypeText(*type));
    const int elements = boundedCount(count);
    for (int i = 0; i < elements; ++i) {
        const int element = wrapAdd(address, i);
        switch (type->unit) {
        case CoilUnit:
            monitorBit(areas.at(wrapSub(element, element % AreaCoils)), element % AreaCoils);
            break;
        case WordUnit:
            monitorWord(areas.at(element), PlainWord);
            break;
        case RegisterBitUnit:
            monitorBit(areas.at(element / RegisterBits), element % RegisterBits);
            break;
        case DoubleUnit:
            if (i < elements / 2 * 2) // an odd last register belongs to no value
                monitorWord(areas.at(element), i % 2 == 0 ? FirstOfDouble : SecondOfDouble);
            break;
        }
    }
    return 0;
}
