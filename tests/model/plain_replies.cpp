// Judging and unpacking replies, giving up, error texts.
#include "model/plain_driver.h"

using plain::byteOf;
using plain::product;
using plain::sum;
using plain::withByte;

namespace {

// A byte outside the reply reads as 0.
unsigned char replyByte(const QByteArray &reply, long long position)
{
    if (position < 0 || position >= static_cast<int>(reply.size()))
        return 0;
    return static_cast<unsigned char>(reply.at(static_cast<int>(position)));
}

bool typeIs(const FRAME_PRO &frame, const char *type)
{
    return frame.var.regType == QLatin1String(type);
}

} // namespace

int PlainDriver::dealRcvFrame(QByteArray *received, QString *errorText)
{
    *errorText = QLatin1String("");
    if (frameList.isEmpty())
        return 0;
    switch (checkRcvData(*received)) {
    case 1:
        return finishGoodRead(received);
    case 2:
        return finishGoodWrite();
    default:
        break;
    }
    ++failCount;
    if (failCount < retryLimit)
        return 8;
    return giveUp(*received, errorText);
}

int PlainDriver::finishGoodRead(QByteArray *received)
{
    lastFailed = 0;
    const FRAME_PRO head = frameList.at(0);
    unpack(head, received);
    if (sendState == 6)
        unpackRecipeRows(head, *received);
    finishHead();
    return 1;
}

int PlainDriver::finishGoodWrite()
{
    const VARIABLE unit = frameList.at(0).var;
    if (sendState == 2)
        writeFailOrSuc(unit.station, unit.regType, unit.startAddr, unit.count, 1);
    lastFailed = 0;
    finishHead();
    return 1;
}

void PlainDriver::finishHead()
{
    frameList.removeFirst();
    if (frameList.isEmpty())
        dealListWhenFinish();
    failCount = 0;
}

int PlainDriver::giveUp(const QByteArray &received, QString *errorText)
{
    lastFailed = 1;
    const FRAME_PRO head = frameList.at(0);
    if (sendState == 2)
        writeFailOrSuc(head.var.station, head.var.regType, head.var.startAddr, head.var.count, 0);
    *errorText = errorInfo(received, head.var);
    markFailed(head);
    frameList.clear();
    failCount = 0;
    dealListWhenFinish();
    return 2;
}

// --- unpacking ----------------------------------------------------------------------

void PlainDriver::unpack(const FRAME_PRO &head, QByteArray *received)
{
    if (typeIs(head, "3x") || typeIs(head, "3x_double") || typeIs(head, "3x_bit"))
        unpackRegisters(head, *received, "3x", false);
    else if (typeIs(head, "4x") || typeIs(head, "4x_double"))
        unpackRegisters(head, *received, "4x", true);
    else if (typeIs(head, "4x_bit") && sendState != 2)
        unpackRegisters(head, *received, "4x", false);
    else if (typeIs(head, "4x_bit"))
        fillBitWrite(head, received);
    else if (typeIs(head, "0x") || typeIs(head, "1x"))
        unpackCoils(head, *received);
}

void PlainDriver::unpackRegisters(const FRAME_PRO &head, const QByteArray &received, const char *areaType,
                                  bool keepWhileWriting)
{
    const QString type = QLatin1String(areaType);
    for (int i = 0; i < head.dataLen / 2; ++i) {
        const int address = sum(head.var.startAddr, i);
        const unsigned char high = replyByte(received, head.frameKind + 2 * i);
        const unsigned char low = replyByte(received, head.frameKind + 2 * i + 1);
        const int position = indexOfDataArea(head.var.station, type, address);
        dataAreas[position].errorFlag = 0;
        const int oldValue = dataAreas.at(position).readValue;
        if (byteOf(oldValue, 0) == low && byteOf(oldValue, 1) == high)
            continue;
        if (!keepWhileWriting || writeList.isEmpty())
            dataAreas[position].writtenFlag = 0;
        wordDataChange(byteOf(oldValue, 0) + 256 * byteOf(oldValue, 1), high * 256 + low, head.var.station, type,
                       address, 0);
        dataAreas[position].readValue = withByte(dataAreas.at(position).readValue, 0, low);
        dataAreas[position].readValue = withByte(dataAreas.at(position).readValue, 1, high);
    }
}

void PlainDriver::unpackCoils(const FRAME_PRO &head, const QByteArray &received)
{
    for (int k = 0; k < head.dataLen; ++k) {
        const int address = sum(head.var.startAddr, k);
        const int position = indexOfDataArea(head.var.station, head.var.regType, address);
        dataAreas[position].errorFlag = 0;
        const unsigned char bit =
            static_cast<unsigned char>((replyByte(received, head.frameKind + k / 8) >> (k % 8)) & 1);
        if (bit != byteOf(dataAreas.at(position).readValue, 0)) {
            dataAreas[position].writtenFlag = 0;
            report(linkId, head.var.station, head.var.regType, address);
        }
        dataAreas[position].readValue = withByte(dataAreas.at(position).readValue, 0, bit);
    }
}

