#include "host/tags/address_hint.h"

#include "host/text/letters.h"
#include "host/text/numbers.h"

#include <algorithm>
#include <map>

namespace rtu {

namespace {

const int BitsOfRegister = 16;

std::string meant(const std::string &address, const std::string &reason = std::string())
{
    return "; did you mean " + address + "?" + (reason.empty() ? "" : " (" + reason + ")");
}

/** "3.05" and "3.16" behind the type. */
std::string bitHint(const std::string &type, const std::string &rest)
{
    const std::size_t point = rest.find('.');
    if (point == std::string::npos)
        return std::string();
    const std::string digits = rest.substr(point + 1, rest.find_first_not_of("0123456789", point + 1) - point - 1);
    int bit = 0;
    if (!readNumber(digits, &bit))
        return std::string();
    if (bit >= BitsOfRegister)
        return "; bits go to 15";
    if (digits.size() > 1 && digits[0] == '0')
        return meant(type + rest.substr(0, point + 1) + std::to_string(bit) + rest.substr(point + 1 + digits.size()),
                     "one digit below 10");
    return std::string();
}

/** "3.05": a bit of a register, as it is written behind the type. */
std::string bareBitHint(const std::string &text)
{
    const std::size_t point = text.find('.');
    int number = 0;
    if (!readNumber(text.substr(0, point), &number) || point + 1 == text.size())
        return std::string();
    const std::string type = "4x_bit";
    const std::string hint = bitHint(type, text);
    return hint.empty() ? meant(type + text) : hint;
}

/** The register type by which others' names for what a value is are known here. */
std::string endingFor(const std::string &word)
{
    static const std::map<std::string, std::string> endings = {
        {"float", "_double"}, {"real", "_double"}, {"float32", "_double"}, {"int32", "_double"}, {"uint32", "_double"},
        {"dword", "_double"}, {"dint", "_double"}, {"long", "_double"},    {"bool", "_bit"},     {"bits", "_bit"},
    };
    const auto found = endings.find(word);
    return found == endings.end() ? std::string() : found->second;
}

/** "_float10" behind a type of which there is none. */
std::string endingHint(const std::string &type, const std::string &rest)
{
    const std::size_t digits = rest.find_first_of("0123456789");
    if (rest.empty() || rest[0] != '_' || digits == std::string::npos)
        return std::string();
    for (std::size_t end = rest.size(); end > 1; --end) { // "_float3210" may be a float32 or a float
        const std::string word = rest.substr(1, end - 1);
        const std::string ending = endingFor(word);
        if (ending.empty())
            continue;
        const bool real = word.compare(0, 5, "float") == 0 || word == "real";
        return meant(type + ending + rest.substr(end) + (real ? ":float" : ""));
    }
    return std::string();
}

/** "4x100:float": such a value takes two registers. */
std::string formatHint(const RegisterType &type, const std::string &rest)
{
    const std::size_t colon = rest.find(':');
    if (colon == std::string::npos || type.isBit() || type.isDouble())
        return std::string();
    const std::string format = rest.substr(colon + 1, rest.find('@', colon) - colon - 1);
    const bool wide = format == "float" || format == "int32" || format == "uint32";
    return wide ? meant(type.name + "_double" + rest) : std::string();
}

} // namespace

bool beginsWithTable(const std::string &text)
{
    return text.size() > 2 && std::string("0134").find(text[0]) != std::string::npos && text[1] == 'x';
}

std::string fromNumberedTables(const std::string &text)
{
    const bool digits = text.find_first_not_of("0123456789") == std::string::npos;
    if (!digits || (text.size() != 5 && text.size() != 6) || std::string("0134").find(text[0]) == std::string::npos)
        return std::string();
    int number = 0;
    readNumber(text.substr(1), &number);
    return number == 0 ? std::string() : std::string(1, text[0]) + "x" + std::to_string(number);
}

std::string addressHint(const RegisterCatalog &catalog, const std::string &text)
{
    const std::string small = lowered(text);
    const RegisterType *const type = catalog.prefixOf(small);
    if (!type) {
        const std::string place = text.substr(0, text.find_first_of(":@="));
        if (place.find('.') != std::string::npos)
            return bareBitHint(place);
        const std::string address = fromNumberedTables(place);
        return address.empty() ? std::string() : meant(address);
    }
    const std::string rest = small.substr(type->name.size());
    const std::string hint = type->bitInRegister ? bitHint(type->name, rest) : endingHint(type->name, rest);
    if (!hint.empty())
        return hint;
    if (small != text)
        return meant(small);
    return formatHint(*type, rest);
}

} // namespace rtu
