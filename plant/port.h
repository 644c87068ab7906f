/**
 * @file
 * The slaves' end of a line: a pseudo-terminal pair or a serial port.
 */
#ifndef RTU_PLANT_PORT_H
#define RTU_PLANT_PORT_H

#include "plant/plant.h"

namespace plant {

class Port
{
public:
    Port() = default;
    ~Port() { close(); }
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;

    bool openPair(const std::string &link, std::string *error);
    bool openExisting(const std::string &path, const PortSettings &settings, std::string *error);
    void close();

    int descriptor() const { return m_descriptor; }
    /** What the master opens. */
    const std::string &masterPath() const { return m_masterPath; }
    /** A real port takes the time that the characters take; a pseudo-terminal does not. */
    bool pacesItself() const { return m_pacesItself; }

private:
    int m_descriptor = -1;
    int m_masterEnd = -1; ///< kept open, so that the pair survives masters that come and go
    std::string m_masterPath;
    std::string m_link;
    bool m_pacesItself = false;
};

} // namespace plant

#endif
