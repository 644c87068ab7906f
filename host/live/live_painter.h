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
#include "host/live/station_table.h"
#include "host/report/statistics.h"

#include <map>

namespace rtu {

class LivePainter
{
public:
    LivePainter(const LiveFeed &feed, const std::string &portName) : m_feed(feed), m_portName(portName) {}

    Screen paint(LiveState &state, int rows, int columns, TimePoint now);

private:
    enum { SmallestRows = 10, SmallestColumns = 40, NarrowColumns = 80 };

    void paintTitle(TimePoint now);
    void paintRates();
    void paintCounts();
    void paintParts(LiveState &state, int rows, TimePoint now);
    std::vector<StationRow> stationRows();
    void paintStations(int height);
    void paintTrend(const LiveState &state, int height);
    void paintTags(LiveState &state, int height, TimePoint now);
    ScreenLine tagLine(const LiveRow &row, const TableLayout &layout, bool selected, TimePoint now);
    void paintTrace(LiveState &state, int height);
    ScreenLine traceLine(const TraceLine &line) const;
    void paintFooter(const LiveState &state, bool free);
    std::string inputPrompt(const LiveState &state) const;
    void paintInput(const LiveState &state);
    std::string position(const LiveState &state) const;
    std::string news(const LiveState &state) const;
    std::vector<std::string> messageLines(const LiveState &state, int rows) const;
    static std::string keysText(const LiveState &state, int columns);
    void paintHelp(LiveState &state, int rows);
    void add(const std::string &text, Look look);
    void add(const ScreenLine &line);

    const LiveFeed &m_feed;
    std::string m_portName;
    LinkStatistics m_statistics; ///< as the screen shows them
    RecentRates m_rates;
    std::map<int, RecentRates> m_stationRates;
    Screen m_screen;
    int m_columns = 80;
    std::size_t m_top = 0; ///< first row of the tag table on the screen
    std::vector<TraceLine> m_frozenTrace;
    bool m_frozen = false;
};

} // namespace rtu

#endif
