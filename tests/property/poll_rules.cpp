#include "property/poll_rules.h"

#include "support/unit_text.h"

#include <algorithm>
#include <cstring>

namespace property {

namespace {

bool typeIs(const VARIABLE &unit, const char *name)
{
    return unit.regType == QLatin1String(name);
}

template <typename Unit, typename Other>
bool sameUnit(const Unit &a, const Other &b)
{
    return a.userData == b.userData && a.station == b.station && a.regType == b.regType && a.startAddr == b.startAddr
           && a.count == b.count;
}

std::string named(const char *what, const VARIABLE &unit)
{
    return std::string(what) + ": " + support::unitText(unit) + " tag " + std::to_string(unit.userData);
}

int wordAt(const FRAME_PRO &frame, int position)
{
    return frame.frame[position] * 256 + frame.frame[position + 1];
}

bool isWrite(int state)
{
    return state == WriteSent || state == TransferWriteSent;
}

// Function codes that may serve a unit, and where on the wire it starts.
std::set<int> functionsFor(const VARIABLE &unit, int state)
{
    if (!isWrite(state)) {
        if (typeIs(unit, "0x"))
            return {1};
        if (typeIs(unit, "1x"))
            return {2};
        return {unit.regType.startsWith(QLatin1Char('3')) ? 4 : 3};
    }
    if (typeIs(unit, "0x"))
        return {unit.count == 1 ? 5 : 15};
    if (typeIs(unit, "4x_bit"))
        return {3, 16};
    return {unit.count == 1 ? 6 : 16};
}

} // namespace

PollRules::PollRules(Findings &found) : findings(found) {}

void PollRules::reset(int link, int retries)
{
    linkId = link;
    retryLimit = retries;
    plan.clear();
    rotation = 0;
    requests.clear();
    gone.clear();
    resendDue = false;
    framesLeft = 0;
    attempts = 0;
    sinceCyclic = 0;
}

// --- planning -------------------------------------------------------------------------

void PollRules::planBuilt(const support::Keys &keys, int limit, int result)
{
    plan = driver.cyclicReadList;
    rotation = 0;
    findings.require(result == static_cast<int>(plan.size()), "intf_addrMerge() does not return the size of the plan");
    for (int i = 0; i < static_cast<int>(keys.size()); ++i) {
        VARIABLE key = support::variable(keys.at(i).station, "", keys.at(i).startAddr, keys.at(i).count);
        key.regType = keys.at(i).regType;
        if (key.regType.endsWith(QLatin1String("_bit"))) {
            const int last = (key.startAddr + key.count - 1) / 16;
            key.startAddr /= 16;
            key.count = last - key.startAddr + 1;
            key.regType = key.regType.left(2);
        }
        const bool planned = std::any_of(plan.constBegin(), plan.constEnd(), [&key](const VARIABLE &block) {
            return block.station == key.station && block.regType == key.regType && block.startAddr <= key.startAddr
                   && key.startAddr + key.count <= block.startAddr + block.count;
        });
        if (!planned)
            findings.add(named("a watched key is in no block of the plan", key));
    }
    for (int i = 0; i < static_cast<int>(plan.size()); ++i) {
        findings.require(plan.at(i).userData == 4, "a unit of the plan has another tag than 4");
        // Only a key that is too long by itself makes a long block; keys have at most 20 elements.
        if (plan.at(i).count > std::max(limit, 20))
            findings.add(named("a block of the plan is too long", plan.at(i)));
    }
}

void PollRules::recipesRegistered(const QVector<_RCP_VAR_PRO> &rows, int result)
{
    int own = 0;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i)
        own += rows.at(i).userData == linkId ? 1 : 0;
    findings.require(result == own, "intf_setRcpAddress() does not return the number of own rows");
    blocks = driver.rcpBlocks;
}

void PollRules::requested(const VARIABLE &whole)
{
    requests[whole.userData] = whole;
}

void PollRules::replaced(const UnitRange &unit)
{
    gone.insert(tokenOf(unit));
}

// --- sending --------------------------------------------------------------------------

void PollRules::beforeSend(bool blockWrite, bool blockRead)
{
    const Modbus_rtu_master &state = driver;
    writeBefore.clear();
    conditionBefore.clear();
    if (!state.writeList.isEmpty())
        writeBefore.push_back(UnitRange(state.writeList.at(0)));
    if (!state.conditionReadList.isEmpty())
        conditionBefore.push_back(UnitRange(state.conditionReadList.at(0)));
    blockWriteAsked = blockWrite;
    blockReadAsked = blockRead;
}

