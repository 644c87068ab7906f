#include "driver/modbus_rtu_master.h"

#include "driver/qt_compat.h"

unsigned int Modbus_rtu_master::getRegAddressWeight(int station, QString regType, int address, int) const
{
    int typeIndex = 0;
    while (typeIndex < sizeOf(regTypeNames) && regTypeNames.at(typeIndex) != regType)
        ++typeIndex;
    if (typeIndex == sizeOf(regTypeNames))
        typeIndex = -1;

    // Five bands a station although six types are listed: the bands of
    // neighbouring stations overlap, which merging copes with.
    const unsigned int band = 5u * static_cast<unsigned int>(station) + static_cast<unsigned int>(typeIndex) + 1u;
    return 65535u * band + static_cast<unsigned int>(address);
}
