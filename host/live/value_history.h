/**
 * @file
 * The latest readings of each value, within bounds.
 */
#ifndef RTU_HOST_VALUE_HISTORY_H
#define RTU_HOST_VALUE_HISTORY_H

#include "host/tags/tag.h"

#include <modbus_rtu_host/line.h>

#include <vector>

namespace rtu {

struct Reading
{
    TimePoint time;
    std::uint32_t raw = 0;
};

class ValueHistory
{
public:
    explicit ValueHistory(const std::vector<TagRange> &tags);

    /** @param value zero-based */
    void add(std::size_t tag, int value, const Reading &reading);
    /** Oldest first. */
    const std::vector<Reading> &readings(std::size_t tag, int value) const;

private:
    std::size_t m_kept; ///< of each value
    std::vector<std::vector<std::vector<Reading>>> m_readings;
};

} // namespace rtu

#endif
