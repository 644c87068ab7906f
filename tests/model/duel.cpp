#include "model/duel.h"

#include "driver/modbus_rtu_master.h"
#include "model/state_comparison.h"
#include "support/driver_reset.h"

#include <algorithm>
#include <cstring>

namespace model {

namespace {

std::string unequalBytes(const char *what, const std::vector<unsigned char> &real,
                         const std::vector<unsigned char> &plain)
{
    if (real == plain)
        return std::string();
    return std::string(what) + ": driver " + text(real.data(), static_cast<int>(real.size())) + ", model "
           + text(plain.data(), static_cast<int>(plain.size()));
}

std::string eventText(const Event &event)
{
    return "(" + std::to_string(event.link) + ", " + std::to_string(event.station) + ", " + text(event.regType) + ", "
           + std::to_string(event.address) + ", read "
           + text(event.readBack.data(), static_cast<int>(event.readBack.size())) + ")";
}

bool sameEvent(const Event &a, const Event &b)
{
    return a.link == b.link && a.station == b.station && a.regType == b.regType && a.address == b.address
           && a.readBack == b.readBack;
}

std::string eventDifference(const std::vector<Event> &real, const std::vector<Event> &plain)
{
    const size_t common = std::min(real.size(), plain.size());
    for (size_t i = 0; i < common; ++i) {
        if (!sameEvent(real[i], plain[i]))
            return "callback " + std::to_string(i) + ": driver " + eventText(real[i]) + ", model "
                   + eventText(plain[i]);
    }
    if (real.size() > common)
        return "callback " + std::to_string(common) + " of the driver only: " + eventText(real[common]);
    if (plain.size() > common)
        return "callback " + std::to_string(common) + " of the model only: " + eventText(plain[common]);
    return std::string();
}

} // namespace

Duel *Duel::current = nullptr;

Duel::Duel()
{
    support::resetDriver();
    current = this;
}

Duel::~Duel()
{
    current = nullptr;
    support::resetDriver();
}

void Duel::note(const std::string &text)
{
    if (tracing)
        trace += text;
}

// --- callbacks --------------------------------------------------------------------

int Duel::realCallBack(int linkId, int station, QString *regType, int address)
{
    if (current != nullptr)
        current->onRealChange(linkId, station, *regType, address);
    return 0;
}

// Some calls read back what is being reported, from inside the callback, some read a neighbour
// whose area may not exist yet.
bool Duel::readsBack(const QString &regType, int address) const
{
    return readBackMode != 0 && address >= 0 && regType != QLatin1String("-1") && regType != QLatin1String("RWI");
}

void Duel::onRealChange(int linkId, int station, const QString &regType, int address)
{
    Event event = {linkId, station, regType, address, std::vector<unsigned char>()};
    if (readsBack(regType, address)) {
        QString type = regType;
        event.readBack.assign(8, 0xEE);
        intf_getData(station, &type, readBackMode == 1 ? address : plain::sum(address, 3), 2, event.readBack.data());
    }
    realSide.events.push_back(event);
    callFromCallBack(realSide, regType);
}

void Duel::onPlainChange(int linkId, int station, const QString &regType, int address)
{
    Event event = {linkId, station, regType, address, std::vector<unsigned char>()};
    if (readsBack(regType, address)) {
        event.readBack.assign(8, 0xEE);
        plain.getData(station, regType, readBackMode == 1 ? address : plain::sum(address, 3), 2, event.readBack.data());
    }
    plainSide.events.push_back(event);
    callFromCallBack(plainSide, regType);
}

// Hosts write, change screens or, when a one-off read has ended, start anew from inside the callback.
void Duel::callFromCallBack(Side &side, const QString &regType)
{
    if (!nesting || insideNested || side.nestedCalls >= 3)
        return;
    Random random(nestedSeed + side.nestedCalls++);
    insideNested = true;
    const bool real = &side == &realSide;
    if (regType == QLatin1String("-1") && random.chance(30))
        setUpFromCallBack(random, side);
    else if (random.chance(30))
        planFromCallBack(random, real);
    else
        writeFromCallBack(random, real);
    insideNested = false;
}

void Duel::writeFromCallBack(Random &random, bool toDriver)
{
    QString type = regType(random);
    const int at = address(random, type, Narrow);
    const int n = moderateCount(random);
    const int to = station(random);
    std::vector<unsigned char> bytes = hostBytes(random, type, n);
    if (toDriver)
        intf_setData(to, &type, at, n, bytes.data(), 7);
    else
        plain.setData(to, type, at, n, bytes.data(), 7);
}

void Duel::planFromCallBack(Random &random, bool toDriver)
{
    QList<KEY_ADDRESS> list = keys(random, Narrow);
    if (toDriver)
        intf_addrMerge(&list);
    else
        plain.addrMerge(list);
}

void Duel::setUpFromCallBack(Random &random, Side &side)
{
    const QByteArray property = propertyString(random);
    int status = 0;
    if (&side == &realSide)
        intf_initProperty(side.hostArea.data(), 17, side.hostWords.data(), &status, property.constData(),
                          &side.hostMutex);
    else
        plain.initProperty(side.hostArea.data(), 17, side.hostWords.data(), &status, property.constData(), true);
}

// --- running ------------------------------------------------------------------------

std::string Duel::run(const Call &call)
{
    Random random(call.seed);
    trace.clear();
    readBackMode = random.chance(70) ? 0 : random.between(1, 2);
    nesting = random.chance(4);
    nestedSeed = random.next();
    realSide.nestedCalls = plainSide.nestedCalls = 0;
    std::string difference = dispatch(call, random);
    if (tracing && readBackMode != 0)
        trace += readBackMode == 1 ? " [callbacks read back]" : " [callbacks read a neighbour]";
    if (tracing && nesting && plainSide.nestedCalls > 0)
        trace += " [" + std::to_string(plainSide.nestedCalls) + " calls from callbacks]";
    reach.nestedCalls += static_cast<int>(plainSide.nestedCalls);
    if (difference.empty())
        difference = compareSides();
    reach.fullQueues += plain.writeList.size() > 512 || plain.conditionReadList.size() > 512 ? 1 : 0;
    return difference;
}

std::string Duel::dispatch(const Call &call, Random &random)
{
    switch (call.kind) {
    case DescriptorCalls:
        return descriptorCalls();
    case SetCallBack:
        return setCallBack(random);
    case InitProperty:
        return initProperty(random);
    case CheckAddrValidity:
        return checkAddrValidity(random);
    case CheckAddr:
        return checkAddr(random);
    case RegListByType:
        return regListByType(random);
    case RegDiscription:
        return regDiscription(random);
    case MultiCopy:
        return multiCopy(random);
    case SetRcpAddress:
        return setRcpAddress(random);
    case AddrMerge:
        return addrMerge(random, call.spread);
    case AddConditionRead:
        return addConditionRead(random, call.spread);
    case GetSendFrame:
        return getSendFrame(random);
    case DealRcvFrame:
        return dealRcvFrame(random, call.spread);
    case GetData:
        return getData(random, call.spread);
    case SetData:
        return setData(random, call.spread);
    case HostRequest:
        hostRequest(random);
        return std::string();
    case CallKinds:
        break;
    }
    return "no such call";
}

std::string Duel::compareSides()
{
    std::string difference = eventDifference(realSide.events, plainSide.events);
    for (const Event &event : plainSide.events) {
        reach.changes += event.link >= 0 && event.station >= 0 ? 1 : 0;
        reach.conditionEnds += event.regType == QLatin1String("-1") ? 1 : 0;
        reach.recipeWords += event.regType == QLatin1String("RWI") ? 1 : 0;
    }
    realSide.events.clear();
    plainSide.events.clear();
    if (difference.empty() && realSide.hostArea != plainSide.hostArea)
        difference = unequalBytes("block request bytes",
                                  std::vector<unsigned char>(realSide.hostArea.end() - 2, realSide.hostArea.end()),
                                  std::vector<unsigned char>(plainSide.hostArea.end() - 2, plainSide.hostArea.end()))
                     + " (or another byte of the host area)";
    if (difference.empty() && realSide.hostWords != plainSide.hostWords)
        difference = "host word buffer differs";
    if (difference.empty())
        difference = stateDifference(plain);
    return difference;
}

// --- start-up -----------------------------------------------------------------------

std::string Duel::setCallBack(Random &random)
{
    if (random.chance(5)) {
        note("intf_setAddrValueChangeCallBack(null)");
        intf_setAddrValueChangeCallBack(nullptr);
        plain.setAddrValueChangeCallBack(PlainDriver::CallBack());
        return std::string();
    }
    note("intf_setAddrValueChangeCallBack(callBack)");
    intf_setAddrValueChangeCallBack(&Duel::realCallBack);
    plain.setAddrValueChangeCallBack([this](int linkId, int station, const QString &regType, int address) {
        onPlainChange(linkId, station, regType, address);
    });
    return std::string();
}

std::string Duel::initProperty(Random &random)
{
    const QByteArray property = propertyString(random);
    const bool withArea = !random.chance(4);
    const bool withMutex = !random.chance(4);
    const bool withWords = !random.chance(4);
    const char *const asText = property.isNull() ? nullptr : property.constData();
    note("intf_initProperty(" + std::string(withArea ? "area" : "null") + ", 17, " + (withWords ? "words" : "null")
         + ", &status, " + (asText == nullptr ? "null" : "\"" + std::string(asText) + "\"") + ", "
         + (withMutex ? "mutex" : "null") + ")");
    int realStatus = 5;
    int plainStatus = 5;
    const bool wantsStatus = !random.chance(2);
    const int real = intf_initProperty(
        withArea ? realSide.hostArea.data() : nullptr, 17, withWords ? realSide.hostWords.data() : nullptr,
        wantsStatus ? &realStatus : nullptr, asText, withMutex ? &realSide.hostMutex : nullptr);
    const int expected =
        plain.initProperty(withArea ? plainSide.hostArea.data() : nullptr, 17,
                           withWords ? plainSide.hostWords.data() : nullptr, &plainStatus, asText, withMutex);
    answered = true;
    return unequal("result", real, expected) + unequal("status", realStatus, wantsStatus ? plainStatus : 5);
}

std::string Duel::setRcpAddress(Random &random)
{
    QVector<_RCP_VAR_PRO> rows = recipeRows(random, plain.linkId);
    note("intf_setRcpAddress(");
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        const _RCP_VAR_PRO &row = rows.at(i);
        note("{" + std::to_string(row.userData) + ", " + std::to_string(row.station) + ", " + text(row.regType) + ", "
             + std::to_string(row.startAddr) + ", " + std::to_string(row.count) + ", @" + std::to_string(row.hostOffset)
             + "} ");
    }
    note(")");
    const Given<QVector<_RCP_VAR_PRO>> given(random, rows);
    const int expected = plain.setRcpAddress(given.value);
    return unequal("result", intf_setRcpAddress(given.pointer), expected);
}

