/**
 * @file
 * The writes of a link, from the asking to their one end.
 *
 * The driver's queue can be neither looked into nor taken back from, and replaces the
 * pieces of a long write singly. So the writes wait here, and the driver gets one
 * request at a time.
 */
#ifndef KIT_LINK_WRITE_QUEUE_H
#define KIT_LINK_WRITE_QUEUE_H

#include "kit/link/link_parts.h"
#include "kit/poll/request_end.h"

#include <modbus_rtu_host/write_options.h>

#include <deque>

namespace rtu {

struct WriteJob : Job<WriteResult>
{
    std::shared_ptr<TagRecord> record; ///< null for values that no tag watches
    std::shared_ptr<const TagLayout> layout;
    std::vector<std::uint32_t> raw;
    bool keep = false;
    bool readBack = false;
    TimePoint asked;

    // Of the link's thread alone:
    int handed = 0;       ///< values given to the driver, those on the line included
    int acknowledged = 0; ///< values
    bool reading = false; ///< acknowledged whole, now being read back
};

using WriteJobPtr = std::shared_ptr<WriteJob>;

class WriteQueue
{
public:
    explicit WriteQueue(LinkParts &parts) : m_parts(parts) {}

    void accept(const WriteJobPtr &job);

    /** Hands the driver the next piece. True: it has one. */
    bool feed();
    void requestDone(const RequestEnd &end);
    /** The piece in the driver was taken out of it unsent. */
    void withdrawn(const Area &area);

    bool handed() const { return m_inDriver; }

    /** The write that wants its values read back now; null for none. */
    WriteJobPtr readingBack() const { return m_current && m_current->reading ? m_current : WriteJobPtr(); }
    /** @param read the values that the slave has now, or null when they could not be read */
    void readBackDone(const std::vector<std::uint32_t> *read, TimePoint when);

    void stationSilent(int station);
    /** The port is away: ends what may wait no longer. */
    void portAway(TimePoint now);
    /** When portAway() will have something to end; TimePoint::max() for never. */
    TimePoint nextExpiry() const;
    /** The link goes. @param sent the piece in the driver may have been sent */
    void endAll(bool sent);

private:
    bool handPiece();
    void takeNext();
    bool isKept(const RequestEnd &end) const;
    void putBack();
    void finish(const RequestEnd &end);
    void end(const WriteJobPtr &job, const WriteResult &result);
    void endCurrent(WriteResult result);
    void endUnsent(const WriteJobPtr &job, WriteEnd how, const QString &text);
    void endTakenBack(const WriteJobPtr &job);
    int pieceValues() const;
    template <typename Condition>
    void endWaiting(Condition condition, WriteEnd how, const QString &text);

    LinkParts &m_parts;
    std::deque<WriteJobPtr> m_waiting;
    WriteJobPtr m_current;
    bool m_inDriver = false; ///< a piece of the current one
};

} // namespace rtu

#endif
