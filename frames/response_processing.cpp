// Judging a reply, and what follows from the judgement.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"
#include "frames/frame_queue.h"
#include "frames/reply_bytes.h"

int Modbus_rtu_master::dealRcvFrame(QByteArray &received, QString &errorText)
{
    if (errorText.isNull() || !errorText.isEmpty())
        errorText = QLatin1String("");
    if (frameList.isEmpty())
        return NothingPending;

    switch (check_rcv_data(reinterpret_cast<const unsigned char *>(received.constData()), sizeOf(received))) {
    case GoodReadReply:
        return finishGoodRead(received);
    case GoodReplyWithoutData:
        return finishGoodWrite();
    default:
        break;
    }

    failCount = wrapAdd(failCount, 1);
    if (failCount < retryLimit)
        return SendAgain;
    return giveUp(received, errorText);
}

int Modbus_rtu_master::finishGoodRead(QByteArray &received)
{
    lastFailed = 0;
    // Callbacks may empty frameList: what is needed of its head is taken before.
    const FRAME_PRO &head = frameList.first();
    const RegisterType *type = findRegisterType(head.var.regType);
    const int station = head.var.station;
    const int startAddr = head.var.startAddr;
    const int dataStart = head.frameKind;
    const int dataLen = head.dataLen;

    if (type && type->unit == RegisterBitUnit && type->writable && sendState == WriteSent) {
        fillBitWrite(received);
        return retireHeadFrame();
    }
    const ReplyBytes reply(received, dataStart);
    if (sendState == BlockReadSent) {
        const RecipeRows rows = recipeRowsInTransfer(); // callbacks may register anew
        if (type)
            unpackReply(reply, dataLen, station, *type, startAddr);
        unpackRecipeRows(rows, type, reply);
    } else if (type) {
        unpackReply(reply, dataLen, station, *type, startAddr);
    }
    return retireHeadFrame();
}

int Modbus_rtu_master::finishGoodWrite()
{
    if (sendState == WriteSent) {
        const VARIABLE var = frameList.first().var;
        _write_FailOrSuc(var.station, var.regType, var.startAddr, var.count, 1);
    }
    lastFailed = 0;
    return retireHeadFrame();
}

int Modbus_rtu_master::retireHeadFrame()
{
    FrameQueue(frameList, spareFrames).removeFirst();
    if (frameList.isEmpty())
        dealListWhenFinish();
    failCount = 0;
    return ReplyAccepted;
}

int Modbus_rtu_master::giveUp(const QByteArray &received, QString &errorText)
{
    lastFailed = 1;
    const int dataLen = frameList.first().dataLen;
    const VARIABLE var = frameList.first().var;
    if (sendState == WriteSent)
        _write_FailOrSuc(var.station, var.regType, var.startAddr, var.count, 0);
    errorText = getErrorInfo(received, var.regType, var.startAddr, var.station, var.count);
    markFailed(var, dataLen);

    frameList.clear();
    failCount = 0;
    dealListWhenFinish();
    return RequestGivenUp;
}

void Modbus_rtu_master::markFailed(const VARIABLE &var, int dataLen)
{
    const RegisterType *type = findRegisterType(var.regType);
    if (!type)
        return;
    // Coils are marked in steps of 8, one area for each coil read: hosts rely on
    // just these areas.
    const bool coils = type->unit == CoilUnit;
    const int areasToMark = boundedCount(coils ? dataLen : dataLen / 2);
    AreaWalker areas(*this, var.station, areaTypeText(*type));
    for (int i = 0; i < areasToMark; ++i)
        areas.at(wrapAdd(var.startAddr, coils ? 8 * i : i)).errorFlag = 1;
}
