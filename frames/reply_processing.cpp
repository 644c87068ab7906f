// Judging a reply, and what follows from the judgement.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "cache/reply_values.h"
#include "cache/station_areas.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"
#include "frames/bit_write.h"
#include "frames/crc.h"
#include "frames/frames_in_flight.h"
#include "frames/recipe_transfer.h"

namespace {

int retireHeadFrame(Modbus_rtu_master &master)
{
    FramesInFlight(master.frameList, master.spareFrames).removeFirst();
    if (master.frameList.isEmpty())
        master.dealListWhenFinish();
    master.failCount = 0;
    return ReplyAccepted;
}

bool isReadHalfOfBitWrite(const Modbus_rtu_master &master, const VARIABLE &var)
{
    const RegisterType *type = master.sendState == WriteSent ? findRegisterType(var.regType) : 0;
    return type && type->unit == RegisterBitUnit && type->writable;
}

int finishGoodRead(Modbus_rtu_master &master, QByteArray &received)
{
    master.lastFailed = 0;
    if (isReadHalfOfBitWrite(master, master.frameList.first().var)) {
        fillBitWrite(master, received);
        return retireHeadFrame(master);
    }
    // Callbacks may empty frameList and register anew: what is needed is taken before.
    const FRAME_PRO &head = master.frameList.first();
    const bool recipe = master.sendState == TransferReadSent;
    const RecipeRows rows = recipe ? rowsInTransfer(master) : RecipeRows();
    const QString regType = head.var.regType;
    const ReplyBytes reply(received, head.frameKind);
    takeReplyValues(master, head.var, head.dataLen, reply);
    if (recipe)
        storeRecipeRows(master, rows, regType, reply);
    return retireHeadFrame(master);
}

int finishGoodWrite(Modbus_rtu_master &master)
{
    if (master.sendState == WriteSent) {
        const VARIABLE var = master.frameList.first().var;
        master._write_FailOrSuc(var.station, var.regType, var.startAddr, var.count, 1);
    }
    master.lastFailed = 0;
    return retireHeadFrame(master);
}

void markFailed(Modbus_rtu_master &master, const VARIABLE &var, int dataLen)
{
    const RegisterType *type = findRegisterType(var.regType);
    if (!type)
        return;
    // Of coils, as many areas are marked as coils were asked for, but 8 apart: most
    // of them belong to coils beyond the request. Nothing in the driver looks at the
    // mark but the next good reply, which clears it.
    const int step = type->unit == CoilUnit ? static_cast<int>(AreaCoils) : 1;
    const int areasToMark = boundedCount(replyValueCount(*type, dataLen));
    StationAreas areas(master, var.station, areaTypeText(*type));
    master.lastReplies.forget(var.station, areas.areaType, var.startAddr, wrapMul(areasToMark, step));
    for (int i = 0; i < areasToMark; ++i)
        areas.at(wrapAdd(var.startAddr, step * i)).errorFlag = 1;
}

int giveUp(Modbus_rtu_master &master, const QByteArray &received, QString &errorText)
{
    master.lastFailed = 1;
    const int dataLen = master.frameList.first().dataLen;
    const VARIABLE var = master.frameList.first().var;
    if (master.sendState == WriteSent)
        master._write_FailOrSuc(var.station, var.regType, var.startAddr, var.count, 0);
    errorText = master.getErrorInfo(received, var.regType, var.startAddr, var.station, var.count);
    markFailed(master, var, dataLen);

    master.frameList.clear();
    master.failCount = 0;
    master.dealListWhenFinish();
    return RequestGivenUp;
}

} // namespace

int Modbus_rtu_master::check_rcv_data(const unsigned char *reply, int length) const
{
    if (frameList.isEmpty())
        return BadReply;
    const FRAME_PRO &head = frameList.first();
    if (length == 0)
        return head.replyLen == 0 ? GoodReplyWithoutData : BadReply;
    if (length != head.replyLen || length < CrcBytes || !reply)
        return BadReply;

    const unsigned char *crcBytes = reply + length - CrcBytes;
    if (length == CrcBytes) {
        // Two bytes leave nothing to check: an idle line's 0xFF 0xFF is accepted.
        if (crcBytes[0] != 0xFF || crcBytes[1] != 0xFF)
            return BadReply;
    } else if (modbusCrc16(reply, length - CrcBytes) != static_cast<unsigned int>(crcBytes[0] | crcBytes[1] << 8)) {
        return BadReply;
    }
    return head.dataLen != 0 ? GoodReadReply : GoodReplyWithoutData;
}

int Modbus_rtu_master::dealRcvFrame(QByteArray &received, QString &errorText)
{
    if (errorText.isNull() || !errorText.isEmpty())
        errorText = QLatin1String("");
    if (frameList.isEmpty())
        return NothingPending;

    lastReplies.replyArrived(sizeOf(dataAreas));
    switch (check_rcv_data(reinterpret_cast<const unsigned char *>(received.constData()), sizeOf(received))) {
    case GoodReadReply:
        return finishGoodRead(*this, received);
    case GoodReplyWithoutData:
        return finishGoodWrite(*this);
    default:
        break;
    }

    failCount = wrapAdd(failCount, 1);
    if (failCount < retryLimit)
        return SendAgain;
    return giveUp(*this, received, errorText);
}