std::string Duel::addrMerge(Random &random, Spread spread)
{
    QList<KEY_ADDRESS> list = keys(random, spread);
    note("intf_addrMerge(");
    for (int i = 0; i < static_cast<int>(list.size()); ++i)
        note("{" + std::to_string(list.at(i).station) + ", " + text(list.at(i).regType) + ", "
             + std::to_string(list.at(i).startAddr) + ", " + std::to_string(list.at(i).count) + "} ");
    note(")");
    const QList<KEY_ADDRESS> before = list;
    const Given<QList<KEY_ADDRESS>> given(random, list);
    const int expected = plain.addrMerge(given.value);
    std::string difference = unequal("result", intf_addrMerge(given.pointer), expected);
    for (int i = 0; i < static_cast<int>(before.size()) && difference.empty(); ++i) {
        if (list.at(i).regType != before.at(i).regType || list.at(i).startAddr != before.at(i).startAddr
            || list.at(i).count != before.at(i).count)
            difference = "the host's list was changed";
    }
    return difference;
}

std::string Duel::addConditionRead(Random &random, Spread spread)
{
    KEY_ADDRESS range = key(random, spread);
    const int userData = random.below(1000);
    note("intf_addConditionRead({" + std::to_string(range.station) + ", " + text(range.regType) + ", "
         + std::to_string(range.startAddr) + ", format " + std::to_string(range.field7) + ", "
         + std::to_string(range.count) + "}, " + std::to_string(userData) + ")");
    const Given<KEY_ADDRESS> given(random, range);
    const int expected = given.pointer ? plain.addConditionRead(range, userData) : 1;
    return unequal("result", intf_addConditionRead(given.pointer, userData), expected);
}

