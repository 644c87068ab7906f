// What becomes of a host write when it is over.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "cache/station_areas.h"
#include "driver/arithmetic.h"

namespace {

/** Undoes one of the at most two pending writes recorded for a bit. */
int withoutPendingWrite(int bitWriteState, int position)
{
    const int first = _setBitValue(bitWriteState, pendingBit(position), 0);
    return first != bitWriteState ? first : _setBitValue(bitWriteState, secondPendingBit(position), 0);
}

void settleCoil(StationAreas &areas, int address, bool confirmed)
{
    _DATA_ &area = areas.at(address);
    area.writtenFlag = 0;
    if (confirmed)
        areas.storeReadCoil(address, coilOf(area.writtenValue));
    else
        areas.report(address);
}

void settleRegister(StationAreas &areas, int address, bool confirmed)
{
    _DATA_ &area = areas.at(address);
    area.writtenFlag = 0;
    const int read = registerOf(area.readValue);
    const int written = registerOf(area.writtenValue);
    if (confirmed)
        areas.storeReadRegister(address, written);
    else
        areas.master._wordDataChange(&read, &written, areas.station, areas.areaType, address, 0);
}

void settleBit(StationAreas &areas, int bitAddress, bool confirmed)
{
    const int address = bitAddress / RegisterBits;
    const int position = bitAddress % RegisterBits;
    _DATA_ &area = areas.at(address);
    area.bitWriteState = withoutPendingWrite(area.bitWriteState, position);
    if (area.bitWriteState == 0)
        area.writtenFlag = 0; // else other bits of the register still have writes outstanding
    if (!confirmed || position < 0)
        return;
    const int mask = 1 << position;
    areas.storeReadRegister(address, (area.readValue & ~mask) | (area.writtenValue & mask));
}

} // namespace

void Modbus_rtu_master::_write_FailOrSuc(int station, const QString &regType, int address, int count, int ok)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type || !type->writable)
        return;

    const bool confirmed = ok == 1;
    StationAreas areas(*this, station, areaTypeText(*type));
    const int elements = boundedCount(count);
    const int registers = type->unit == DoubleUnit ? elements / 2 * 2 : elements;
    for (int i = 0; i < registers; ++i) {
        const int element = wrapAdd(address, i);
        switch (type->unit) {
        case CoilUnit:
            settleCoil(areas, element, confirmed);
            break;
        case WordUnit:
        case DoubleUnit:
            settleRegister(areas, element, confirmed);
            break;
        case RegisterBitUnit:
            settleBit(areas, element, confirmed);
            // Hosts know a bit write by its request: every bit is reported with
            // the address that the request starts at, whatever became of it.
            reportChange(linkId, station, regType, address);
            break;
        }
    }
}
