/**
 * @file
 * One-off reads, handed to the driver one request at a time: when one fails, it drops
 * all that it has.
 */
#ifndef KIT_TRANSFER_READ_QUEUE_H
#define KIT_TRANSFER_READ_QUEUE_H

#include "kit/link/link_parts.h"
#include "kit/poll/request_end.h"

#include <modbus_rtu_host/read_result.h>

#include <deque>

namespace rtu {

struct ReadJob : Job<ReadResult>
{
    std::shared_ptr<const TagLayout> layout;

    // Of the link's thread alone:
    std::function<void(const ReadResult &)> inside; ///< the link's own receiver, told at once
    int handed = 0;                                 ///< values, those on the line included
    TimePoint oldest;                               ///< reply that brought some of them
};

using ReadJobPtr = std::shared_ptr<ReadJob>;

class ReadQueue
{
public:
    explicit ReadQueue(LinkParts &parts) : m_parts(parts) {}

    void accept(const ReadJobPtr &job) { m_waiting.push_back(job); }
    /** Ahead of those that wait. */
    void acceptFirst(const ReadJobPtr &job) { m_waiting.push_front(job); }

    /** Hands the driver the next piece. True: it has one. */
    bool feed();
    bool handed() const { return m_inDriver; }
    void requestDone(const RequestEnd &end);
    void stationSilent(int station);
    void portAway();
    void endAll();

private:
    void handPiece();
    void endCurrent(const RequestEnd &end);
    void endUnread(const ReadJobPtr &job, ReadEnd how);
    void end(const ReadJobPtr &job, const ReadResult &result);
    template <typename Condition>
    void endWaiting(Condition condition, ReadEnd how);

    LinkParts &m_parts;
    std::deque<ReadJobPtr> m_waiting;
    ReadJobPtr m_current;
    bool m_inDriver = false;
};

/** Has the driver read an area once. */
void askForArea(DriverLibrary &driver, const Area &area, Source source);

} // namespace rtu

#endif
