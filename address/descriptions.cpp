#include "address/descriptions.h"

#include "address/address_syntax.h"
#include "address/register_types.h"

namespace {

struct Description
{
    const char *notation;
    const char *width;
};

/** By RegisterUnit. The width is "0" for a bit, "1" for a register, "2" for a 32-bit value. */
const Description descriptions[] = {
    {"ddddd", "0"},              // CoilUnit
    {"ddddd", "1"},              // WordUnit
    {"ddddd.DD (DD:0~15)", "0"}, // RegisterBitUnit
    {"ddddd", "2"},              // DoubleUnit
};

} // namespace

int listRegisterTypes(unsigned int requestType, QList<QString> &list)
{
    if (requestType > 1)
        return 0;
    const bool wantsBits = requestType == 0;
    for (int i = 0; i < RegisterTypeCount; ++i) {
        const RegisterType &type = registerTypes()[i];
        if (isBitType(type) == wantsBits)
            list.append(registerTypeText(type));
    }
    return 1;
}

int describeRegisterType(const QString &regType, QList<QString> &list)
{
    const RegisterType *type = findRegisterType(regType);
    if (!type)
        return 0;
    const Description &description = descriptions[type->unit];
    list.append(QLatin1String(description.notation));
    const bool bits = type->unit == RegisterBitUnit;
    list.append(textOfAddress(0, bits, ShownNegative));
    list.append(textOfAddress(lastAddress(type->unit), bits, ShownNegative));
    list.append(QLatin1String(description.width));
    list.append(QLatin1String(type->writable ? "1" : "0"));

    // Only the last type of the table counts as a success: hosts are built
    // around this result and look at the list instead.
    return regType == QLatin1String("4x_double") ? 1 : 0;
}
