// The data areas: look-up, change reports, read-out, host writes and their completion.
#include "model/plain_driver.h"

using plain::byteOf;
using plain::product;
using plain::sum;
using plain::withByte;

int PlainDriver::indexOfDataArea(int station, const QString &regType, int areaIndex)
{
    for (int i = 0; i < static_cast<int>(dataAreas.size()); ++i) {
        const _DATA_ &area = dataAreas.at(i);
        // The texts last: half of the model's time would be spent on comparing them.
        if (area.areaIndex == areaIndex && area.station == station && area.regType == regType)
            return i;
    }
    _DATA_ area = _DATA_();
    area.station = station;
    area.regType = regType;
    area.areaIndex = areaIndex;
    dataAreas.append(area);
    return static_cast<int>(dataAreas.size()) - 1;
}

// Only the low 8 bits of the bit number are looked at; a bit beyond 31 changes nothing.
int PlainDriver::setBitValue(int value, int bit, int on)
{
    const unsigned int number = static_cast<unsigned int>(bit) & 0xFFu;
    const unsigned int mask = number <= 31 ? 1u << number : 0u;
    const unsigned int bits = static_cast<unsigned int>(value);
    return static_cast<int>(on != 0 ? bits | mask : bits & ~mask);
}

void PlainDriver::report(int link, int station, const QString &regType, int address)
{
    if (valueChangeCallBack)
        valueChangeCallBack(link, station, regType, address);
}

void PlainDriver::wordDataChange(int oldValue, int newValue, int station, const QString &regType, int address,
                                 int noBits)
{
    const int position = indexOfDataArea(station, regType, address);
    if (oldValue == newValue)
        return;
    // As it was when the value came: a callback may ask for another plan.
    const int bits = dataAreas.at(position).bitMonitor;
    const int words = dataAreas.at(position).wordMonitor;
    if (noBits == 0 && bits != 0) {
        for (int b = 0; b <= 15; ++b) {
            const int mask = 1 << b;
            if ((bits & mask) != 0 && (oldValue & mask) != (newValue & mask))
                report(linkId, station, regType + QLatin1String("_bit"), sum(product(address, 16), b));
        }
    }
    if (words % 2 == 1)
        report(linkId, station, regType, address);
    for (int k = 0; k < 2; ++k) {
        const int a = plain::difference(address, k);
        if (a < 0)
            return;
        if ((words & (2 << k)) != 0)
            report(linkId, station, regType + QLatin1String("_double"), a);
    }
}

int PlainDriver::shownValue(int position) const
{
    const _DATA_ &area = dataAreas.at(position);
    return area.writtenFlag != 0 ? area.writtenValue : area.readValue;
}

// --- read-out -----------------------------------------------------------------------

int PlainDriver::getData(int station, const QString &regType, int address, int count, unsigned char *out)
{
    if (regType == QLatin1String("0x") || regType == QLatin1String("1x")) {
        for (int i = 0; i < count; ++i)
            out[i] = byteOf(shownValue(indexOfDataArea(station, regType, sum(address, i))), 0);
    } else if (regType == QLatin1String("3x") || regType == QLatin1String("4x")) {
        for (int i = 0; i < count; ++i) {
            const int value = shownValue(indexOfDataArea(station, regType, sum(address, i)));
            out[2 * i] = byteOf(value, 0);
            out[2 * i + 1] = byteOf(value, 1);
        }
    } else if (regType == QLatin1String("3x_double") || regType == QLatin1String("4x_double")) {
        const QString areaType = regType.left(2);
        for (int k = 0; k < count / 2; ++k) {
            const int high = shownValue(indexOfDataArea(station, areaType, sum(address, 2 * k)));
            const int low = shownValue(indexOfDataArea(station, areaType, sum(address, 2 * k + 1)));
            out[4 * k] = byteOf(low, 0);
            out[4 * k + 1] = byteOf(low, 1);
            out[4 * k + 2] = byteOf(high, 0);
            out[4 * k + 3] = byteOf(high, 1);
        }
    } else if (regType == QLatin1String("3x_bit") || regType == QLatin1String("4x_bit")) {
        for (int i = 0; i < count; ++i) {
            const int b = sum(address, i);
            const int value = shownValue(indexOfDataArea(station, regType.left(2), b / 16));
            const int bit = b % 16;
            out[i] = bit < 0 ? static_cast<unsigned char>(0)
                             : static_cast<unsigned char>((byteOf(value, bit / 8) >> (bit % 8)) & 1);
        }
    }
    return 1;
}

// --- host writes --------------------------------------------------------------------

