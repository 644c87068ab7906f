// What is sent next, and what becomes of a transaction when it is over.

#include "driver/modbus_rtu_master.h"

#include "cache/request_queue.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"
#include "driver/record_copy.h"
#include "frames/recipe_transfer.h"

#include <QtCore/QMutexLocker>

namespace {

// How many writes and condition reads, counted together, may have run since the last
// cyclic read for one more write, or one more condition read, to go before the next.
const int writeBurst = 10;
const int conditionReadBurst = 3;

/** Puts the frames of currentVar into frameList, by the kind of transaction. */
void buildFrames(Modbus_rtu_master &master)
{
    switch (master.sendState) {
    case WriteSent:
    case TransferWriteSent:
        master.getWriteFrame(master.currentVar);
        return;
    case ConditionReadSent:
    case CyclicReadSent:
    case TransferReadSent:
        master.getReadFrame(master.currentVar);
        return;
    default:
        return;
    }
}

void selectPolling(Modbus_rtu_master &master)
{
    if (!master.writeList.isEmpty() && master.burstCount < writeBurst) {
        copyUnit(master.currentVar, master.writeList.first());
        master.sendState = WriteSent;
        ++master.burstCount;
    } else if (!master.conditionReadList.isEmpty() && master.burstCount < conditionReadBurst) {
        copyUnit(master.currentVar, master.conditionReadList.first());
        master.sendState = ConditionReadSent;
        ++master.burstCount;
    } else if (master.cyclicReadList.isEmpty()) {
        master.burstCount = 0;
        master.sendState = NothingSent;
    } else {
        copyUnit(master.currentVar, master.cyclicReadList.first());
        master.lastReplies.firstSent();
        master.sendState = CyclicReadSent;
        master.burstCount = 0;
    }
}

void selectTransaction(Modbus_rtu_master &master, TransferRequests requested)
{
    if (requested.write && isBlockLeft(master) && !hasHostWords(master, master.rcpBlocks.at(master.rcpIndex))) {
        // A slave never gets words that no host gave. The transfer ends here, and
        // what else there is to do takes its turn.
        endTransfer(master, WriteRequestByte);
        requested.write = false;
        if (master.frameList.isEmpty()) // the lock was let go once more
            selectTransaction(master, requested);
        return;
    }
    if (!requested.write && !requested.read)
        selectPolling(master);
    else if (isBlockLeft(master))
        selectBlock(master, requested.write);
    // else no such block: the transaction that ran last is built once more
    buildFrames(master);
}

/** A write leaves the queue whether it was accepted or given up; its completion is reported elsewhere. */
void finishWrite(Modbus_rtu_master &master)
{
    if (master.writeList.isEmpty())
        return;
    QMutexLocker locked(&master.listMutex);
    master.writeList.removeFirst();
}

void finishConditionRead(Modbus_rtu_master &master)
{
    if (master.conditionReadList.isEmpty())
        return;
    if (isSameRange(master.conditionReadList.first(), master.conditionVar))
        master.reportChange(-1, -1, QString::fromLatin1("-1"), master.lastFailed ? -1 : 0);

    if (master.lastFailed)
        master.conditionReadList.clear();
    else if (!master.conditionReadList.isEmpty())
        master.conditionReadList.removeFirst();
}

void finishCyclicRead(Modbus_rtu_master &master)
{
    if (sizeOf(master.cyclicReadList) < 2)
        return;
    master.planRotation.moveFirstToEnd(master.cyclicReadList);
    master.lastReplies.firstMovedToEnd();
}

} // namespace

int Modbus_rtu_master::getSendFrame(FRAME_PRO &out)
{
    if (frameList.isEmpty()) {
        const TransferRequests requested = transferRequests(*this);
        // The lock was let go meanwhile; a second transaction is never put
        // behind one that is already on its way.
        if (frameList.isEmpty())
            selectTransaction(*this, requested);
        if (frameList.isEmpty())
            return 0;
    }
    copyFrame(out, frameList.first());
    return 1;
}

void Modbus_rtu_master::dealListWhenFinish()
{
    switch (sendState) {
    case WriteSent:
        finishWrite(*this);
        return;
    case ConditionReadSent:
        finishConditionRead(*this);
        return;
    case CyclicReadSent:
        finishCyclicRead(*this);
        return;
    case TransferWriteSent:
        finishBlock(*this, WriteRequestByte);
        return;
    case TransferReadSent:
        finishBlock(*this, ReadRequestByte);
        return;
    default:
        return;
    }
}
