// What is sent next, and how a finished transaction leaves its list.
#include "model/plain_driver.h"

#include <cstring>

namespace {

enum { BlockWriteRequest = 60115, BlockReadRequest = 60116 };

} // namespace

int PlainDriver::getSendFrame(FRAME_PRO *out)
{
    if (!frameList.isEmpty()) {
        *out = frameList.at(0);
        return 1;
    }
    int writeRequest = 0;
    int readRequest = 0;
    if (hostArea != nullptr && hasHostMutex) {
        writeRequest = hostArea[BlockWriteRequest];
        readRequest = hostArea[BlockReadRequest];
    }
    bool going = false;
    // Without words to send, a write is over before it has begun.
    if (writeRequest == 1 && rcpIndex < static_cast<int>(rcpBlocks.size())
        && (hostWordBuffer == nullptr || rcpBlocks.at(rcpIndex).hostOffset < 0)) {
        rcpIndex = 0;
        hostArea[BlockWriteRequest] = 0;
        writeRequest = 0;
    }
    if (writeRequest == 1)
        going = startBlockTransfer(1);
    else if (readRequest == 1)
        going = startBlockTransfer(0);
    else
        going = startPolling();
    if (!going || frameList.isEmpty())
        return 0;
    *out = frameList.at(0);
    return 1;
}

bool PlainDriver::startBlockTransfer(int withData)
{
    if (rcpIndex >= static_cast<int>(rcpBlocks.size()))
        return rebuildTransaction();
    rcpAddrToVar(rcpBlocks.at(rcpIndex), currentVar, withData);
    if (withData != 0) {
        sendState = 5;
        getWriteFrame(currentVar);
    } else {
        sendState = 6;
        getReadFrame(currentVar);
    }
    return true;
}

bool PlainDriver::rebuildTransaction()
{
    switch (sendState) {
    case 5:
    case 2:
        getWriteFrame(currentVar);
        return true;
    case 3:
    case 4:
    case 6:
        getReadFrame(currentVar);
        return true;
    default:
        return false;
    }
}

bool PlainDriver::startPolling()
{
    if (!writeList.isEmpty() && burstCount <= 9) {
        currentVar = writeList.at(0);
        sendState = 2;
        ++burstCount;
        getWriteFrame(currentVar);
        return true;
    }
    if (!conditionReadList.isEmpty() && burstCount < 3) {
        currentVar = conditionReadList.at(0);
        sendState = 3;
        ++burstCount;
        getReadFrame(currentVar);
        return true;
    }
    if (cyclicReadList.isEmpty()) {
        burstCount = 0;
        sendState = 0;
        frameList.clear();
        return false;
    }
    currentVar = cyclicReadList.at(0);
    sendState = 4;
    burstCount = 0;
    getReadFrame(currentVar);
    return true;
}

bool PlainDriver::swapsWords(int station) const
{
    if (doubleSwapMode == 1)
        return true;
    for (int i = 0; i < static_cast<int>(doubleSwapStations.size()); ++i) {
        if (doubleSwapStations.at(i) == station)
            return true;
    }
    return false;
}

void PlainDriver::rcpAddrToVar(const _RCP_VAR_PRO &descriptor, VARIABLE &target, int withData) const
{
    target.station = descriptor.station;
    target.regType = descriptor.regType;
    target.startAddr = descriptor.startAddr;
    target.count = descriptor.count;
    memset(target.data, 0, sizeof target.data);
    if (withData == 0 || hostWordBuffer == nullptr)
        return;
    const unsigned char *source = reinterpret_cast<const unsigned char *>(hostWordBuffer + descriptor.hostOffset);
    if (descriptor.regType == QLatin1String("4x_double") && swapsWords(descriptor.station)) {
        for (int k = 0; k <= descriptor.count / 2 - 1 && 4 * k + 3 < ModbusRtuRecordBytes; ++k) {
            target.data[4 * k] = source[4 * k + 2];
            target.data[4 * k + 1] = source[4 * k + 3];
            target.data[4 * k + 2] = source[4 * k];
            target.data[4 * k + 3] = source[4 * k + 1];
        }
        return;
    }
    for (int i = 0; i / 2 < descriptor.count && i < ModbusRtuRecordBytes; ++i)
        target.data[i] = source[i];
}

void PlainDriver::dealListWhenFinish()
{
    switch (sendState) {
    case 2:
        if (!writeList.isEmpty())
            writeList.removeFirst();
        break;
    case 3:
        finishConditionRead();
        break;
    case 4:
        if (cyclicReadList.size() >= 2) {
            const VARIABLE first = cyclicReadList.at(0);
            cyclicReadList.removeFirst();
            cyclicReadList.append(first);
        }
        break;
    case 5:
    case 6:
        finishBlockTransfer();
        break;
    default:
        break;
    }
}

void PlainDriver::finishConditionRead()
{
    if (!conditionReadList.isEmpty()) {
        const VARIABLE &head = conditionReadList.at(0);
        if (head.station == conditionVar.station && head.regType == conditionVar.regType
            && head.startAddr == conditionVar.startAddr && head.count == conditionVar.count)
            report(-1, -1, QLatin1String("-1"), lastFailed != 0 ? -1 : 0);
    }
    if (lastFailed != 0)
        conditionReadList.clear();
    else if (!conditionReadList.isEmpty())
        conditionReadList.removeFirst();
}

void PlainDriver::finishBlockTransfer()
{
    if (lastFailed == 0) {
        ++rcpIndex;
        if (rcpIndex < static_cast<int>(rcpBlocks.size()))
            return;
    }
    rcpIndex = 0;
    if (hostArea != nullptr && hasHostMutex)
        hostArea[sendState == 5 ? BlockWriteRequest : BlockReadRequest] = 0;
}
