// Request frames, the CRC and the judgement of replies.
#include "model/plain_driver.h"

#include <algorithm>

using plain::byteOf;
using plain::dividedRoundedUp;
using plain::product;
using plain::sum;

namespace {

// Beyond the payload array there is nothing to send.
unsigned char payloadByte(const VARIABLE &unit, int position)
{
    return position < ModbusRtuRecordBytes ? unit.data[position] : static_cast<unsigned char>(0);
}

bool typeIs(const VARIABLE &unit, const char *type)
{
    return unit.regType == QLatin1String(type);
}

int readFunction(const VARIABLE &unit)
{
    if (typeIs(unit, "0x"))
        return 1;
    if (typeIs(unit, "1x"))
        return 2;
    if (typeIs(unit, "3x") || typeIs(unit, "3x_double") || typeIs(unit, "3x_bit"))
        return 4;
    return 3;
}

} // namespace

unsigned int PlainDriver::crc(const unsigned char *bytes, int length)
{
    unsigned int value = 0xFFFF;
    for (int i = 0; i < length; ++i) {
        value ^= bytes[i];
        for (int k = 0; k < 8; ++k) {
            if ((value & 1u) != 0)
                value = (value >> 1) ^ 0xA001u;
            else
                value = value >> 1;
        }
    }
    return value;
}

// The CRC goes into the last two of the frame's bytes, where it has two.
void PlainDriver::appendCrc(FRAME_PRO &frame)
{
    if (frame.frameLen < 2)
        return;
    const unsigned int value = crc(frame.frame, frame.frameLen - 2);
    frame.frame[frame.frameLen - 2] = static_cast<unsigned char>(value & 0xFF);
    frame.frame[frame.frameLen - 1] = static_cast<unsigned char>(value >> 8);
}

FRAME_PRO PlainDriver::newFrame(const VARIABLE &unit, int function, int startAddr, int second)
{
    FRAME_PRO frame = FRAME_PRO();
    frame.frame[0] = byteOf(unit.station, 0);
    frame.frame[1] = static_cast<unsigned char>(function);
    frame.frame[2] = byteOf(startAddr, 1);
    frame.frame[3] = byteOf(startAddr, 0);
    frame.frame[4] = byteOf(second, 1);
    frame.frame[5] = byteOf(second, 0);
    frame.frameLen = 8;
    frame.replyLen = unit.station == 0 ? 0 : 8;
    frame.frameKind = 0;
    frame.dataLen = 0;
    frame.var = unit;
    return frame;
}

void PlainDriver::appendReadFrame(const VARIABLE &unit, int function, int startAddr, int count)
{
    FRAME_PRO frame = newFrame(unit, function, startAddr, count);
    appendCrc(frame);
    frame.frameKind = 3;
    if (function == 3 || function == 4) {
        frame.replyLen = sum(product(count, 2), 5);
        frame.dataLen = product(count, 2);
    } else {
        frame.replyLen = sum(dividedRoundedUp(count, 8), 5);
        frame.dataLen = count;
    }
    frameList.append(frame);
}

void PlainDriver::getReadFrame(const VARIABLE &unit)
{
    if (unit.station == 0)
        return;
    appendReadFrame(unit, readFunction(unit), unit.startAddr, unit.count);
}

void PlainDriver::getWriteFrame(const VARIABLE &unit)
{
    if (typeIs(unit, "0x")) {
        if (unit.count == 1)
            writeSingle(unit, 5, unit.data[0] == 1 ? 0xFF : 0x00, 0x00);
        else
            writeCoils(unit);
    } else if (typeIs(unit, "4x") || typeIs(unit, "4x_double")) {
        if (unit.count == 1)
            writeSingle(unit, 6, unit.data[1], unit.data[0]);
        else if (unit.count > 1)
            writeRegisters(unit, typeIs(unit, "4x_double"));
    } else if (typeIs(unit, "4x_bit") && unit.station != 0) {
        writeBits(unit);
    }
}

void PlainDriver::writeSingle(const VARIABLE &unit, int function, unsigned char high, unsigned char low)
{
    FRAME_PRO frame = newFrame(unit, function, unit.startAddr, high * 256 + low);
    appendCrc(frame);
    frameList.append(frame);
}

void PlainDriver::writeCoils(const VARIABLE &unit)
{
    const int byteCount = dividedRoundedUp(unit.count, 8);
    FRAME_PRO frame = newFrame(unit, 15, unit.startAddr, unit.count);
    frame.frame[6] = byteOf(byteCount, 0);
    for (int j = 0; j < byteCount; ++j) {
        int packed = 0;
        for (int b = 0; b < 8 && 8 * j + b < unit.count; ++b)
            packed += payloadByte(unit, 8 * j + b) << b;
        frame.frame[7 + j] = byteOf(packed, 0);
    }
    frame.frameLen = std::max(0, byteCount + 9);
    appendCrc(frame);
    frameList.append(frame);
}

// The byte count field is one byte wide, and frame and CRC end where it says.
void PlainDriver::writeRegisters(const VARIABLE &unit, bool doubles)
{
    const int byteCount = static_cast<int>((static_cast<unsigned int>(unit.count) * 2u) & 0xFFu);
    FRAME_PRO frame = newFrame(unit, 16, unit.startAddr, unit.count);
    frame.frame[6] = static_cast<unsigned char>(byteCount);
    for (int i = 0; i < byteCount / 2; ++i) {
        int source = i;
        if (doubles && (i % 2 == 1 || i + 1 < unit.count))
            source = i % 2 == 0 ? i + 1 : i - 1;
        frame.frame[7 + 2 * i] = unit.data[2 * source + 1];
        frame.frame[8 + 2 * i] = unit.data[2 * source];
    }
    frame.frameLen = byteCount + 9;
    appendCrc(frame);
    frameList.append(frame);
}

// Read-modify-write: the values of the second frame are filled in from the reply to the first.
void PlainDriver::writeBits(const VARIABLE &unit)
{
    const int startRegister = unit.startAddr / 16;
    const int q = dividedRoundedUp(sum(unit.startAddr % 16, unit.count), 16);
    appendReadFrame(unit, 3, startRegister, q);
    FRAME_PRO frame = newFrame(unit, 16, startRegister, q);
    frame.frame[6] = byteOf(product(2, q), 0);
    // What does not fit into the record is left out.
    const int room = (ModbusRtuRecordBytes - 9) / 2;
    for (int i = 0; i < std::min(q, room); ++i) {
        frame.frame[7 + 2 * i] = payloadByte(unit, 2 * i + 1);
        frame.frame[8 + 2 * i] = payloadByte(unit, 2 * i);
    }
    frame.frameLen = q > room ? static_cast<int>(ModbusRtuRecordBytes) : std::max(0, 2 * q + 9);
    appendCrc(frame);
    frameList.append(frame);
}

// 0 bad, 1 good with data, 2 good without data.
int PlainDriver::checkRcvData(const QByteArray &reply) const
{
    const FRAME_PRO &head = frameList.at(0);
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(reply.constData());
    const int length = static_cast<int>(reply.size());
    if (length == 0)
        return head.replyLen == 0 ? 2 : 0;
    if (length != head.replyLen)
        return 0;
    if (length == 2) {
        if (bytes[0] != 0xFF || bytes[1] != 0xFF)
            return 0;
    } else {
        if (length < 2)
            return 0; // no room for a CRC
        const unsigned int value = crc(bytes, length - 2);
        if (bytes[length - 2] != (value & 0xFF) || bytes[length - 1] != value >> 8)
            return 0;
    }
    return head.dataLen != 0 ? 1 : 2;
}
