#include "property/random_host.h"

#include "support/buffer_word.h"
#include "support/driver_reset.h"
#include "support/unit_text.h"

#include <algorithm>

namespace property {

namespace {

const char *const registerTypes[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};

QString randomType(support::Random &random)
{
    return QLatin1String(registerTypes[random.below(8)]);
}

QString randomWritableType(support::Random &random)
{
    return QLatin1String(random.pick({"0x", "4x", "4x", "4x_bit", "4x_bit", "4x_double"}));
}

int randomCount(support::Random &random, const QString &regType)
{
    const int count = random.chance(50) ? random.between(1, 3) : random.between(1, 20);
    return regType.endsWith(QLatin1String("_double")) ? 2 * ((count + 1) / 2) : count;
}

bool isWritable(const QString &regType)
{
    return regType == QLatin1String("0x") || regType.startsWith(QLatin1Char('4'));
}

bool isBitValued(const QString &regType)
{
    return regType == QLatin1String("0x") || regType == QLatin1String("1x") || regType.endsWith(QLatin1String("_bit"));
}

} // namespace

RandomHost::RandomHost(std::uint32_t seed)
    : HostMemory(HostWords)
    , rules(findings)
    , shadow(findings)
    , line(seed + 1)
    , random(seed)
{
    support::resetDriver();
    intf_setAddrValueChangeCallBack(&support::ChangeRecorder::callBack);
    // A host that looks at the value as soon as it hears of it.
    recorder.hook = [](const support::Change &change) {
        QString regType = change.regType;
        unsigned char bytes[8];
        if (change.address >= 0)
            intf_getData(change.station, &regType, change.address, 2, bytes);
    };
    initialise();
    buildPlan();
}

RandomHost::~RandomHost()
{
    support::resetDriver();
}

void RandomHost::note(const std::string &text)
{
    history.push_back(text);
    if (history.size() > 40)
        history.pop_front();
}

std::string RandomHost::tail() const
{
    std::string text;
    for (const std::string &entry : history)
        text += "  " + entry + "\n";
    return text;
}

void RandomHost::step()
{
    const int choice = random.below(1000);
    if (choice < 2 && !flooding) {
        initialise();
        if (random.chance(85))
            buildPlan();
    } else if (choice < 8)
        buildPlan();
    else if (choice < 14)
        registerRecipes();
    else if (choice < 24)
        askForTransfer();
    else if (choice < 60)
        editorCall();
    else if (choice < 130)
        readSomething();
    else if (choice < 160)
        line.moveSomething();
    else if (choice < (flooding ? 500 : 190))
        askForConditionRead();
    else if (choice < (flooding ? 900 : 300))
        writeSomething();
    else
        poll();
    if (random.below(1500) == 0)
        flooding = !flooding;
    if (random.below(2000) == 0)
        line.setFaultLevel(random.pick({0, 30, 100, 100, 300}));
    rules.checkQueuesAndPlan();
}

// --- start-up -------------------------------------------------------------------------

void RandomHost::initialise()
{
    linkId = random.below(3);
    localOnly = random.chance(5);
    limit = random.pick({5, 20, 32, 100, 125});
    const int retries = random.between(0, 3);
    const std::string property = std::to_string(linkId) + "#" + (localOnly ? "1" : "0") + "#0#"
                                 + std::to_string(retries) + "#" + std::to_string(limit)
                                 + random.pick({"", "#0", "#1", "#0_1", "#0_2,3"});
    note("intf_initProperty(" + property + ")");
    int status = -1;
    intf_initProperty(hostArea.data(), 0, hostWords.data(), &status, property.c_str(), &hostMutex);
    findings.require(status == 0, "status not 0 after intf_initProperty()");
    // The swap of double words changes with the settings, so a transfer under way is of two minds.
    transferGenuine = false;
    rules.reset(linkId, retries);
    shadow.reset(linkId);
    recorder.take();
}

int RandomHost::randomStart(const QString &regType)
{
    const int spread = flooding ? 4 : 1;
    return random.below((regType.endsWith(QLatin1String("_bit")) ? 1200 : 100) * spread);
}

void RandomHost::buildPlan()
{
    support::Keys keys;
    const int n = random.chance(5) ? 0 : random.between(1, 25);
    for (int i = 0; i < n; ++i) {
        const QString regType = randomType(random);
        const int station = randomStation();
        const int start = randomStart(regType);
        KEY_ADDRESS key = support::key(station, "", start, randomCount(random, regType));
        key.regType = regType;
        keys << key;
    }
    note("intf_addrMerge(" + support::unitsText(keys) + ")");
    shadow.setPlan(keys);
    rules.planBuilt(keys, limit, intf_addrMerge(&keys));
}

// Only while no transfer is under way, as a host would.
void RandomHost::registerRecipes()
{
    if (raised(BlockWriteRequest) || raised(BlockReadRequest))
        return;
    rows.clear();
    rowsWritable = true;
    int offset = 0;
    const int n = random.between(1, 12);
    for (int i = 0; i < n; ++i) {
        const QString regType = QLatin1String(random.pick({"4x", "4x", "4x", "4x_double", "4x_double", "0x", "3x"}));
        const bool isDouble = regType == QLatin1String("4x_double");
        // Rows may not overlap, or the last one written wins.
        const int count = isDouble ? 2 : random.between(1, 8);
        const int link = random.chance(10) ? linkId + 1 : linkId;
        _RCP_VAR_PRO row = support::row(link, randomStation(), "", 10 * i + 300, count, offset, i);
        row.regType = regType;
        if (random.chance(60) && !rows.isEmpty()) {
            row.station = rows.last().station;
            row.regType = rows.last().regType;
            row.count = row.regType == QLatin1String("4x_double") ? 2 : count;
            row.startAddr = rows.last().startAddr + rows.last().count;
        }
        // Words of neighbouring rows lie side by side, as a merged block is written from them; but a
        // row of coils is always read as one double.
        offset += row.regType == QLatin1String("0x") ? std::max(row.count, 2) : row.count;
        rowsWritable = rowsWritable && row.regType != QLatin1String("3x");
        rows << row;
    }
    note("intf_setRcpAddress(" + support::unitsText(rows) + ")");
    const int registered = intf_setRcpAddress(&rows);
    rules.recipesRegistered(rows, registered);
    // What counts is the link that the rows were registered under; later settings may name another one.
    QVector<_RCP_VAR_PRO> own;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        if (rows.at(i).userData == linkId)
            own << rows.at(i);
    }
    rows = own;
}

