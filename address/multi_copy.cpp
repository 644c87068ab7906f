#include "address/multi_copy.h"

#include "address/address_syntax.h"
#include "address/register_types.h"
#include "driver/arithmetic.h"

#include <climits>

namespace {

/** True when one of the addresses start + k x step, for k below number, lies beyond the last; they wrap. */
bool stepsBeyond(long long start, long long step, long long number, int last)
{
    if (number < 1)
        return false;
    if (start > last)
        return true;
    // The circle of 32-bit numbers is entered beyond the last address from below
    // going up, and from above, past the lowest number, going down.
    const long long way = step > 0 ? last + 1LL - start : start - INT_MIN + 1LL;
    const long long stride = step > 0 ? step : -step;
    return stride > 0 && (way + stride - 1) / stride < number;
}

/** The same for any step: one that can jump over everything beyond the last address moves every other copy little. */
bool anyBeyond(int start, int step, int number, int last)
{
    const long long beyond = static_cast<long long>(INT_MAX) - last; // how many addresses there are
    if (step <= beyond && -static_cast<long long>(step) <= beyond)
        return stepsBeyond(start, step, number, last);
    const int twoSteps = wrapAdd(step, step);
    const long long odd = number / 2;
    return stepsBeyond(start, twoSteps, number - odd, last) || stepsBeyond(wrapAdd(start, step), twoSteps, odd, last);
}

} // namespace

int multiCopy(const QString &regType, int startAddress, int copies, int increment, QVector<QString> *texts,
              QVector<int> *addresses)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type)
        return 0;

    const int last = lastAddress(type->unit);
    const int total = boundedCount(copies);
    int running = startAddress;
    for (int i = 0; i < total && (addresses || texts); ++i) {
        const int address = running <= last ? running : last;
        if (addresses)
            addresses->append(address);
        if (texts)
            texts->append(textOfAddress(address, type->unit == RegisterBitUnit, ShownHuge));
        running = wrapAdd(running, increment);
    }
    return anyBeyond(startAddress, increment, copies, last) ? 2 : 1;
}
