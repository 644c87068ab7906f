/**
 * @file
 * All registers that were heard, on a screen.
 */
#ifndef RTU_HOST_LISTEN_VIEW_H
#define RTU_HOST_LISTEN_VIEW_H

#include "host/listen/listen_output.h"
#include "host/live/live_screen.h"

namespace rtu {

class ListenView
{
public:
    ListenView(const std::string &port, const RegisterNames &names) : m_port(port), m_names(names) {}

    void notePort(bool open) { m_portOpen = open; }
    Screen screen(const ListenOutput &heard, TimePoint now, int rows, int columns);
    /** @return false: end */
    bool takeKey(int key);

private:
    const std::string m_port;
    const RegisterNames m_names;
    bool m_portOpen = true;
    int m_top = 0;  ///< first register shown
    int m_page = 1; ///< registers that fit
};

} // namespace rtu

#endif
