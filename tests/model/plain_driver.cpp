// The driver object: what it is loaded with, what the host asks first, the property string.
#include "model/plain_driver.h"

PlainDriver::PlainDriver()
    : regTypeNames(QString::fromLatin1("0x,1x,3x,4x,3x_double,4x_double").split(QLatin1Char(',')))
{
}

void PlainDriver::getProtocolType(int *type) const
{
    *type = 0;
}

// The address in field 7 is the driver's own choice; comparisons leave it out.
void PlainDriver::getDriverParameter(QString *out) const
{
    *out = QString::fromLatin1("0,9600,8,NONE,1,0,1,0.0.0.0,8888,modbus_rtu_master,"
                               "0x,1x,3x_bit,4x_bit,3x,4x,3x_double,4x_double");
}

void PlainDriver::getDriverPropertyPage(QString *out) const
{
    *out = QLatin1String("0_0");
}

void PlainDriver::setDriverPropertyPage(QString *out) const
{
    *out = QLatin1String("");
}

void PlainDriver::setAddrValueChangeCallBack(const CallBack &callBack)
{
    valueChangeCallBack = callBack;
}

int PlainDriver::initProperty(unsigned char *area, int argument, unsigned short *wordBuffer, int *status,
                              const char *property, bool withMutex)
{
    *status = 0;
    const QStringList fields = QString::fromLatin1(property).split(QLatin1Char('#'));
    const int n = static_cast<int>(fields.size());
    if (n > 4) {
        linkId = fields.at(0).toInt(nullptr, 10);
        localWriteOnly = fields.at(1).toInt(nullptr, 10);
        spareProperty = fields.at(2).toInt(nullptr, 10);
        retryLimit = fields.at(3).toInt(nullptr, 10);
        maxReadWords = fields.at(4).toInt(nullptr, 10);
    }
    if (n == 5)
        doubleSwapMode = 0;
    if (n >= 6) {
        const QStringList parts = fields.at(5).split(QLatin1Char('_'));
        doubleSwapMode = parts.at(0).toInt(nullptr, 10);
        if (parts.size() > 1 && !parts.at(1).isEmpty()) {
            const QStringList stations = parts.at(1).split(QLatin1Char(','));
            for (int i = 0; i < static_cast<int>(stations.size()); ++i)
                doubleSwapStations.append(stations.at(i).toInt(nullptr, 10));
        }
    }
    hostArea = area;
    hostArg = argument;
    hostWordBuffer = wordBuffer;
    hasHostMutex = withMutex;
    cyclicReadList.clear();
    writeList.clear();
    conditionReadList.clear();
    dataAreas.clear();
    sendState = 0;
    burstCount = 0;
    spareCounter = 0;
    failCount = 0;
    maxBlockWords = maxReadWords;
    maxBlockBits = plain::product(maxReadWords, 8);
    lastFailed = 0;
    frameList.clear();
    spareFlagA = 0;
    spareFlagB = 1;
    return 1;
}
