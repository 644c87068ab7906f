#include "host/tags/tag.h"

#include "host/tags/address_hint.h"
#include "host/text/numbers.h"

#include <algorithm>
#include <stdexcept>

namespace rtu {

namespace {

/** The driver's access code of an object that writes. */
enum { ReadAccessMode = 0, WriteAccessMode = 1 };

/** "from 1 to 255" */
std::string limitsText(int lowest, int highest)
{
    return "from " + std::to_string(lowest) + " to " + std::to_string(highest);
}

/** Cuts what follows the separator off the text; empty when there is none. */
std::string cutAfter(std::string &text, const std::string &separator)
{
    const std::size_t position = text.find(separator);
    if (position == std::string::npos)
        return std::string();
    const std::string rest = text.substr(position + separator.size());
    if (rest.empty())
        throw std::invalid_argument("\"" + text + "\": nothing follows the \"" + separator + "\"");
    text.resize(position);
    return rest;
}

int plainAddress(DriverLibrary &driver, const TagRange &tag, const std::string &text)
{
    TagRange single = tag;
    single.values = 1;
    setAddress(driver, single, text, Access::Read);
    return single.address;
}

/** Sets address and length of a range such as 10..19. */
void setRange(DriverLibrary &driver, TagRange &tag, const std::string &first, const std::string &last)
{
    const int from = plainAddress(driver, tag, first);
    const int to = plainAddress(driver, tag, last);
    if (to < from)
        throw std::invalid_argument("the range " + first + ".." + last + " ends before it begins");
    tag.values = (to - from) / tag.type.unitsPerValue() + 1;
    setAddress(driver, tag, first, Access::Read);
}

std::vector<TagRange> readTags(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &text,
                               const std::vector<int> &stations, int values)
{
    const RegisterType *type = catalog.prefixOf(text);
    if (!type)
        throw std::invalid_argument("\"" + text + "\" is not an address: it must begin with one of " + catalog.names()
                                    + ", such as 4x100");
    std::string rest = text.substr(type->name.size());
    const std::string stationText = cutAfter(rest, "@");
    const std::string format = cutAfter(rest, ":");
    const std::string last = cutAfter(rest, "..");
    TagRange tag;
    tag.type = *type;
    tag.values = values;
    tag.format.width = type->width;
    tag.format.format = formatFromName(format, *type);
    if (last.empty())
        setAddress(driver, tag, rest, Access::Read);
    else
        setRange(driver, tag, rest, last);
    std::vector<TagRange> tags;
    for (int station : stationText.empty() ? stations : parseNumberList(stationText, 0, HighestStation, "station")) {
        tag.station = station;
        tags.push_back(tag);
    }
    return tags;
}

} // namespace

AddressCheck checkAddress(DriverLibrary &driver, const RegisterType &type, const std::string &text, int count,
                          Format format, Access access)
{
    QString qtType = QString::fromStdString(type.name);
    QString qtText = QString::fromStdString(text);
    AddressCheck check;
    check.result = driver.checkAddrValidity(&qtType, &qtText, &check.address, count, type.isBit() ? 0 : 1);
    if (check.result != 0)
        return check;
    check.result = driver.checkAddr(&qtType, &qtText, &check.address, driverFormatCode(format, type.width), count,
                                    access == Access::Write ? WriteAccessMode : ReadAccessMode);
    return check;
}

std::string addressCheckText(int result, const std::string &typeName, const RegisterType *type)
{
    const std::string range =
        type ? " (" + type->name + " goes from " + type->lowest + " to " + type->highest + ")" : std::string();
    switch (result) {
    case 0:
        return "valid";
    case 1:
        return "the register type does not fit the object: one is a bit, the other is not";
    case 2:
        return "out of range, the last element included" + range;
    case 3:
        return "unknown register type \"" + typeName + "\"";
    case 4:
        return "not an address in the notation of the type"
               + (type ? " " + type->name + ": " + type->notation : std::string());
    case 5:
        return "a 32-bit type needs two registers and a 32-bit format";
    case 6:
        return typeName + " is read-only";
    case 14:
        return "this format needs two registers";
    case 16:
        return "the address is too long" + range;
    default:
        return "refused by the driver with result " + std::to_string(result);
    }
}

std::string inDecimals(const std::string &text)
{
    std::uint64_t number = 0;
    return readPrefixed(text, &number) ? std::to_string(number) : text;
}

void setAddress(DriverLibrary &driver, TagRange &tag, const std::string &typed, Access access)
{
    const std::string text = inDecimals(typed);
    const AddressCheck check = checkAddress(driver, tag.type, text, tag.count(), tag.format.format, access);
    if (check.result != 0)
        throw std::invalid_argument(tag.type.name + text
                                    + (tag.values > 1 ? ", " + std::to_string(tag.values) + " values" : std::string())
                                    + ": " + addressCheckText(check.result, tag.type.name, &tag.type));
    tag.address = check.address;
}

std::vector<TagRange> parseTags(DriverLibrary &driver, const RegisterCatalog &catalog, const std::string &text,
                                const std::vector<int> &stations, int values)
{
    try {
        return readTags(driver, catalog, text, stations, values);
    } catch (const std::invalid_argument &error) {
        throw std::invalid_argument(error.what() + addressHint(catalog, text));
    }
}

int parseNumber(const std::string &text, int lowest, int highest, const std::string &what)
{
    int number = 0;
    if (!readNumber(text, &number))
        throw std::invalid_argument("\"" + text + "\" is not a " + what + ", which is one number "
                                    + limitsText(lowest, highest));
    if (number < lowest || number > highest)
        throw std::invalid_argument("\"" + text + "\": a " + what + " is " + limitsText(lowest, highest));
    return number;
}

std::vector<int> parseNumberList(const std::string &text, int lowest, int highest, const std::string &what)
{
    std::vector<int> numbers;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        std::string first = text.substr(begin, end - begin);
        begin = end + 1;
        const std::size_t dash = first.find_first_of("-:", 1);
        const std::string second = dash == std::string::npos ? first : first.substr(dash + 1);
        if (dash != std::string::npos)
            first.resize(dash);
        int from = 0;
        int to = 0;
        if (!readNumber(first, &from) || !readNumber(second, &to))
            throw std::invalid_argument("\"" + text + "\" is not a " + what + " " + limitsText(lowest, highest)
                                        + ", nor a list of them such as 1,3,5-7");
        if (from < lowest || to > highest || to < from)
            throw std::invalid_argument("\"" + text + "\": a " + what + " is " + limitsText(lowest, highest)
                                        + "; lists are written 1,3,5-7");
        for (int number = from; number <= to; ++number)
            numbers.push_back(number);
    }
    return numbers;
}

} // namespace rtu
