#include "planning/request_queue.h"

#include "driver/arithmetic.h"
#include "driver/qt_compat.h"
#include "driver/record_copy.h"

namespace {

const int lastPlace = 512;

} // namespace

bool isRange(const VARIABLE &unit, int station, const QString &regType, int startAddr, int count)
{
    return unit.station == station && unit.startAddr == startAddr && unit.count == count
           && (sharesText(unit.regType, regType) || unit.regType == regType);
}

void addVarToList(QList<VARIABLE> &list, const VARIABLE &var)
{
    for (int i = sizeOf(list) - 1; i >= 1; --i) {
        if (isRange(list.at(i), var.station, var.regType, var.startAddr, var.count)) {
            copyUnit(list[i], var);
            return;
        }
    }
    if (sizeOf(list) > lastPlace)
        copyUnit(list[lastPlace], var);
    else
        list.append(var);
}

RequestPieces::RequestPieces(int count, int limit) : pieces(count > 0 ? 1 : 0), each(count), last(count)
{
    if (limit <= 0)
        return;
    const int rest = count % limit;
    pieces = count / limit + (rest != 0 ? 1 : 0);
    each = limit;
    last = rest != 0 ? rest : limit;
}

int RequestPieces::offset(int k) const
{
    return wrapMul(k, each);
}
