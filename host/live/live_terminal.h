/**
 * @file
 * The terminal behind the live view. Leaves the terminal as it was on every way
 * out: normal end, exceptions, signals, crashes.
 */
#ifndef RTU_HOST_LIVE_TERMINAL_H
#define RTU_HOST_LIVE_TERMINAL_H

#include "host/live/live_screen.h"

namespace rtu {

class LiveTerminal
{
public:
    /** Null-like when the terminal cannot show a screen; see usable(). */
    LiveTerminal();
    ~LiveTerminal();
    LiveTerminal(const LiveTerminal &) = delete;
    LiveTerminal &operator=(const LiveTerminal &) = delete;

    bool usable() const { return m_screen != nullptr; }
    int rows() const;
    int columns() const;
    void draw(const Screen &screen);

    /** Waits for a key; 0 when none came. Result: a character or a LiveKey. */
    int readKey(int milliseconds);

    /** Safe in a signal handler, and where no live view runs. */
    static void restoreNow();

private:
    void *m_screen = nullptr;
    bool m_unicode = true; ///< the terminal shows letters beyond ASCII
};

} // namespace rtu

#endif