// --- polling --------------------------------------------------------------------------

void RandomHost::poll()
{
    const bool blockWrite = raised(BlockWriteRequest) != 0;
    const bool blockRead = raised(BlockReadRequest) != 0;
    rules.beforeSend(blockWrite, blockRead);
    FRAME_PRO frame = FRAME_PRO();
    const int result = intf_getSendFrame(&frame);
    rules.sent(result, frame);
    if (result == 0) {
        note("intf_getSendFrame() = 0");
        return;
    }
    if (random.chance(5)) {
        FRAME_PRO again = FRAME_PRO();
        const bool same =
            intf_getSendFrame(&again) == 1 && support::requestBytes(again) == support::requestBytes(frame);
        findings.require(same, "asking twice for a frame gives two frames");
    }
    deal(frame, line.exchange(frame));
}

void RandomHost::deal(const FRAME_PRO &frame, const QByteArray &reply)
{
    const int state = driver.sendState;
    recorder.take();
    QByteArray received = reply;
    QString errorText = QLatin1String("left over");
    const int verdict = intf_dealRcvFrame(&received, &errorText);
    note("state " + std::to_string(state) + " " + std::string(support::requestBytes(frame).toHex().constData()) + " -> "
         + std::string(reply.toHex().constData()) + " = " + std::to_string(verdict));
    const bool blockWriteLeft = raised(BlockWriteRequest) != 0;
    const bool blockReadLeft = raised(BlockReadRequest) != 0;
    rules.judged(verdict, errorText, blockWriteLeft, blockReadLeft);
    if (verdict == SendAgain)
        return;
    const support::Changes changes = recorder.take();
    const bool isWriteState = state == WriteSent;
    const bool secondHalf = frame.frame[1] == 16;
    transactionGenuine = (transactionGenuine || !secondHalf) && line.lastWasGenuine();
    if (verdict == ReplyAccepted && isWriteState && frame.dataLen == 0) {
        shadow.writeAccepted(frame.var);
        checkSlave(frame.var);
    }
    if (verdict == ReplyAccepted && !isWriteState && frame.dataLen != 0)
        shadow.readAccepted(frame, reply);
    if (verdict == RequestGivenUp && isWriteState)
        shadow.writeGivenUp(frame.var, changes);
    if (isWriteState && driver.writeList.isEmpty())
        shadow.queueRanEmpty();
    if (state == TransferWriteSent || state == TransferReadSent) {
        transferGenuine = transferGenuine && verdict == ReplyAccepted && line.lastWasGenuine();
        const int requestByte = state == TransferWriteSent ? BlockWriteRequest : BlockReadRequest;
        if (!raised(requestByte))
            compareTransfer(requestByte);
    }
}

