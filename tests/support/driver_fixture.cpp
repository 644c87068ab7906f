#include "support/driver_fixture.h"

#include <algorithm>
#include <cstring>
#include <ostream>

namespace support {

QByteArray bytes(const char *hex)
{
    return QByteArray::fromHex(hex);
}

std::vector<unsigned char> payload(const char *hex)
{
    const QByteArray content = bytes(hex);
    return std::vector<unsigned char>(content.constBegin(), content.constEnd());
}

QByteArray adu(const char *hex)
{
    return withCrc(bytes(hex));
}

QByteArray requestBytes(const FRAME_PRO &frame)
{
    return QByteArray(reinterpret_cast<const char *>(frame.frame), frame.frameLen);
}

QByteArray wordsReply(int station, int function, const std::vector<int> &registers)
{
    QByteArray reply;
    reply.append(static_cast<char>(station));
    reply.append(static_cast<char>(function));
    reply.append(static_cast<char>(registers.size() * 2));
    for (size_t i = 0; i < registers.size(); ++i) {
        reply.append(static_cast<char>(registers[i] >> 8));
        reply.append(static_cast<char>(registers[i] & 0xFF));
    }
    return withCrc(reply);
}

QByteArray bitsReply(int station, int function, const std::vector<int> &bits)
{
    const size_t byteCount = (bits.size() + 7) / 8;
    QByteArray reply;
    reply.append(static_cast<char>(station));
    reply.append(static_cast<char>(function));
    reply.append(static_cast<char>(byteCount));
    for (size_t j = 0; j < byteCount; ++j) {
        int packed = 0;
        for (size_t b = 0; b < 8 && 8 * j + b < bits.size(); ++b)
            packed |= (bits[8 * j + b] != 0 ? 1 : 0) << b;
        reply.append(static_cast<char>(packed));
    }
    return withCrc(reply);
}

QByteArray writeEcho(const FRAME_PRO &request)
{
    return withCrc(requestBytes(request).left(6));
}

QByteArray exceptionReply(int station, int function, int code)
{
    QByteArray reply;
    reply.append(static_cast<char>(station));
    reply.append(static_cast<char>(function | 0x80));
    reply.append(static_cast<char>(code));
    return withCrc(reply);
}

VARIABLE variable(int station, const char *regType, int startAddr, int count, const std::vector<unsigned char> &data)
{
    VARIABLE unit = VARIABLE();
    unit.station = station;
    unit.regType = QString::fromLatin1(regType);
    unit.startAddr = startAddr;
    unit.count = count;
    std::copy(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min(data.size(), sizeof unit.data)),
              unit.data);
    return unit;
}

KEY_ADDRESS key(int station, const char *regType, int startAddr, int count, int dataFormat)
{
    KEY_ADDRESS result = KEY_ADDRESS();
    result.station = station;
    result.regType = QString::fromLatin1(regType);
    result.startAddr = startAddr;
    result.count = count;
    result.field7 = dataFormat;
    return result;
}

_RCP_VAR_PRO row(int link, int station, const char *regType, int startAddr, int count, int hostOffset, int extra)
{
    _RCP_VAR_PRO result = _RCP_VAR_PRO();
    result.userData = link;
    result.station = station;
    result.regType = QString::fromLatin1(regType);
    result.startAddr = startAddr;
    result.count = count;
    result.hostOffset = hostOffset;
    result.extra = extra;
    return result;
}

// --- value-change callback --------------------------------------------------------

bool operator==(const Change &a, const Change &b)
{
    return a.link == b.link && a.station == b.station && a.regType == b.regType && a.address == b.address;
}

void PrintTo(const Change &change, std::ostream *out)
{
    *out << "(" << change.link << ", " << change.station << ", " << change.regType.toStdString() << ", "
         << change.address << ")";
}

namespace {
ChangeRecorder *currentRecorder = nullptr;
}

ChangeRecorder::ChangeRecorder() : previous(currentRecorder)
{
    currentRecorder = this;
}

ChangeRecorder::~ChangeRecorder()
{
    currentRecorder = previous;
}

int ChangeRecorder::callBack(int linkId, int station, QString *regType, int address)
{
    if (currentRecorder == nullptr)
        return 0;
    const Change change = {linkId, station, *regType, address};
    currentRecorder->changes.push_back(change);
    if (currentRecorder->hook)
        currentRecorder->hook(change);
    return 0;
}

std::vector<Change> ChangeRecorder::take()
{
    std::vector<Change> taken;
    taken.swap(changes);
    return taken;
}

// --- driver -----------------------------------------------------------------------

