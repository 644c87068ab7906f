#include "checker/legal_host.h"

#include <algorithm>

namespace checked {

namespace {

const int TimeOut = 500;
const int Pause = 10;
const int CyclicTag = 4;

/** Another place than the one reported: what is reported is stored only afterwards. */
int lookElsewhere(int, int station, QString *, int address)
{
    ++LegalHost::reach.reports;
    unsigned char value[2];
    QString type = QLatin1String("3x");
    intf_getData(std::max(station, 0) + 100, &type, std::max(address, 0) % 100, 1, value);
    return 0;
}

} // namespace

LegalHost::Reach LegalHost::reach;

LegalHost::LegalHost(std::uint32_t seed) : host(CheckedHost::Untouched()), random(seed), line(seed + 1)
{
    intf_setAddrValueChangeCallBack(&lookElsewhere);
    setUp();
}

void LegalHost::step()
{
    const int choice = random.below(100);
    if (choice < 1 && !transferUnderWay())
        setUp();
    else if (choice < 3)
        makePlan();
    else if (choice < 5 && !transferUnderWay())
        registerRows();
    else if (choice < 8)
        requestTransfer();
    else if (choice < 20)
        write();
    else if (choice < 28)
        read();
    else if (choice < 35)
        readOnce();
    else if (choice < 38)
        askEditorCalls();
    else if (choice < 42)
        line.moveSomething();
    else
        poll();
}

bool LegalHost::transferUnderWay()
{
    const QMutexLocker locked(&host.hostMutex);
    return host.raised(CheckedHost::BlockWriteRequest) != 0 || host.raised(CheckedHost::BlockReadRequest) != 0;
}

// --- start-up ---------------------------------------------------------------------------

void LegalHost::setUp()
{
    link = random.below(3);
    words = 2 * random.between(1, 60);
    std::string property = std::to_string(link) + "#0#" + std::to_string(random.below(2000)) + "#"
                           + std::to_string(random.between(1, 4)) + "#" + std::to_string(words);
    if (swapStations.empty() && random.chance(20))
        swapStations = random.pick({"1", "2,3"});
    if (!swapStations.empty() || random.chance(30))
        property += random.pick({"#0", "#1"});
    if (!swapStations.empty())
        property += "_" + swapStations;
    host.init(property.c_str());
    registerRows();
    makePlan();
}

QString LegalHost::anyType()
{
    return QLatin1String(random.pick({"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"}));
}

bool LegalHost::isBits(const QString &type)
{
    return type == QLatin1String("0x") || type == QLatin1String("1x") || type.endsWith(QLatin1String("_bit"));
}

bool LegalHost::isDouble(const QString &type)
{
    return type.endsWith(QLatin1String("_double"));
}

/** Short or as long as may be, anywhere or at the end of the address space. */
LegalHost::Range LegalHost::range(const QString &type, int longest)
{
    const int space = type.endsWith(QLatin1String("_bit")) ? 65536 * 16 : 65536;
    Range result = {random.between(1, 3), type, 0,
                    random.chance(10) ? longest : random.between(1, std::min(longest, 12))};
    if (isDouble(type))
        result.count = std::max(2, result.count / 2 * 2);
    result.address = random.chance(5) ? space - result.count : random.below(200);
    return result;
}

void LegalHost::makePlan()
{
    Keys keys;
    for (int n = random.between(0, 12); n > 0; --n) {
        const QString type = anyType();
        // A run of bits reaches into one register more when it begins inside one.
        const int longest = !isBits(type) ? 125 : type.endsWith(QLatin1String("_bit")) ? 1985 : 2000;
        const Range one = range(type, longest);
        KEY_ADDRESS item = key(one.station, "", one.address, one.count);
        item.regType = type;
        keys << item;
    }
    host.plan(keys);
}

void LegalHost::registerRows()
{
    Rows rows;
    int offset = 0;
    int address = 300;
    rowsLoadable = true;
    for (int n = random.between(1, 8); n > 0; --n) {
        const QString type = QLatin1String(random.pick({"4x", "4x", "4x_double", "3x", "3x_double"}));
        _RCP_VAR_PRO one = row(link, random.between(1, 3), "", address, 0, offset);
        one.regType = type;
        one.count = isDouble(type) ? 2 : random.between(1, std::min(words, 8));
        rowsLoadable = rowsLoadable && type.startsWith(QLatin1Char('4'));
        rows << one;
        offset += one.count;
        address += one.count; // touching registers, touching words
        if (random.chance(50)) {
            address += 5;
            offset += random.below(3);
        }
    }
    rowsKnown = host.registerRows(rows) > 0;
}

// --- run time ---------------------------------------------------------------------------

bool LegalHost::answers(const QByteArray &reply, const FRAME_PRO &frame)
{
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(reply.constData());
    if (reply.size() != frame.replyLen || bytes[0] != frame.frame[0] || bytes[1] != frame.frame[1])
        return false;
    if (frame.frame[1] > 4)
        return std::equal(bytes + 2, bytes + 6, frame.frame + 2);
    return bytes[2] == reply.size() - 5;
}

void LegalHost::poll()
{
    const FRAME_PRO frame = host.ask();
    if (frame.frameLen == 0) {
        pass(Pause);
        return;
    }
    QByteArray reply = line.exchange(frame);
    const bool silent = reply.isEmpty() && frame.replyLen > 0;
    pass(silent ? TimeOut : 5);
    reach.replies += silent ? 0 : 1;
    reach.timeOuts += silent ? 1 : 0;
    if (!reply.isEmpty() && !answers(reply, frame)) {
        ++reach.dropped;
        reply.clear();
    }
    reach.givenUp += host.deal(reply) == 2 ? 1 : 0;
    pass(TimeOut); // what comes late is dropped
}

void LegalHost::write()
{
    const QString type = QLatin1String(random.pick({"0x", "4x", "4x_bit", "4x_double"}));
    const int longest = type == QLatin1String("0x") ? 1024 : isBits(type) ? words : 300;
    const Range one = range(type, longest);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(2 * one.count));
    for (unsigned char &byte : bytes)
        byte = isBits(type) ? static_cast<unsigned char>(random.below(2)) : random.byte();
    const int station = type != QLatin1String("4x_bit") && random.chance(5) ? 0 : one.station;
    host.write(station, type.toLatin1().constData(), one.address, one.count, bytes);
    ++reach.writes;
}

