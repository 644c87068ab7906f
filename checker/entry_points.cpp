// The exported functions: each is checked, forwarded with its arguments as they
// came, and its result given back as it came.

#include "checker/instance.h"

#include <atomic>

using checker::driverCalls;
using checker::instance;

namespace {

/** This thread is inside the driver for the life of the object. */
class Visit
{
public:
    explicit Visit(checker::EntryPoint call) : place(instance.contract.enter(call)) {}
    ~Visit() { instance.contract.leave(place); }

private:
    Visit(const Visit &);
    Visit &operator=(const Visit &);

    checker::Contract::Visit place;
};

/** This thread is in the host's callback for the life of the object. */
class CallBackVisit
{
public:
    CallBackVisit(int station, const QString *type, int address)
    {
        instance.contract.callBackBegins(station, type, address);
    }
    ~CallBackVisit() { instance.contract.callBackEnds(); }

private:
    CallBackVisit(const CallBackVisit &);
    CallBackVisit &operator=(const CallBackVisit &);
};

std::atomic<ValueChangeCallBack> hostCallBack(nullptr);

/** What the driver calls in the place of the host's callback. */
int reportChange(int linkId, int station, QString *regType, int address)
{
    const ValueChangeCallBack host = hostCallBack.load();
    if (!host)
        return 0;
    const CallBackVisit visit(station, regType, address);
    return host(linkId, station, regType, address);
}

} // namespace

void intf_getProtocolType(int *type)
{
    const Visit visit(checker::getProtocolTypeCall);
    instance.contract.editorCalled(checker::getProtocolTypeCall, type);
    driverCalls().getProtocolType(type);
}

void intf_getDriverParameter(QString *out)
{
    const Visit visit(checker::getDriverParameterCall);
    instance.contract.editorCalled(checker::getDriverParameterCall, out);
    driverCalls().getDriverParameter(out);
}

void intf_getDriverPropertyPage(QString *out)
{
    const Visit visit(checker::getDriverPropertyPageCall);
    instance.contract.editorCalled(checker::getDriverPropertyPageCall, out);
    driverCalls().getDriverPropertyPage(out);
}

void intf_SetDriverPropertyPage(QString *out)
{
    const Visit visit(checker::SetDriverPropertyPageCall);
    instance.contract.editorCalled(checker::SetDriverPropertyPageCall, out);
    driverCalls().SetDriverPropertyPage(out);
}

void intf_setAddrValueChangeCallBack(ValueChangeCallBack callBack)
{
    const Visit visit(checker::setAddrValueChangeCallBackCall);
    instance.contract.callBackSet(callBack == nullptr);
    hostCallBack.store(callBack);
    driverCalls().setAddrValueChangeCallBack(callBack ? &reportChange : nullptr);
}

int intf_initProperty(void *hostArea, int hostArg, void *hostWordBuffer, int *status, const char *property,
                      QMutex *hostMutex)
{
    const Visit visit(checker::initPropertyCall);
    const checker::InitArguments arguments = {hostArea, hostWordBuffer, status, property, hostMutex};
    instance.contract.initialising(arguments);
    return driverCalls().initProperty(hostArea, hostArg, hostWordBuffer, status, property, hostMutex);
}

int intf_checkAddrValidity(QString *regType, QString *addressText, int *outAddress, int count, int objectKind)
{
    const Visit visit(checker::checkAddrValidityCall);
    instance.contract.editorCalled(checker::checkAddrValidityCall, regType, addressText);
    return driverCalls().checkAddrValidity(regType, addressText, outAddress, count, objectKind);
}

int intf_checkAddr(QString *regType, QString *addressText, int *outAddress, int dataFormat, int count, int accessMode)
{
    const Visit visit(checker::checkAddrCall);
    instance.contract.editorCalled(checker::checkAddrCall, regType, addressText);
    return driverCalls().checkAddr(regType, addressText, outAddress, dataFormat, count, accessMode);
}

int intf_getRegListByType(unsigned int requestType, QList<QString> *list)
{
    const Visit visit(checker::getRegListByTypeCall);
    instance.contract.editorCalled(checker::getRegListByTypeCall, list);
    return driverCalls().getRegListByType(requestType, list);
}

int intf_getRegDiscription(QString *regType, QList<QString> *list)
{
    const Visit visit(checker::getRegDiscriptionCall);
    instance.contract.editorCalled(checker::getRegDiscriptionCall, regType, list);
    return driverCalls().getRegDiscription(regType, list);
}

int intf_multiCopy(QString *regType, int startAddress, int copies, int increment, QVector<QString> *texts,
                   QVector<int> *addresses)
{
    const Visit visit(checker::multiCopyCall);
    instance.contract.editorCalled(checker::multiCopyCall, regType, texts, addresses);
    return driverCalls().multiCopy(regType, startAddress, copies, increment, texts, addresses);
}

int intf_setRcpAddress(QVector<_RCP_VAR_PRO> *rows)
{
    const Visit visit(checker::setRcpAddressCall);
    instance.contract.rowsRegistered(rows);
    return driverCalls().setRcpAddress(rows);
}

int intf_addrMerge(QList<KEY_ADDRESS> *keys)
{
    const Visit visit(checker::addrMergeCall);
    instance.contract.planBuilt(keys);
    return driverCalls().addrMerge(keys);
}

int intf_addConditionRead(KEY_ADDRESS *key, int userData)
{
    const Visit visit(checker::addConditionReadCall);
    instance.contract.readAsked(key, userData);
    return driverCalls().addConditionRead(key, userData);
}

int intf_getSendFrame(FRAME_PRO *out)
{
    instance.watchdog.start();
    const Visit visit(checker::getSendFrameCall);
    instance.contract.beforeSendFrame(out);
    const int result = driverCalls().getSendFrame(out);
    instance.contract.afterSendFrame(out, result);
    return result;
}

int intf_dealRcvFrame(QByteArray *reply, QString *information)
{
    instance.watchdog.start();
    const Visit visit(checker::dealRcvFrameCall);
    const checker::RequestBytes before = instance.contract.beforeReply(reply, information);
    const int verdict = driverCalls().dealRcvFrame(reply, information);
    instance.contract.afterReply(before, verdict);
    return verdict;
}

int intf_getData(int station, QString *regType, int address, int count, unsigned char *out)
{
    const Visit visit(checker::getDataCall);
    instance.contract.valuesRead(station, regType, address, count, out);
    return driverCalls().getData(station, regType, address, count, out);
}

int intf_setData(int station, QString *regType, int address, int count, unsigned char *data, int userData)
{
    instance.watchdog.start();
    const Visit visit(checker::setDataCall);
    instance.contract.valuesWritten(station, regType, address, count, data);
    return driverCalls().setData(station, regType, address, count, data, userData);
}
