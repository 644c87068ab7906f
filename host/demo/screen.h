/**
 * @file
 * Where the demo shows what happens: a terminal is drawn over in place, anything
 * else gets lines.
 */
#ifndef RTU_DEMO_SCREEN_H
#define RTU_DEMO_SCREEN_H

#include <deque>
#include <string>
#include <vector>

namespace demo {

using Row = std::vector<std::string>;

class Screen
{
public:
    /** @param redraw draw over in place; else write lines */
    explicit Screen(bool redraw);
    /** Gives the terminal back as it was. */
    ~Screen();
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    static bool outputIsTerminal();

    bool redraws() const { return m_redraw; }

    /** Begins a scene: what follows belongs under this title. A table stays until the next one. */
    void scene(const std::string &title);
    /** Shows a table; the first row names the columns. On a terminal it replaces the one before. */
    void table(const std::vector<Row> &rows);
    void say(const std::string &text);
    /** Leaves the drawing, so that what follows stays on the terminal. */
    void close();

private:
    void draw();

    bool m_redraw;
    std::string m_title;
    std::vector<std::string> m_table;
    std::deque<std::string> m_messages;
};

} // namespace demo

#endif
