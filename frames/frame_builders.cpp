// Request frames of the Modbus application protocol (sections 6.1 to 6.6, 6.11
// and 6.12) in RTU framing: station, function, data, CRC. Numbers on the wire
// have the high byte first, the CRC the low byte first; the payload of a request
// has the low byte first.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/reply_bytes.h"
#include "driver/arithmetic.h"
#include "driver/record_copy.h"
#include "frames/bit_write.h"
#include "frames/crc.h"
#include "frames/frames_in_flight.h"

namespace {

enum FunctionCode {
    ReadCoils = 1,
    ReadDiscreteInputs = 2,
    ReadHoldingRegisters = 3,
    WriteSingleCoil = 5,
    WriteSingleRegister = 6,
    WriteMultipleCoils = 15,
    WriteMultipleRegisters = 16
};

enum {
    ReadReplyOverhead = 5, // station, function, byte count, CRC
    ReadReplyHeader = 3,
    LargestPayload = ModbusRtuRecordBytes - WriteHeaderBytes - CrcBytes
};

unsigned char low(int value)
{
    return static_cast<unsigned char>(value & 0xFF);
}

unsigned char high(int value)
{
    return low(value >> 8);
}

/** A payload byte of a request; what lies beyond its array counts as 0. */
unsigned char payloadByte(const VARIABLE &request, long long index)
{
    return index >= 0 && index < ModbusRtuRecordBytes ? request.data[index] : static_cast<unsigned char>(0);
}

/** What the frame has room for of a payload; a count below zero leaves one of less than nothing. */
int boundedPayload(int bytes)
{
    return bytes < static_cast<int>(LargestPayload) ? bytes : static_cast<int>(LargestPayload);
}

/** Fills in the first six bytes of a frame that serves @p request. */
FRAME_PRO &startFrame(FRAME_PRO &f, const VARIABLE &request, int function, int address, int quantity)
{
    copyUnit(f.var, request);
    f.frame[0] = low(request.station);
    f.frame[1] = low(function);
    f.frame[2] = high(address);
    f.frame[3] = low(address);
    f.frame[4] = high(quantity);
    f.frame[5] = low(quantity);
    return f;
}

/** Sets the length and puts the CRC at the end; a frame that is too short for one gets none. */
void closeFrame(FRAME_PRO &f, int length)
{
    f.frameLen = length > 0 ? length : 0;
    if (length >= CrcBytes)
        appendCrc(f.frame, length - CrcBytes);
}

/** A write is answered by an echo of its first six bytes; a broadcast by nothing. */
void expectEcho(FRAME_PRO &f)
{
    f.replyLen = f.var.station == 0 ? 0 : static_cast<int>(RequestBytes);
}

void addRead(FramesInFlight &frames, const VARIABLE &request, int function, int address, int quantity)
{
    FRAME_PRO &f = startFrame(frames.add(), request, function, address, quantity);
    closeFrame(f, RequestBytes);
    f.frameKind = ReadReplyHeader;
    const bool bits = function == ReadCoils || function == ReadDiscreteInputs;
    f.dataLen = bits ? quantity : wrapMul(quantity, 2);
    f.replyLen = wrapAdd(replyDataBytes(bits, quantity), ReadReplyOverhead);
}

/** Coils are packed by adding them shifted: a payload byte other than 0 or 1 spills into its neighbours. */
unsigned char packedCoils(const VARIABLE &request, int firstCoil)
{
    const int rest = request.count - firstCoil;
    const int coils = rest < static_cast<int>(ByteBits) ? rest : static_cast<int>(ByteBits);
    int sum = 0;
    for (int bit = 0; bit < coils; ++bit)
        sum += payloadByte(request, firstCoil + bit) << bit;
    return low(sum);
}

void addCoilWrite(FramesInFlight &frames, const VARIABLE &request)
{
    if (request.count == 1) {
        // Only the value 1 switches on; any other value is off.
        FRAME_PRO &single = startFrame(frames.add(), request, WriteSingleCoil, request.startAddr,
                                       request.data[0] == 1 ? 0xFF00 : 0x0000);
        closeFrame(single, RequestBytes);
        expectEcho(single);
        return;
    }
    FRAME_PRO &f = startFrame(frames.add(), request, WriteMultipleCoils, request.startAddr, request.count);
    const int bytes = boundedPayload(divideUp(request.count, ByteBits));
    f.frame[6] = low(bytes);
    for (int i = 0; i < bytes; ++i)
        f.frame[WriteHeaderBytes + i] = packedCoils(request, i * ByteBits);
    closeFrame(f, WriteHeaderBytes + bytes + CrcBytes);
    expectEcho(f);
}

/** Puts @p count payload registers behind the header, as far as the frame reaches. */
void putRegisters(FRAME_PRO &f, int count)
{
    const int registers = boundedPayload(wrapMul(boundedCount(count), 2)) / 2;
    for (int i = 0; i < registers; ++i) {
        f.frame[WriteHeaderBytes + 2 * i] = payloadByte(f.var, 2 * i + 1);
        f.frame[WriteHeaderBytes + 2 * i + 1] = payloadByte(f.var, 2 * i);
    }
}

/** As putRegisters(), with the two registers of every 32-bit value changing places: high word first. */
void putDoubles(FRAME_PRO &f, int count)
{
    putRegisters(f, count);
    const int registers = boundedPayload(wrapMul(boundedCount(count), 2)) / 2;
    for (int i = 0; i + 1 < registers; i += 2) {
        unsigned char *value = f.frame + WriteHeaderBytes + 2 * i;
        qSwap(value[0], value[2]);
        qSwap(value[1], value[3]);
    }
}

void addRegisterWrite(FramesInFlight &frames, const VARIABLE &request, RegisterUnit unit)
{
    if (request.count < 1)
        return;
    if (request.count == 1) {
        FRAME_PRO &single = startFrame(frames.add(), request, WriteSingleRegister, request.startAddr,
                                       request.data[1] << 8 | request.data[0]);
        closeFrame(single, RequestBytes);
        expectEcho(single);
        return;
    }
    FRAME_PRO &f = startFrame(frames.add(), request, WriteMultipleRegisters, request.startAddr, request.count);
    // The byte count is one byte and rules the length of the frame; a slave
    // refuses the request whose quantity it no longer fits.
    f.frame[6] = low(request.count % 256 * 2);
    if (unit == DoubleUnit)
        putDoubles(f, request.count);
    else
        putRegisters(f, request.count);
    closeFrame(f, WriteHeaderBytes + f.frame[6] + CrcBytes);
    expectEcho(f);
}

/**
 * Bits of registers are written by reading their registers and writing them
 * back with the bits changed; the reply to the read fills the write. A range of
 * no bits makes both frames as well, with the quantity that its sum gives.
 */
void addBitWrite(FramesInFlight &frames, const VARIABLE &request)
{
    const int firstRegister = request.startAddr / RegisterBits;
    const int registers = divideUp(wrapAdd(request.startAddr % RegisterBits, request.count), RegisterBits);
    if (request.station == 0)
        return;

    addRead(frames, request, ReadHoldingRegisters, firstRegister, registers);
    FRAME_PRO &f = startFrame(frames.add(), request, WriteMultipleRegisters, firstRegister, registers);
    f.frame[6] = low(wrapMul(registers, 2));
    putRegisters(f, registers);
    closeFrame(f, WriteHeaderBytes + boundedPayload(wrapMul(registers, 2)) + CrcBytes);
    expectEcho(f);
}

} // namespace

void Modbus_rtu_master::getReadFrame(const VARIABLE &request)
{
    if (request.station == 0)
        return;
    const RegisterType *type = findRegisterType(request.regType);
    const int function = type ? type->readFunction : static_cast<int>(ReadHoldingRegisters);
    FramesInFlight frames(frameList, spareFrames);
    addRead(frames, request, function, request.startAddr, request.count);
}

void Modbus_rtu_master::getWriteFrame(const VARIABLE &request)
{
    const RegisterType *type = findRegisterType(request.regType);
    if (!type || !type->writable)
        return;
    FramesInFlight frames(frameList, spareFrames);
    switch (type->unit) {
    case CoilUnit:
        addCoilWrite(frames, request);
        return;
    case WordUnit:
    case DoubleUnit:
        addRegisterWrite(frames, request, type->unit);
        return;
    case RegisterBitUnit:
        addBitWrite(frames, request);
        return;
    }
}
