// The property string of the host, and the fresh start that comes with it.

#include "driver/modbus_rtu_master.h"

#include "driver/arithmetic.h"
#include "driver/qt_compat.h"

namespace {

/** The settings of the property string; one of four fields or fewer changes nothing. */
void configure(Modbus_rtu_master &master, const char *property)
{
    const QStringList fields = QString::fromLatin1(property).split(QLatin1Char('#'));
    if (fields.size() <= 4)
        return;

    master.linkId = fields.at(0).toInt();
    master.localWriteOnly = fields.at(1).toInt();
    master.spareProperty = fields.at(2).toInt();
    master.retryLimit = fields.at(3).toInt();
    master.maxReadWords = fields.at(4).toInt();
    if (fields.size() == 5) {
        master.doubleSwapMode = 0;
        return;
    }

    const QStringList swap = fields.at(5).split(QLatin1Char('_'));
    master.doubleSwapMode = swap.at(0).toInt();
    if (swap.size() < 2 || swap.at(1).isEmpty())
        return;
    // The list is appended to: a host that initialises again adds stations.
    const QStringList stations = swap.at(1).split(QLatin1Char(','));
    for (int i = 0; i < sizeOf(stations); ++i)
        master.doubleSwapStations.append(stations.at(i).toInt());
}

} // namespace

void Modbus_rtu_master::initProperty(void *area, int argument, void *wordBuffer, const char *property, QMutex *mutex)
{
    configure(*this, property);

    hostArea = static_cast<unsigned char *>(area);
    hostArg = argument;
    hostWordBuffer = static_cast<unsigned short *>(wordBuffer);
    hostMutex = mutex;

    cyclicReadList.clear();
    writeList.clear();
    conditionReadList.clear();
    dataAreas.clear();
    lastReplies.planBuilt(cyclicReadList);
    sendState = NothingSent;
    burstCount = 0;
    spareCounter = 0;
    failCount = 0;
    maxBlockWords = maxReadWords;
    maxBlockBits = wrapMul(maxReadWords, 8);
    lastFailed = 0;
    frameList.clear();
    spareFlagA = 0;
    spareFlagB = 1;
}
