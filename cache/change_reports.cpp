// Telling the host which of its monitored items have changed.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "driver/arithmetic.h"
#include "driver/driver_lock.h"

namespace {

/** The text is the host's while it is called: it may change it. */
inline void callHost(ValueChangeCallBack callBack, int link, int station, QString &text, int address)
{
    if (!callBack)
        return;
    DriverRelease released;
    callBack(link, station, &text, address);
}

/** Reports these bits of a register, the lowest first. */
void reportBits(Modbus_rtu_master &master, int bits, int station, const QString &regType, int address)
{
    const QString bitType = bitTypeOf(regType);
    for (int bit = 0; bit < RegisterBits; ++bit) {
        if (bits >> bit & 1)
            master.reportChange(master.linkId, station, bitType, wrapAdd(wrapMul(address, RegisterBits), bit));
    }
}

} // namespace

void Modbus_rtu_master::reportChange(int link, int station, QString &text, int address)
{
    callHost(valueChangeCallBack, link, station, text, address);
}

void Modbus_rtu_master::reportChange(int link, int station, const QString &regType, int address)
{
    QString text = regType;
    callHost(valueChangeCallBack, link, station, text, address);
}

void Modbus_rtu_master::_wordDataChange(const int *oldValue, const int *newValue, int station, const QString &regType,
                                        int address, int noBits)
{
    // What is monitored is looked up once: a callback may change the plan or empty the cache.
    const _DATA_ &area = dataAreas.at(getIndexOfDataArea(station, regType, address, dataAreas));
    const int changed = *oldValue ^ *newValue;
    if (changed == 0)
        return;

    const int words = area.wordMonitor;
    const int bits = noBits == 0 ? area.bitMonitor & changed : 0;
    if (bits != 0)
        reportBits(*this, bits, station, regType, address);
    if (words >> PlainWord & 1)
        reportChange(linkId, station, regType, address);
    if ((words >> FirstOfDouble & 1) && address >= 0)
        reportChange(linkId, station, doubleTypeOf(regType), address);
    if ((words >> SecondOfDouble & 1) && address >= 1)
        reportChange(linkId, station, doubleTypeOf(regType), address - 1);
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
