#include "checker/checked_host.h"

#include "support/scripted_slave.h"

namespace checked {

std::function<void()> CheckedHost::inCallBack;

CheckedHost::CheckedHost(Untouched) : HostMemory(512)
{
    renew();
    inCallBack = nullptr;
}

CheckedHost::CheckedHost() : CheckedHost(Untouched())
{
    intf_setAddrValueChangeCallBack(&callBack);
    init(usualProperty());
    plan(Keys() << key(1, "4x", 0, 4));
}

CheckedHost::~CheckedHost()
{
    inCallBack = nullptr;
    renew();
}

int CheckedHost::callBack(int, int, QString *, int)
{
    if (inCallBack)
        inCallBack();
    return 0;
}

int CheckedHost::init(const char *property)
{
    int status = -1;
    return intf_initProperty(hostArea.data(), 0, hostWords.data(), &status, property, &hostMutex);
}

int CheckedHost::plan(Keys keys)
{
    return intf_addrMerge(&keys);
}

int CheckedHost::registerRows(Rows rows)
{
    return intf_setRcpAddress(&rows);
}

int CheckedHost::readOnce(KEY_ADDRESS range, int tag)
{
    return intf_addConditionRead(&range, tag);
}

int CheckedHost::write(int station, const char *regType, int address, int count, std::vector<unsigned char> bytes)
{
    QString type = QString::fromLatin1(regType);
    return intf_setData(station, &type, address, count, bytes.data(), 0);
}

int CheckedHost::read(int station, const char *regType, int address, int count)
{
    QString type = QString::fromLatin1(regType);
    std::vector<unsigned char> out(static_cast<std::size_t>(2 * (count > 0 ? count : 1)));
    return intf_getData(station, &type, address, count, out.data());
}

void CheckedHost::request(int byte, int value)
{
    const QMutexLocker locked(&hostMutex);
    raise(byte, value);
}

FRAME_PRO CheckedHost::ask()
{
    FRAME_PRO frame = FRAME_PRO();
    return intf_getSendFrame(&frame) == 1 ? frame : FRAME_PRO();
}

int CheckedHost::deal(QByteArray reply)
{
    QString text;
    return intf_dealRcvFrame(&reply, &text);
}

int CheckedHost::exchange()
{
    const FRAME_PRO frame = ask();
    return frame.frameLen == 0 ? 0 : deal(answerTo(frame));
}

QByteArray CheckedHost::answerTo(const FRAME_PRO &frame)
{
    return frame.replyLen == 0 ? QByteArray() : support::SlaveTables().carryOut(requestBytes(frame));
}

} // namespace checked