// The read half of a read-modify-write: the bits are changed in the reply, which then is what the
// write half carries.
void PlainDriver::fillBitWrite(const FRAME_PRO &head, QByteArray *received)
{
    const int start = head.var.startAddr;
    dataAreas[indexOfDataArea(head.var.station, QLatin1String("4x"), start / 16)].errorFlag = 0;
    char *bytes = received->data();
    const int d = head.frameKind;
    for (int i = 0; i < head.dataLen / 2; ++i) {
        const char high = bytes[d + 2 * i];
        bytes[d + 2 * i] = bytes[d + 2 * i + 1];
        bytes[d + 2 * i + 1] = high;
    }
    for (int k = 0; k < head.var.count && k < ModbusRtuRecordBytes; ++k) {
        const int p = k + start % 16;
        if (p < 0)
            continue; // such a bit lies before the registers read
        char &byte = bytes[d + p / 8];
        byte = static_cast<char>(setBitValue(static_cast<unsigned char>(byte), p % 8, head.var.data[k]));
    }
    if (frameList.size() < 2)
        return;
    FRAME_PRO &write = frameList[1];
    for (int j = 0; j <= (write.frameLen - 9) / 2 - 1; ++j) {
        write.frame[7 + 2 * j] = static_cast<unsigned char>(bytes[d + 2 * j + 1]);
        write.frame[8 + 2 * j] = static_cast<unsigned char>(bytes[d + 2 * j]);
    }
    appendCrc(write);
}

// --- recipe rows --------------------------------------------------------------------

void PlainDriver::storeHostWord(int word, unsigned char low, unsigned char high)
{
    if (hostWordBuffer == nullptr || word < 0)
        return;
    unsigned char *bytes = reinterpret_cast<unsigned char *>(hostWordBuffer + word);
    bytes[0] = low;
    bytes[1] = high;
}

void PlainDriver::unpackRecipeRows(const FRAME_PRO &head, const QByteArray &received)
{
    if (rcpIndex < 0 || rcpIndex >= static_cast<int>(rcpBlockStarts.size()))
        return;
    const int first = rcpBlockStarts.at(rcpIndex);
    int last = static_cast<int>(rcpAddrs.size());
    if (rcpIndex + 1 < static_cast<int>(rcpBlockStarts.size()))
        last = rcpBlockStarts.at(rcpIndex + 1);
    const bool plainWords = typeIs(head, "3x") || typeIs(head, "4x");
    for (int i = first; i <= last - 1 && i < static_cast<int>(rcpAddrs.size()); ++i) {
        const _RCP_VAR_PRO row = rcpAddrs.at(i);
        // A row whose address lies far below that of the first begins before the reply, however far.
        const long long base = head.frameKind + 2LL * plain::difference(row.startAddr, rcpAddrs.at(first).startAddr);
        if (plainWords) {
            for (int j = 0; j <= row.count - 1; ++j) {
                const long long at = base + 2LL * j;
                storeHostWord(row.hostOffset + j, replyByte(received, at + 1), replyByte(received, at));
                report(0, -1, QLatin1String("RWI"), row.hostOffset + j);
            }
            continue;
        }
        const unsigned char b0 = replyByte(received, base);
        const unsigned char b1 = replyByte(received, base + 1);
        const unsigned char b2 = replyByte(received, base + 2);
        const unsigned char b3 = replyByte(received, base + 3);
        const int w = row.hostOffset;
        if (!swapsWords(row.station)) {
            storeHostWord(w, b3, b2);
            storeHostWord(w + 1, b1, b0);
        } else {
            storeHostWord(w, b1, b0);
            storeHostWord(w + 1, b3, b2);
        }
        report(0, -1, QLatin1String("RWI"), w);
        report(0, -1, QLatin1String("RWI"), w + 1);
    }
}

// --- giving up ----------------------------------------------------------------------

void PlainDriver::markFailed(const FRAME_PRO &head)
{
    const int start = head.var.startAddr;
    if (typeIs(head, "0x") || typeIs(head, "1x")) {
        for (int k = 0; k < head.dataLen; ++k)
            dataAreas[indexOfDataArea(head.var.station, head.var.regType, sum(start, product(8, k)))].errorFlag = 1;
        return;
    }
    QString areaType;
    if (typeIs(head, "3x") || typeIs(head, "3x_double") || typeIs(head, "3x_bit"))
        areaType = QLatin1String("3x");
    else if (typeIs(head, "4x") || typeIs(head, "4x_double") || typeIs(head, "4x_bit"))
        areaType = QLatin1String("4x");
    else
        return;
    for (int i = 0; i < head.dataLen / 2; ++i)
        dataAreas[indexOfDataArea(head.var.station, areaType, sum(start, i))].errorFlag = 1;
}

QString PlainDriver::errorInfo(const QByteArray &received, const VARIABLE &unit) const
{
    QString suffix;
    if (received.size() == 5 && (replyByte(received, 1) & 1) != 0)
        suffix = QLatin1String(",error code:") + QString::number(replyByte(received, 1) & 0x7F);
    QString address = unit.regType;
    if (unit.regType.right(4) == QLatin1String("_bit"))
        address +=
            QString::number(sum(unit.startAddr / 16, 1)) + QLatin1Char('.') + QString::number(unit.startAddr % 16);
    else
        address += QString::number(sum(unit.startAddr, 1));
    const QString direction = QLatin1String(sendState == 2 ? "W" : "R");
    return direction + QLatin1Char(',') + QString::number(unit.station) + QLatin1Char('#') + address + QLatin1Char('(')
           + QString::number(unit.count) + QLatin1Char(')') + suffix;
}