// Without a fault on the way, the slave holds what was acknowledged.
void RandomHost::checkSlave(const VARIABLE &unit)
{
    const bool bits = unit.regType == QLatin1String("4x_bit");
    if (unit.station == 0 || !line.lastWasGenuine() || (bits && !transactionGenuine))
        return;
    support::SlaveTables &tables = line.station(unit.station);
    for (int i = 0; i < unit.count; ++i) {
        int held = 0;
        int written = unit.data[2 * i] + 256 * unit.data[2 * i + 1];
        if (unit.regType == QLatin1String("0x")) {
            held = tables.coils[unit.startAddr + i];
            written = unit.data[i];
        } else if (bits) {
            const int bit = unit.startAddr + i;
            held = tables.holdingRegisters[bit / 16] >> (bit % 16) & 1;
            written = unit.data[i];
        } else {
            // The high word of a value comes first on the wire and last in the data.
            const bool exchanged = unit.regType == QLatin1String("4x_double") && (i % 2 == 1 || i + 1 < unit.count);
            held = tables.holdingRegisters[unit.startAddr + (exchanged ? i ^ 1 : i)];
        }
        ++slaveElementsCompared;
        if (held != written)
            findings.add("acknowledged write " + support::unitText(unit) + ": the slave holds " + std::to_string(held)
                         + " instead of " + std::to_string(written) + " in element " + std::to_string(i));
    }
}

// --- values ---------------------------------------------------------------------------

void RandomHost::writeSomething()
{
    QString regType = random.chance(90) ? randomWritableType(random) : randomType(random);
    const int station = random.chance(4) && regType != QLatin1String("4x_bit") ? 0 : randomStation();
    const int count = randomCount(random, regType);
    const int start = randomStart(regType);
    VARIABLE request = support::variable(station, "", start, count);
    request.regType = regType;
    request.userData = nextTag++;
    for (int i = 0; i < 2 * count; ++i)
        request.data[i] = isBitValued(regType) ? static_cast<unsigned char>(random.below(2)) : random.byte();
    note("intf_setData(" + support::unitText(request) + ", tag " + std::to_string(request.userData) + ")");

    const Modbus_rtu_master &state = driver;
    const std::vector<UnitRange> before = rangesOf(state.writeList);
    const bool queues = !localOnly && isWritable(regType);
    rules.requested(request);
    shadow.hostWrote(request, before, limit, queues);
    VARIABLE handed = request;
    intf_setData(station, &regType, start, count, handed.data, request.userData);
    const std::vector<UnitRange> after = rangesOf(state.writeList);
    findings.require(queues || after.size() == before.size(), "a write was queued that cannot reach a slave");
    for (size_t i = 0; i < before.size(); ++i) {
        if (after[i].userData == before[i].userData)
            continue;
        findings.require(i > 0, "the write in flight was replaced");
        rules.replaced(before[i]);
        shadow.replaced(before[i], support::unitText(after[i]) == support::unitText(before[i]));
    }
    // In a full queue the pieces of one request push each other out.
    int queued = 0;
    for (const UnitRange &unit : after)
        queued += unit.userData == request.userData ? unit.count : 0;
    if (queues && queued != count)
        shadow.replaced(UnitRange(request), false);
}

void RandomHost::readSomething()
{
    QString regType = randomType(random);
    const int station = randomStation();
    const int start = randomStart(regType);
    const int count = randomCount(random, regType);
    std::vector<unsigned char> bytes(static_cast<size_t>(2 * count), 0xEE);
    findings.require(intf_getData(station, &regType, start, count, bytes.data()) == 1, "intf_getData() is not 1");
    shadow.checkReadOut(station, regType, start, count, driver.writeList);
}

void RandomHost::askForConditionRead()
{
    const QString regType = randomType(random);
    const int start = randomStart(regType);
    const int count = randomCount(random, regType);
    KEY_ADDRESS key = support::key(randomStation(), "", start, count, isBitValued(regType) ? -1 : 1);
    key.regType = regType;
    VARIABLE request = support::variable(key.station, "", start, count);
    request.regType = regType;
    request.userData = nextTag++;
    note("intf_addConditionRead(" + support::unitText(request) + ", tag " + std::to_string(request.userData) + ")");
    const Modbus_rtu_master &state = driver;
    const std::vector<UnitRange> before = rangesOf(state.conditionReadList);
    rules.requested(request);
    findings.require(intf_addConditionRead(&key, request.userData) == 1, "intf_addConditionRead() is not 1");
    const std::vector<UnitRange> after = rangesOf(state.conditionReadList);
    for (size_t i = 0; i < before.size(); ++i) {
        if (after[i].userData == before[i].userData)
            continue;
        findings.require(i > 0, "the condition read in flight was replaced");
        rules.replaced(before[i]);
    }
}

// --- block transfers --------------------------------------------------------------------

