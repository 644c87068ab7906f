#include "call_player.h"

#include <algorithm>
#include <climits>

namespace fuzz {

namespace {

// Where a call costs time or memory for each element, the counts end here; the
// driver's own limits lie far beyond and take seconds.
const int largestRun = 3000;
const int mostRequests = 600;
// Long runs are worth a try and cost a thousand short ones: an input has so many
// elements in all, and small counts when they are used up. They are enough to fill a
// queue, and for a cache that is indexed, and indexed anew when it has grown.
const int elementsAnInput = 1200;
const int smallRun = 24;
// A plan pays when it is polled: long, and the less the longer its replies are.
const unsigned int mostRounds = 256;
const int polledBytes = 4000;
// No reply is as long as some requests want. Giving one up marks up to 32,768 areas, which costs what a
// hundred polls do, and libFuzzer likes it: the polls of one input of eight try it, a few times.
const int triesForNone = 6;
const std::size_t oneOf = 8;
const int deepestCallBack = 3;

int stationOf(const CallRecord &record)
{
    static const int odd[] = {0, 247, 255, 256, -1, 65537, INT_MIN, INT_MAX};
    return record.station < 224 ? 1 + record.station % 3 : odd[record.station % 8];
}

int addressOf(const CallRecord &record)
{
    switch (record.scale & 3) {
    case 0:
        return static_cast<int>(record.address % 64);
    case 1:
        return 65536 - 32 + static_cast<int>(record.address % 64);
    case 2:
        return static_cast<int>(record.address % 0x110000);
    default:
        return static_cast<int>(record.address);
    }
}

int countOf(const CallRecord &record, int largest)
{
    static const int edges[] = {0,   1,   7,   8,   9,   15,  16,   17,   125,     126, 127, 128,
                                256, 507, 508, 511, 512, 513, 1015, 1016, INT_MIN, -1,  -24, -1000};
    int count = static_cast<int>(record.count);
    switch (record.scale >> 2 & 3) {
    case 0:
        count = static_cast<int>(record.count % 24);
        break;
    case 1:
        count = edges[record.count % (sizeof edges / sizeof edges[0])];
        break;
    case 2:
        count = static_cast<int>(record.count % 4096);
        break;
    default:
        break;
    }
    return std::min(count, largest);
}

} // namespace

CallPlayer::CallPlayer(const std::uint8_t *bytes, std::size_t size)
    : script(bytes, size)
    , depth(0)
    , room(elementsAnInput)
    , triesLeft(size / RecordBytes % oneOf == 0 ? triesForNone : 0)
{
    host.onReport = [this](const Report &report) { onReport(report); };
}

void CallPlayer::play()
{
    while (!script.atEnd()) {
        playOne(script.take());
        host.check();
    }
    host.checkCache();
}

/** How many elements a call is for; those that it carries are no longer to be had. */
int CallPlayer::elementsOf(const CallRecord &record, int largest)
{
    const int count = countOf(record, std::min(largest, std::max(room, smallRun)));
    room -= std::max(count, 0);
    return count;
}

void CallPlayer::onReport(const Report &report)
{
    require(report.regType.size() > 0, "a report without a type");
    if (depth == deepestCallBack || !script.nextIsForCallBack())
        return;
    ++depth;
    playOne(script.take());
    --depth;
}

void CallPlayer::playOne(const CallRecord &record)
{
    switch (record.kind % 128 % CallKinds) {
    case CallInitProperty:
        initProperty(record);
        return;
    case CallSetCallBack:
        host.useCallBack(record.extra % 8 != 0);
        return;
    case CallAddKey:
        addKey(record);
        return;
    case CallMerge:
        require(intf_addrMerge(&keys) == static_cast<int>(driver.cyclicReadList.size()), "the length of the plan");
        if (record.extra % 4 == 0)
            keys.clear();
        return;
    case CallAddRow:
        addRow(record);
        return;
    case CallRegister:
        require(intf_setRcpAddress(&rows) == static_cast<int>(driver.rcpAddrs.size()), "the number of rows");
        if (record.extra % 4 == 0)
            rows.clear();
        return;
    case CallConditionRead: {
        KEY_ADDRESS key = keyOf(record, waitingReadsLimit());
        require(intf_addConditionRead(&key, static_cast<int>(record.extra)) == 1, "intf_addConditionRead");
        return;
    }
    case CallWrite:
        host.setData(stationOf(record), typeText(record.type), addressOf(record), elementsOf(record, largestRun),
                     record.extra, static_cast<int>(record.extra));
        return;
    case CallRead:
        host.getData(stationOf(record), typeText(record.type), addressOf(record), elementsOf(record, largestRun));
        return;
    case CallNextFrame:
        host.nextFrame();
        return;
    case CallReply:
        reply(record);
        return;
    case CallRequestBlock:
        host.memory.raise(record.extra & 1u ? support::HostMemory::BlockReadRequest
                                            : support::HostMemory::BlockWriteRequest,
                          static_cast<int>(record.extra >> 1 & 3u));
        return;
    case CallEdit:
        edit(record);
        return;
    case CallNulls:
        callWithNulls();
        return;
    case CallPoll:
        poll(record);
        return;
    }
}

// --- start-up -------------------------------------------------------------------------

void CallPlayer::initProperty(const CallRecord &record)
{
    static const char *const limits[] = {"40", "125", "100", "5", "1", "0", "-5", "513", "2147483647", "-2147483648"};
    static const char *const swaps[] = {"", "#0", "#1", "#0_1", "#0_2,x,-1", "#2_,#9", "#x_3"};
    static const char *const others[] = {"", "1#0#0#3", "####", "####\xFF", "a#b#c#d#e#f_g,h"};
    QByteArray text = QByteArray::number(static_cast<int>(record.address % 3));
    text += '#';
    text += record.type % 16 == 1 ? "1" : "0";
    text += "#1000#";
    text += QByteArray::number(static_cast<int>(record.count % 5) - 1);
    text += '#';
    text += limits[record.extra % (sizeof limits / sizeof limits[0])];
    text += swaps[record.station % (sizeof swaps / sizeof swaps[0])];
    const bool odd = record.scale % 16 == 1;
    host.initProperty(odd ? others[record.count % (sizeof others / sizeof others[0])] : text.constData());
}

KEY_ADDRESS CallPlayer::keyOf(const CallRecord &record, int largestCount)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = stationOf(record);
    key.regType = typeText(record.type);
    key.startAddr = addressOf(record);
    key.count = elementsOf(record, largestCount);
    key.field7 = record.extra % 3 == 0 ? -1 : 1;
    return key;
}

