#include "host/live/value_history.h"

#include <algorithm>

namespace rtu {

namespace {

const std::size_t KeptInAll = 1000000;
const std::size_t MostKept = 512; ///< more than a screen has columns
const std::size_t LeastKept = 16;

} // namespace

ValueHistory::ValueHistory(const std::vector<TagRange> &tags)
{
    std::size_t values = 1;
    for (const TagRange &tag : tags) {
        m_readings.emplace_back(static_cast<std::size_t>(tag.values));
        values += static_cast<std::size_t>(tag.values);
    }
    m_kept = std::max(LeastKept, std::min(MostKept, KeptInAll / values));
}

void ValueHistory::add(std::size_t tag, int value, const Reading &reading)
{
    std::vector<Reading> &readings = m_readings[tag][static_cast<std::size_t>(value)];
    if (readings.size() >= m_kept)
        readings.erase(readings.begin());
    readings.push_back(reading);
}

const std::vector<Reading> &ValueHistory::readings(std::size_t tag, int value) const
{
    return m_readings[tag][static_cast<std::size_t>(value)];
}

} // namespace rtu