void PollRules::sent(int result, const FRAME_PRO &frame)
{
    if (result == 0) {
        findings.require(framesLeft == 0, "nothing is sent although a transaction is unfinished");
        findings.require(plan.isEmpty(), "nothing is sent although there is a plan");
        sinceCyclic = 0;
        return;
    }
    checkBytes(frame);
    const int state = driver.sendState;
    if (resendDue) {
        findings.require(frame.frameLen == lastFrame.frameLen
                             && memcmp(frame.frame, lastFrame.frame, static_cast<size_t>(frame.frameLen)) == 0,
                         "another frame than the one to be sent again");
        ++resends;
    } else if (framesLeft > 0) {
        findings.require(sameUnit(frame.var, lastFrame.var), "the second frame serves another unit");
        findings.require(frame.frame[1] == 16, "the second frame of a bit write does not write");
    } else {
        checkChoice(frame.var, state);
        framesLeft = isWrite(state) && typeIs(frame.var, "4x_bit") ? 2 : 1;
        attempts = 0;
        ++transactions[state];
    }
    lastFrame = frame;
}

void PollRules::checkBytes(const FRAME_PRO &frame)
{
    const int length = frame.frameLen;
    if (length < 8 || length > ModbusRtuRecordBytes) {
        findings.add("a frame of " + std::to_string(length) + " bytes");
        return;
    }
    const int crc = support::crcOf(frame.frame, length - 2);
    findings.require(frame.frame[length - 2] + 256 * frame.frame[length - 1] == crc, "a frame with a wrong CRC");

    const VARIABLE &unit = frame.var;
    const int function = frame.frame[1];
    const bool bits = isWrite(driver.sendState) && typeIs(unit, "4x_bit");
    const int start = bits ? unit.startAddr / 16 : unit.startAddr;
    const int count = bits ? (unit.startAddr % 16 + unit.count + 15) / 16 : unit.count;
    bool fits = frame.frame[0] == (unit.station & 0xFF) && wordAt(frame, 2) == start;
    fits = fits && functionsFor(unit, driver.sendState).count(function) != 0;
    if (function != 5 && function != 6)
        fits = fits && wordAt(frame, 4) == count;
    if (!fits)
        findings.add(named("a frame does not fit its unit", unit));
}

void PollRules::checkChoice(const VARIABLE &unit, int state)
{
    if (blockWriteAsked || blockReadAsked) {
        findings.require(state == (blockWriteAsked ? TransferWriteSent : TransferReadSent),
                         "a block transfer was asked for, but something else is sent");
        checkBlock(unit);
        return;
    }
    checkBurst(state);
    switch (state) {
    case WriteSent:
        if (writeBefore.empty() || !sameUnit(writeBefore[0], unit))
            findings.add(named("a write that is not the head of its queue", unit));
        checkRequested(unit, state);
        checkOnce(unit);
        break;
    case ConditionReadSent:
        if (conditionBefore.empty() || !sameUnit(conditionBefore[0], unit))
            findings.add(named("a condition read that is not the head of its queue", unit));
        findings.require(writeBefore.empty(), "a condition read goes before a waiting write");
        checkRequested(unit, state);
        checkOnce(unit);
        break;
    case CyclicReadSent:
        if (plan.isEmpty() || !sameUnit(plan.at(rotation % static_cast<int>(plan.size())), unit))
            findings.add(named("a cyclic read that is not the next of the plan", unit));
        break;
    default:
        findings.add(named("a frame of no known kind", unit));
        break;
    }
}

// At most ten writes and condition reads between two cyclic reads, condition reads among the first
// three; and no cyclic read sooner while they wait.
void PollRules::checkBurst(int state)
{
    if (state == CyclicReadSent) {
        findings.require(writeBefore.empty() || sinceCyclic >= 10, "a cyclic read goes before a waiting write");
        findings.require(conditionBefore.empty() || sinceCyclic >= 3,
                         "a cyclic read goes before a waiting condition read");
        sinceCyclic = 0;
        return;
    }
    if (state == ConditionReadSent)
        findings.require(sinceCyclic < 3, "a condition read after three other transactions");
    ++sinceCyclic;
    longestBurst = std::max(longestBurst, sinceCyclic);
    findings.require(sinceCyclic <= 10, "more than ten transactions between two cyclic reads");
}

// The unit lies inside something that the host asked for under this tag.
void PollRules::checkRequested(const VARIABLE &unit, int state)
{
    const std::map<int, VARIABLE>::const_iterator found = requests.find(unit.userData);
    if (found == requests.end()) {
        findings.add(named("a unit that nobody asked for", unit));
        return;
    }
    VARIABLE whole = found->second;
    if (state == ConditionReadSent && whole.regType.endsWith(QLatin1String("_bit"))) {
        const int last = (whole.startAddr + whole.count - 1) / 16;
        whole.startAddr /= 16;
        whole.count = last - whole.startAddr + 1;
        whole.regType = whole.regType.left(2);
    }
    if (unit.station != whole.station || unit.regType != whole.regType || unit.startAddr < whole.startAddr
        || unit.startAddr + unit.count > whole.startAddr + whole.count)
        findings.add(named("a unit outside what was asked for", unit));
}

