#include "host/live/listen_view.h"

#include "host/live/live_state.h"

#include <algorithm>

namespace rtu {

namespace {

const int HeaderRows = 3; ///< port, summary, names of the columns

ScreenLine screenLine(const std::string &text, Look look, int columns)
{
    return {{clippedText(text, std::max(columns, 0)), look}};
}

} // namespace

Screen ListenView::screen(const ListenOutput &heard, TimePoint now, int rows, int columns)
{
    const std::vector<std::string> table = registerTable(heard.registers(), m_names, now, columns);
    const int registers = static_cast<int>(table.size()) - 1;
    m_page = std::max(1, rows - HeaderRows);
    m_top = std::max(0, std::min(m_top, registers - m_page));
    Screen screen;
    const std::string keys = "  q ends";
    const int room = columns - textWidth(keys);
    const std::string title = (m_portOpen ? "listening to " : "the port is gone: ") + m_port;
    screen.lines.push_back(screenLine(leftAligned(shortenedText(title, room), room) + keys, Look::Title, columns));
    screen.lines.push_back(screenLine(heard.summary(), Look::Plain, columns));
    screen.lines.push_back(screenLine(table.front(), Look::Header, columns));
    for (int i = m_top; i < std::min(registers, m_top + m_page); ++i)
        screen.lines.push_back(screenLine(table[static_cast<std::size_t>(i) + 1], Look::Plain, columns));
    screen.lines.resize(std::min(screen.lines.size(), static_cast<std::size_t>(std::max(rows, 0))));
    return screen;
}

bool ListenView::takeKey(int key)
{
    switch (key) {
    case KeyUp:
        m_top -= 1;
        break;
    case KeyDown:
        m_top += 1;
        break;
    case KeyPageUp:
        m_top -= m_page;
        break;
    case KeyPageDown:
        m_top += m_page;
        break;
    case KeyHome:
        m_top = 0;
        break;
    case KeyEnd:
        m_top = HeardRegisters::MostKept;
        break;
    case 'q':
        return false;
    default:
        break;
    }
    return true;
}

} // namespace rtu
