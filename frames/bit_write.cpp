#include "frames/bit_write.h"

#include "address/register_types.h"
#include "cache/station_areas.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"
#include "frames/crc.h"

namespace {

/** Bytes of a reply that are changed in place; positions outside are left out. */
class EditableReply
{
public:
    EditableReply(QByteArray &received, int dataStart)
        : bytes(reinterpret_cast<unsigned char *>(received.data()))
        , size(sizeOf(received))
        , start(dataStart)
    {
    }

    unsigned char at(long long offset) const { return isInside(offset) ? bytes[start + offset] : 0; }

    void put(long long offset, int value)
    {
        if (isInside(offset))
            bytes[start + offset] = static_cast<unsigned char>(value);
    }

private:
    bool isInside(long long offset) const { return start + offset >= 0 && start + offset < size; }

    unsigned char *bytes;
    const int size;
    const int start;
};

void exchangeRegisterBytes(EditableReply &reply, int registers)
{
    for (int i = 0; i < registers; ++i) {
        const int first = reply.at(2 * i);
        reply.put(2 * i, reply.at(2 * i + 1));
        reply.put(2 * i + 1, first);
    }
}

/** Sets or clears the written bits in registers with the low byte first; any nonzero byte of the data is on. */
void changeBits(EditableReply &reply, const VARIABLE &var)
{
    const int known = static_cast<int>(ModbusRtuRecordBytes);
    for (int k = 0; k < var.count && k < known; ++k) {
        const int position = k + var.startAddr % RegisterBits;
        if (position < 0)
            continue;
        const int mask = 1 << position % ByteBits;
        const int byte = reply.at(position / ByteBits);
        reply.put(position / ByteBits, var.data[k] != 0 ? byte | mask : byte & ~mask);
    }
}

void fillWrite(FRAME_PRO &write, const EditableReply &reply)
{
    const int registers = (write.frameLen - WriteHeaderBytes - CrcBytes) / 2;
    for (int i = 0; i < registers; ++i) {
        write.frame[WriteHeaderBytes + 2 * i] = reply.at(2 * i + 1);
        write.frame[WriteHeaderBytes + 2 * i + 1] = reply.at(2 * i);
    }
    if (write.frameLen >= CrcBytes)
        appendCrc(write.frame, write.frameLen - CrcBytes);
}

} // namespace

void fillBitWrite(Modbus_rtu_master &master, QByteArray &received)
{
    const FRAME_PRO &head = master.frameList.first();
    const VARIABLE &var = head.var;
    const RegisterType *type = findRegisterType(var.regType);
    if (type)
        StationAreas(master, var.station, areaTypeText(*type)).at(var.startAddr / RegisterBits).errorFlag = 0;

    EditableReply reply(received, head.frameKind);
    exchangeRegisterBytes(reply, head.dataLen / 2);
    changeBits(reply, var);
    if (sizeOf(master.frameList) > 1)
        fillWrite(master.frameList[1], reply);
}
