#include "driver/modbus_rtu_master.h"

#include "address/register_types.h"
#include "cache/request_queue.h"

namespace {

const int bitObjectFormat = -1;

struct NoPayload
{
    void operator()(VARIABLE &, int) const {}
};

} // namespace

void Modbus_rtu_master::addConditionRead(const KEY_ADDRESS &key, int userData)
{
    // Bits are read as registers, counted from the number of bits alone. The
    // place of the first bit inside its register is not added, so a run that
    // crosses into one more register is read without it.
    const RegisterType *type = findRegisterType(key.regType);
    const bool bits = type && type->unit == RegisterBitUnit;
    VARIABLE request = VARIABLE();
    request.userData = userData;
    request.station = key.station;
    request.regType = bits ? areaTypeText(*type) : key.regType;

    const int limit = key.field7 == bitObjectFormat ? maxBlockBits : maxBlockWords;
    const RequestPieces::Unit unit = bits ? RequestPieces::BitsAsRegisters : RequestPieces::Elements;
    const RequestPieces pieces = limit == 0 || limit >= key.count
                                     ? RequestPieces::uncut(key.startAddr, key.count, unit)
                                     : RequestPieces(key.startAddr, key.count, limit, unit);
    if (pieces.number() < 1)
        return;
    addPiecesToList(conditionReadList, pieces, request, NoPayload());
    conditionVar = request;
}
