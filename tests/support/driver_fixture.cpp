#include "support/driver_fixture.h"

#include "support/driver_reset.h"

#include <ostream>

namespace support {

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

DriverFixture::DriverFixture() : HostMemory(HostWords)
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
