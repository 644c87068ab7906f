// What is sent next, and what becomes of a transaction when it is over.

#include "driver/modbus_rtu_master.h"

#include "cache/request_queue.h"
#include "driver/arithmetic.h"
#include "driver/monitor.h"
#include "driver/qt_compat.h"
#include "driver/record_copy.h"

#include <QtCore/QMutexLocker>

#include <cstddef>
#include <cstring>

namespace {

// Bytes of the host area; 1 means requested.
const int writeRequestByte = 60115;
const int readRequestByte = 60116;

const int writeBurst = 10;        // writes that may run between two cyclic reads
const int conditionReadBurst = 3; // below this many, one-off reads may run as well

/** Are there host words to write from? Not without a buffer, nor for a row that begins before its start. */
bool hasSource(const unsigned short *words, const _RCP_VAR_PRO &block)
{
    return words && block.hostOffset >= 0;
}

/** Words of the source in pairs, each pair with its words exchanged; a trailing word is left out. */
void copySwappedWords(unsigned char *target, const unsigned char *source, int words)
{
    for (int pair = 0; pair < words / 2; ++pair, target += 4, source += 4) {
        std::memcpy(target, source + 2, 2);
        std::memcpy(target + 2, source, 2);
    }
}

} // namespace

int Modbus_rtu_master::getSendFrame(FRAME_PRO &out)
{
    if (frameList.isEmpty()) {
        const TransferRequests requested = transferRequests();
        // The monitor was let go meanwhile; a second transaction is never put
        // behind one that is already on its way.
        if (frameList.isEmpty())
            selectTransaction(requested);
        if (frameList.isEmpty())
            return 0;
    }
    copyFrame(out, frameList.first());
    return 1;
}

/** Reads the host's two request bytes; a host without area or mutex has none. */
Modbus_rtu_master::TransferRequests Modbus_rtu_master::transferRequests() const
{
    TransferRequests requested = {false, false};
    QMutex *const mutex = hostMutex;
    const unsigned char *const area = hostArea;
    if (!mutex || !area)
        return requested;
    MonitorRelease released;
    QMutexLocker locked(mutex);
    requested.write = area[writeRequestByte] == 1;
    requested.read = area[readRequestByte] == 1;
    return requested;
}

/** The transfer is over: the next one begins with the first block. */
void Modbus_rtu_master::endTransfer(int requestByte)
{
    rcpIndex = 0;
    QMutex *const mutex = hostMutex;
    unsigned char *const area = hostArea;
    if (!mutex || !area)
        return;
    MonitorRelease released;
    QMutexLocker locked(mutex);
    area[requestByte] = 0;
}

void Modbus_rtu_master::selectTransaction(TransferRequests requested)
{
    const bool blockLeft = rcpIndex >= 0 && rcpIndex < sizeOf(rcpBlocks);
    if (requested.write && blockLeft && !hasSource(hostWordBuffer, rcpBlocks.at(rcpIndex))) {
        // A slave never gets words that no host gave. The transfer ends here, and
        // what else there is to do takes its turn.
        endTransfer(writeRequestByte);
        requested.write = false;
        if (frameList.isEmpty()) // the monitor was let go once more
            selectTransaction(requested);
        return;
    }
    if (!requested.write && !requested.read)
        selectPolling();
    else if (blockLeft)
        selectBlock(requested.write);
    else
        buildFrames(); // no such block: the transaction that ran last is built once more
}

void Modbus_rtu_master::selectBlock(bool write)
{
    rcpAddrToVar(rcpBlocks.at(rcpIndex), currentVar, write);
    sendState = write ? BlockWriteSent : BlockReadSent;
    buildFrames();
}

void Modbus_rtu_master::selectPolling()
{
    if (!writeList.isEmpty() && burstCount < writeBurst) {
        copyUnit(currentVar, writeList.first());
        sendState = WriteSent;
        ++burstCount;
    } else if (!conditionReadList.isEmpty() && burstCount < conditionReadBurst) {
        copyUnit(currentVar, conditionReadList.first());
        sendState = ConditionReadSent;
        ++burstCount;
    } else if (cyclicReadList.isEmpty()) {
        burstCount = 0;
        sendState = NothingSent;
    } else {
        copyUnit(currentVar, cyclicReadList.first());
        sendState = CyclicReadSent;
        burstCount = 0;
    }
    buildFrames();
}

/** Puts the frames of currentVar into frameList, by the kind of transaction. */
void Modbus_rtu_master::buildFrames()
{
    switch (sendState) {
    case WriteSent:
    case BlockWriteSent:
        getWriteFrame(currentVar);
        return;
    case ConditionReadSent:
    case CyclicReadSent:
    case BlockReadSent:
        getReadFrame(currentVar);
        return;
    default:
        return;
    }
}

void Modbus_rtu_master::rcpAddrToVar(const _RCP_VAR_PRO &descriptor, VARIABLE &target, int withData) const
{
    target.station = descriptor.station;
    target.regType = descriptor.regType;
    target.startAddr = descriptor.startAddr;
    target.count = descriptor.count;
    std::memset(target.data, 0, sizeof target.data);
    if (withData == 0 || !hasSource(hostWordBuffer, descriptor) || descriptor.count < 1)
        return;

    const int room = ModbusRtuRecordBytes / 2;
    const int words = descriptor.count < room ? descriptor.count : room;
    // As bytes: host buffers may lie at odd addresses.
    const unsigned char *source = reinterpret_cast<const unsigned char *>(hostWordBuffer)
                                  + 2 * static_cast<std::ptrdiff_t>(descriptor.hostOffset);
    if (descriptor.regType == QLatin1String("4x_double") && swapsDoubleWords(descriptor.station))
        copySwappedWords(target.data, source, words);
    else
        std::memcpy(target.data, source, 2 * static_cast<std::size_t>(words));
}

void Modbus_rtu_master::dealListWhenFinish()
{
    switch (sendState) {
    case WriteSent:
        finishWrite();
        return;
    case ConditionReadSent:
        finishConditionRead();
        return;
    case CyclicReadSent:
        if (sizeOf(cyclicReadList) >= 2)
            cyclicReadList.append(cyclicReadList.takeFirst());
        return;
    case BlockWriteSent:
        finishBlock(writeRequestByte);
        return;
    case BlockReadSent:
        finishBlock(readRequestByte);
        return;
    default:
        return;
    }
}

/** A write leaves the queue whether it was accepted or given up; its completion is reported elsewhere. */
void Modbus_rtu_master::finishWrite()
{
    if (writeList.isEmpty())
        return;
    QMutexLocker locked(&listMutex);
    writeList.removeFirst();
}

void Modbus_rtu_master::finishConditionRead()
{
    if (conditionReadList.isEmpty())
        return;
    const VARIABLE &head = conditionReadList.first();
    if (isRange(head, conditionVar.station, conditionVar.regType, conditionVar.startAddr, conditionVar.count))
        reportChange(-1, -1, QString::fromLatin1("-1"), lastFailed ? -1 : 0);

    if (lastFailed)
        conditionReadList.clear();
    else if (!conditionReadList.isEmpty())
        conditionReadList.removeFirst();
}

/** Steps to the next block; the request byte is cleared when the last is done, or at once after a failure. */
void Modbus_rtu_master::finishBlock(int requestByte)
{
    if (!lastFailed) {
        rcpIndex = wrapAdd(rcpIndex, 1);
        if (rcpIndex < sizeOf(rcpBlocks))
            return;
    }
    endTransfer(requestByte);
}
