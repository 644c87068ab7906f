/**
 * @file
 * Turns what a link does into rows, each when it happens.
 */
#ifndef RTU_HOST_LINE_RECORDER_H
#define RTU_HOST_LINE_RECORDER_H

#include "host/report/records.h"
#include "kit/tags/area.h"

#include <set>
#include <vector>

namespace rtu {

/**
 * Values are recorded with the time of the reply that brought them. At the end of a
 * round follow those that nobody was asked for, since their station is silent. Made
 * before the link runs, and called on its thread alone from then on.
 */
class LineRecorder
{
public:
    LineRecorder(Link &link, Line &line);
    LineRecorder(const LineRecorder &) = delete;
    LineRecorder &operator=(const LineRecorder &) = delete;

    void addRecords(Records &records) { m_records.push_back(&records); }
    /** From now on the values of the board's tags are recorded. */
    void watch(const TagBoard &board);

    void printValues(const TagRange &tag, const ValueSpan &values, const TagState &state, TimePoint time);
    void printWrite(const TagWrite &write, const TagState &old, const WriteResult &result, TimePoint time);

private:
    void noteTransaction(const Transaction &transaction);
    void noteStation(const Transaction &transaction);
    void noteValues(const Transaction &transaction);
    void notePort(bool open);
    void finishRound();
    TagState unreadState(std::size_t tag) const;
    void printUnread(std::size_t tag, TimePoint now);
    void printEvent(int station, LineChange change, const std::string &error = std::string());
    void flush();

    Link &m_link;
    Line &m_line;
    std::vector<Records *> m_records;
    const TagBoard *m_board = nullptr;
    std::vector<std::vector<bool>> m_recorded; ///< in this round, for each value of each tag
    std::vector<bool> m_asked;                 ///< of each tag, whether its station ever was
    std::set<int> m_silent;
    bool m_portLost = false;
};

/** The values of a tag that lie whole in an area; none: count is 0. */
ValueSpan valuesIn(const TagRange &tag, const Area &area);

} // namespace rtu

#endif