void CallPlayer::addKey(const CallRecord &record)
{
    if (keys.size() < 64)
        keys << keyOf(record, largestRun);
}

/** Within the host's contract: every row, and the block it is merged into, lies in the word buffer. */
void CallPlayer::addRow(const CallRecord &record)
{
    if (rows.size() >= 64)
        return;
    _RCP_VAR_PRO row = _RCP_VAR_PRO();
    row.userData = record.extra % 16 == 5 ? 7 : driver.linkId;
    row.station = stationOf(record);
    row.regType = typeText(record.type);
    row.startAddr = addressOf(record);
    row.hostOffset = static_cast<int>(record.extra % (Host::RecipeWords - 1));
    row.count = countOf(record, Host::RecipeWords - row.hostOffset);
    if (record.extra % 32 == 9)
        row.hostOffset = -row.hostOffset; // not in the buffer: must be left alone
    rows << row;
}

/** A range is cut into requests of maxReadWords: a few more than the queue holds are enough. */
int CallPlayer::waitingReadsLimit() const
{
    const int limit = std::min(std::max(driver.maxReadWords, 1), largestRun);
    return mostRequests * limit;
}

// --- replies --------------------------------------------------------------------------

void CallPlayer::reply(const CallRecord &record)
{
    Noise noise(record.address);
    QByteArray made = host.wholeReply(noise.bytes(static_cast<int>(record.count % 64) + 1));
    const int size = static_cast<int>(made.size());
    switch (record.extra % 16) {
    case 0:
        made.clear();
        break;
    case 1:
        made.chop(1);
        break;
    case 2:
        if (size > 0)
            made[size - 1] = static_cast<char>(made.at(size - 1) ^ 1);
        break;
    case 3:
        made = host.wholeReply(std::vector<unsigned char>());
        break;
    case 4: { // an exception: five bytes
        const unsigned char function = static_cast<unsigned char>(host.lastFrame.frame[1] | 0x80u);
        const unsigned char bytes[5] = {host.lastFrame.frame[0], function, 2, noise.byte(), noise.byte()};
        made = QByteArray(reinterpret_cast<const char *>(bytes), sizeof bytes);
        break;
    }
    case 5:
        made = QByteArray(static_cast<int>(record.count % 2000), static_cast<char>(record.address));
        break;
    default:
        break;
    }
    host.deal(made);
}

