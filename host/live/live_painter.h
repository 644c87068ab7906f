/**
 * @file
 * Draws the live view as text: the line, its stations, the tags and the trace.
 */
#ifndef RTU_HOST_LIVE_PAINTER_H
#define RTU_HOST_LIVE_PAINTER_H

#include "host/live/live_feed.h"
#include "host/live/live_screen.h"
#include "host/live/live_state.h"
#include "host/live/live_table.h"
#include "host/report/statistics.h"

namespace rtu {

class LivePainter
{
public:
    LivePainter(const LiveFeed &feed, const std::string &portName) : m_feed(feed), m_portName(portName) {}

    Screen paint(LiveState &state, int rows, int columns, TimePoint now);

private:
    enum { SmallestRows = 12, SmallestColumns = 50, NarrowColumns = 80 };

    void paintLinePanel(TimePoint now);
    void paintStations(int rows);
    ScreenLine stationLine(int station, const StationStatistics &counts) const;
    int traceHeight(const LiveState &state, int room) const;
    void paintTags(LiveState &state, int height, TimePoint now);
    ScreenLine tagLine(const LiveRow &row, const TableLayout &layout, bool selected, TimePoint now);
    void paintTrace(LiveState &state, int height);
    ScreenLine traceLine(const TraceLine &line) const;
    void paintFooter(const LiveState &state);
    void paintInput(const LiveState &state);
    std::string position(const LiveState &state) const;
    std::string hint(const LiveState &state) const;
    void paintHelp(const LiveState &state);
    void add(const std::string &text, Look look);
    void add(const ScreenLine &line);

    const LiveFeed &m_feed;
    std::string m_portName;
    LinkStatistics m_statistics; ///< as the screen shows them
    RecentRates m_rates;
    Screen m_screen;
    int m_columns = 80;
    std::size_t m_top = 0; ///< first row of the tag table on the screen
    std::vector<TraceLine> m_frozenTrace;
    bool m_frozen = false;
};

} // namespace rtu

#endif
