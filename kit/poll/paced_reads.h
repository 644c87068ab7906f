/**
 * @file
 * Reads that the link asks for beside the cyclic plan: tags with a pace of their own,
 * and tags that are readable alone where their block is refused.
 */
#ifndef KIT_POLL_PACED_READS_H
#define KIT_POLL_PACED_READS_H

#include "kit/link/link_parts.h"
#include "kit/poll/request_end.h"
#include "kit/poll/station_health.h"

#include <deque>

namespace rtu {

class PacedReads
{
public:
    PacedReads(LinkParts &parts, StationHealth &health) : m_parts(parts), m_health(health) {}

    /** Asks the driver for the next read that is due. True: it has one. */
    bool feed();
    bool underWay() const { return m_inDriver; }
    TimePoint nextDue();
    void requestDone(const RequestEnd &end);

    /** A request for several tags was refused for one of its addresses: find out which tags are readable alone. */
    void blockRefused(const Area &area);

    /** The text of what was found out; empty: nothing new. Found tags no longer belong into the plan. */
    QString takeFinding();

    /** With no plan whose end would be that of a round: every tag that is read alone has had its turn. Starts anew. */
    bool takeRound();

    /** The tags have changed. @param planned the cyclic plan has something to read */
    void reset(bool planned);
    /** What was read before is silent now, and read as soon as the port is back. */
    void portLost();
    /** The same of one station. */
    void stationBack(int station);

private:
    /** A block that is refused, and so is each tag in it. */
    struct Hopeless
    {
        Area area;
        TimePoint until; ///< it is looked at again
    };

    void ask(const Area &area);
    bool isAsked(const TagRecord &record) const;
    void silent(const RequestEnd &end);
    bool feedProbe();
    void lookForHoles(const Area &area, bool (*asked)(const TagRecord &));
    bool due(const TagRecord &record, TimePoint now);
    TagRecordPtr mostOverdue(TimePoint now);
    Area widened(const TagRecordPtr &record, TimePoint now);
    void schedule(TagRecord &record, TimePoint now) const;
    void probed(bool readable);
    void conclude();

    LinkParts &m_parts;
    StationHealth &m_health;
    std::deque<Area> m_areas; ///< of the record in turn, to be asked for
    TagRecordPtr m_inTurn;    ///< whose areas they are
    bool m_shared = false;    ///< the area in turn is that of several records
    bool m_inDriver = false;
    bool m_planned = false;
    Area m_askedArea;
    TimePoint m_nextAlone; ///< tags alone take half of the line at most
    std::vector<TagRecordPtr> m_suspects;
    std::size_t m_probe = 0;    ///< of the suspects
    bool m_probing = false;     ///< what the driver has is that one; a block may be refused while it has another read
    bool m_anyReadable = false; ///< of the suspects that have been asked for
    std::vector<Hopeless> m_hopeless;
    Area m_refused;
    QString m_finding;
};

} // namespace rtu

#endif
