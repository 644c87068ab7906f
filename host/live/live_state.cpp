#include "host/live/live_state.h"

#include "host/text/letters.h"

#include <algorithm>

namespace rtu {

namespace {

const int ControlU = 'U' - '@';
const std::size_t LongestInput = 60;

} // namespace

std::vector<LiveRow> liveRows(const std::vector<TagRange> &tags)
{
    std::vector<LiveRow> rows;
    for (std::size_t tag = 0; tag < tags.size(); ++tag) {
        for (int value = 0; value < tags[tag].values; ++value)
            rows.push_back(LiveRow{tag, value});
    }
    return rows;
}

void LiveState::press(int key)
{
    switch (m_mode) {
    case Mode::Browse:
        browse(key);
        break;
    case Mode::Help:
        scrollHelp(key);
        break;
    case Mode::Search:
        typeSearch(key);
        break;
    default:
        type(key);
    }
}

void LiveState::browse(int key)
{
    m_message.clear();
    switch (key) {
    case KeyUp:
    case 'k':
        return move(-1);
    case KeyDown:
    case 'j':
        return move(1);
    case KeyPageUp:
        return move(-static_cast<std::ptrdiff_t>(m_page));
    case KeyPageDown:
        return move(static_cast<std::ptrdiff_t>(m_page));
    case KeyHome:
        return select(0);
    case KeyEnd:
        return select(m_rows.size());
    case KeyEnter:
    case 'e':
        return beginEdit();
    case 't':
        m_tallTrace = !m_tallTrace;
        return;
    case 'p':
        return holdTrace(!m_tracePaused);
    case '[':
        holdTrace(true);
        m_traceBack += m_tracePage;
        return;
    case ']':
        m_traceBack -= std::min(m_traceBack, m_tracePage);
        return;
    case '?':
    case 'h':
        m_mode = Mode::Help;
        m_helpTop = 0;
        return;
    case 'q':
        m_quit = true;
        return;
    default:
        look(key);
    }
}

/** What changes how the values are shown. */
void LiveState::look(int key)
{
    switch (key) {
    case '/':
        return beginSearch();
    case 'n':
        return findNext(1);
    case 'N':
        return findNext(-1);
    case 's':
        return sort();
    case 'g':
        m_trend = !m_trend;
        return;
    case 'd':
        if (!m_rows.empty())
            m_message = m_actions.changeFormat(m_rows[m_selected]);
        return;
    default:
        act(key);
    }
}

/** Any key closes the keys, but for those that show the rest where not all fit. */
void LiveState::scrollHelp(int key)
{
    const bool more = m_helpTop + m_helpPage < m_helpLines;
    if (more && (key == KeyDown || key == KeyPageDown || key == ' '))
        m_helpTop += m_helpPage;
    else
        m_mode = Mode::Browse;
}

void LiveState::setHelpPage(std::size_t lines, std::size_t all)
{
    m_helpPage = std::max<std::size_t>(1, lines);
    m_helpLines = all;
}

/** The chosen value stays chosen, wherever it comes to stand. */
void LiveState::sort()
{
    static const char *const told[] = {"In the order given", "Sorted by name", "Sorted by address",
                                       "Those that changed last first", "Those in trouble first"};
    const int orders = static_cast<int>(sizeof(told) / sizeof(told[0]));
    if (m_rows.empty())
        return;
    const LiveRow chosen = m_rows[m_selected];
    m_order = static_cast<RowOrder>((static_cast<int>(m_order) + 1) % orders);
    m_rows = m_actions.ordered(m_order);
    const auto same = [&](const LiveRow &row) { return row.tag == chosen.tag && row.value == chosen.value; };
    select(static_cast<std::size_t>(std::find_if(m_rows.begin(), m_rows.end(), same) - m_rows.begin()));
    m_message = told[static_cast<int>(m_order)];
}

void LiveState::beginSearch()
{
    m_searchFrom = m_selected;
    beginInput(Mode::Search, "");
}

/** Chooses the first value from there on that has the text sought, upper and lower case alike. */
bool LiveState::find(std::size_t from, std::ptrdiff_t step)
{
    const std::string sought = lowered(m_sought);
    const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(m_rows.size());
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::ptrdiff_t row = ((static_cast<std::ptrdiff_t>(from) + i * step) % count + count) % count;
        if (lowered(m_actions.rowText(m_rows[static_cast<std::size_t>(row)])).find(sought) == std::string::npos)
            continue;
        select(static_cast<std::size_t>(row));
        return true;
    }
    m_message = "No value has \"" + m_sought + "\"";
    return false;
}

