#include "host/tags/driver_property.h"

#include "host/text/numbers.h"

#include <algorithm>

namespace rtu {

namespace {

std::vector<std::string> fieldsOf(const std::string &text, char separator)
{
    std::vector<std::string> fields(1);
    for (char c : text) {
        if (c == separator)
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

/** As the driver reads it: 0 for what is no number. */
int numberIn(const std::string &field)
{
    int number = 0;
    readNumber(field, &number);
    return number;
}

} // namespace

std::string DriverProperty::text() const
{
    if (!raw.empty())
        return raw;
    std::string result = std::to_string(linkId) + "#" + (localWriteOnly ? "1" : "0") + "#0#" + std::to_string(attempts)
                         + "#" + std::to_string(maxWords) + "#" + (swapAll ? "1" : "0");
    for (std::size_t i = 0; i < swapStations.size(); ++i)
        result += (i == 0 ? "_" : ",") + std::to_string(swapStations[i]);
    return result;
}

void DriverProperty::adopt(const std::string &text)
{
    raw = text;
    const std::vector<std::string> fields = fieldsOf(text, '#');
    if (fields.size() < 5)
        return;
    linkId = numberIn(fields[0]);
    localWriteOnly = numberIn(fields[1]) != 0;
    attempts = numberIn(fields[3]);
    maxWords = numberIn(fields[4]);
    if (fields.size() < 6)
        return;
    const std::vector<std::string> swap = fieldsOf(fields[5], '_');
    swapAll = numberIn(swap[0]) != 0;
    swapStations.clear();
    if (swap.size() < 2)
        return;
    for (const std::string &station : fieldsOf(swap[1], ','))
        swapStations.push_back(numberIn(station));
}

bool DriverProperty::wellFormed(const std::string &text)
{
    std::vector<std::string> fields = fieldsOf(text, '#');
    if (fields.size() < 5 || fields.size() > 6)
        return false;
    if (fields.size() == 6) {
        std::vector<std::string> swap = fieldsOf(fields[5], '_');
        fields.pop_back();
        fields.push_back(swap[0]);
        for (const std::string &station : swap.size() > 1 ? fieldsOf(swap[1], ',') : std::vector<std::string>())
            fields.push_back(station);
    }
    int number = 0;
    return std::all_of(fields.begin(), fields.end(),
                       [&](const std::string &field) { return readNumber(field, &number); });
}

bool DriverProperty::swaps(int station) const
{
    return swapAll || std::find(swapStations.begin(), swapStations.end(), station) != swapStations.end();
}

} // namespace rtu
