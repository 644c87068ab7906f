#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/data_areas.h"
#include "cache/station_areas.h"
#include "driver/arithmetic.h"

namespace {

unsigned char lowByte(int value)
{
    return static_cast<unsigned char>(value & 0xFF);
}

void putRegister(unsigned char *out, int value)
{
    out[0] = lowByte(value);
    out[1] = lowByte(value >> 8);
}

/** One bit of a register; the bits below address zero read as 0. */
unsigned char bitOfRegister(int value, int bit)
{
    return static_cast<unsigned char>(bit < 0 ? 0 : value >> bit & 1);
}

} // namespace

void Modbus_rtu_master::getData(int station, const QString &regType, int address, int count, unsigned char *out)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type)
        return;

    StationAreas areas(*this, station, areaTypeText(*type));
    const int elements = boundedCount(count);
    for (int i = 0; i < elements; ++i) {
        const int element = wrapAdd(address, i);
        switch (type->unit) {
        case CoilUnit:
            out[i] = lowByte(shownValue(areas.at(element)));
            break;
        case WordUnit:
            putRegister(out + 2 * i, shownValue(areas.at(element)));
            break;
        case RegisterBitUnit:
            out[i] = bitOfRegister(shownValue(areas.at(element / RegisterBits)), element % RegisterBits);
            break;
        case DoubleUnit:
            // The first register is the high word of a low-byte-first value.
            if (i < elements / 2 * 2)
                putRegister(out + 2 * (i % 2 == 0 ? i + 1 : i - 1), shownValue(areas.at(element)));
            break;
        }
    }
}
