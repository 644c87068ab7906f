/**
 * @file
 * Rows for what others say to each other: as for what is polled, beside the lines or the table.
 */
#ifndef RTU_HOST_HEARD_RECORDS_H
#define RTU_HOST_HEARD_RECORDS_H

#include "host/listen/heard_text.h"
#include "host/report/records.h"

#include <vector>

namespace rtu {

/** Stands in front of another listener. */
class HeardRecords : public TrafficListener
{
public:
    /** @param next hears everything first */
    HeardRecords(TrafficListener &next, const RegisterNames &names) : m_next(next), m_names(names) {}

    void addRecords(Records &records) { m_records.push_back(&records); }
    void notePort(bool open, TimePoint now);

    void onFrame(Role role, const HeardBytes &frame) override { m_next.onFrame(role, frame); }
    void onTransaction(const Transaction &transaction) override;
    void onOpenRequest(const Transaction &request) override { m_next.onOpenRequest(request); }
    void onStrayReply(const HeardBytes &reply) override { m_next.onStrayReply(reply); }
    void onGarbage(const HeardBytes &garbage) override { m_next.onGarbage(garbage); }

private:
    TagRange tagAt(const Transaction &t, int offset) const;
    void printValue(const TagRange &tag, const Transaction &t, const int *value);
    void printWritten(const TagRange &tag, const Transaction &t, int value);

    TrafficListener &m_next;
    const RegisterNames m_names;
    std::vector<Records *> m_records;
};

} // namespace rtu

#endif
