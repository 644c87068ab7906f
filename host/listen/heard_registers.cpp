#include "host/listen/heard_registers.h"

#include "host/listen/request_fields.h"

#include <tuple>

namespace rtu {

bool HeardPlace::operator<(const HeardPlace &other) const
{
    return std::tie(station, type, address) < std::tie(other.station, other.type, other.address);
}

std::string HeardPlace::label() const
{
    return std::to_string(station) + ":" + type + std::to_string(address + 1);
}

void HeardRegisters::note(const Transaction &transaction)
{
    const std::vector<int> values = valuesOf(transaction);
    HeardPlace place;
    place.station = transaction.station;
    place.type = transaction.regType.toStdString();
    for (int i = 0; i < transaction.count; ++i) {
        place.address = transaction.startAddr + i;
        const bool room = m_registers.size() < MostKept;
        const auto found = room ? m_registers.emplace(place, HeardRegister()).first : m_registers.find(place);
        if (found == m_registers.end()) {
            ++m_leftOut;
            continue;
        }
        HeardRegister &heard = found->second;
        heard.interval = heard.asked > 0 ? transaction.sent - heard.lastAsked : Duration(0);
        heard.lastAsked = transaction.sent;
        ++heard.asked;
        if (i >= static_cast<int>(values.size())) {
            ++heard.failed;
            continue;
        }
        heard.known = true;
        heard.value = values[static_cast<std::size_t>(i)];
        heard.time = transaction.finished;
    }
}

} // namespace rtu
