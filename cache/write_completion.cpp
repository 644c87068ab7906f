#include "cache/data_areas.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"

namespace {

/** Undoes one of the at most two pending writes recorded for a bit. */
int withoutPendingWrite(int bitWriteState, int position)
{
    const int first = _setBitValue(bitWriteState, 2 * position, 0);
    return first != bitWriteState ? first : _setBitValue(bitWriteState, 2 * position + 1, 0);
}

} // namespace

void Modbus_rtu_master::_write_FailOrSuc(int station, const QString &regType, int address, int count, int ok)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type || !type->writable)
        return;

    const bool confirmed = ok == 1;
    AreaWalker areas(*this, station, areaTypeText(*type));
    const int elements = boundedCount(count);
    const int registers = type->unit == DoubleUnit ? elements / 2 * 2 : elements;
    for (int i = 0; i < registers; ++i) {
        const int element = wrapAdd(address, i);
        switch (type->unit) {
        case CoilUnit:
            settleCoilWrite(areas, element, confirmed);
            break;
        case WordUnit:
        case DoubleUnit:
            settleRegisterWrite(areas, element, confirmed);
            break;
        case RegisterBitUnit:
            settleBitWrite(areas, element, confirmed);
            // Hosts know a bit write by its request: every bit is reported with
            // the address that the request starts at, whatever became of it.
            reportChange(linkId, station, regType, address);
            break;
        }
    }
}

void Modbus_rtu_master::settleCoilWrite(AreaWalker &areas, int address, bool confirmed)
{
    _DATA_ &area = areas.at(address);
    area.writtenFlag = 0;
    if (confirmed)
        storeCoil(area.readValue, coilOf(area.writtenValue));
    else
        reportChange(linkId, areas.station, areas.areaType, address);
}

void Modbus_rtu_master::settleRegisterWrite(AreaWalker &areas, int address, bool confirmed)
{
    _DATA_ &area = areas.at(address);
    area.writtenFlag = 0;
    const int written = registerOf(area.writtenValue);
    const int read = registerOf(area.readValue);
    if (confirmed)
        storeRegister(area.readValue, written);
    else
        _wordDataChange(&read, &written, areas.station, areas.areaType, address, 0);
}

void Modbus_rtu_master::settleBitWrite(AreaWalker &areas, int bitAddress, bool confirmed)
{
    const int position = bitAddress % RegisterBits;
    _DATA_ &area = areas.at(bitAddress / RegisterBits);
    area.bitWriteState = withoutPendingWrite(area.bitWriteState, position);
    if (area.bitWriteState == 0)
        area.writtenFlag = 0; // else other bits of the register still have writes outstanding
    if (!confirmed || position < 0)
        return;
    const int mask = 1 << position;
    storeRegister(area.readValue, (area.readValue & ~mask) | (area.writtenValue & mask));
}
