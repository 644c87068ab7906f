/**
 * @file
 * The register types as the loaded driver describes them. The host knows none by
 * heart: a type that the driver adds can be used at once.
 */
#ifndef KIT_DRIVER_REGISTER_CATALOG_H
#define KIT_DRIVER_REGISTER_CATALOG_H

#include "kit/driver/driver_library.h"

#include <string>
#include <vector>

namespace rtu {

struct RegisterType
{
    std::string name;
    std::string notation; ///< as the editor shows it, such as "ddddd"
    std::string lowest;
    std::string highest;
    int width = 1; ///< 0 a bit, 1 a register, 2 a 32-bit value in two registers
    bool writable = false;
    bool bitInRegister = false; ///< addresses are written register.bit

    bool isBit() const { return width == 0; }
    bool isDouble() const { return width == 2; }

    /** What the driver's counts and addresses go up by from one value to the next. */
    int unitsPerValue() const { return isDouble() ? 2 : 1; }

    /** Bytes that intf_getData() and intf_setData() use for one value. */
    int bytesPerValue() const { return isBit() ? 1 : 2 * width; }
};

class RegisterCatalog
{
public:
    explicit RegisterCatalog(DriverLibrary &driver);

    const std::vector<RegisterType> &types() const { return m_types; }

    /** Null for an unknown type. */
    const RegisterType *find(const std::string &name) const;

    /** The type that the text begins with, the longest name first; null for none. */
    const RegisterType *prefixOf(const std::string &text) const;

    /** "0x, 1x, ...", for messages. */
    std::string names() const;

private:
    std::vector<RegisterType> m_types;
};

/** The address text of a zero-based address. */
std::string addressText(const RegisterType &type, int address);

} // namespace rtu

#endif