// --- polling ------------------------------------------------------------------------

std::string Duel::getSendFrame(Random &random)
{
    if (random.chance(1)) {
        note("intf_getSendFrame(null)");
        return unequal("result", intf_getSendFrame(nullptr), 0);
    }
    note("intf_getSendFrame()");
    FRAME_PRO realOut;
    realOut.frameLen = -7;
    realOut.var.count = -7;
    FRAME_PRO plainOut = FRAME_PRO();
    const int real = intf_getSendFrame(&realOut);
    const int expected = plain.getSendFrame(&plainOut);
    std::string difference = unequal("result", real, expected);
    if (!difference.empty())
        return difference;
    if (expected == 0) {
        reach.blockedHeads += plain.writeList.isEmpty() && plain.conditionReadList.isEmpty() ? 0 : 1;
        if (realOut.frameLen != -7 || realOut.var.count != -7)
            return "output written although there is nothing to send";
        return std::string();
    }
    difference = frameDifference(realOut, plainOut, plain.sendState);
    note(" = " + text(plainOut.frame, plainOut.frameLen) + ", state " + std::to_string(plain.sendState));
    lastFrame = plainOut;
    answered = false;
    ++reach.frames;
    return difference;
}

// Shows that a run has replies to requests whose last reply the driver still knows.
void Duel::noteWhatIsRemembered(const QByteArray &reply)
{
    if (driver.sendState != CyclicReadSent || driver.frameList.isEmpty() || reply.size() < 5)
        return;
    const FRAME_PRO &head = driver.frameList.first();
    const unsigned char *known = driver.lastReplies.dataAt(driver.lastReplies.placeFor(head.var));
    if (known == nullptr || reply.size() != head.replyLen)
        return;
    ++reach.remembered;
    reach.unchanged += memcmp(known, reply.constData() + 3, static_cast<size_t>(reply.size() - 5)) == 0 ? 1 : 0;
}

