#include "live_painter.h"

#include "wall_clock.h"

#include <algorithm>
#include <cstdio>

namespace rtu {

namespace {

const Duration HighlightTime = std::chrono::milliseconds(1500);
const std::size_t TraceKept = 200;

std::string fixed(double number, int digits)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.*f", digits, number);
    return text;
}

std::string pairText(const Quantiles &quantiles)
{
    if (quantiles.empty())
        return "-";
    return durationText(quantiles.median()) + " / " + durationText(quantiles.percentile95());
}

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
    "Up Down PgUp PgDn Home End   choose a value",
    "Enter, e     type a new value; Enter writes it, Esc leaves it",
    "r            read the tag at once",
    "t            more room for the trace, or less",
    "p            hold the trace, let it go on",
    "q, Ctrl-C    end",
};
// clang-format on

const char *const SimulationHelpLines[] = {
    "",
    "Simulated slaves:",
    "f            add a fault, such as: wrong-crc rate 0.1   no-reply station 2",
    "F            clear all faults",
    "o            switch the station of the chosen value off, or on again",
    "u            pull the plug of the port, or put it in again",
};

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
    if (rows < SmallestRows || columns < SmallestColumns) {
        add("window too small", Look::Title);
        m_screen.lines.resize(static_cast<std::size_t>(std::max(1, rows)));
        return m_screen;
    }
    paintLinePanel(now);
    if (state.mode() == LiveState::Mode::Help) {
        paintHelp(state);
    } else {
        paintStations();
        const int room = rows - static_cast<int>(m_screen.lines.size()) - 1;
        const int trace = state.tallTrace() ? room - 4 : std::max(3, room / 3);
        paintTags(state, room - trace, now);
        paintTrace(state, trace);
    }
    m_screen.lines.resize(static_cast<std::size_t>(rows - 1));
    paintFooter(state);
    return m_screen;
}

void LivePainter::paintLinePanel(TimePoint now)
{
    const Statistics &statistics = m_feed.statistics();
    const Counts total = statistics.total();
    const bool open = m_feed.portOpen();
    const std::string state = open ? "  open" : "  GONE, waiting for it";
    const std::string time = timeOfDay(now).substr(0, 8);
    const std::string title = " " + m_portName + state;
    const int room = m_columns - textWidth(time) - 1;
    add(leftAligned(title, room) + time, open ? Look::Title : Look::Error);
    add(" " + fixed(statistics.framesPerSecond(now), 1) + " frames/s   line "
            + fixed(100 * statistics.lineShare(now), 0) + " % in use   reply " + pairText(total.replyTime) + "   age "
            + pairText(m_feed.states().ages()),
        Look::Plain);
    add(" " + plural(total.frames, "frames  ") + plural(total.resends, "resent  ") + plural(total.giveUps, "given up  ")
            + plural(total.timeouts, "time-outs  ") + plural(total.damaged, "damaged  ")
            + plural(total.warnings, "warnings"),
        total.giveUps + total.warnings > 0 ? Look::Error : Look::Plain);
}

void LivePainter::paintStations()
{
    add(" station  state    frames resent  given up  time-outs  except.  reply med / 95 %", Look::Header);
    int shown = 0;
    const std::map<int, Counts> stations = m_feed.statistics().stations();
    for (const auto &station : stations) {
        if (shown++ == MostStations) {
            add("  ... " + std::to_string(stations.size()) + " stations in all", Look::Dim);
            return;
        }
        const Counts &counts = station.second;
        const bool alive = m_feed.alive(station.first);
        add({Span{rightAligned(std::to_string(station.first), 8), Look::Plain},
             Span{leftAligned(alive ? "  answers" : "  silent", 10), alive ? Look::Good : Look::Error},
             Span{rightAligned(std::to_string(counts.frames), 7) + rightAligned(std::to_string(counts.resends), 7)
                      + rightAligned(std::to_string(counts.giveUps), 10)
                      + rightAligned(std::to_string(counts.timeouts), 11)
                      + rightAligned(std::to_string(counts.exceptions), 9) + "  " + pairText(counts.replyTime),
                  Look::Plain}});
    }
}

int LivePainter::nameWidth() const
{
    int width = 4;
    for (const Tag &tag : m_feed.tags())
        width = std::max(width, textWidth(tag.name) + (tag.values > 1 && !tag.name.empty() ? 5 : 0));
    return std::max(4, std::min(width, m_columns - 67));
}

void LivePainter::paintTags(LiveState &state, int height, TimePoint now)
{
    const int name = nameWidth();
    add(" " + leftAligned("name", name) + " " + leftAligned("address", 17) + rightAligned("value", 14) + " "
            + leftAligned("unit", 6) + leftAligned("raw", 11) + rightAligned("age", 8) + "  mark",
        Look::Header);
    const std::size_t page = static_cast<std::size_t>(std::max(1, height - 1));
    state.setPage(page);
    m_top = std::min(m_top, state.selected());
    if (state.selected() >= m_top + page)
        m_top = state.selected() - page + 1;
    for (std::size_t i = m_top; i < m_top + page; ++i) {
        if (i < state.rows().size())
            add(tagLine(state.rows()[i], i == state.selected(), now));
        else
            add("", Look::Plain);
    }
}