void resetDriver()
{
    int status = 0;
    intf_setAddrValueChangeCallBack(nullptr);
    intf_initProperty(nullptr, 0, nullptr, &status, "0#0#0#0#0", nullptr);
    driver.rcpAddrs.clear();
    driver.rcpBlocks.clear();
    driver.rcpBlockStarts.clear();
    driver.rcpIndex = 0;
    driver.conditionVar = VARIABLE();
    driver.currentVar = VARIABLE();
    driver.doubleSwapMode = 0;
    driver.doubleSwapStations.clear();
    driver.spareFlagB = 0;
}

DriverFixture::DriverFixture() : hostArea(AreaBytes, 0), hostWords(HostWords, 0)
{
    resetDriver();
    intf_setAddrValueChangeCallBack(&ChangeRecorder::callBack);
    init("1#0#0#3#100");
}

DriverFixture::~DriverFixture()
{
    resetDriver();
}

int DriverFixture::init(const char *property)
{
    int status = -1;
    const int result = intf_initProperty(hostArea.data(), 0, hostWords.data(), &status, property, &hostMutex);
    EXPECT_EQ(status, 0);
    return result;
}

int DriverFixture::plan(Keys keys)
{
    return intf_addrMerge(&keys);
}

FRAME_PRO DriverFixture::nextFrame()
{
    FRAME_PRO frame = FRAME_PRO();
    if (intf_getSendFrame(&frame) == 0)
        return FRAME_PRO();
    return frame;
}

QByteArray DriverFixture::nextRequest()
{
    return requestBytes(nextFrame());
}

int DriverFixture::deal(QByteArray reply)
{
    errorText = QString::fromLatin1("not set");
    return intf_dealRcvFrame(&reply, &errorText);
}

int DriverFixture::exchange(const QByteArray &reply)
{
    nextFrame();
    return deal(reply);
}

int DriverFixture::exchangeEcho()
{
    const FRAME_PRO frame = nextFrame();
    return deal(writeEcho(frame));
}

int DriverFixture::exchangeUntilGivenUp()
{
    for (int attempt = 1; attempt <= 1000; ++attempt) {
        const int verdict = exchange(QByteArray());
        if (verdict == RequestGivenUp)
            return attempt;
        if (verdict != SendAgain)
            break;
    }
    ADD_FAILURE() << "the request was never given up";
    return 0;
}

void DriverFixture::cacheRegisters(int station, const char *areaType, int address, const std::vector<int> &values)
{
    for (size_t i = 0; i < values.size(); ++i)
        makeArea(station, areaType, address + static_cast<int>(i)).readValue = values[i];
}

int DriverFixture::setData(int station, const char *regType, int address, int count,
                           const std::vector<unsigned char> &data, int userData)
{
    QString type = QString::fromLatin1(regType);
    std::vector<unsigned char> copy(data);
    copy.reserve(1); // no data is still a buffer, not a null pointer
    return intf_setData(station, &type, address, count, copy.data(), userData);
}

int DriverFixture::setData(int station, const char *regType, int address, int count, const char *hexData, int userData)
{
    return setData(station, regType, address, count, payload(hexData), userData);
}

std::vector<unsigned char> DriverFixture::getData(int station, const char *regType, int address, int count, int size,
                                                  unsigned char filler)
{
    QString type = QString::fromLatin1(regType);
    std::vector<unsigned char> out(static_cast<size_t>(size), filler);
    EXPECT_EQ(intf_getData(station, &type, address, count, out.data()), 1);
    return out;
}

int DriverFixture::findArea(int station, const char *regType, int areaIndex)
{
    const QString type = QString::fromLatin1(regType);
    for (int i = 0; i < static_cast<int>(driver.dataAreas.size()); ++i) {
        const _DATA_ &candidate = driver.dataAreas.at(i);
        if (candidate.station == station && candidate.regType == type && candidate.areaIndex == areaIndex)
            return i;
    }
    return -1;
}

_DATA_ DriverFixture::area(int station, const char *regType, int areaIndex)
{
    const int position = findArea(station, regType, areaIndex);
    if (position >= 0)
        return driver.dataAreas.at(position);
    ADD_FAILURE() << "no area " << regType << " " << areaIndex << " of station " << station;
    return _DATA_();
}

_DATA_ &DriverFixture::makeArea(int station, const char *regType, int areaIndex)
{
    const QString type = QString::fromLatin1(regType);
    driver.lastReplies.forget(station, type, areaIndex, 1); // the test is going to change it behind the driver's back
    return driver.dataAreas[driver.getIndexOfDataArea(station, type, areaIndex, driver.dataAreas)];
}

} // namespace support

void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}

void PrintTo(const QByteArray &content, std::ostream *out)
{
    const QByteArray hex = content.toHex();
    for (int i = 0; i < static_cast<int>(hex.size()); i += 2)
        *out << (i != 0 ? " " : "") << hex.mid(i, 2).constData();
}
