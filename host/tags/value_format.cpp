#include "host/tags/value_format.h"

#include "host/text/letters.h"
#include "host/text/numbers.h"
#include "kit/tags/float_bits.h"
#include "kit/tags/value_range.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace rtu {

namespace {

struct NamedFormat
{
    const char *name;
    Format format;
    int width; ///< required width, -1 for registers of either width
};

const NamedFormat namedFormats[] = {
    {"bit", Format::Bit, 0},        {"bool", Format::Bit, 0},        {"uint16", Format::Unsigned, 1},
    {"int16", Format::Signed, 1},   {"uint32", Format::Unsigned, 2}, {"int32", Format::Signed, 2},
    {"uint", Format::Unsigned, -1}, {"int", Format::Signed, -1},     {"hex", Format::Hex, -1},
    {"bin", Format::Binary, -1},    {"float", Format::Float, 2},
};

std::string widthName(int width)
{
    return width == 0 ? "a bit" : width == 1 ? "a 16-bit register" : "a 32-bit value";
}

std::string formatsFor(int width)
{
    std::string text;
    for (const NamedFormat &named : namedFormats) {
        if (named.width == width || (named.width < 0 && width > 0))
            text += (text.empty() ? "" : ", ") + std::string(named.name);
    }
    return text;
}

int bits(const ValueFormat &format)
{
    return format.width == 0 ? 1 : 16 * format.width;
}

std::uint32_t mask(const ValueFormat &format)
{
    return valueMask(bits(format));
}

std::int64_t signedValue(std::uint32_t raw, const ValueFormat &format)
{
    return format.width == 2 ? static_cast<std::int32_t>(raw) : static_cast<std::int16_t>(raw);
}

/** The shortest text that reads back as the same, by the judgement of @p same. */
template <typename Same>
std::string shortestPrinted(double value, int mostDigits, const Same &same)
{
    for (int digits = 6; digits < mostDigits; ++digits) {
        const std::string text = general(value, digits);
        double back = 0;
        readNumber(text, &back);
        if (same(back))
            return text;
    }
    return general(value, mostDigits);
}

/** As that, but a million is 1000000 and not 1e+06. */
template <typename Same>
std::string shortest(double value, int mostDigits, double exactUpTo, const Same &same)
{
    const std::string text = shortestPrinted(value, mostDigits, same);
    const bool wholeNumber = text.find("e+") != std::string::npos && std::abs(value) < exactUpTo;
    return wholeNumber ? fixed(value, 0) : text;
}

std::string binaryText(std::uint32_t raw, int digits)
{
    std::string text = "0b"; // so that it is read again as what it is
    for (int i = digits - 1; i >= 0; --i)
        text += (raw >> i & 1u) ? '1' : '0';
    return text;
}

bool isUnscaled(const ValueFormat &format)
{
    return format.scale == 1.0;
}

double numericValue(std::uint32_t raw, const ValueFormat &format)
{
    if (format.format == Format::Float)
        return static_cast<double>(floatOf(raw));
    return format.format == Format::Signed ? static_cast<double>(signedValue(raw, format)) : static_cast<double>(raw);
}

/** What counts is the float that is stored, not the scaled number that is shown. */
std::string shortestFloat(std::uint32_t raw, const ValueFormat &format)
{
    const float stored = floatOf(raw);
    const double shown = static_cast<double>(stored) * format.scale;
    return shortest(shown, 17, 1e10,
                    [&](double back) { return bitsOfFloat(static_cast<float>(back / format.scale)) == raw; });
}

std::string shortestScaled(std::uint32_t raw, const ValueFormat &format)
{
    const double shown = numericValue(raw, format) * format.scale;
    return shortest(shown, 15, 1e15, [&](double back) { return std::abs(back - shown) <= 1e-12 * std::abs(shown); });
}

[[noreturn]] void refuse(const std::string &text, const std::string &wanted)
{
    throw std::invalid_argument("\"" + text + "\" is not a value here: " + wanted);
}

std::uint32_t parseBit(const std::string &typed)
{
    const std::string text = lowered(typed);
    if (text == "1" || text == "on" || text == "true")
        return 1;
    if (text == "0" || text == "off" || text == "false")
        return 0;
    refuse(typed, "a bit is 0 or 1 (also on, off, true, false)");
}

double parseNumber(const std::string &text)
{
    double value = 0;
    std::string withPoint = text;
    std::replace(withPoint.begin(), withPoint.end(), ',', '.');
    if (withPoint != text && readNumber(withPoint, &value))
        refuse(text, "decimals stand behind a point, as in " + withPoint);
    if (!readNumber(text, &value))
        refuse(text, "a number is needed, such as 1234, -5, 0x1F or 2.5");
    return value;
}

std::uint32_t parseInteger(const std::string &text, const ValueFormat &format)
{
    const ValueRange range = registerRange(bits(format), format.format == Format::Signed);
    const double stored = std::round(parseNumber(text) / format.scale);
    if (!range.holds(stored))
        refuse(text, "it must be from " + general(range.lowest * format.scale, 15) + " to "
                         + general(range.highest * format.scale, 15));
    if (isUnscaled(format) && stored != parseNumber(text))
        refuse(text, "whole numbers only");
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(stored)) & mask(format);
}

