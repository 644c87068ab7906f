#include "host/live/live_terminal.h"

#include "host/live/live_state.h"

#include <langinfo.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>

#define NCURSES_NOMACROS
#include <ncurses.h>
#include <term.h>
// term.h has short names for capabilities as macros.
#undef columns
#undef lines

namespace rtu {

namespace {

/** What brings the terminal back, ready before anything can go wrong. */
struct Restoration
{
    termios settings;
    char bytes[256];
    std::size_t size;
    volatile sig_atomic_t active;
};

Restoration restoration;

const int fatalSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
const std::size_t FatalSignals = sizeof(fatalSignals) / sizeof(fatalSignals[0]);
struct sigaction earlierActions[FatalSignals];

int keepByte(int byte)
{
    if (restoration.size < sizeof(restoration.bytes))
        restoration.bytes[restoration.size++] = static_cast<char>(byte);
    return byte;
}

void keepCapability(const char *name)
{
    char capability[16];
    std::snprintf(capability, sizeof(capability), "%s", name);
    const char *text = ::tigetstr(capability);
    if (text && text != reinterpret_cast<const char *>(-1))
        ::tputs(text, 1, keepByte);
}

void releaseFatalSignals()
{
    for (std::size_t i = 0; i < FatalSignals; ++i)
        ::sigaction(fatalSignals[i], &earlierActions[i], nullptr);
}

void onFatalSignal(int signal)
{
    LiveTerminal::restoreNow();
    releaseFatalSignals();
    ::raise(signal);
}

void catchFatalSignals()
{
    struct sigaction action;
    action.sa_handler = onFatalSignal;
    action.sa_flags = 0;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < FatalSignals; ++i)
        ::sigaction(fatalSignals[i], &action, &earlierActions[i]);
}

/**
 * A terminal that can place its cursor; "dumb" ones cannot and would stay blank.
 * Asked before curses is set up, which leaves memory behind where it cannot be.
 */
bool terminalShowsScreens()
{
    int problem = 0;
    if (::setupterm(nullptr, STDOUT_FILENO, &problem) != OK)
        return false;
    char name[] = "cup";
    const char *placeCursor = ::tigetstr(name);
    const bool able = placeCursor && placeCursor != reinterpret_cast<const char *>(-1);
    ::del_curterm(::set_curterm(nullptr));
    return able;
}

enum Colour { ChangedColour = 1, ErrorColour, GoodColour, TitleColour };

void prepareColours()
{
    if (!::has_colors())
        return;
    ::start_color();
    ::use_default_colors();
    ::init_pair(ChangedColour, COLOR_BLACK, COLOR_YELLOW);
    ::init_pair(ErrorColour, COLOR_RED, -1);
    ::init_pair(GoodColour, COLOR_GREEN, -1);
    ::init_pair(TitleColour, COLOR_WHITE, COLOR_BLUE);
}

attr_t pair(Colour colour)
{
    return ::has_colors() ? static_cast<attr_t>(COLOR_PAIR(colour)) : 0;
}

attr_t attributes(Look look)
{
    switch (look) {
    case Look::Title:
        return ::has_colors() ? pair(TitleColour) | A_BOLD : A_REVERSE;
    case Look::Header:
        return A_UNDERLINE;
    case Look::Selected:
        return A_REVERSE;
    case Look::Changed:
        return ::has_colors() ? pair(ChangedColour) : A_BOLD;
    case Look::Error:
        return pair(ErrorColour) | A_BOLD;
    case Look::Dim:
        return A_DIM;
    case Look::Good:
        return pair(GoodColour);
    case Look::Input:
        return A_BOLD;
    default:
        return A_NORMAL;
    }
}

int translated(int key)
{
    switch (key) {
    case KEY_UP:
        return KeyUp;
    case KEY_DOWN:
        return KeyDown;
    case KEY_LEFT:
        return KeyLeft;
    case KEY_RIGHT:
        return KeyRight;
    case KEY_PPAGE:
        return KeyPageUp;
    case KEY_NPAGE:
        return KeyPageDown;
    case KEY_HOME:
        return KeyHome;
    case KEY_END:
        return KeyEnd;
    case KEY_ENTER:
    case '\r':
    case '\n':
        return KeyEnter;
    case 27:
        return KeyEscape;
    case KEY_BACKSPACE:
    case 8:
    case 127:
        return KeyBackspace;
    case KEY_DC:
        return KeyDelete;
    default:
        return key > 0 && key < 0x100 ? key : 0;
    }
}

} // namespace

LiveTerminal::LiveTerminal()
{
    std::setlocale(LC_CTYPE, "");
    m_unicode = std::string(::nl_langinfo(CODESET)) == "UTF-8";
    if (::tcgetattr(STDIN_FILENO, &restoration.settings) != 0)
        return;
    if (terminalShowsScreens())
        m_screen = ::newterm(nullptr, stdout, stdin);
    if (!m_screen)
        return;
    restoration.size = 0;
    for (const char *capability : {"sgr0", "cnorm", "rmkx", "rmcup"})
        keepCapability(capability);
    restoration.active = 1;
    catchFatalSignals();
    prepareColours();
    ::cbreak();
    ::noecho();
    ::nonl();
    ::set_escdelay(25);
    ::keypad(stdscr, true);
}

LiveTerminal::~LiveTerminal()
{
    if (!m_screen)
        return;
    ::endwin();
    restoration.active = 0;
    releaseFatalSignals();
    ::delscreen(static_cast<SCREEN *>(m_screen));
}

void LiveTerminal::restoreNow()
{
    if (!restoration.active)
        return;
    restoration.active = 0;
    (void)!::write(STDOUT_FILENO, restoration.bytes, restoration.size);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &restoration.settings);
}

int LiveTerminal::rows() const
{
    return getmaxy(stdscr);
}

int LiveTerminal::columns() const
{
    return getmaxx(stdscr);
}

void LiveTerminal::draw(const Screen &screen)
{
    ::curs_set(screen.cursorRow >= 0 ? 1 : 0);
    const int bottom = rows();
    for (int row = 0; row < bottom; ++row) {
        ::wmove(stdscr, row, 0);
        ::wclrtoeol(stdscr);
        if (static_cast<std::size_t>(row) >= screen.lines.size())
            continue;
        for (const Span &span : screen.lines[static_cast<std::size_t>(row)]) {
            ::wattrset(stdscr, static_cast<int>(attributes(span.look)));
            ::waddnstr(stdscr, m_unicode ? span.text.c_str() : asciiText(span.text).c_str(), -1);
        }
        ::wattrset(stdscr, A_NORMAL);
    }
    if (screen.cursorRow >= 0)
        ::wmove(stdscr, screen.cursorRow, screen.cursorColumn);
    ::wrefresh(stdscr);
}

int LiveTerminal::readKey(int milliseconds)
{
    ::wtimeout(stdscr, milliseconds);
    const int key = ::wgetch(stdscr);
    return key == ERR || key == KEY_RESIZE ? 0 : translated(key);
}

} // namespace rtu
