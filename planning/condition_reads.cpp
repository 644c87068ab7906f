#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"
#include "planning/request_queue.h"

namespace {

enum { RegisterBits = 16 };

const int bitObjectFormat = -1;

/**
 * The request for a run of bits in registers: the registers counted from the
 * number of bits alone. The place of the first bit inside its register is not
 * added, so a run that crosses into one more register is read without it.
 */
void readAsRegisters(VARIABLE &request, const RegisterType &type)
{
    request.regType = areaTypeText(type);
    request.startAddr /= RegisterBits;
    request.count = request.count / RegisterBits + ((request.count & 0x0F) != 0 ? 1 : 0);
}

} // namespace

void Modbus_rtu_master::addConditionRead(const KEY_ADDRESS &key, int userData)
{
    const int limit = key.field7 == bitObjectFormat ? maxBlockBits : maxBlockWords;
    if (limit <= 0 || limit >= key.count) {
        queueConditionRead(key, key.startAddr, key.count, userData);
        return;
    }
    const RequestPieces pieces(boundedCount(key.count), limit);
    for (int k = 0; k < pieces.number(); ++k)
        queueConditionRead(key, wrapAdd(key.startAddr, pieces.offset(k)), pieces.length(k), userData);
}

void Modbus_rtu_master::queueConditionRead(const KEY_ADDRESS &key, int startAddr, int count, int userData)
{
    VARIABLE request = VARIABLE();
    request.userData = userData;
    request.station = key.station;
    request.regType = key.regType;
    request.startAddr = startAddr;
    request.count = count;
    const RegisterType *type = findRegisterType(key.regType);
    if (type && type->unit == RegisterBitUnit)
        readAsRegisters(request, *type);

    addVarToList(conditionReadList, request);
    conditionVar = request;
}