void LegalHost::read()
{
    const QString type = anyType();
    const Range one = range(type, 500);
    host.read(one.station, type.toLatin1().constData(), one.address, one.count);
}

void LegalHost::readOnce()
{
    const QString type = anyType();
    Range one = range(type, 400);
    if (type.endsWith(QLatin1String("_bit")))
        one.address -= one.address % 16;
    KEY_ADDRESS item = key(one.station, "", one.address, one.count, isBits(type) ? -1 : 1);
    item.regType = type;
    host.readOnce(item, CyclicTag + random.between(1, 1000));
    ++reach.oneOffReads;
}

void LegalHost::requestTransfer()
{
    if (!rowsKnown || transferUnderWay())
        return;
    host.request(rowsLoadable && random.chance(50) ? CheckedHost::BlockWriteRequest : CheckedHost::BlockReadRequest);
    ++reach.transfers;
}

void LegalHost::askEditorCalls()
{
    QString type = anyType();
    QString text = QLatin1String(random.pick({"1", "65536", "1.0", "x", ""}));
    int address = 0;
    intf_checkAddr(&type, &text, &address, -1, 1, 1);
    intf_checkAddrValidity(&type, &text, &address, 1, 0);
    QList<QString> list;
    intf_getRegDiscription(&type, &list);
    intf_getRegListByType(0, &list);
    QVector<QString> texts;
    QVector<int> addresses;
    intf_multiCopy(&type, 0, 3, 1, &texts, &addresses);
    QString out;
    intf_getProtocolType(&address);
    intf_getDriverParameter(&out);
    intf_getDriverPropertyPage(&out);
    intf_SetDriverPropertyPage(&out);
}

} // namespace checked
