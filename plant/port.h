/**
 * @file
 * The slaves' end of a line: a pseudo-terminal pair or a serial port.
 */
#ifndef RTU_PLANT_PORT_H
#define RTU_PLANT_PORT_H

#include "kit/line/descriptor.h"
#include "kit/line/serial_port.h"
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
    bool openExisting(const std::string &path, const rtu::LineParameters &parameters, std::string *error);
    void close();

    int descriptor() const { return m_existing.isOpen() ? m_existing.descriptor() : m_far.number(); }
    /** What the master opens. */
    const std::string &masterPath() const { return m_masterPath; }
    /** A real port takes the time that the characters take; a pseudo-terminal does not. */
    bool pacesItself() const { return m_pacesItself; }

private:
    rtu::SerialPort m_existing;  ///< of openExisting()
    rtu::Descriptor m_far;       ///< of openPair()
    rtu::Descriptor m_masterEnd; ///< kept open, so that the pair survives masters that come and go
    std::string m_masterPath;
    std::string m_link;
    bool m_pacesItself = false;
};

} // namespace plant

#endif
