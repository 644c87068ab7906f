#include "host/demo/screen.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

namespace demo {

namespace {

// Terminal control: the second screen, no cursor; home; clear to the end of the line and of the screen.
const char *const EnterDrawing = "\033[?1049h\033[?25l";
const char *const LeaveDrawing = "\033[?25h\033[?1049l";
const char *const Home = "\033[H";
const char *const ClearLine = "\033[K";
const char *const ClearBelow = "\033[J";
const char *const Bold = "\033[1m";
const char *const Plain = "\033[0m";

const std::size_t MostMessages = 100;

struct Size
{
    std::size_t columns = 80;
    std::size_t rows = 24;
};

Size terminalSize()
{
    Size size;
    winsize window;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 && window.ws_row > 0) {
        size.columns = window.ws_col;
        size.rows = window.ws_row;
    }
    return size;
}

std::vector<std::string> alignedLines(const std::vector<Row> &rows)
{
    std::vector<std::size_t> widths;
    for (const Row &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    std::vector<std::string> lines;
    for (const Row &row : rows) {
        std::string line = " ";
        for (std::size_t i = 0; i < row.size(); ++i)
            line += " " + row[i] + std::string(widths[i] - row[i].size() + 1, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        lines.push_back(line);
    }
    return lines;
}

} // namespace

bool Screen::outputIsTerminal()
{
    const char *kind = std::getenv("TERM");
    return isatty(STDOUT_FILENO) && kind && std::string(kind) != "dumb";
}

Screen::Screen(bool redraw) : m_redraw(redraw)
{
    if (m_redraw)
        std::fputs(EnterDrawing, stdout);
}

Screen::~Screen()
{
    close();
}

void Screen::close()
{
    if (m_redraw)
        std::fputs(LeaveDrawing, stdout);
    m_redraw = false;
    std::fflush(stdout);
}

void Screen::scene(const std::string &title)
{
    m_title = title;
    m_messages.clear();
    if (m_redraw)
        return draw();
    std::printf("\n== %s\n", title.c_str());
    std::fflush(stdout);
}

void Screen::table(const std::vector<Row> &rows)
{
    m_table = alignedLines(rows);
    if (m_redraw)
        return draw();
    for (const std::string &line : m_table)
        std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void Screen::say(const std::string &text)
{
    m_messages.push_back(text);
    if (m_messages.size() > MostMessages)
        m_messages.pop_front();
    if (m_redraw)
        return draw();
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

void Screen::draw()
{
    const Size size = terminalSize();
    std::vector<std::string> lines = {m_title};
    lines.insert(lines.end(), m_table.begin(), m_table.end());
    const std::size_t room = size.rows > lines.size() + 1 ? size.rows - lines.size() - 1 : 0;
    const std::size_t skipped = m_messages.size() > room ? m_messages.size() - room : 0;
    lines.insert(lines.end(), m_messages.begin() + static_cast<std::ptrdiff_t>(skipped), m_messages.end());
    if (lines.size() > size.rows)
        lines.resize(size.rows);

    std::string picture = Home;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string text = lines[i].substr(0, size.columns);
        picture += (i == 0 ? Bold : "") + text + (i == 0 ? Plain : "") + ClearLine;
        picture += i + 1 < lines.size() ? "\r\n" : "";
    }
    picture += ClearBelow;
    std::fputs(picture.c_str(), stdout);
    std::fflush(stdout);
}

} // namespace demo