void LiveState::findNext(std::ptrdiff_t step)
{
    if (m_sought.empty() || m_rows.empty())
        m_message = "Nothing sought yet: / begins";
    else
        find(static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_selected + m_rows.size()) + step), step);
}

/** Each letter goes to the first match; Enter stays there, Esc goes back. */
void LiveState::typeSearch(int key)
{
    m_message.clear();
    if (key == KeyEscape)
        select(m_searchFrom);
    if (key == KeyEscape || key == KeyEnter) {
        m_mode = Mode::Browse;
        return;
    }
    edit(key);
    m_sought = m_input;
    if (!find(m_searchFrom, 1))
        select(m_searchFrom);
}

/** What goes to the slaves. */
void LiveState::act(int key)
{
    if (key == 'x')
        m_message = m_actions.cancelWrites();
    else if (key == ' ' && !m_rows.empty())
        m_message = m_actions.toggle(m_rows[m_selected]);
    else if (key == 'r' && !m_rows.empty())
        m_message = m_actions.readNow(m_rows[m_selected]);
    else
        simulate(key);
}

void LiveState::holdTrace(bool hold)
{
    m_tracePaused = hold;
    if (!hold)
        m_traceBack = 0;
}

void LiveState::setTracePage(std::size_t lines, std::size_t furthest)
{
    m_tracePage = std::max<std::size_t>(1, lines);
    m_traceBack = std::min(m_traceBack, furthest);
}

void LiveState::simulate(int key)
{
    if (!m_actions.simulated())
        return;
    if (key == 'f')
        beginInput(Mode::Fault, "");
    else if (key == 'F')
        m_message = m_actions.clearFaults();
    else if (key == 'o' && !m_rows.empty())
        m_message = m_actions.switchStation(m_rows[m_selected]);
    else if (key == 'u')
        m_message = m_actions.pullPlug();
}

void LiveState::move(std::ptrdiff_t by)
{
    const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(m_selected) + by;
    select(static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, row)));
}

void LiveState::select(std::size_t row)
{
    if (!m_rows.empty())
        m_selected = std::min(row, m_rows.size() - 1);
}

void LiveState::beginEdit()
{
    if (m_rows.empty())
        return;
    m_message = m_actions.refusal(m_rows[m_selected]);
    if (m_message.empty())
        beginInput(Mode::Edit, m_actions.currentValue(m_rows[m_selected]));
}

void LiveState::beginInput(Mode mode, const std::string &text)
{
    m_mode = mode;
    m_input = text;
    m_cursor = text.size();
    m_untouched = true;
}

void LiveState::type(int key)
{
    if (key != KeyEnter)
        m_message.clear();
    const bool replaces = m_untouched && key >= ' ' && key < 0x7F;
    m_untouched = false;
    if (replaces) {
        m_input.clear();
        m_cursor = 0;
    }
    if (key == KeyEnter)
        return finishInput();
    if (key != KeyEscape)
        return edit(key);
    m_mode = Mode::Browse;
    m_message = "Nothing was changed";
}

void LiveState::edit(int key)
{
    switch (key) {
    case KeyLeft:
        m_cursor -= m_cursor > 0 ? 1 : 0;
        return;
    case KeyRight:
        m_cursor += m_cursor < m_input.size() ? 1 : 0;
        return;
    case KeyHome:
        m_cursor = 0;
        return;
    case KeyEnd:
        m_cursor = m_input.size();
        return;
    case KeyBackspace:
        if (m_cursor > 0)
            m_input.erase(--m_cursor, 1);
        return;
    case KeyDelete:
        if (m_cursor < m_input.size())
            m_input.erase(m_cursor, 1);
        return;
    case ControlU:
        m_input.erase(0, m_cursor);
        m_cursor = 0;
        return;
    default:
        if (key >= ' ' && key < 0x7F && m_input.size() < LongestInput)
            m_input.insert(m_cursor++, 1, static_cast<char>(key));
    }
}

/** What was refused stays in the line, to be put right. */
void LiveState::finishInput()
{
    std::string message;
    const bool taken = m_mode == Mode::Edit ? m_actions.write(m_rows[m_selected], m_input, &message)
                                            : m_actions.addFault(m_input, &message);
    if (taken)
        m_mode = Mode::Browse;
    m_message = message;
}

} // namespace rtu
