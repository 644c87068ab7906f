/**
 * @file
 * Values between the driver's bytes and the text that people read and type.
 */
#ifndef RTU_HOST_VALUE_FORMAT_H
#define RTU_HOST_VALUE_FORMAT_H

#include "kit/driver/register_catalog.h"

#include <cstdint>
#include <string>

namespace rtu {

enum class Format { Bit, Unsigned, Signed, Hex, Binary, Float };

/** How the values of a tag are shown and typed. */
struct ValueFormat
{
    Format format = Format::Unsigned;
    int width = 1;             ///< of the register type: 0 bit, 1 register, 2 two registers
    double scale = 1.0;        ///< shown value = scale x stored value
    bool lowWordFirst = false; ///< the slave keeps the low word of 32-bit values in the first register

    /** False for bits and bit patterns, which have no scale. */
    bool isNumber() const { return format == Format::Unsigned || format == Format::Signed || format == Format::Float; }
};

/**
 * Finds the format that a name stands for: bit, uint16, int16, uint32, int32,
 * int, uint, hex, bin, float; empty for the usual one.
 *
 * @throws std::invalid_argument when it does not fit the type
 */
Format formatFromName(const std::string &name, const RegisterType &type);

/** The name for tables and messages. */
std::string formatName(Format format, int width);

/** The data-format code by which this host names the format to the driver; -1 for bits. */
int driverFormatCode(Format format, int width);

/** The value as people read it, scaled. */
std::string valueText(std::uint32_t raw, const ValueFormat &format);

/** As that, but parseValue() makes the same bits of it: a float that is no number is written as bits. */
std::string storedText(std::uint32_t raw, const ValueFormat &format);

/** "-1" for a register that holds 65535 and may be meant so; empty where there is no doubt. */
std::string signedReading(std::uint32_t raw, const ValueFormat &format);

/** The value as a number, scaled; bit patterns as they are. */
double valueNumber(std::uint32_t raw, const ValueFormat &format);

/** The format in which the value can be shown next: one after the other, and the first again. */
Format nextFormat(const ValueFormat &format);

/** The value as it is stored, in hexadecimal (a bit as 0 or 1). */
std::string rawText(std::uint32_t raw, const ValueFormat &format);

/** True when valueText() is a number that JSON takes. */
bool isJsonNumber(const std::string &text);

/**
 * Reads a typed value: decimal, 0x..., 0b..., with a fraction where the format or
 * the scale has one, on/off/true/false for bits.
 *
 * @throws std::invalid_argument that says what would be right
 */
std::uint32_t parseValue(const std::string &text, const ValueFormat &format);

} // namespace rtu

#endif