std::string Duel::dealRcvFrame(Random &random, Spread spread)
{
    QByteArray reply;
    if (lastFrame.frameLen > 0 && (!answered || random.chance(50)))
        reply = slave.reply(random, lastFrame, spread == Calm);
    answered = true;
    note("intf_dealRcvFrame(" + std::string(slave.lastKind) + ": "
         + text(reinterpret_cast<const unsigned char *>(reply.constData()), static_cast<int>(reply.size())) + ")");
    QByteArray realReply = reply;
    QByteArray plainReply = reply;
    QString realText = random.pick({QString(QLatin1String("left over")), QString(QLatin1String("")), QString()});
    QString plainText = realText;
    const bool block = plain.sendState == 5 || plain.sendState == 6;
    noteWhatIsRemembered(reply);
    const Given<QByteArray> given(random, realReply);
    const bool wantsText = !random.chance(1);
    QByteArray noReply;
    const int real = intf_dealRcvFrame(given.pointer, wantsText ? &realText : nullptr);
    const int expected = plain.dealRcvFrame(given.pointer ? &plainReply : &noReply, &plainText);
    note(" = " + std::to_string(expected));
    reach.accepted += expected == 1 ? 1 : 0;
    reach.resent += expected == 8 ? 1 : 0;
    reach.givenUp += expected == 2 ? 1 : 0;
    reach.blockTransfers += block && expected == 1 && plain.rcpIndex == 0 ? 1 : 0;
    std::string difference = unequal("result", real, expected);
    if (difference.empty() && wantsText && realText != plainText)
        difference = "error text: driver " + text(realText) + ", model " + text(plainText);
    if (difference.empty() && realReply != plainReply)
        difference = "reply bytes after the call: driver " + std::string(realReply.toHex().constData()) + ", model "
                     + plainReply.toHex().constData();
    return difference;
}

