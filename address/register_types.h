/**
 * @file
 * The eight register types: one table that every subsystem reads.
 */
#ifndef REGISTER_TYPES_H
#define REGISTER_TYPES_H

#include "driver/arithmetic.h"

#include <QtCore/QString>

/** What one element of a type is, and so how it is addressed, cached and sent. */
enum RegisterUnit {
    CoilUnit,        ///< one coil or discrete input, cached in an area of its own
    WordUnit,        ///< one 16-bit register
    RegisterBitUnit, ///< one bit of a register, addressed register x 16 + bit
    DoubleUnit       ///< a 32-bit value in two consecutive registers, counted in registers
};

/** One register type. Names are exact and case-sensitive. */
struct RegisterType
{
    const char *name;
    RegisterUnit unit;
    int areaType;     ///< position in the table of the type whose areas hold the values
    int readFunction; ///< Modbus function code of a read (Modbus application protocol, sections 6.1 to 6.4)
    bool writable;
};

enum { RegisterTypeCount = 8 };

/** The last zero-based address of an element; a 32-bit value takes the register behind its own as well. */
inline int lastAddress(RegisterUnit unit)
{
    const int beyond = unit == RegisterBitUnit ? StationElements * RegisterBits : StationElements;
    return unit == DoubleUnit ? beyond - 2 : beyond - 1;
}

/**
 * Registers that a number of bits fills, the last one in part. For a negative number
 * that is no multiple of 16 this is one more than divideUp() gives: 1 for -1.
 */
inline int registersOf(int bits)
{
    return bits / RegisterBits + ((bits & (RegisterBits - 1)) != 0 ? 1 : 0);
}

/** The table, in the order in which the types are presented to a project author. */
const RegisterType *registerTypes();

/** The type of this name, or null for an unknown one. */
const RegisterType *findRegisterType(const QString &name);

/** The name as a text; always the same shared buffer, so that areas of a type share it. */
const QString &registerTypeText(const RegisterType &type);

/** The name of the type whose areas hold the values: "0x", "1x", "3x" or "4x". */
const QString &areaTypeText(const RegisterType &type);

/** True for the types whose elements are single bits. */
inline bool isBitType(const RegisterType &type)
{
    return type.unit == CoilUnit || type.unit == RegisterBitUnit;
}

/** @p regType followed by "_bit": the type of the bits of a register. */
QString bitTypeOf(const QString &regType);

/** @p regType followed by "_double": the type of the 32-bit values in registers. */
QString doubleTypeOf(const QString &regType);

#endif