void RandomHost::askForTransfer()
{
    if (rows.isEmpty() || raised(BlockWriteRequest) || raised(BlockReadRequest))
        return;
    const bool write = rowsWritable && random.chance(50);
    const bool both = rowsWritable && random.chance(10);
    for (size_t i = 0; i < 128; ++i)
        hostWords[i] = static_cast<unsigned short>(random.next() & 0xFFFFu);
    QMutexLocker locker(&hostMutex);
    if (write || both)
        raise(BlockWriteRequest);
    if (!write || both)
        raise(BlockReadRequest);
    transferGenuine = true;
    note(both ? "both block transfers asked for" : write ? "block write asked for" : "block read asked for");
}

// After a transfer without a fault, host words and registers agree, whatever the word order.
void RandomHost::compareTransfer(int requestByte)
{
    const bool comparable = transferGenuine;
    transferGenuine = raised(BlockWriteRequest) != 0 || raised(BlockReadRequest) != 0;
    if (!comparable)
        return;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        const _RCP_VAR_PRO &row = rows.at(i);
        const bool isDouble = row.regType == QLatin1String("4x_double");
        if (!isDouble && row.regType != QLatin1String("4x"))
            continue;
        const bool swapped = driver.doubleSwapMode == 1 || driver.doubleSwapStations.contains(row.station);
        const std::vector<int> registers = line.station(row.station).holding(row.startAddr, row.count);
        for (int j = 0; j < row.count; ++j) {
            const int place = isDouble && !swapped ? j ^ 1 : j;
            ++recipeWordsCompared;
            if (registers[static_cast<size_t>(place)]
                != support::bufferWord(hostWords[static_cast<size_t>(row.hostOffset + j)]))
                findings.add("after a block " + std::string(requestByte == BlockWriteRequest ? "write" : "read")
                             + " host word " + std::to_string(row.hostOffset + j) + " differs from its register");
        }
    }
}

// --- editor -----------------------------------------------------------------------------

// An address text that is valid comes back from the stepping of copies.
void RandomHost::editorCall()
{
    ++editorCalls;
    QString regType = randomType(random);
    const bool bits = regType.endsWith(QLatin1String("_bit"));
    const int index = random.below(3) == 0 ? (bits ? 1048575 : 65535) - random.below(4) : randomStart(regType);
    QVector<QString> texts;
    QVector<int> addresses;
    const int copied = intf_multiCopy(&regType, index, 2, 1, &texts, &addresses);
    findings.require(copied == 1 || copied == 2, "intf_multiCopy() does not know a type");
    findings.require(texts.size() == 2 && addresses.size() == 2, "intf_multiCopy() did not give two copies");
    if (findings.any())
        return;
    QString text = texts.at(0);
    int checked = -1;
    const int objectKind = isBitValued(regType) ? 0 : 1;
    const int count = regType.endsWith(QLatin1String("_double")) ? 2 : 1;
    if (intf_checkAddrValidity(&regType, &text, &checked, count, objectKind) != 0 || checked != addresses.at(0))
        findings.add("the text of a copy is not its address: " + std::string(text.toLatin1().constData()));
    checked = -1;
    if (intf_checkAddr(&regType, &text, &checked, objectKind == 0 ? -1 : 1, count, 0) != 0
        || checked != addresses.at(0))
        findings.add("the text of a copy is refused: " + std::string(text.toLatin1().constData()));
    describe();
}

// Every listed type is described, writable or not as intf_checkAddr() has it.
void RandomHost::describe()
{
    const unsigned int request = static_cast<unsigned int>(random.below(2));
    QList<QString> types;
    findings.require(intf_getRegListByType(request, &types) == 1 && types.size() == 4, "four types to an object kind");
    QString type = types.at(random.below(4));
    QList<QString> description;
    intf_getRegDiscription(&type, &description);
    findings.require(description.size() == 5, "a description has five texts");
    int protocol = -1;
    QString parameters;
    QString page;
    QString setPage = QLatin1String("left over");
    intf_getProtocolType(&protocol);
    intf_getDriverParameter(&parameters);
    intf_getDriverPropertyPage(&page);
    intf_SetDriverPropertyPage(&setPage);
    findings.require(protocol == 0 && page == QLatin1String("0_0") && setPage.isEmpty(), "driver descriptors");
    findings.require(parameters.contains(type), "a type is missing in the driver parameters");
    if (findings.any())
        return;
    QString lowest = description.at(1);
    int address = -1;
    const int written = intf_checkAddr(&type, &lowest, &address, request == 0 ? -1 : 1, 2, 1);
    findings.require(written == (description.at(4) == QLatin1String("1") ? 0 : 6), "writable flag and check disagree");
}

} // namespace property