int PlainDriver::setData(int station, const QString &regType, int address, int count, const unsigned char *data,
                         int userData)
{
    if (localWriteOnly == 0) {
        VARIABLE unit = VARIABLE();
        unit.userData = userData;
        unit.station = station;
        unit.regType = regType;
        if (regType == QLatin1String("0x")) {
            unit.startAddr = address;
            unit.count = count;
            for (int i = 0; i < count && i < ModbusRtuRecordBytes; ++i)
                unit.data[i] = data[i];
            addVarToList(writeList, unit);
        } else if (regType == QLatin1String("4x") || regType == QLatin1String("4x_bit")
                   || regType == QLatin1String("4x_double")) {
            const int limit = maxBlockWords;
            int q = count > 0 ? 1 : 0; // a limit of nothing splits nothing
            int lastCount = count;
            if (limit != 0) {
                q = count / limit;
                lastCount = limit;
                if (count % limit != 0) {
                    ++q;
                    lastCount = count % limit;
                }
            }
            for (int k = 0; k <= q - 1; ++k) {
                const int offset = product(k, limit);
                unit.startAddr = sum(address, offset);
                unit.count = k == q - 1 ? lastCount : limit;
                for (int i = 0; i / 2 < unit.count && i < ModbusRtuRecordBytes; ++i)
                    unit.data[i] = data[2 * offset + i];
                addVarToList(writeList, unit);
            }
        }
    }
    writeSaveDataToArea(station, regType, address, count, data);
    return 1;
}

void PlainDriver::addVarToList(QList<VARIABLE> &list, const VARIABLE &unit)
{
    const int n = static_cast<int>(list.size());
    for (int i = n - 1; i >= 1; --i) {
        const VARIABLE &queued = list.at(i);
        if (queued.station == unit.station && queued.regType == unit.regType && queued.startAddr == unit.startAddr
            && queued.count == unit.count) {
            list[i] = unit;
            return;
        }
    }
    if (n > 512)
        list[512] = unit;
    else
        list.append(unit);
}

void PlainDriver::writeSaveDataToArea(int station, const QString &regType, int address, int count,
                                      const unsigned char *data)
{
    if (regType == QLatin1String("0x") || regType == QLatin1String("1x")) {
        saveCoils(station, regType, address, count, data);
    } else if (regType == QLatin1String("3x") || regType == QLatin1String("4x")) {
        for (int i = 0; i < count; ++i)
            saveRegister(station, regType, sum(address, i), data[2 * i] + 256 * data[2 * i + 1]);
    } else if (regType == QLatin1String("3x_double") || regType == QLatin1String("4x_double")) {
        for (int k = 0; k < count / 2; ++k) {
            const unsigned char *value = data + 4 * k;
            saveRegister(station, regType.left(2), sum(address, 2 * k), value[2] + 256 * value[3]);
            saveRegister(station, regType.left(2), sum(address, 2 * k + 1), value[0] + 256 * value[1]);
        }
    } else if (regType == QLatin1String("3x_bit")) {
        for (int i = 0; i < count; ++i)
            saveReadOnlyBit(station, sum(address, i), data[i]);
    } else if (regType == QLatin1String("4x_bit")) {
        for (int i = 0; i < count; ++i)
            saveWritableBit(station, address, count, sum(address, i), data[i]);
    }
}

void PlainDriver::saveCoils(int station, const QString &regType, int address, int count, const unsigned char *data)
{
    for (int i = 0; i < count; ++i) {
        const int position = indexOfDataArea(station, regType, sum(address, i));
        if (byteOf(shownValue(position), 0) != data[i])
            report(linkId, station, regType, sum(address, i));
        dataAreas[position].writtenValue = withByte(dataAreas.at(position).writtenValue, 0, data[i]);
        dataAreas[position].writtenFlag = 1;
    }
}

void PlainDriver::saveRegister(int station, const QString &areaType, int address, int value)
{
    const int position = indexOfDataArea(station, areaType, address);
    const int current = shownValue(position);
    if (value != current)
        wordDataChange(current, value, station, areaType, address, 0);
    dataAreas[position].writtenValue = withByte(dataAreas.at(position).writtenValue, 0, byteOf(value, 0));
    dataAreas[position].writtenValue = withByte(dataAreas.at(position).writtenValue, 1, byteOf(value, 1));
    dataAreas[position].writtenFlag = 1;
}

namespace {

// One bit of one byte of a register value, other byte untouched. Bits below 0 do not exist.
int withBit(int value, int bit, unsigned char on)
{
    if (bit < 0)
        return value;
    const int s = bit / 8;
    const int mask = 1 << (bit % 8);
    const int byte = byteOf(value, s);
    return withByte(value, s, static_cast<unsigned char>(on == 1 ? byte | mask : byte & ~mask));
}

} // namespace

void PlainDriver::saveReadOnlyBit(int station, int bitAddress, unsigned char on)
{
    const QString areaType = QLatin1String("3x");
    const int bit = bitAddress % 16;
    const int s = bit < 0 ? 0 : bit / 8;
    const int position = indexOfDataArea(station, areaType, bitAddress / 16);
    const int current = shownValue(position);
    const int changed = withBit(current, bit, on);
    if (byteOf(changed, s) != byteOf(current, s))
        wordDataChange(current, changed, station, areaType, bitAddress / 16, 0);
    _DATA_ &area = dataAreas[position];
    area.writtenValue = withByte(area.writtenValue, s, byteOf(changed, s));
    area.writtenValue = withByte(area.writtenValue, 1 - s, byteOf(area.readValue, 1 - s));
    area.writtenFlag = 1;
}

