#include "driver/modbus_rtu_master.h"

Modbus_rtu_master driver;

Modbus_rtu_master::Modbus_rtu_master()
    : valueChangeCallBack(0)
    , linkId(0)
    , localWriteOnly(0)
    , spareProperty(0)
    , retryLimit(0)
    , maxReadWords(0)
    , hostArea(0)
    , hostArg(0)
    , hostWordBuffer(0)
    , hostMutex(0)
    , conditionVar()
    , regTypeNames(QString::fromLatin1("0x,1x,3x,4x,3x_double,4x_double").split(QLatin1Char(',')))
    , currentVar()
    , sendState(NothingSent)
    , burstCount(0)
    , spareCounter(0)
    , failCount(0)
    , maxBlockBits(0)
    , maxBlockWords(0)
    , lastFailed(0)
    , spareFlagA(0)
    , spareFlagB(0)
    , rcpIndex(0)
    , doubleSwapMode(0)
{
}
