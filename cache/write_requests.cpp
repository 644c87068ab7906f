// Host writes: queued for the slaves, and shown at once.

#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "cache/station_areas.h"
#include "cache/request_queue.h"
#include "driver/arithmetic.h"
#include "driver/qt_compat.h"

#include <QtCore/QMutexLocker>

#include <cstddef>
#include <cstring>

namespace {

/** Copies @p bytes of host data from @p offset on, as far as the payload of a request unit reaches. */
void copyPayload(VARIABLE &target, const unsigned char *data, std::ptrdiff_t offset, long long bytes)
{
    if (bytes <= 0)
        return;
    const long long room = ModbusRtuRecordBytes;
    std::memcpy(target.data, data + offset, static_cast<std::size_t>(bytes < room ? bytes : room));
}

/**
 * The registers of each piece of a write. Bits are cut like registers and two
 * bytes are copied for each, although bit data has one byte a bit.
 */
class RegisterPayload
{
public:
    RegisterPayload(const RequestPieces &cut, const unsigned char *hostData) : pieces(cut), data(hostData) {}

    void operator()(VARIABLE &unit, int k) const
    {
        std::memset(unit.data, 0, sizeof unit.data);
        copyPayload(unit, data, 2 * static_cast<std::ptrdiff_t>(pieces.offset(k)), 2LL * unit.count);
    }

private:
    const RequestPieces &pieces;
    const unsigned char *data;
};

/** One bit of a register inside its area: which bit, and which byte holds it. */
struct BitPlace
{
    int registerAddress;
    int position; ///< 0 to 15; negative for addresses below zero
    int byteMask; ///< the byte of the register value that holds the bit
    int mask;     ///< the bit; 0 for addresses below zero

    explicit BitPlace(int bitAddress)
        : registerAddress(bitAddress / RegisterBits)
        , position(bitAddress % RegisterBits)
        , byteMask(position < ByteBits ? 0x00FF : 0xFF00)
        , mask(position < 0 ? 0 : 1 << position)
    {
    }
};

void queueWrite(Modbus_rtu_master &master, int station, const QString &regType, int address, int count,
                const unsigned char *data, int tag)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type || !type->writable)
        return;

    VARIABLE var = VARIABLE();
    var.userData = tag;
    var.station = station;
    var.regType = registerTypeText(*type);
    if (type->unit == CoilUnit) {
        var.startAddr = address;
        var.count = count;
        copyPayload(var, data, 0, count);
        addVarToList(master.writeList, var);
        return;
    }

    const RequestPieces pieces(address, boundedCount(count), master.maxBlockWords);
    addPiecesToList(master.writeList, pieces, var, RegisterPayload(pieces, data));
}

void showWrittenCoil(StationAreas &areas, int address, int value)
{
    if (coilOf(shownValue(areas.at(address))) != value)
        areas.report(address);
    _DATA_ &area = areas.at(address);
    storeCoil(area.writtenValue, value);
    area.writtenFlag = 1;
}

void showWrittenRegister(StationAreas &areas, int address, int value)
{
    const int shown = registerOf(shownValue(areas.at(address)));
    if (shown != value)
        areas.master._wordDataChange(&shown, &value, areas.station, areas.areaType, address, 0);
    _DATA_ &area = areas.at(address);
    storeRegister(area.writtenValue, value);
    area.writtenFlag = 1;
}

/**
 * Shows one written bit of a register. @p keepsOtherByte: earlier writes to the
 * other byte survive while the area is flagged as written; else that byte is
 * taken from the value read.
 */
void showWrittenBit(StationAreas &areas, int bitAddress, bool on, bool keepsOtherByte)
{
    const BitPlace place(bitAddress);
    const int shown = registerOf(shownValue(areas.at(place.registerAddress)));
    const int value = on ? shown | place.mask : shown & ~place.mask;
    if (shown != value)
        areas.master._wordDataChange(&shown, &value, areas.station, areas.areaType, place.registerAddress, 0);

    _DATA_ &area = areas.at(place.registerAddress);
    const bool otherByteWritten = keepsOtherByte && area.writtenFlag;
    const int otherByte = (otherByteWritten ? area.writtenValue : area.readValue) & ~place.byteMask;
    storeRegister(area.writtenValue, (value & place.byteMask) | otherByte);
    area.writtenFlag = 1;
}

int queuedBitWrites(Modbus_rtu_master &master, int station, const QString &regType, int startAddr, int count)
{
    int found = 0;
    QMutexLocker locked(&master.listMutex);
    for (int i = 0; i < sizeOf(master.writeList); ++i) {
        if (isRange(master.writeList.at(i), station, regType, startAddr, count))
            ++found;
    }
    return found;
}

/** Counts a bit write as pending, at most twice: one in flight and one queued behind it. */
void recordBitWrite(StationAreas &areas, int bitAddress, int startAddr, int count)
{
    const BitPlace place(bitAddress);
    _DATA_ &area = areas.at(place.registerAddress);
    const int pending = _setBitValue(area.bitWriteState, pendingBit(place.position), 1);
    if (pending != area.bitWriteState) {
        area.bitWriteState = pending;
        return;
    }
    if (queuedBitWrites(areas.master, areas.station, bitTypeOf(areas.areaType), startAddr, count) == 2)
        area.bitWriteState = _setBitValue(area.bitWriteState, secondPendingBit(place.position), 1);
}

} // namespace

void Modbus_rtu_master::setData(int station, const QString &regType, int address, int count, const unsigned char *data,
                                int tag)
{
    if (!localWriteOnly)
        queueWrite(*this, station, regType, address, count, data, tag);
    write_saveDataToArea(station, regType, address, count, data);
}

void Modbus_rtu_master::write_saveDataToArea(int station, const QString &regType, int address, int count,
                                             const unsigned char *data)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type)
        return;

    StationAreas areas(*this, station, areaTypeText(*type));
    const int elements = boundedCount(count);
    switch (type->unit) {
    case CoilUnit:
        for (int i = 0; i < elements; ++i)
            showWrittenCoil(areas, wrapAdd(address, i), data[i]);
        return;
    case WordUnit:
        for (int i = 0; i < elements; ++i)
            showWrittenRegister(areas, wrapAdd(address, i), data[2 * i] | data[2 * i + 1] << 8);
        return;
    case DoubleUnit:
        // The high word goes to the lower register; the data has the low word first.
        for (int i = 0; i + 1 < elements; i += 2) {
            const unsigned char *value = data + 2 * i;
            showWrittenRegister(areas, wrapAdd(address, i), value[2] | value[3] << 8);
            showWrittenRegister(areas, wrapAdd(address, i + 1), value[0] | value[1] << 8);
        }
        return;
    case RegisterBitUnit:
        for (int i = 0; i < elements; ++i) {
            const int bitAddress = wrapAdd(address, i);
            showWrittenBit(areas, bitAddress, data[i] == 1, type->writable);
            if (type->writable)
                recordBitWrite(areas, bitAddress, address, count);
        }
        return;
    }
}