std::uint32_t parseFloat(const std::string &text, const ValueFormat &format)
{
    const double stored = parseNumber(text) / format.scale;
    const float rounded = static_cast<float>(stored); // the greatest float may be written a little too great
    if (std::isfinite(stored) && std::isinf(rounded))
        refuse(text, "it lies beyond 3.4e38, where 32-bit floats end");
    return bitsOfFloat(rounded);
}

} // namespace

Format formatFromName(const std::string &name, const RegisterType &type)
{
    if (name.empty())
        return type.isBit() ? Format::Bit : Format::Unsigned;
    for (const NamedFormat &named : namedFormats) {
        const bool fits = named.width == type.width || (named.width < 0 && type.width > 0);
        if (name == named.name && fits)
            return named.format;
    }
    throw std::invalid_argument("the format \"" + name + "\" does not fit " + type.name + ", which is "
                                + widthName(type.width) + ": use one of " + formatsFor(type.width));
}

std::string formatName(Format format, int width)
{
    for (const NamedFormat &named : namedFormats) {
        if (named.format == format && (named.width == width || named.width < 0))
            return named.name;
    }
    return "uint16";
}

int driverFormatCode(Format format, int width)
{
    if (width == 0)
        return -1;
    // The driver takes 1, 3, 5, 6 and 9 for 32-bit values and anything but -1 for registers.
    switch (format) {
    case Format::Hex:
        return 1;
    case Format::Signed:
        return 5;
    case Format::Float:
        return 6;
    case Format::Binary:
        return 9;
    default:
        return 3;
    }
}

double valueNumber(std::uint32_t raw, const ValueFormat &format)
{
    return format.isNumber() ? numericValue(raw, format) * format.scale : static_cast<double>(raw);
}

Format nextFormat(const ValueFormat &format)
{
    switch (format.format) {
    case Format::Unsigned:
        return Format::Signed;
    case Format::Signed:
        return format.width == 2 ? Format::Float : Format::Hex;
    case Format::Float:
        return Format::Hex;
    case Format::Hex:
        return Format::Binary;
    case Format::Binary:
        return Format::Unsigned;
    default:
        return format.format;
    }
}

std::string valueText(std::uint32_t raw, const ValueFormat &format)
{
    switch (format.format) {
    case Format::Bit:
        return raw ? "1" : "0";
    case Format::Hex:
        return rawText(raw, format);
    case Format::Binary:
        return binaryText(raw, bits(format));
    case Format::Float:
        return shortestFloat(raw, format);
    default:
        if (isUnscaled(format))
            return fixed(numericValue(raw, format), 0);
        return shortestScaled(raw, format);
    }
}

std::string storedText(std::uint32_t raw, const ValueFormat &format)
{
    const bool number = format.format != Format::Float || !std::isnan(floatOf(raw));
    return number ? valueText(raw, format) : rawText(raw, format);
}

std::string signedReading(std::uint32_t raw, const ValueFormat &format)
{
    const bool may = format.format == Format::Unsigned && format.width == 1 && isUnscaled(format);
    const std::int64_t value = signedValue(raw, format);
    return may && value < 0 ? std::to_string(value) : std::string();
}

std::string rawText(std::uint32_t raw, const ValueFormat &format)
{
    if (format.width == 0)
        return raw ? "1" : "0";
    return hexadecimal(raw, 4 * format.width);
}

bool isJsonNumber(const std::string &text)
{
    if (text.find_first_not_of("0123456789+-.e") != std::string::npos)
        return false;
    return text == "0" || text[0] != '0' || text.find('.') == 1;
}

std::uint32_t parseValue(const std::string &text, const ValueFormat &format)
{
    if (format.format == Format::Bit)
        return parseBit(text);
    std::uint64_t prefixed = 0;
    if (readPrefixed(text, &prefixed)) {
        if (prefixed > mask(format))
            refuse(text, "it has more than " + std::to_string(bits(format)) + " bits");
        return static_cast<std::uint32_t>(prefixed); // a bit pattern: taken as it is
    }
    if (format.format == Format::Float)
        return parseFloat(text, format);
    return parseInteger(text, format);
}

} // namespace rtu