// Only between transactions does a host touch its words; requests it may raise at any time.
void Duel::hostRequest(Random &random)
{
    const int byte = random.chance(50) ? Side::BlockWriteRequest : Side::BlockReadRequest;
    const int value = random.pick({1, 1, 1, 1, 1, 0, 2});
    note("host area[" + std::to_string(byte) + "] = " + std::to_string(value));
    realSide.raise(byte, value);
    plainSide.raise(byte, value);
    if (!random.chance(30))
        return;
    note(", word buffer filled");
    for (size_t i = 0; i < 700; ++i)
        realSide.hostWords[i] =
            static_cast<unsigned short>(random.pick({0u, 1u, 0x0102u, 0xFF00u, random.next() & 0xFFFFu}));
    std::copy(realSide.hostWords.begin(), realSide.hostWords.begin() + 700, plainSide.hostWords.begin());
}

// --- values -------------------------------------------------------------------------

// A host likes to write to the same place again, and to look at what it has written.
Duel::Target Duel::pickTarget(Random &random, Spread spread)
{
    if (random.chance(spread == Narrow ? 25 : 5))
        return lastWritten;
    Target target;
    target.station = station(random);
    target.regType = regType(random);
    target.address = address(random, target.regType, spread);
    target.count = moderateCount(random);
    return target;
}

std::string Duel::getData(Random &random, Spread spread)
{
    Target target = pickTarget(random, spread);
    note("intf_getData(" + std::to_string(target.station) + ", " + text(target.regType) + ", "
         + std::to_string(target.address) + ", " + std::to_string(target.count) + ")");
    const int size = std::max(1, hostByteCount(target.regType, target.count));
    std::vector<unsigned char> real(static_cast<size_t>(size), 0xEE);
    std::vector<unsigned char> expected(real);
    const Given<QString> type(random, target.regType);
    if (random.chance(1))
        return unequal("result", intf_getData(target.station, type.pointer, target.address, target.count, nullptr), 1);
    const int realResult = intf_getData(target.station, type.pointer, target.address, target.count, real.data());
    const int plainResult = plain.getData(target.station, type.value, target.address, target.count, expected.data());
    const std::string difference = unequal("result", realResult, plainResult);
    return difference.empty() ? unequalBytes("output", real, expected) : difference;
}

std::string Duel::setData(Random &random, Spread spread)
{
    Target target = pickTarget(random, spread);
    lastWritten = target;
    std::vector<unsigned char> bytes = hostBytes(random, target.regType, target.count);
    const int userData = random.below(1000);
    note("intf_setData(" + std::to_string(target.station) + ", " + text(target.regType) + ", "
         + std::to_string(target.address) + ", " + std::to_string(target.count) + ", "
         + text(bytes.data(), static_cast<int>(bytes.size())) + ", " + std::to_string(userData) + ")");
    const std::vector<unsigned char> before(bytes);
    const Given<QString> type(random, target.regType);
    if (random.chance(1) && target.count > 0)
        return unequal("result",
                       intf_setData(target.station, type.pointer, target.address, target.count, nullptr, userData), 1);
    const int expected =
        plain.setData(target.station, type.value, target.address, target.count, before.data(), userData);
    const int real = intf_setData(target.station, type.pointer, target.address, target.count, bytes.data(), userData);
    const std::string difference = unequal("result", real, expected);
    return difference.empty() ? unequalBytes("the host's bytes", bytes, before) : difference;
}

} // namespace model
