/**
 * @file
 * Tells the late reply of a station that was asked before from one of another master's.
 */
#ifndef RTU_HOST_SEARCH_LATE_REPLIES_H
#define RTU_HOST_SEARCH_LATE_REPLIES_H

#include <modbus_rtu_host/transaction.h>

#include <vector>

namespace rtu {

class LateReplies
{
public:
    /** @param longest from the end of a request to a reply that can still be its own */
    explicit LateReplies(Duration longest) : m_longest(longest) {}

    /** To be told what was asked in vain. */
    void expect(const Transaction &transaction) { m_unheard.push_back(transaction); }
    void forget() { m_unheard.clear(); }

    /** The earlier request that this reply belongs to; nullptr: to none. Valid until the next change. */
    const Transaction *requestOf(const Transaction &transaction) const;

private:
    const Duration m_longest;
    std::vector<Transaction> m_unheard;
};

} // namespace rtu

#endif
