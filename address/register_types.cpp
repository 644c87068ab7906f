#include "address/register_types.h"

#include "driver/qt_compat.h"

namespace {

enum Row { Coil, DiscreteInput, InputBit, HoldingBit, Input, Holding, InputDouble, HoldingDouble };

const RegisterType table[RegisterTypeCount] = {
    {"0x", 2, CoilUnit, Coil, 1, true},
    {"1x", 2, CoilUnit, DiscreteInput, 2, false},
    {"3x_bit", 6, RegisterBitUnit, Input, 4, false},
    {"4x_bit", 6, RegisterBitUnit, Holding, 3, true},
    {"3x", 2, WordUnit, Input, 4, false},
    {"4x", 2, WordUnit, Holding, 3, true},
    {"3x_double", 9, DoubleUnit, Input, 4, false},
    {"4x_double", 9, DoubleUnit, Holding, 3, true},
};

/** The names as texts on the heap: texts outlive the library where the host keeps them. */
struct Texts
{
    QString names[RegisterTypeCount];

    Texts()
    {
        for (int i = 0; i < RegisterTypeCount; ++i)
            names[i] = QString::fromLatin1(table[i].name);
    }
};

const Texts &texts()
{
    static const Texts instance;
    return instance;
}

bool equalsLatin1(const QChar *text, const char *name, int length)
{
    for (int i = 0; i < length; ++i) {
        if (text[i].unicode() != static_cast<unsigned char>(name[i]))
            return false;
    }
    return true;
}

/** The row of the type that composes @p base with a unit, or -1 when the base is no register type. */
int composedRow(const QString &base, int inputRow, int holdingRow)
{
    const RegisterType *type = findRegisterType(base);
    if (!type || type->unit != WordUnit)
        return -1;
    return type->areaType == Input ? inputRow : holdingRow;
}

} // namespace

const RegisterType *registerTypes()
{
    return table;
}

const RegisterType *findRegisterType(const QString &name)
{
    const int length = sizeOf(name);
    const QChar *text = name.constData();
    for (int i = 0; i < RegisterTypeCount; ++i) {
        if (table[i].nameLength == length && equalsLatin1(text, table[i].name, length))
            return &table[i];
    }
    return 0;
}

const QString &registerTypeText(const RegisterType &type)
{
    return texts().names[&type - table];
}

const QString &areaTypeText(const RegisterType &type)
{
    return texts().names[type.areaType];
}

QString bitTypeOf(const QString &regType)
{
    const int row = composedRow(regType, InputBit, HoldingBit);
    return row < 0 ? regType + QLatin1String("_bit") : texts().names[row];
}

QString doubleTypeOf(const QString &regType)
{
    const int row = composedRow(regType, InputDouble, HoldingDouble);
    return row < 0 ? regType + QLatin1String("_double") : texts().names[row];
}
