// The exported functions: null pointers are taken care of here, the driver's lock
// is taken where the driver object is touched, and plain texts are given; everything
// else is the driver object's and that of the address language.

#include "driver/modbus_rtu_interface.h"
#include "driver/modbus_rtu_master.h"
#include "driver/driver_lock.h"

#include "address/address_syntax.h"
#include "address/descriptions.h"
#include "address/multi_copy.h"
#include "address/register_types.h"

namespace {

/** The host's text, or an empty one for a null pointer. A copy: callbacks may change the original. */
QString textOf(const QString *text)
{
    return text ? *text : QString();
}

void assignLatin1(QString *out, const char *text)
{
    if (out)
        *out = QLatin1String(text);
}

} // namespace

void intf_getProtocolType(int *type)
{
    if (type)
        *type = 0;
}

void intf_getDriverParameter(QString *out)
{
    if (!out)
        return;
    QString parameters = QLatin1String("0,9600,8,NONE,1,0,1,127.0.0.1,8888,modbus_rtu_master");
    for (int i = 0; i < RegisterTypeCount; ++i) {
        parameters += QLatin1Char(',');
        parameters += QLatin1String(registerTypes()[i].name);
    }
    *out = parameters;
}

void intf_getDriverPropertyPage(QString *out)
{
    assignLatin1(out, "0_0");
}

void intf_SetDriverPropertyPage(QString *out)
{
    assignLatin1(out, "");
}

void intf_setAddrValueChangeCallBack(ValueChangeCallBack callBack)
{
    DriverLock locked;
    driver.valueChangeCallBack = callBack;
}

int intf_initProperty(void *hostArea, int hostArg, void *hostWordBuffer, int *status, const char *property,
                      QMutex *hostMutex)
{
    if (status)
        *status = 0;
    DriverLock locked;
    driver.initProperty(hostArea, hostArg, hostWordBuffer, property, hostMutex);
    return 1;
}

int intf_checkAddrValidity(QString *regType, QString *addressText, int *outAddress, int count, int objectKind)
{
    int unused = 0;
    return checkAddressForKind(textOf(regType), textOf(addressText), outAddress ? *outAddress : unused, count,
                               objectKind);
}

int intf_checkAddr(QString *regType, QString *addressText, int *outAddress, int dataFormat, int count, int accessMode)
{
    int unused = 0;
    return checkAddressForFormat(textOf(regType), textOf(addressText), outAddress ? *outAddress : unused, dataFormat,
                                 count, accessMode);
}

int intf_getRegListByType(unsigned int requestType, QList<QString> *list)
{
    QList<QString> unused;
    return listRegisterTypes(requestType, list ? *list : unused);
}

int intf_getRegDiscription(QString *regType, QList<QString> *list)
{
    QList<QString> unused;
    return describeRegisterType(textOf(regType), list ? *list : unused);
}

int intf_multiCopy(QString *regType, int startAddress, int copies, int increment, QVector<QString> *texts,
                   QVector<int> *addresses)
{
    return multiCopy(textOf(regType), startAddress, copies, increment, texts, addresses);
}

int intf_setRcpAddress(QVector<_RCP_VAR_PRO> *rows)
{
    DriverLock locked;
    return driver.setRcpAddress(rows ? *rows : QVector<_RCP_VAR_PRO>());
}

int intf_addrMerge(QList<KEY_ADDRESS> *keys)
{
    DriverLock locked;
    return driver.buildReadPlan(keys ? *keys : QList<KEY_ADDRESS>());
}

int intf_addConditionRead(KEY_ADDRESS *key, int userData)
{
    if (!key)
        return 1;
    DriverLock locked;
    driver.addConditionRead(*key, userData);
    return 1;
}

int intf_getSendFrame(FRAME_PRO *out)
{
    if (!out)
        return 0;
    DriverLock locked;
    return driver.getSendFrame(*out);
}

int intf_dealRcvFrame(QByteArray *reply, QString *information)
{
    if (reply && information) {
        DriverLock locked;
        return driver.dealRcvFrame(*reply, *information);
    }
    QByteArray nothing;
    QString unused;
    return intf_dealRcvFrame(reply ? reply : &nothing, information ? information : &unused);
}

int intf_getData(int station, QString *regType, int address, int count, unsigned char *out)
{
    if (!out)
        return 1;
    DriverLock locked;
    driver.getData(station, textOf(regType), address, count, out);
    return 1;
}

int intf_setData(int station, QString *regType, int address, int count, unsigned char *data, int userData)
{
    if (!data && count > 0) // without elements the data is never looked at
        return 1;
    DriverLock locked;
    driver.setData(station, textOf(regType), address, count, data, userData);
    return 1;
}
