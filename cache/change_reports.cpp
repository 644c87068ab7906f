// Telling the host which of its monitored items have changed.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"

namespace {

enum { AreaCoils = 8 };

} // namespace

void Modbus_rtu_master::_wordDataChange(const int *oldValue, const int *newValue, int station, const QString &regType,
                                        int address, int noBits)
{
    // What is monitored is looked up once: a callback may change the plan or empty the cache.
    const _DATA_ &area = dataAreas.at(getIndexOfDataArea(station, regType, address, dataAreas));
    const int words = area.wordMonitor;
    const int changed = *oldValue ^ *newValue;
    const int changedBits = noBits == 0 ? area.bitMonitor & changed : 0;
    if (changed == 0)
        return;

    if (changedBits != 0) {
        const QString bitType = bitTypeOf(regType);
        for (int bit = 0; bit < RegisterBits; ++bit) {
            if (changedBits >> bit & 1)
                reportChange(linkId, station, bitType, wrapAdd(wrapMul(address, RegisterBits), bit));
        }
    }
    if (words & 1)
        reportChange(linkId, station, regType, address);
    for (int half = 0; half < 2; ++half) {
        const int lower = wrapSub(address, half);
        if (lower < 0)
            return;
        if (words >> (half + 1) & 1)
            reportChange(linkId, station, doubleTypeOf(regType), lower);
    }
}

void Modbus_rtu_master::_byteDataChange(const unsigned char *oldValue, const unsigned char *newValue, int station,
                                        const QString &regType, int address, int noBits)
{
    const int monitored = dataAreas.at(getIndexOfDataArea(station, regType, address, dataAreas)).bitMonitor;
    if (noBits != 0)
        return;
    const int changed = monitored & (*oldValue ^ *newValue);
    for (int bit = 0; bit < AreaCoils; ++bit) {
        if (changed >> bit & 1)
            reportChange(linkId, station, regType, wrapAdd(address, bit));
    }
}
