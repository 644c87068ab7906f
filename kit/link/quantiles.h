/**
 * @file
 * Percentiles of the latest samples of a duration.
 */
#ifndef KIT_LINK_QUANTILES_H
#define KIT_LINK_QUANTILES_H

#include <modbus_rtu_host/line.h>

#include <vector>

namespace rtu {

/** Median and 95th percentile of the latest samples; 0 when there are none. */
class Quantiles
{
public:
    void add(Duration sample);
    Duration median() const { return quantile(0.5); }
    Duration percentile95() const { return quantile(0.95); }
    Duration quantile(double share) const;
    bool empty() const { return m_samples.empty(); }

private:
    enum { Kept = 1024 };

    std::vector<Duration> m_samples;
    std::size_t m_next = 0;
};

} // namespace rtu

#endif