void PlainDriver::saveWritableBit(int station, int address, int count, int bitAddress, unsigned char on)
{
    const QString areaType = QLatin1String("4x");
    const int bit = bitAddress % 16;
    const int s = bit < 0 ? 0 : bit / 8;
    const int position = indexOfDataArea(station, areaType, bitAddress / 16);
    const int current = shownValue(position);
    const int changed = withBit(current, bit, on);
    if (byteOf(changed, s) != byteOf(current, s))
        wordDataChange(current, changed, station, areaType, bitAddress / 16, 0);
    _DATA_ &area = dataAreas[position];
    area.writtenValue = withByte(area.writtenValue, s, byteOf(changed, s));
    // Earlier host writes to the other byte survive.
    if (area.writtenFlag == 0)
        area.writtenValue = withByte(area.writtenValue, 1 - s, byteOf(area.readValue, 1 - s));
    area.writtenFlag = 1;
    noteBitWrite(position, bit, station, address, count);
}

// Bit 2p: a write of bit p is pending; bit 2p + 1: a second one, queued behind the one in flight.
void PlainDriver::noteBitWrite(int position, int bit, int station, int address, int count)
{
    if (bit < 0)
        return;
    const int state = dataAreas.at(position).bitWriteState;
    if ((static_cast<unsigned int>(state) & (1u << (2 * bit))) == 0) {
        dataAreas[position].bitWriteState = setBitValue(state, 2 * bit, 1);
        return;
    }
    int same = 0;
    for (int i = 0; i < static_cast<int>(writeList.size()); ++i) {
        const VARIABLE &queued = writeList.at(i);
        if (queued.station == station && queued.regType == QLatin1String("4x_bit") && queued.startAddr == address
            && queued.count == count)
            ++same;
    }
    if (same == 2)
        dataAreas[position].bitWriteState = setBitValue(state, 2 * bit + 1, 1);
}

// --- completion ---------------------------------------------------------------------

void PlainDriver::writeFailOrSuc(int station, const QString &regType, int address, int count, int ok)
{
    if (regType == QLatin1String("0x")) {
        completeCoils(station, address, count, ok);
    } else if (regType == QLatin1String("4x")) {
        for (int i = 0; i < count; ++i)
            completeRegister(station, sum(address, i), ok);
    } else if (regType == QLatin1String("4x_double")) {
        for (int i = 0; i < 2 * (count / 2); i += 2) {
            completeRegister(station, sum(address, i), ok);
            completeRegister(station, sum(address, i + 1), ok);
        }
    } else if (regType == QLatin1String("4x_bit")) {
        completeBits(station, regType, address, count, ok);
    }
}

void PlainDriver::completeCoils(int station, int address, int count, int ok)
{
    const QString regType = QLatin1String("0x");
    for (int i = 0; i < count; ++i) {
        const int position = indexOfDataArea(station, regType, sum(address, i));
        _DATA_ &area = dataAreas[position];
        area.writtenFlag = 0;
        if (ok == 1)
            area.readValue = withByte(area.readValue, 0, byteOf(area.writtenValue, 0));
        else
            report(linkId, station, regType, sum(address, i));
    }
}

void PlainDriver::completeRegister(int station, int address, int ok)
{
    const QString areaType = QLatin1String("4x");
    const int position = indexOfDataArea(station, areaType, address);
    _DATA_ &area = dataAreas[position];
    area.writtenFlag = 0;
    if (ok == 1) {
        area.readValue = withByte(area.readValue, 0, byteOf(area.writtenValue, 0));
        area.readValue = withByte(area.readValue, 1, byteOf(area.writtenValue, 1));
        return;
    }
    wordDataChange(area.readValue, area.writtenValue, station, areaType, address, 0);
}

void PlainDriver::completeBits(int station, const QString &regType, int address, int count, int ok)
{
    for (int i = 0; i < count; ++i) {
        const int b = sum(address, i);
        const int p = b % 16;
        const int position = indexOfDataArea(station, QLatin1String("4x"), b / 16);
        _DATA_ &area = dataAreas[position];
        if (p >= 0) {
            const bool first = (static_cast<unsigned int>(area.bitWriteState) & (1u << (2 * p))) != 0;
            area.bitWriteState = setBitValue(area.bitWriteState, first ? 2 * p : 2 * p + 1, 0);
        }
        if (area.bitWriteState == 0)
            area.writtenFlag = 0;
        if (p >= 0 && ok == 1) {
            const int on = (byteOf(area.writtenValue, p / 8) >> (p % 8)) & 1;
            area.readValue = withBit(area.readValue, p, static_cast<unsigned char>(on));
        }
        report(linkId, station, regType, address);
    }
}
