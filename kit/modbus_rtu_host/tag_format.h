/**
 * @file
 * How the registers of a tag make up its value.
 */
#ifndef MODBUS_RTU_HOST_TAG_FORMAT_H
#define MODBUS_RTU_HOST_TAG_FORMAT_H

namespace rtu {

/** The width comes from the register type: one bit, 16 bits, or 32 bits for the types that end in "_double". */
enum class TagFormat {
    Usual,    ///< Bit for bits, Unsigned for registers
    Bit,      ///< 0 or 1
    Unsigned, ///< 16 or 32 bits
    Signed,   ///< two's complement of 16 or 32 bits
    Hex,      ///< as Unsigned, its text being hexadecimal
    Binary,   ///< as Unsigned, its text being binary
    Float,    ///< IEEE 754, 32 bits only
    Text,     ///< two characters a register, the first in the high byte; ended by a zero. 16 bits only
};

/** Which register of a 32-bit value has the upper half. */
enum class WordOrder {
    HighFirst, ///< the lower register, as the driver has it
    LowFirst,  ///< the upper register
};

} // namespace rtu

#endif