/**
 * Polls as a host does most of the time: the slaves say what they said before,
 * but for a byte now and then.
 */
void CallPlayer::poll(const CallRecord &record)
{
    Noise noise(record.address);
    std::vector<unsigned char> content = noise.bytes(static_cast<int>(record.count % 16) + 1);
    const unsigned int changing = record.extra >> 8 & 3u; // none, or one reply of so many
    int bytes = polledBytes;
    for (unsigned int left = record.extra % mostRounds + 1; left > 0 && bytes > 0; --left) {
        if (left % 2 == 0)
            host.askForSomething(noise);
        if (!host.nextFrame())
            return;
        if (changing != 0 && left % (4 * changing) == 0)
            content[left % content.size()] ^= noise.byte();
        const QByteArray reply = host.wholeReply(content);
        if (reply.isEmpty() && triesLeft-- <= 0)
            return;
        bytes -= static_cast<int>(reply.size());
        host.deal(reply);
    }
}

// --- editor calls and null pointers ---------------------------------------------------

void CallPlayer::edit(const CallRecord &record)
{
    int number = 0;
    QString text;
    intf_getProtocolType(&number);
    intf_getDriverParameter(&text);
    intf_getDriverPropertyPage(&text);
    intf_SetDriverPropertyPage(&text);
    QString type = typeText(record.type);
    QString address = QString::number(addressOf(record));
    if (record.scale & 0x40)
        address += QLatin1Char('.') + QString::number(static_cast<int>(record.station % 20));
    intf_checkAddrValidity(&type, &address, &number, countOf(record, INT_MAX), static_cast<int>(record.extra % 2));
    intf_checkAddr(&type, &address, &number, static_cast<int>(record.extra % 11) - 1, countOf(record, INT_MAX),
                   static_cast<int>(record.extra % 4));
    QList<QString> list;
    intf_getRegListByType(record.extra % 3, &list);
    intf_getRegDiscription(&type, &list);
    QVector<QString> texts;
    QVector<int> addresses;
    intf_multiCopy(&type, addressOf(record), countOf(record, 100), static_cast<int>(record.extra), &texts, &addresses);
    require(texts.size() == addresses.size(), "copies and their texts");
}

void CallPlayer::callWithNulls()
{
    intf_getProtocolType(nullptr);
    intf_getDriverParameter(nullptr);
    intf_getDriverPropertyPage(nullptr);
    intf_SetDriverPropertyPage(nullptr);
    intf_checkAddrValidity(nullptr, nullptr, nullptr, 1, 0);
    intf_checkAddr(nullptr, nullptr, nullptr, -1, 1, 1);
    intf_getRegListByType(0, nullptr);
    intf_getRegDiscription(nullptr, nullptr);
    intf_multiCopy(nullptr, 0, 2, 1, nullptr, nullptr);
    require(intf_addConditionRead(nullptr, 1) == 1, "intf_addConditionRead(null)");
    require(intf_getSendFrame(nullptr) == 0, "intf_getSendFrame(null)");
    require(intf_getData(1, nullptr, 0, 1, nullptr) == 1, "intf_getData(null)");
    require(intf_setData(1, nullptr, 0, 1, nullptr, 0) == 1, "intf_setData(null)");
    intf_setRcpAddress(nullptr);
    intf_addrMerge(nullptr);
    intf_dealRcvFrame(nullptr, nullptr);
}

} // namespace fuzz
