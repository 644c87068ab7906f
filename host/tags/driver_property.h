/**
 * @file
 * The fields of the driver's property string.
 */
#ifndef RTU_HOST_DRIVER_PROPERTY_H
#define RTU_HOST_DRIVER_PROPERTY_H

#include <string>
#include <vector>

namespace rtu {

struct DriverProperty
{
    int linkId = 1;
    bool localWriteOnly = false;
    int attempts = 3;
    int maxWords = 120;
    bool swapAll = false;          ///< block transfers: low word of 32-bit values first
    std::vector<int> swapStations; ///< the same for these stations only
    std::string raw;               ///< used as it is when not empty

    std::string text() const;
    /** Takes the fields out of a property string; those that it does not have stay. */
    void adopt(const std::string &text);
    bool swaps(int station) const;
    /** Whether the driver can read all of it. */
    static bool wellFormed(const std::string &text);
};

} // namespace rtu

#endif