void PollRules::checkOnce(const VARIABLE &unit)
{
    if (!gone.insert(tokenOf(unit)).second)
        findings.add(named("a request is sent for the second time, or after it was replaced", unit));
}

void PollRules::checkBlock(const VARIABLE &unit)
{
    if (nextBlock >= static_cast<int>(blocks.size())) {
        findings.add(named("a block transfer beyond the last block", unit));
        return;
    }
    const _RCP_VAR_PRO &block = blocks.at(nextBlock);
    if (unit.station != block.station || unit.regType != block.regType || unit.startAddr != block.startAddr
        || unit.count != block.count)
        findings.add(named("another block than the next one", unit));
}

// --- judging --------------------------------------------------------------------------

void PollRules::judged(int verdict, const QString &errorText, bool blockWriteLeft, bool blockReadLeft)
{
    findings.require(verdict == RequestGivenUp || errorText.isEmpty(), "an error text without a failure");
    resendDue = verdict == SendAgain;
    switch (verdict) {
    case SendAgain:
        ++attempts;
        findings.require(attempts < retryLimit, "more attempts than the retry limit allows");
        return;
    case ReplyAccepted:
        attempts = 0;
        if (--framesLeft == 0)
            finishTransaction(false, blockWriteLeft, blockReadLeft);
        return;
    case RequestGivenUp: {
        ++attempts;
        findings.require(attempts >= retryLimit, "given up before the retry limit");
        const VARIABLE &unit = lastFrame.var;
        const std::string head = (driver.sendState == WriteSent ? "W," : "R,") + std::to_string(unit.station) + "#"
                                 + std::string(unit.regType.toLatin1().constData());
        if (std::string(errorText.toLatin1().constData()).compare(0, head.size(), head) != 0)
            findings.add(named("the error text does not name the failed unit", unit));
        framesLeft = 0;
        ++givenUp;
        finishTransaction(true, blockWriteLeft, blockReadLeft);
        return;
    }
    default:
        findings.add("verdict " + std::to_string(verdict) + " for a frame that was sent");
        return;
    }
}

void PollRules::finishTransaction(bool failed, bool blockWriteLeft, bool blockReadLeft)
{
    const int state = driver.sendState;
    if (state == CyclicReadSent)
        ++rotation;
    if (state == ConditionReadSent && failed)
        findings.require(driver.conditionReadList.isEmpty(), "condition reads are left after one failed");
    if (state == TransferWriteSent || state == TransferReadSent)
        finishBlock(state, failed, blockWriteLeft, blockReadLeft);
}

// A transfer goes on until its last block, and a failed one leaves its request byte clear; the
// other one, if the host has set it too, is still to be served.
void PollRules::finishBlock(int state, bool failed, bool blockWriteLeft, bool blockReadLeft)
{
    const bool own = state == TransferWriteSent ? blockWriteLeft : blockReadLeft;
    const bool other = state == TransferWriteSent ? blockReadLeft : blockWriteLeft;
    const bool otherAsked = state == TransferWriteSent ? blockReadAsked : blockWriteAsked;
    findings.require(other == otherAsked, "a block transfer changed the request byte of the other kind");
    ++nextBlock;
    if (!failed && nextBlock < static_cast<int>(blocks.size())) {
        findings.require(own, "the request byte was cleared before the last block");
        return;
    }
    findings.require(!own, "the request byte is still set after the transfer");
    nextBlock = 0;
    ++transfers;
    failedTransfers += failed ? 1 : 0;
}

void PollRules::checkQueuesAndPlan()
{
    const Modbus_rtu_master &state = driver;
    longestWriteQueue = std::max(longestWriteQueue, static_cast<int>(state.writeList.size()));
    longestConditionQueue = std::max(longestConditionQueue, static_cast<int>(state.conditionReadList.size()));
    findings.require(state.writeList.size() <= 513, "more than 513 writes queued");
    findings.require(state.conditionReadList.size() <= 513, "more than 513 condition reads queued");
    findings.require(state.cyclicReadList.size() == plan.size(), "the plan has changed its size");
    if (findings.any())
        return;
    const int n = static_cast<int>(plan.size());
    for (int i = 0; i < n; ++i) {
        if (!sameUnit(state.cyclicReadList.at(i), plan.at((i + rotation) % n))) {
            findings.add(named("the plan is no rotation of what was built", state.cyclicReadList.at(i)));
            return;
        }
    }
}

} // namespace property
