#include "address/register_types.h"

#include "driver/qt_compat.h"

namespace {

enum Row { Coil, DiscreteInput, InputBit, HoldingBit, Input, Holding, InputDouble, HoldingDouble };

const RegisterType table[RegisterTypeCount] = {
    {"0x", CoilUnit, Coil, 1, true},
    {"1x", CoilUnit, DiscreteInput, 2, false},
    {"3x_bit", RegisterBitUnit, Input, 4, false},
    {"4x_bit", RegisterBitUnit, Holding, 3, true},
    {"3x", WordUnit, Input, 4, false},
    {"4x", WordUnit, Holding, 3, true},
    {"3x_double", DoubleUnit, Input, 4, false},
    {"4x_double", DoubleUnit, Holding, 3, true},
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

/** Number of characters of a name by its unit: "4x", "4x_bit", "4x_double". */
enum { PlainLength = 2, BitLength = 6, DoubleLength = 9 };

/** The one row that a name of this length and first digit can be, or -1. */
int candidateRow(int length, ushort digit)
{
    switch (length) {
    case PlainLength:
        return digit == '4' ? Holding : digit == '3' ? Input : digit == '1' ? DiscreteInput : digit == '0' ? Coil : -1;
    case BitLength:
        return digit == '4' ? HoldingBit : digit == '3' ? InputBit : -1;
    case DoubleLength:
        return digit == '4' ? HoldingDouble : digit == '3' ? InputDouble : -1;
    default:
        return -1;
    }
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
    // Every reply and every request asks: no comparison with eight names.
    const int length = sizeOf(name);
    const QChar *text = name.constData();
    const int row = candidateRow(length, text[0].unicode()); // an empty text ends with a null character
    if (row < 0)
        return 0;
    for (int i = 1; i < length; ++i) {
        if (text[i].unicode() != static_cast<unsigned char>(table[row].name[i]))
            return 0;
    }
    return &table[row];
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
