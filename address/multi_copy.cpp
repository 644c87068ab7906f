#include "address/multi_copy.h"

#include "address/register_types.h"
#include "driver/arithmetic.h"

namespace {

/** Last zero-based address of an element, by RegisterUnit. */
const int lastAddress[] = {65535, 65535, 65536 * 16 - 1, 65534};

QString addressText(const RegisterType &type, int address)
{
    // Rendered unsigned: a step below zero shows as a huge number, not as a
    // valid-looking address.
    if (type.unit != RegisterBitUnit)
        return QString::number(static_cast<unsigned int>(wrapAdd(address, 1)));
    return QString::number(static_cast<unsigned int>(address / 16 + 1)) + QLatin1Char('.')
           + QString::number(static_cast<unsigned int>(address % 16));
}

} // namespace

int multiCopy(const QString &regType, int startAddress, int copies, int increment, QVector<QString> *texts,
              QVector<int> *addresses)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type)
        return 0;

    const int last = lastAddress[type->unit];
    const int total = boundedCount(copies);
    bool clamped = false;
    int running = startAddress;
    for (int i = 0; i < total; ++i) {
        const bool inside = running <= last;
        const int address = inside ? running : last;
        if (addresses)
            addresses->append(address);
        if (texts)
            texts->append(addressText(*type, address));
        clamped = clamped || !inside;
        running = wrapAdd(running, increment);
    }
    return clamped ? 2 : 1;
}