ScreenLine LivePainter::tagLine(const LiveRow &row, bool selected, TimePoint now)
{
    const Tag &tag = m_feed.tags()[row.tag];
    const TagState state = m_feed.states().state(row.tag);
    const std::uint32_t raw = m_read(tag)[static_cast<std::size_t>(row.value)];
    const TimePoint changed = m_feed.states().changed(row.tag, row.value);
    const bool fresh = changed != TimePoint() && now - changed < HighlightTime;
    const std::string index = tag.values > 1 && !tag.name.empty() ? "[" + std::to_string(row.value) + "]" : "";
    const std::string value = state.known ? valueText(raw, tag.format) : "-";
    const Look base = selected ? Look::Selected : Look::Plain;
    const std::string mark = state.failed ? "error" : fresh ? "new" : "";
    return {Span{" " + leftAligned(tag.name + index, nameWidth()) + " "
                     + leftAligned(std::to_string(tag.station) + ":" + tag.label(row.value), 17),
                 base},
            Span{rightAligned(value, 14), selected       ? base
                                          : fresh        ? Look::Changed
                                          : state.failed ? Look::Error
                                                         : base},
            Span{" " + leftAligned(tag.unit, 6) + leftAligned(rawText(raw, tag.format), 11)
                     + rightAligned(ageText(state, now), 8) + "  ",
                 base},
            Span{mark, state.failed ? Look::Error : base}};
}

void LivePainter::paintTrace(const LiveState &state, int height)
{
    if (!state.tracePaused() || !m_frozen)
        m_frozenTrace = m_feed.trace(TraceKept);
    m_frozen = state.tracePaused();
    add(std::string(" trace") + (m_frozen ? " (held)" : ""), Look::Header);
    const std::size_t lines = static_cast<std::size_t>(std::max(0, height - 1));
    const std::size_t first = m_frozenTrace.size() - std::min(lines, m_frozenTrace.size());
    for (std::size_t i = first; i < m_frozenTrace.size(); ++i)
        add(traceLine(m_frozenTrace[i]));
}

/** The meaning matters more than the bytes, so these are cut to what room is left. */
ScreenLine LivePainter::traceLine(const TraceLine &line) const
{
    const std::string head =
        " " + timeOfDay(line.time) + " " + line.direction + leftAligned(std::to_string(line.station), 4);
    const std::string tail = line.meaning + (line.verdict.empty() ? "" : " [" + line.verdict + "]");
    const int room = m_columns - textWidth(head);
    const int least = std::min(textWidth(line.bytes), 17);
    const int bytes = std::max(least, std::min(textWidth(line.bytes), room - 2 - textWidth(tail)));
    const std::string shown = bytes < textWidth(line.bytes) ? clippedText(line.bytes, bytes - 3) + "..." : line.bytes;
    return {Span{head, Look::Dim}, Span{shown + (bytes > 0 ? "  " : ""), Look::Dim},
            Span{tail, line.bad ? Look::Error : Look::Plain}};
}

std::string LivePainter::hint(const LiveState &state) const
{
    if (!state.message().empty())
        return " " + state.message();
    if (!state.rows().empty()) {
        const TagState tag = m_feed.states().state(state.rows()[state.selected()].tag);
        if (tag.failed)
            return " Error: " + tag.error;
    }
    return std::string(" Enter edit  r read  t trace  p hold  ") + (state.simulated() ? "f fault  o off/on  " : "")
           + "? help  q quit";
}

void LivePainter::paintFooter(const LiveState &state)
{
    if (state.mode() == LiveState::Mode::Edit || state.mode() == LiveState::Mode::Fault)
        return paintInput(state);
    add(hint(state), Look::Title);
}

void LivePainter::paintInput(const LiveState &state)
{
    std::string prompt = " Fault: ";
    if (state.mode() == LiveState::Mode::Edit) {
        const LiveRow &row = state.rows()[state.selected()];
        const Tag &tag = m_feed.tags()[row.tag];
        prompt = " New value of " + std::to_string(tag.station) + ":" + tag.label(row.value) + " ("
                 + formatName(tag.format.format, tag.format.width) + "): ";
    }
    m_screen.cursorRow = static_cast<int>(m_screen.lines.size());
    m_screen.cursorColumn = textWidth(prompt) + static_cast<int>(state.inputCursor());
    add(prompt + state.input(), Look::Input);
}

void LivePainter::paintHelp(const LiveState &state)
{
    add(" Keys (any key closes this)", Look::Header);
    for (const char *line : HelpLines)
        add(std::string(" ") + line, Look::Plain);
    if (!state.simulated())
        return;
    for (const char *line : SimulationHelpLines)
        add(std::string(" ") + line, Look::Plain);
}

} // namespace rtu
