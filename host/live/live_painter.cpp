#include "host/live/live_painter.h"

#include "host/live/live_layout.h"
#include "host/live/trend.h"
#include "host/text/numbers.h"
#include "host/text/wall_clock.h"

#include <algorithm>
#include <iterator>

namespace rtu {

namespace {

const Duration HighlightTime = std::chrono::milliseconds(1500);
const std::size_t TraceShown = 200; ///< more than any screen has lines
const std::size_t TraceHeld = 1000; ///< to scroll back in

std::string plural(std::uint64_t count, const char *what)
{
    return std::to_string(count) + " " + what;
}

/** A time in at most seven columns. */
std::string ageText(const TagState &state, TimePoint now)
{
    return state.known ? durationText(std::max(Duration(0), now - state.read)) : "-";
}

/** Exactly so many columns: the last span grows or the line is cut. */
ScreenLine fitted(const ScreenLine &line, int columns)
{
    ScreenLine result;
    int room = columns;
    for (const Span &span : line) {
        result.push_back(Span{clippedText(span.text, room), span.look});
        room -= textWidth(result.back().text);
    }
    result.back().text.append(static_cast<std::size_t>(room), ' ');
    return result;
}

// clang-format off
const char *const HelpLines[] = {
    "Up Down PgUp PgDn Home End: choose",
    "Enter, e  type a new value; Enter writes, Esc leaves",
    "Space     turn a bit over",
    "x         take back the writes that wait",
    "r         read the tag at once",
    "/ n N     search names and addresses, next, back",
    "s         sort: given, name, address, changed, trouble",
    "d         show in another format (decimal, hex, ...)",
    "g         trend of the value, or the trace again",
    "t         more room for the trace, or less",
    "p         hold the trace, let it go on",
    "[ ]       scroll back in the trace, and forward",
    "q, Ctrl-C end",
};
// clang-format on

const char *const SimulationHelpLines[] = {
    "",
    "Simulated slaves:",
    "f         add a fault: wrong-crc rate 0.1",
    "F         clear all faults",
    "o         switch the station off, or on again",
    "u         pull the plug, or put it in again",
};

/** "waiting: 1:4x5 = 7 and 2 more (x takes back)"; empty when none does. */
std::string waitingText(const LiveState &state)
{
    const std::vector<std::string> writes = state.waitingWrites();
    if (writes.empty())
        return std::string();
    const std::string more = writes.size() > 1 ? " and " + std::to_string(writes.size() - 1) + " more" : "";
    return " waiting: " + writes.front() + more + " (x takes back) ";
}

} // namespace

void LivePainter::add(const std::string &text, Look look)
{
    add(ScreenLine(1, Span{text, look}));
}

void LivePainter::add(const ScreenLine &line)
{
    m_screen.lines.push_back(fitted(line, m_columns));
}

Screen LivePainter::paint(LiveState &state, int rows, int columns, TimePoint now)
{
    m_screen = Screen();
    m_columns = columns;
    m_statistics = m_feed.statistics();
    m_rates.add(m_statistics);
    if (rows < SmallestRows || columns < SmallestColumns) {
        add("window too small", Look::Title);
        m_screen.lines.resize(static_cast<std::size_t>(std::max(1, rows)));
        return m_screen;
    }
    const std::vector<std::string> message = messageLines(state, rows);
    const int room = rows - static_cast<int>(message.size());
    paintTitle(now);
    if (state.mode() == LiveState::Mode::Help)
        paintHelp(state, room);
    else
        paintParts(state, room, now);
    m_screen.lines.resize(static_cast<std::size_t>(room - 1));
    for (const std::string &line : message)
        add(line, state.typing() ? Look::Error : Look::Title);
    paintFooter(state, message.empty());
    return m_screen;
}

void LivePainter::paintParts(LiveState &state, int rows, TimePoint now)
{
    const LowerPart lower = state.trend()       ? LowerPart::Trend
                            : state.tallTrace() ? LowerPart::TallTrace
                                                : LowerPart::Trace;
    const int most = 100000; // more than any screen has lines
    const int values = static_cast<int>(std::min<std::size_t>(state.rows().size(), most));
    const LiveLayout layout = liveLayout(rows, values, static_cast<int>(m_statistics.stations.size()), lower);
    if (layout.rates > 0)
        paintRates();
    if (layout.counts > 0)
        paintCounts();
    paintStations(layout.stations);
    paintTags(state, layout.values, now);
    if (layout.lower == 0)
        return;
    if (lower == LowerPart::Trend)
        paintTrend(state, layout.lower);
    else
        paintTrace(state, layout.lower);
}

void LivePainter::paintTitle(TimePoint now)
{
    const bool open = m_feed.portOpen();
    std::size_t silent = 0;
    for (const auto &station : m_statistics.stations)
        silent += m_feed.alive(station.first) ? 0 : 1;
    const std::string silence =
        silent > 0 ? "  " + std::to_string(silent) + " of " + std::to_string(m_statistics.stations.size()) + " silent"
                   : "";
    const std::string state = open ? "  open" + silence : "  GONE, waiting for it";
    const std::string time = m_columns < NarrowColumns ? "" : timeOfDay(now).substr(0, 8);
    const int room = m_columns - textWidth(time) - 1;
    const std::string title = " " + shortenedText(m_portName, room - textWidth(state) - 2) + state;
    add(leftAligned(title, room) + time, !open ? Look::Error : Look::Title);
}

void LivePainter::paintRates()
{
    const StationStatistics &total = m_statistics.total;
    const bool narrow = m_columns < NarrowColumns;
    add(" " + fixed(m_rates.framesPerSecond(), 1) + (narrow ? "/s  line " : " frames/s   line ")
            + fixed(100 * m_rates.lineShare(), 0) + (narrow ? " %  reply " : " % in use   reply ")
            + pairText(total.replyMedian, total.reply95) + (narrow ? "  age " : "   age ")
            + pairText(total.ageMedian, total.age95),
        Look::Plain);
}

void LivePainter::paintCounts()
{
    const StationStatistics &total = m_statistics.total;
    add(" " + plural(total.frames, "frames  ") + plural(total.resends, "resent  ") + plural(total.giveUps, "given up  ")
            + plural(total.timeouts, "time-outs  ") + plural(total.damaged, "damaged  ")
            + plural(total.foreign, "foreign"),
        total.giveUps + total.foreign > 0 ? Look::Error : Look::Plain);
}

std::vector<StationRow> LivePainter::stationRows()
{
    std::vector<StationRow> rows;
    for (const auto &station : m_statistics.stations) {
        RecentRates &rates = m_stationRates[station.first];
        rates.add(m_statistics.elapsed, station.second);
        rows.push_back(StationRow{station.first, m_feed.alive(station.first), rates.lineShare(), station.second});
    }
    return rows;
}

/** Where there is no room for all, those in trouble come first. */
void LivePainter::paintStations(int height)
{
    std::vector<StationRow> stations = stationRows();
    if (height == 0)
        return;
    add(stationHeader(m_columns), Look::Header);
    const std::size_t most = static_cast<std::size_t>(height - 1);
    const bool all = stations.size() <= most;
    const auto alive = std::stable_partition(stations.begin(), stations.end(),
                                             [all](const StationRow &row) { return !all && !row.alive; });
    for (std::size_t i = 0; i < (all ? stations.size() : most - 1); ++i)
        add(stationLine(stations[i], m_columns));
    if (!all)
        add("  ... " + std::to_string(stations.size()) + " stations in all, " + std::to_string(alive - stations.begin())
                + " silent",
            Look::Dim);
}

void LivePainter::paintTags(LiveState &state, int height, TimePoint now)
{
    const TableLayout layout = tableLayout(m_feed.tags(), m_columns);
    std::string header = " " + leftAligned("name", layout.name) + " " + leftAligned("address", layout.address) + " "
                         + rightAligned("value", layout.value);
    if (layout.unit > 0)
        header += " " + leftAligned("unit", layout.unit);
    if (layout.raw > 0)
        header += " " + leftAligned("raw", layout.raw);
    add(header + rightAligned("age", layout.age) + (layout.mark > 0 ? "  mark" : ""), Look::Header);
    const std::size_t page = static_cast<std::size_t>(std::max(1, height - 1));
    state.setPage(page);
    m_top = std::min(m_top, state.selected());
    if (state.selected() >= m_top + page)
        m_top = state.selected() - page + 1;
    if (state.rows().size() >= page) // after the window grew
        m_top = std::min(m_top, state.rows().size() - page);
    else
        m_top = 0;
    for (std::size_t i = m_top; i < m_top + page; ++i) {
        if (i < state.rows().size())
            add(tagLine(state.rows()[i], layout, i == state.selected(), now));
        else
            add("", Look::Plain);
    }
}

ScreenLine LivePainter::tagLine(const LiveRow &row, const TableLayout &layout, bool selected, TimePoint now)
{
    const TagRange &tag = m_feed.tags()[row.tag];
    const TagState state = m_feed.board().state(row.tag);
    const std::uint32_t raw = state.raw[static_cast<std::size_t>(row.value)];
    const TimePoint changed = m_feed.board().changed(row.tag, row.value);
    const bool fresh = changed != TimePoint() && now - changed < HighlightTime;
    const std::string value = state.known ? valueText(raw, tag.format) : "-";
    const Look base = selected ? Look::Selected : Look::Plain;
    const std::string mark = state.failed ? "error" : fresh ? "new" : "";
    std::string rest;
    if (layout.unit > 0)
        rest += " " + leftAligned(shortenedText(tag.unit, layout.unit), layout.unit);
    if (layout.raw > 0)
        rest += " " + leftAligned(state.known ? rawText(raw, tag.format) : "-", layout.raw);
    rest += rightAligned(ageText(state, now), layout.age) + (layout.mark > 0 ? "  " : "");
    const std::string sign = layout.mark > 0 ? " " : state.failed ? "!" : fresh ? "*" : " ";
    return {Span{sign + leftAligned(valueName(tag, row.value), layout.name) + " "
                     + leftAligned(std::to_string(tag.station) + ":" + tag.label(row.value), layout.address) + " ",
                 base},
            Span{rightAligned(shortenedText(value, layout.value), layout.value), selected       ? base
                                                                                 : fresh        ? Look::Changed
                                                                                 : state.failed ? Look::Error
                                                                                                : base},
            Span{rest, base}, Span{layout.mark > 0 ? mark : std::string(), state.failed ? Look::Error : base}};
}

/** "value 3 of 200" */
std::string LivePainter::position(const LiveState &state) const
{
    if (state.rows().empty())
        return std::string();
    return "value " + std::to_string(state.selected() + 1) + " of " + std::to_string(state.rows().size()) + " ";
}

void LivePainter::paintTrace(LiveState &state, int height)
{
    const bool hold = state.tracePaused();
    if (!hold || !m_frozen)
        m_frozenTrace = m_feed.trace(hold ? TraceHeld : TraceShown);
    m_frozen = hold;
    const std::size_t lines = static_cast<std::size_t>(std::max(0, height - 1));
    const std::size_t furthest = m_frozenTrace.size() - std::min(lines, m_frozenTrace.size());
    state.setTracePage(lines, furthest);
    const std::string back = state.traceBack() > 0 ? ", " + std::to_string(state.traceBack()) + " lines back" : "";
    const std::string where = position(state);
    add(leftAligned(std::string(" trace") + (m_frozen ? " (held" + back + ")" : ""), m_columns - textWidth(where))
            + where,
        Look::Header);
    const std::size_t first = furthest - state.traceBack();
    for (std::size_t i = first; i < std::min(first + lines, m_frozenTrace.size()); ++i)
        add(traceLine(m_frozenTrace[i]));
}

/** The verdict matters most, the meaning more than the bytes; what is too long is cut in that order. */
ScreenLine LivePainter::traceLine(const TraceLine &line) const
{
    const std::string head =
        " " + timeOfDay(line.time) + " " + line.direction + leftAligned(std::to_string(line.station), 4);
    const std::string verdict = line.verdict.empty() ? "" : " [" + line.verdict + "]";
    const int whole = textWidth(line.bytes);
    const int room = m_columns - textWidth(head) - (whole > 0 ? 2 : 0);
    const int least = std::min(whole, m_columns < NarrowColumns ? 8 : 17);
    const int bytes = std::max(least, std::min(whole, room - textWidth(line.meaning + verdict)));
    const std::string shown = bytes < whole ? clippedText(line.bytes, bytes - 3) + "..." : line.bytes;
    const std::string meaning = shortenedText(line.meaning, std::max(10, room - bytes - textWidth(verdict)));
    return {Span{head, Look::Dim}, Span{shown + (whole > 0 ? "  " : ""), Look::Dim},
            Span{meaning + verdict, line.bad ? Look::Error : Look::Plain}};
}

/** What there is to tell, beside the keys. */
std::string LivePainter::news(const LiveState &state) const
{
    if (!state.message().empty() || state.typing() || state.rows().empty())
        return state.message();
    const TagState tag = m_feed.board().state(state.rows()[state.selected()].tag);
    return tag.failed ? "Error: " + tag.error : std::string();
}

/** Lines above the last one, for what does not fit into that; no more than half the screen. */
std::vector<std::string> LivePainter::messageLines(const LiveState &state, int rows) const
{
    const std::string text = news(state);
    const int room = m_columns - textWidth(waitingText(state));
    if (text.empty() || (!state.typing() && textWidth(text) < room))
        return std::vector<std::string>();
    std::vector<std::string> lines = wrappedText(" " + text, m_columns, 1);
    lines.resize(std::min(lines.size(), static_cast<std::size_t>(rows / 2)));
    return lines;
}

/** The keys of which all has room. */
std::string LivePainter::keysText(const LiveState &state, int columns)
{
    std::vector<std::string> keys = {"Enter edit", "q quit",   "? help",  "/ search",
                                     "s sort",     "d format", "g trend", "t trace"};
    if (state.simulated())
        keys.insert(keys.end(), {"f fault", "o off/on", "u plug"});
    std::string text;
    for (const std::string &key : keys) {
        const std::string longer = text + (text.empty() ? " " : "  ") + key;
        if (textWidth(longer) > columns)
            break;
        text = longer;
    }
    return text;
}

/** @param free nothing that had no room here stands above */
void LivePainter::paintFooter(const LiveState &state, bool free)
{
    if (state.typing())
        return paintInput(state);
    const std::string waiting = waitingText(state);
    const int room = std::max(0, m_columns - textWidth(waiting));
    const std::string told = free ? news(state) : std::string();
    const std::string text = told.empty() ? keysText(state, room) : " " + told;
    add(leftAligned(clippedText(text, room), room) + waiting, Look::Title);
}

/** What is asked for, in as many words as leave room for the input and the cursor behind it. */
std::string LivePainter::inputPrompt(const LiveState &state) const
{
    if (state.mode() != LiveState::Mode::Edit)
        return state.mode() == LiveState::Mode::Search ? " Search: " : " Fault: ";
    const LiveRow &row = state.rows()[state.selected()];
    const TagRange &tag = m_feed.tags()[row.tag];
    const std::string place = std::to_string(tag.station) + ":" + tag.label(row.value);
    const std::string format = " (" + formatName(tag.format.format, tag.format.width) + ")";
    for (const std::string &prompt : {" New value of " + place + format + ": ", " " + place + format + ": "}) {
        if (textWidth(prompt) + textWidth(state.input()) < m_columns)
            return prompt;
    }
    return " " + place + ": ";
}

/** Of an input that is too long the end is shown, or what is behind the cursor when that is further in front. */
void LivePainter::paintInput(const LiveState &state)
{
    std::string prompt = inputPrompt(state);
    const std::size_t room = static_cast<std::size_t>(m_columns - textWidth(prompt));
    const std::size_t needed = state.input().size() + 1; // the cursor stands behind it
    const std::size_t first = std::min(state.inputCursor(), needed - std::min(needed, room));
    if (first > 0)
        prompt.back() = '<';
    m_screen.cursorRow = static_cast<int>(m_screen.lines.size());
    m_screen.cursorColumn = textWidth(prompt) + static_cast<int>(state.inputCursor() - first);
    add(prompt + state.input().substr(first), Look::Input);
}

/** A page of the keys; what has no room is on the next. */
void LivePainter::paintHelp(LiveState &state, int rows)
{
    std::vector<std::string> texts(std::begin(HelpLines), std::end(HelpLines));
    if (state.simulated())
        texts.insert(texts.end(), std::begin(SimulationHelpLines), std::end(SimulationHelpLines));
    const int behindTheKey = 11;
    std::vector<std::string> lines;
    for (const std::string &text : texts) {
        const std::vector<std::string> wrapped = wrappedText(" " + text, m_columns, behindTheKey);
        lines.insert(lines.end(), wrapped.begin(), wrapped.end());
    }
    const int aroundLines = 3; // title, heading, footer
    const std::size_t page = static_cast<std::size_t>(rows - aroundLines);
    state.setHelpPage(page, lines.size());
    const std::size_t end = std::min(lines.size(), state.helpTop() + page);
    add(end < lines.size() ? " Keys (Down: more, others close)" : " Keys (any key closes this)", Look::Header);
    for (std::size_t i = state.helpTop(); i < end; ++i)
        add(lines[i], Look::Plain);
}

/** The course of the chosen value in place of the trace. */
void LivePainter::paintTrend(const LiveState &state, int height)
{
    if (state.rows().empty())
        return;
    const LiveRow &row = state.rows()[state.selected()];
    const TagRange &tag = m_feed.tags()[row.tag];
    const std::vector<Reading> readings = m_feed.readings(row.tag, row.value);
    std::vector<double> numbers;
    numbers.reserve(readings.size());
    for (const Reading &reading : readings)
        numbers.push_back(valueNumber(reading.raw, tag.format));
    const std::string time =
        readings.empty() ? "" : " in " + durationText(readings.back().time - readings.front().time);
    const std::string title = " trend of " + std::to_string(tag.station) + ":" + tag.label(row.value) + ", "
                              + std::to_string(readings.size()) + time;
    const std::string where = position(state);
    const bool fits = textWidth(title) + textWidth(where) < m_columns;
    add(leftAligned(title, m_columns - (fits ? textWidth(where) : 0)) + (fits ? where : std::string()), Look::Header);
    for (const std::string &line : trendLines(numbers, height - 1, m_columns))
        add(line, Look::Plain);
}

} // namespace rtu
