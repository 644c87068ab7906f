#include "kit/link/quantiles.h"

#include <algorithm>

namespace rtu {

void Quantiles::add(Duration sample)
{
    if (m_samples.size() < Kept) {
        m_samples.push_back(sample);
        return;
    }
    m_samples[m_next] = sample;
    m_next = (m_next + 1) % Kept;
}

Duration Quantiles::quantile(double share) const
{
    if (m_samples.empty())
        return Duration(0);
    std::vector<Duration> sorted = m_samples;
    const std::size_t rank =
        std::min(sorted.size() - 1, static_cast<std::size_t>(share * static_cast<double>(sorted.size())));
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(rank), sorted.end());
    return sorted[rank];
}

} // namespace rtu
